/** The little that the kernel must know of UTF-8. */
#ifndef ZDBS_BASE_UTF8_H
#define ZDBS_BASE_UTF8_H

#include <cstddef>
#include <string_view>

namespace zdbs {

/** Whether a text is well-formed UTF-8 (no overlong forms, surrogates, or code points past 10FFFF).
 */
bool isUtf8(std::string_view text);

/** Bytes of the character that a text begins with; 0 when that is none. REQUIRES a byte or more. */
std::size_t characterLength(std::string_view text);

/** Number of characters; a stray byte counts as one. */
std::size_t characterCount(std::string_view text);

/** The longest beginning of `text` of at most `size` bytes that cuts no character. */
std::string_view cutUtf8(std::string_view text, std::size_t size);

}  // namespace zdbs

#endif
