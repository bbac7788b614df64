/** The grammar of XPath 1.0. */
#ifndef ZDBS_XPATH_GRAMMAR_H
#define ZDBS_XPATH_GRAMMAR_H

#include <map>
#include <string>
#include <string_view>

#include "zdbs/xpath/expression.h"

namespace zdbs::xpath {

/** What an expression finds outside of itself. */
struct Surroundings {
    std::map<std::string, std::string, std::less<>> namespaces = {};  ///< by prefix, besides xml
    std::map<std::string, Scalar, std::less<>> variables = {};        ///< by name
};

/**
 * The tree of an expression. Its types are sound: what must be a set of nodes is one. Throws
 * RequestError, whose message says what was expected, for what is no expression, asks for
 * what is unknown, or has more levels than deepestExpression.
 */
ExpressionPtr parse(std::string_view request, const Surroundings &surroundings);

}  // namespace zdbs::xpath

#endif
