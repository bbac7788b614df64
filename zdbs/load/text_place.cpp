#include "zdbs/load/text_place.h"

#include <algorithm>

namespace zdbs {

namespace {

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

}  // namespace

void TextPlace::pass(std::string_view text) {
    if (!afterReturn_ && text.find('\r') == std::string_view::npos) return passLines(text);
    for (const char byte : text) {
        const bool isEnd = byte == '\r' || (byte == '\n' && !afterReturn_);
        if (isEnd) ++line_;
        if (isEnd || byte == '\n')
            column_ = 1;
        else if (!continuesCharacter(byte))
            ++column_;
        afterReturn_ = byte == '\r';
    }
}

/** The usual ends of lines, counted quickly. */
void TextPlace::passLines(std::string_view text) {
    const std::size_t last = text.rfind('\n');
    if (last != std::string_view::npos) {
        line_ += static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
        column_ = 1;
        text.remove_prefix(last + 1);
    }
    column_ += static_cast<std::uint64_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return !continuesCharacter(byte); }));
}

}  // namespace zdbs
