/** Paths and predicates of fragment specifications: from the expression tree to a plan. */
#ifndef ZDBS_EXPORT_SPEC_PREDICATES_H
#define ZDBS_EXPORT_SPEC_PREDICATES_H

#include <stdexcept>
#include <string>
#include <string_view>

#include "foundation/string_buffer.h"
#include "zdbs/export/spec_plan.h"

class XPathExpression;
class XPathPath;

namespace zdbs {

/** What is wrong with a specification; the compiler adds which one it is. */
class SpecError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;

    /** A message of the requests' translation, with a name in the place of "%s". */
    SpecError(std::string message, std::string_view name)
        : std::runtime_error(message.replace(message.find("%s"), 2, name)) {}
};

/** Predicates inside predicates; more would make the evaluation recurse too deep. */
constexpr int maxPredicateDepth = 100;

/**
 * The first `steps` steps of a path. `depth` counts the predicates around it.
 * Throws SpecError.
 */
SpecPath compilePath(const XPathPath &path, int steps, int depth);

/** A predicate's expression. Throws SpecError, with the words of the request's translation. */
SpecPredicate compilePredicate(const XPathExpression *expression, int depth);

/** The text of a buffer, which may be without one. */
std::string textOf(const CStringBuffer &buffer);

}  // namespace zdbs

#endif
