#include "zdbs/export/quoted_text.h"

namespace zdbs {

bool isQuote(char c) {
    return c == '"' || c == '\'' || c == '`';
}

std::size_t quotedEnd(std::string_view text, std::size_t open) {
    const char quote = text[open];
    std::size_t close = text.find(quote, open + 1);
    while (close != std::string_view::npos && close > open + 1 && text[close - 1] == '\\') {
        const std::size_t next = text.find(quote, close + 1);
        if (next == std::string_view::npos) break;
        close = next;
    }
    return close == std::string_view::npos ? close : close + 1;
}

}  // namespace zdbs
