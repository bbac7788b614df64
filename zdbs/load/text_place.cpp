#include "zdbs/load/text_place.h"

namespace zdbs {

namespace {

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

}  // namespace

void TextPlace::pass(std::string_view text) {
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

}  // namespace zdbs
