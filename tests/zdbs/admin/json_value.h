/** JSON read back: strict, small, for what the program writes. */
#ifndef TESTS_ZDBS_ADMIN_JSON_VALUE_H
#define TESTS_ZDBS_ADMIN_JSON_VALUE_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zdbs {

struct JsonValue {
    enum class Type { number, text, array, object, boolean };

    Type type = Type::number;
    double number = 0;
    std::string text;
    std::vector<JsonValue> items;
    std::map<std::string, JsonValue> members;

    /** Throws std::out_of_range when there is none. */
    const JsonValue &operator[](const std::string &key) const { return members.at(key); }
    bool has(const std::string &key) const { return members.count(key) > 0; }
};

/** Throws std::runtime_error unless the text is one value and nothing else. */
JsonValue readJson(std::string_view text);

/** The value of the only line. */
JsonValue readJsonLine(std::string_view text);

/** One value for each line; the last line has to be ended too. */
std::vector<JsonValue> readJsonLines(std::string_view text);

}  // namespace zdbs

#endif
