/** Fragment specifications: from their text to a plan. */
#ifndef ZDBS_EXPORT_SPEC_COMPILER_H
#define ZDBS_EXPORT_SPEC_COMPILER_H

#include <string>

#include "zdbs/export/spec_plan.h"

namespace zdbs {

/**
 * The plan of one specification: `/` (the matching node itself), or a path, or a
 * union of paths, in the language of requests, each beginning with "/" or "//".
 *
 * Steps and paths mean what they mean in XPath 1.0, with the matching node in the
 * place of the root. Comparisons, contains() and positions mean what they mean in
 * requests: a text() step looks at all text below, an element is compared through
 * its text() step, "." compared with a literal is no condition, last() = n is the
 * n-th from the end, and a path in a predicate starts at the step's node even when
 * it begins with "/".
 *
 * Throws Failure(badFragmentSpec) with the text and what is wrong with it.
 */
SpecPlan compileSpec(const std::string &text);

}  // namespace zdbs

#endif
