#include "zdbs/base/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zdbs {
namespace {

constexpr bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/** Range of the second byte and length of a character, by its first byte (RFC 3629, section 4). */
struct Form {
    unsigned char low;
    unsigned char high;
    std::size_t length;
};

constexpr Form formOf(unsigned char first) {
    if (first < 0x80) return {0, 0, 1};
    if (first < 0xC2) return {0, 0, 0};
    if (first < 0xE0) return {0x80, 0xBF, 2};
    if (first == 0xE0) return {0xA0, 0xBF, 3};
    if (first == 0xED) return {0x80, 0x9F, 3};
    if (first < 0xF0) return {0x80, 0xBF, 3};
    if (first == 0xF0) return {0x90, 0xBF, 4};
    if (first < 0xF4) return {0x80, 0xBF, 4};
    if (first == 0xF4) return {0x80, 0x8F, 4};
    return {0, 0, 0};
}

/** How many bytes of ASCII `text` begins with, rounded down to whole words of the machine. */
std::size_t asciiWords(std::string_view text) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::size_t size = 0;
    for (std::uint64_t word = 0; size + sizeof word <= text.size(); size += sizeof word) {
        std::memcpy(&word, text.data() + size, sizeof word);
        if ((word & highBits) != 0) break;
    }
    return size;
}

}  // namespace

std::size_t characterLength(std::string_view text) {
    Form form = formOf(static_cast<unsigned char>(text[0]));
    if (form.length < 2) return form.length;
    if (form.length > text.size()) return 0;
    auto second = static_cast<unsigned char>(text[1]);
    if (second < form.low || second > form.high) return 0;
    auto rest = text.substr(2, form.length - 2);
    return std::all_of(rest.begin(), rest.end(), isContinuation) ? form.length : 0;
}

bool isUtf8(std::string_view text) {
    text.remove_prefix(asciiWords(text));
    while (!text.empty()) {
        std::size_t length = characterLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::size_t characterCount(std::string_view text) {
    std::size_t count = asciiWords(text);
    text.remove_prefix(count);
    while (!text.empty()) {
        text.remove_prefix(std::max<std::size_t>(characterLength(text), 1));
        ++count;
    }
    return count;
}

std::string_view cutUtf8(std::string_view text, std::size_t size) {
    if (text.size() <= size) return text;
    while (size > 0 && isContinuation(text[size]))
        --size;
    return text.substr(0, size);
}

}  // namespace zdbs
