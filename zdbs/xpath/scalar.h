/** Numbers, strings and booleans, and how XPath 1.0 makes one of the other. */
#ifndef ZDBS_XPATH_SCALAR_H
#define ZDBS_XPATH_SCALAR_H

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace zdbs::xpath {

enum class ValueType : std::uint8_t { nodeSet, number, string, boolean };

/** Every value but a set of nodes. */
using Scalar = std::variant<double, std::string, bool>;

/** number(): NaN for what is none. */
double toNumber(std::string_view text);

/**
 * string() of a number: NaN, Infinity, an integer without a point; otherwise as few digits behind
 * the point as tell it from every other number, and no exponent. Both zeros are 0.
 */
std::string toText(double number);
std::string toText(const Scalar &value);

bool toTruth(double number);
bool toTruth(const Scalar &value);

/** Rounds to the nearest integer, halves upwards; NaN, infinities and both zeros are kept. */
double rounded(double number);

}  // namespace zdbs::xpath

#endif
