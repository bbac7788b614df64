#include "zdbs/base/visible_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "zdbs/base/utf8.h"

namespace zdbs {

namespace {

std::string hexadecimal(const char *format, std::uint32_t number) {
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), format, static_cast<unsigned>(number));
    return text.data();
}

std::string escapeOf(unsigned char byte) {
    if (byte == '\n') return "\\n";
    if (byte == '\r') return "\\r";
    if (byte == '\t') return "\\t";
    return hexadecimal("\\x%02x", byte);
}

/** Line separators, marks and turns of the direction, and the mark of the byte order. */
bool isInvisible(std::uint32_t code) {
    return code == 0x61c || code == 0x200e || code == 0x200f ||
           (code >= 0x2028 && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069) ||
           code == 0xfeff;
}

/** The code point of a character of two or three bytes; 0 of others. */
std::uint32_t codeOf(std::string_view character) {
    const auto bits = [&](std::size_t i, unsigned mask) {
        return static_cast<unsigned char>(character[i]) & mask;
    };
    if (character.size() == 2) return bits(0, 0x1f) << 6 | bits(1, 0x3f);
    if (character.size() == 3) return bits(0, 0xf) << 12 | bits(1, 0x3f) << 6 | bits(2, 0x3f);
    return 0;
}

std::string visible(std::string_view character) {
    const auto byte = static_cast<unsigned char>(character[0]);
    const std::uint32_t code = codeOf(character);
    if (character.size() == 1 && (byte < 0x20 || byte == 0x7f)) return escapeOf(byte);
    if (code >= 0x80 && code < 0xa0) return hexadecimal("\\x%02x", code);
    if (isInvisible(code)) return hexadecimal("\\u%04x", code);
    return std::string(character);
}

}  // namespace

std::string visibleText(std::string_view text) {
    const auto isPlain = [](char each) { return each >= ' ' && each <= '~'; };
    if (std::all_of(text.begin(), text.end(), isPlain)) return std::string(text);
    std::string result;
    const bool isText = isUtf8(text);
    while (!text.empty()) {
        const std::size_t length = isText ? characterLength(text) : 1;
        const bool isByte = !isText && static_cast<unsigned char>(text[0]) >= 0x80;
        result += isByte ? escapeOf(static_cast<unsigned char>(text[0]))
                         : visible(text.substr(0, length));
        text.remove_prefix(length);
    }
    return result;
}

std::string messageText(std::string_view text) {
    if (text.size() <= longestInMessage) return visibleText(text);
    return visibleText(cutUtf8(text, longestInMessage)) + "...";
}

}  // namespace zdbs
