#ifndef PRG_XML_XPATH_UTILS_VEXA_NLS_CONVERSION_H
#define PRG_XML_XPATH_UTILS_VEXA_NLS_CONVERSION_H

#include <cstdint>
#include <string>

/**
 * Texts of the process's default character set in UTF-16, and those in UTF-8: the two halves of
 * Vexa::nls2utf.
 *
 * 1. The default character set is that of the locale when a function is used for the first time:
 *    the converters are kept for the life of the process.
 * 2. Errors are not reported. Bytes that mean nothing become the replacement character; without a
 *    converter the result is empty.
 * 3. One thread.
 */

/**
 * Converts from the default character set to UTF-16.
 * @param capacity code units that fit into `out`; a NUL follows the text when there is room
 * @param length bytes of the text, -1 for a NUL-terminated one
 * @return code units written, plus 1 when `length` is -1 (callers count the NUL then)
 */
int32_t nls2ucs(char16_t *out, int32_t capacity, const char *text, int32_t length);

/** A text of UTF-8 in the default character set; what that has no sign for becomes a substitute. */
std::string utf2nls(const std::string &text);

/** Converts from UTF-16 to UTF-8; otherwise like nls2ucs, with `length` in code units. */
int32_t ucs2utf(char *out, int32_t capacity, const char16_t *text, int32_t length);

#endif
