// Reading a string buffer that may have no block.
#ifndef PRG_XML_XPATH_PROCESSOR_BUFFER_TEXT_H
#define PRG_XML_XPATH_PROCESSOR_BUFFER_TEXT_H

#include <cstddef>
#include <string_view>

#include "foundation/string_buffer.h"

// The text of `buffer`, "" when it has no block. Valid until the buffer changes.
inline const char *BufferText(const CStringBuffer &buffer) {
    const char *text = buffer.getBufferPointer();
    return text != nullptr ? text : "";
}

// The same with its length.
inline std::string_view BufferView(const CStringBuffer &buffer) {
    return {BufferText(buffer), static_cast<std::size_t>(buffer.length())};
}

#endif
