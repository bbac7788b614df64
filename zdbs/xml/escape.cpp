#include "zdbs/xml/escape.h"

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

void writeReplacing(XmlSink &sink, std::string_view text, std::string_view special) {
    while (!text.empty()) {
        const std::size_t plain = text.find_first_of(special);
        sink.write(text.substr(0, plain));
        if (plain == std::string_view::npos) return;
        sink.write(replacement(text[plain]));
        text.remove_prefix(plain + 1);
    }
}

}  // namespace

void writeEscapedText(XmlSink &sink, std::string_view text) {
    writeReplacing(sink, text, "&<>\r");
}

void writeEscapedAttribute(XmlSink &sink, std::string_view value) {
    // ">" too: some readers that are no parsers look for the end of a tag by it.
    writeReplacing(sink, value, "&<>\"\t\n\r");
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
