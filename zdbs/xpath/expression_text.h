/** An expression as it was understood, written out. */
#ifndef ZDBS_XPATH_EXPRESSION_TEXT_H
#define ZDBS_XPATH_EXPRESSION_TEXT_H

#include <string>

#include "zdbs/xpath/expression.h"

namespace zdbs::xpath {

/**
 * In unabbreviated syntax, operations in parentheses, names in a namespace as {URI}local. What has
 * no such name is an expression that selects the same.
 */
std::string textOf(const Expression &expression);
std::string textOf(const Step &step);

}  // namespace zdbs::xpath

#endif
