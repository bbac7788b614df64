/** XPath expressions whose names mean local names, as names in requests do. */
#ifndef TESTS_ANSWERS_LOCAL_NAMES_H
#define TESTS_ANSWERS_LOCAL_NAMES_H

#include <string>
#include <string_view>

namespace answers {

/**
 * Rewrites the name tests of an XPath 1.0 expression: `x` becomes
 * `*[local-name()='x']`, and `p:x` also asks for the prefix p as written or for a
 * namespace named p. Axes, functions, node types, operators, numbers and literals stay.
 */
std::string byLocalName(std::string_view expression);

/**
 * The XPath expression that a request stands for: byLocalName() of it, with "//" in
 * front of every alternative of a union that begins without a slash.
 */
std::string expressionOf(std::string_view request);

}  // namespace answers

#endif
