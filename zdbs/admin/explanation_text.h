/** Explanations for people. */
#ifndef ZDBS_ADMIN_EXPLANATION_TEXT_H
#define ZDBS_ADMIN_EXPLANATION_TEXT_H

#include <cstddef>
#include <string>

#include "zdbs/answers/explanation.h"

namespace zdbs::admin {

/**
 * A table of the sets and the sums, without the error; nothing where there are no sets.
 * @param width of the terminal, for conditions to be wrapped; 0: they stand on one line
 */
std::string textOf(const Explanation &explanation, std::size_t width);

}  // namespace zdbs::admin

#endif
