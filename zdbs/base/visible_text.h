/** Texts of other people, made fit for messages. */
#ifndef ZDBS_BASE_VISIBLE_TEXT_H
#define ZDBS_BASE_VISIBLE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zdbs {

/**
 * The text on one line, without anything that a terminal would obey: control characters are
 * written as \n, \t or \x1b, line separators and what turns the direction of a text as \u202e.
 * In a text that is not UTF-8 every byte beyond ASCII is.
 */
std::string visibleText(std::string_view text);

/** visibleText() of a text of which a message shows so much and no more; "..." ends what was cut.
 */
std::string messageText(std::string_view text);

/** Most bytes of a text that messageText() looks at. */
inline constexpr std::size_t longestInMessage = 1024;

}  // namespace zdbs

#endif
