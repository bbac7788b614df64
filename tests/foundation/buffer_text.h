#ifndef TESTS_FOUNDATION_BUFFER_TEXT_H
#define TESTS_FOUNDATION_BUFFER_TEXT_H

#include <cstddef>
#include <string>

#include "foundation/string_buffer.h"

// The bytes that the buffer holds, NUL bytes included.
inline std::string textOf(const CStringBuffer &buffer) {
    const char *block = buffer;
    return block == nullptr ? std::string()
                            : std::string(block, static_cast<std::size_t>(buffer.length()));
}

#endif
