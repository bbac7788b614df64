#include "zdbs/xpath/scalar.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "zdbs/base/number.h"

namespace zdbs::xpath {

double toNumber(std::string_view text) {
    return numberOf(text).value_or(std::numeric_limits<double>::quiet_NaN());
}

std::string toText(double number) {
    if (std::isnan(number)) return "NaN";
    if (std::isinf(number)) return number > 0 ? "Infinity" : "-Infinity";
    if (number == 0) return "0";
    std::array<char, 1100> digits{};  // the smallest number has 1074 digits behind the point
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                   std::chars_format::fixed);
    return {digits.data(), end.ptr};
}

std::string toText(const Scalar &value) {
    if (const auto *number = std::get_if<double>(&value)) return toText(*number);
    if (const auto *truth = std::get_if<bool>(&value)) return *truth ? "true" : "false";
    return std::get<std::string>(value);
}

bool toTruth(double number) {
    return number != 0 && !std::isnan(number);
}

bool toTruth(const Scalar &value) {
    if (const auto *number = std::get_if<double>(&value)) return toTruth(*number);
    if (const auto *truth = std::get_if<bool>(&value)) return *truth;
    return !std::get<std::string>(value).empty();
}

double rounded(double number) {
    if (std::isnan(number) || std::isinf(number) || number == 0) return number;
    // What is less than zero and rounds to it is the negative zero.
    if (number < 0 && number >= -0.5) return -0.0;
    const double below = std::floor(number);
    return number - below >= 0.5 ? below + 1 : below;
}

}  // namespace zdbs::xpath
