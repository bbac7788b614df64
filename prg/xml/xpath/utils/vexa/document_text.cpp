#include "prg/xml/xpath/utils/vexa/document_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

constexpr std::string_view hitBegin = "<vexa:hit>";
constexpr std::string_view hitEnd = "</vexa:hit>";
constexpr std::string_view colour = "\033[1;31m";
constexpr std::string_view noColour = "\033[0m";

bool isControl(unsigned char c) {
    return (c < 0x20 && c != '\n' && c != '\t') || c == 0x7f;
}

/** The second row of controls: bytes of their own, or two bytes of UTF-8. */
bool isHighControl(unsigned char c) {
    return c >= 0x80 && c <= 0x9f;
}

void appendEscaped(std::string &text, unsigned char c) {
    std::array<char, 8> escape;
    std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned>(c));
    text += escape.data();
}

/** How many bytes at a place steer a terminal: 0, 1, or 2. */
std::size_t steeringBytes(std::string_view text, std::size_t at, bool isUtf8) {
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    if (isControl(static_cast<unsigned char>(byte(at)))) return 1;
    if (!isUtf8) return isHighControl(static_cast<unsigned char>(byte(at))) ? 1 : 0;
    return byte(at) == 0xc2 && isHighControl(static_cast<unsigned char>(byte(at + 1))) ? 2 : 0;
}

}  // namespace

std::string visibleDocument(std::string_view document, TerminalText how) {
    std::string text;
    text.reserve(document.size());
    for (std::size_t at = 0; at < document.size();) {
        const std::size_t steering = steeringBytes(document, at, how.isUtf8);
        const std::string_view rest = document.substr(at);
        if (how.hasColours && rest.starts_with(hitBegin)) {
            text.append(hitBegin).append(colour);
            at += hitBegin.size();
        } else if (how.hasColours && rest.starts_with(hitEnd)) {
            text.append(noColour).append(hitEnd);
            at += hitEnd.size();
        } else if (steering > 0) {
            at += steering;
            appendEscaped(text, static_cast<unsigned char>(document[at - 1]));
        } else {
            text += document[at++];
        }
    }
    return text;
}

bool isLongerThan(std::string_view text, std::size_t rows, std::size_t columns) {
    std::size_t taken = 0;
    while (!text.empty() && taken <= rows) {
        const std::size_t line = std::min(text.find('\n'), text.size());
        taken += 1 + (line > 0 ? (line - 1) / columns : 0);
        text.remove_prefix(std::min(line + 1, text.size()));
    }
    return taken > rows;
}
