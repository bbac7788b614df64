/** Numbers in texts: of values as XPath 1.0's number() reads them, of literals in canonical form.
 */
#ifndef ZDBS_BASE_NUMBER_H
#define ZDBS_BASE_NUMBER_H

#include <optional>
#include <string_view>

namespace zdbs {

/**
 * What number() of XPath 1.0 makes of a text: white space (blank, tab, line feed,
 * carriage return), an optional minus, digits with an optional point among them or
 * at either end, white space. Nothing for every other text, for which number() is
 * NaN. Correctly rounded; infinite when too large for a double.
 */
std::optional<double> numberOf(std::string_view text);

/**
 * The number that a literal stands for when it is a canonical decimal: an optional
 * minus, 0 or digits without a leading 0, and optionally a point with digits (5, -3,
 * 2.50; not 05, +5, 1e3, .5). Nothing for other literals, which compare as texts.
 */
std::optional<double> canonicalDecimal(std::string_view literal);

}  // namespace zdbs

#endif
