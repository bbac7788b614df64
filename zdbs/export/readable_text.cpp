#include "zdbs/export/readable_text.h"

#include <cstddef>

#include "zdbs/base/utf8.h"

namespace zdbs {
namespace {

/** Char of XML 1.0: no control characters but TAB, LF and CR, not U+FFFE and U+FFFF. */
bool allowed(std::string_view character) {
    if (character.size() == 1) {
        const auto byte = static_cast<unsigned char>(character[0]);
        return byte >= 0x20 || byte == '\t' || byte == '\n' || byte == '\r';
    }
    return character != "\xEF\xBF\xBE" && character != "\xEF\xBF\xBF";
}

}  // namespace

std::string readableText(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const std::string_view character = text.substr(0, length);
        result += length > 0 && allowed(character) ? character : "\xEF\xBF\xBD";
        text.remove_prefix(length > 0 ? length : 1);
    }
    return result;
}

}  // namespace zdbs
