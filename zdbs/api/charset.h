/** Texts between the character set of the process and UTF-8. */
#ifndef ZDBS_API_CHARSET_H
#define ZDBS_API_CHARSET_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zdbs {

/**
 * A text of the process as UTF-8. The character set is ICU's default, that is the one
 * of the locale that the program has set. In UTF-8 and US-ASCII (the locale "C") the
 * bytes are taken as they are. What cannot be converted is replaced.
 */
std::string fromProcess(std::string_view text);

/** A UTF-8 text in the character set of the process, cut between characters to `size` bytes. */
std::string toProcess(std::string_view text, std::size_t size);

}  // namespace zdbs

#endif
