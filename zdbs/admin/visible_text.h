/** Texts of other people, made fit for messages and tables. */
#ifndef ZDBS_ADMIN_VISIBLE_TEXT_H
#define ZDBS_ADMIN_VISIBLE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/visible_text.h"

namespace zdbs::admin {

/** visibleText() of at most `width` characters; "..." ends one that was cut. */
std::string shortText(std::string_view text, std::size_t width);

/**
 * A visible text in lines of at most `width` characters, broken at blanks where there are
 * some; a line or more, at most `most`, the last of which then ends in "...".
 * REQUIRES width > 3, most > 0.
 */
std::vector<std::string> wrapped(std::string_view text, std::size_t width, std::size_t most);

}  // namespace zdbs::admin

#endif
