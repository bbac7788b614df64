/** How the parts of an expression of XPath were found. */
#ifndef ZDBS_ANSWERS_XPATH_EXPLANATION_H
#define ZDBS_ANSWERS_XPATH_EXPLANATION_H

#include <string>
#include <string_view>
#include <vector>

#include "zdbs/xpath/evaluator.h"

namespace zdbs {

struct XPathExplanation {
    std::string request;
    std::string_view type;
    std::string expression;  ///< in full form
    std::vector<xpath::PartFound> parts;
};

/** "nodes", "number", "string" or "boolean". */
std::string_view typeName(xpath::ValueType type);

/** Evaluates an expression, which `request` was parsed into. Throws Failure. */
XPathExplanation explainExpression(const xpath::Collection &collection, const std::string &request,
                                   const xpath::Expression &expression);

/** An object, with `notes` where there are some, on a line. */
std::string jsonOf(const XPathExplanation &explanation, const std::vector<std::string> &notes = {});

}  // namespace zdbs

#endif
