#include "zdbs/xml/escape.h"

#include <algorithm>
#include <array>

namespace zdbs {
namespace {

std::string_view replacement(char c) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\t':
            return "&#9;";
        case '\n':
            return "&#10;";
        default:
            return "&#13;";
    }
}

/** For every byte whether it must be replaced. */
using ByteSet = std::array<bool, 256>;

constexpr ByteSet bytes(std::string_view members) {
    ByteSet set{};
    for (const char c : members)
        set[static_cast<unsigned char>(c)] = true;
    return set;
}

constexpr ByteSet inText = bytes("&<>\r");
// ">" too: some readers that are no parsers look for the end of a tag by it.
constexpr ByteSet inAttribute = bytes("&<>\"\t\n\r");

void writeReplacing(XmlSink &sink, std::string_view text, const ByteSet &special) {
    const auto isSpecial = [&special](char c) { return special[static_cast<unsigned char>(c)]; };
    auto from = text.begin();
    while (from != text.end()) {
        const auto plainEnd = std::find_if(from, text.end(), isSpecial);
        if (plainEnd != from) sink.write({from, plainEnd});
        if (plainEnd == text.end()) return;
        sink.write(replacement(*plainEnd));
        from = plainEnd + 1;
    }
}

}  // namespace

void writeEscapedText(XmlSink &sink, std::string_view text) {
    writeReplacing(sink, text, inText);
}

void writeEscapedAttribute(XmlSink &sink, std::string_view value) {
    writeReplacing(sink, value, inAttribute);
}

std::string escapedText(std::string_view text) {
    std::string result;
    StringSink sink(result);
    writeEscapedText(sink, text);
    return result;
}

std::string escapedAttribute(std::string_view value) {
    std::string result;
    StringSink sink(result);
    writeEscapedAttribute(sink, value);
    return result;
}

}  // namespace zdbs
