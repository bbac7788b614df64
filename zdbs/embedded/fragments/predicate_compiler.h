/** Paths and predicates of fragment specifications: from the expression tree to a plan. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_PREDICATE_COMPILER_H
#define ZDBS_EMBEDDED_FRAGMENTS_PREDICATE_COMPILER_H

#include <stdexcept>
#include <string>

#include "foundation/string_buffer.h"
#include "zdbs/embedded/fragments/fragment_plan.h"

class XPathExpression;
class XPathPath;

namespace zdbs {

/** What is wrong with a specification; the compiler adds which one it is. */
class FragmentError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** Predicates inside predicates; more would make the evaluation recurse too deep. */
constexpr int maxPredicateDepth = 100;

/**
 * The first `steps` steps of a path. `depth` counts the predicates around it.
 * Throws FragmentError.
 */
FragmentPath compilePath(const XPathPath &path, int steps, int depth);

/** A predicate's expression. Throws FragmentError, with the words of the request's translation. */
FragmentPredicate compilePredicate(const XPathExpression *expression, int depth);

/** The text of a buffer, which may be without one. */
std::string textOf(const CStringBuffer &buffer);

}  // namespace zdbs

#endif
