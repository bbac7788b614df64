/** String literals of the request language, as far as cutting a text in pieces needs them. */
#ifndef ZDBS_EXPORT_QUOTED_TEXT_H
#define ZDBS_EXPORT_QUOTED_TEXT_H

#include <cstddef>
#include <string_view>

namespace zdbs {

/** Opens a string literal: a double quote, an apostrophe or a back-quote. */
bool isQuote(char c);

/**
 * The place behind the literal that the quote at `open` begins, or npos when none
 * begins there. As in requests, a quote right behind a backslash does not close the
 * literal when a later one can.
 */
std::size_t quotedEnd(std::string_view text, std::size_t open);

}  // namespace zdbs

#endif
