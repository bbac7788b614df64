/** Texts of SQL with what is bound to them. */
#ifndef ZDBS_SQL_STATEMENT_H
#define ZDBS_SQL_STATEMENT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zdbs::sql {

/** Nothing that comes from outside stands in the text; only numbers of our own do. */
struct Statement {
    enum class Type : std::uint8_t { text, number, integer };

    std::string text;
    std::vector<std::string> values = {};
    std::vector<Type> types = {};

    /** What stands for a value in the text; an equal one is bound once. */
    std::string bind(std::string_view value) { return bind(std::string(value), Type::text); }
    std::string bind(double value);
    std::string bind(std::int64_t value) { return bind(std::to_string(value), Type::integer); }

    /** For statements that are written out: fills $1, $2 … in order. */
    template <typename... Values>
    static Statement of(std::string text, const Values &...values) {
        Statement result{std::move(text)};
        (result.add(values), ...);
        return result;
    }

private:
    std::string bind(std::string value, Type type);
    void add(std::string_view value) { add(std::string(value), Type::text); }
    void add(std::int64_t value) { add(std::to_string(value), Type::integer); }
    void add(std::string value, Type type) {
        values.push_back(std::move(value));
        types.push_back(type);
    }
};

}  // namespace zdbs::sql

#endif
