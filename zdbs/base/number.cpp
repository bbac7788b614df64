#include "zdbs/base/number.h"

#include <charconv>
#include <cstddef>
#include <limits>
#include <system_error>

namespace zdbs {
namespace {

constexpr bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view withoutSpace(std::string_view text) {
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/** Takes digits off the front; returns how many. */
std::size_t takeDigits(std::string_view &text) {
    std::size_t count = 0;
    while (count < text.size() && isDigit(text[count]))
        ++count;
    text.remove_prefix(count);
    return count;
}

/**
 * Converts what is known to be digits with an optional point. Without an exponent
 * only a long integral part leads out of the range upwards, and only a long run of
 * zeros behind the point out of it downwards.
 */
double convert(std::string_view digits) {
    double value = 0;
    auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value,
                                  std::chars_format::fixed);
    if (result.ec != std::errc::result_out_of_range) return value;
    bool isLarge = digits.find_first_of("123456789") < digits.find('.');
    return isLarge ? std::numeric_limits<double>::infinity() : 0.0;
}

}  // namespace

// Number ::= '-'? (Digits ('.' Digits?)? | '.' Digits), between white space
std::optional<double> numberOf(std::string_view text) {
    text = withoutSpace(text);
    bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);

    std::string_view rest = text;
    std::size_t digits = takeDigits(rest);
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
        digits += takeDigits(rest);
    }
    if (digits == 0 || !rest.empty()) return std::nullopt;
    double value = convert(text);
    return negative ? -value : value;
}

std::optional<double> canonicalDecimal(std::string_view literal) {
    std::string_view rest = literal;
    if (rest.starts_with('-')) rest.remove_prefix(1);
    bool leadingZero = rest.starts_with('0');
    std::size_t digits = takeDigits(rest);
    if (digits == 0 || (leadingZero && digits > 1)) return std::nullopt;
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
        if (takeDigits(rest) == 0) return std::nullopt;
    }
    if (!rest.empty()) return std::nullopt;
    return numberOf(literal);
}

}  // namespace zdbs
