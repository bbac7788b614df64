#include "zdbs/sql/statement.h"

#include <array>
#include <charconv>
#include <cmath>

namespace zdbs::sql {

std::string Statement::bind(double value) {
    if (std::isinf(value)) return bind(value < 0 ? "-Infinity" : "Infinity", Type::number);
    std::array<char, 400> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), value).ptr;
    return bind(std::string(digits.begin(), end), Type::number);
}

std::string Statement::bind(std::string value, Type type) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (types[i] == type && values[i] == value) return "$" + std::to_string(i + 1);
    }
    add(std::move(value), type);
    return "$" + std::to_string(values.size());
}

}  // namespace zdbs::sql
