#include "zdbs/admin/visible_text.h"

#include "zdbs/base/utf8.h"

namespace zdbs::admin {

namespace {

constexpr std::string_view ellipsis = "...";

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

/** How many bytes the first `width` characters of a text are. */
std::size_t bytesOf(std::string_view text, std::size_t width) {
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        if (isContinuation(text[at])) continue;
        if (width == 0) break;
        --width;
    }
    return at;
}

std::string cut(std::string_view text, std::size_t width) {
    return std::string(text.substr(0, bytesOf(text, width - ellipsis.size()))) +
           std::string(ellipsis);
}

}  // namespace

std::string shortText(std::string_view text, std::size_t width) {
    // A character has four bytes at most; of what is longer, nobody needs the rest.
    std::string visible = visibleText(cutUtf8(text, 4 * width + 1));
    if (characterCount(visible) <= width) return visible;
    return cut(visible, width);
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width, std::size_t most) {
    std::vector<std::string> lines;
    for (;;) {
        const std::size_t fits = bytesOf(text, width);
        if (fits == text.size()) break;
        if (lines.size() + 1 == most) {
            lines.push_back(cut(text, width));
            return lines;
        }
        const std::size_t blank = text.substr(0, fits + 1).find_last_of(' ');
        const bool isBroken = blank != std::string_view::npos && blank > 0;
        lines.emplace_back(text.substr(0, isBroken ? blank : fits));
        text.remove_prefix(isBroken ? blank + 1 : fits);
    }
    lines.emplace_back(text);
    return lines;
}

}  // namespace zdbs::admin
