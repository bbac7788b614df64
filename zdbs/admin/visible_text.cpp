#include "zdbs/admin/visible_text.h"

#include <array>
#include <cstdio>

#include "zdbs/base/utf8.h"

namespace zdbs::admin {

namespace {

constexpr std::string_view ellipsis = "...";

std::string escapeOf(unsigned char byte) {
    if (byte == '\n') return "\\n";
    if (byte == '\r') return "\\r";
    if (byte == '\t') return "\\t";
    std::array<char, 8> text;
    std::snprintf(text.data(), text.size(), "\\x%02x", static_cast<unsigned>(byte));
    return text.data();
}

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

/** U+0080 to U+009F, the control characters beyond ASCII, begin so in UTF-8. */
bool isHighControl(std::string_view text, std::size_t at) {
    return text[at] == '\xc2' && at + 1 < text.size() &&
           static_cast<unsigned char>(text[at + 1]) < 0xa0;
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

std::string visibleText(std::string_view text) {
    std::string result;
    const bool isText = isUtf8(text);
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte < 0x20 || byte == 0x7f || (byte >= 0x80 && !isText)) {
            result += escapeOf(byte);
        } else if (isText && isHighControl(text, at)) {
            result += escapeOf(static_cast<unsigned char>(text[++at]));
        } else {
            result += text[at];
        }
    }
    return result;
}

std::string shortText(std::string_view text, std::size_t width) {
    // A character has four bytes at most; of what is longer, nobody needs the rest.
    const std::string visible = visibleText(cutUtf8(text, 4 * width + 1));
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
