#ifndef PRG_XML_XPATH_NOTES_REQUEST_OUTLINE_H
#define PRG_XML_XPATH_NOTES_REQUEST_OUTLINE_H

#include <string_view>
#include <vector>

#include "prg/xml/xpath/notes/request_tokens.h"

namespace notes {

struct Expression;

/** A step as it is written. All texts are parts of the request. */
struct Step {
    std::string_view text;       ///< with its separator and its predicates
    std::string_view separator;  ///< "/", "//" or nothing
    std::string_view bare;       ///< without separator and predicates
    std::string_view axis;       ///< "child" where none is written; "self" and "parent" of dots
    std::string_view prefix;
    std::string_view name;  ///< "*", or of a call what stands in front of the bracket
    bool hasAxis = false;   ///< one is written, "@" counts
    bool isCall = false;    ///< text(), node(), contains(...)
    std::vector<Expression> arguments;
    std::vector<Expression> predicates;
};

/** What operators stand between: steps, a literal, or what is in round brackets. */
struct Operand {
    std::string_view text;
    std::vector<Step> steps;        ///< of a path
    Token literal;                  ///< code 0: none
    std::vector<Expression> group;  ///< one in round brackets, or none
};

/** Operands with operators between them, in the order in which they are written. */
struct Expression {
    std::string_view text;
    std::vector<Operand> operands;
    std::vector<Token> operators;
};

/**
 * The paths of a union. Of what is no request as much as could be made out; none of what is nested
 * too deep.
 */
std::vector<Operand> outlineOf(const std::vector<Token> &tokens);

}  // namespace notes

#endif
