#ifndef PRG_XML_XPATH_UTILS_VEXA_BYTE_INPUT_H
#define PRG_XML_XPATH_UTILS_VEXA_BYTE_INPUT_H

#include <cstdio>

/**
 * The next byte of a stream; one that does not block is waited for until it has something.
 * @return EOF at the end, and after a failure: std::ferror() is true then and errno says why
 */
int readByte(std::FILE *input);

#endif
