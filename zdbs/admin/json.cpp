#include "zdbs/admin/json.h"

#include <array>
#include <cstdio>

#include "zdbs/store/document_name.h"

namespace zdbs::admin {

namespace {

std::string escaped(char byte) {
    switch (byte) {
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            break;
    }
    if (static_cast<unsigned char>(byte) >= 0x20) return std::string(1, byte);
    std::array<char, 8> text;
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(byte));
    return text.data();
}

std::string quoted(std::string_view text) {
    std::string result = "\"";
    const bool isText = isXmlText(text);
    for (const char byte : text) {
        const bool isAscii = static_cast<unsigned char>(byte) < 0x80;
        result += isText || isAscii ? escaped(byte) : "\xef\xbf\xbd";
    }
    return result + '"';
}

}  // namespace

JsonWriter &JsonWriter::beginObject() {
    separate();
    text_ += '{';
    needsComma_ = false;
    return *this;
}

JsonWriter &JsonWriter::endObject() {
    text_ += '}';
    needsComma_ = true;
    return *this;
}

JsonWriter &JsonWriter::beginArray() {
    separate();
    text_ += '[';
    needsComma_ = false;
    return *this;
}

JsonWriter &JsonWriter::endArray() {
    text_ += ']';
    needsComma_ = true;
    return *this;
}

JsonWriter &JsonWriter::key(std::string_view name) {
    separate();
    text_ += quoted(name) + ':';
    needsComma_ = false;
    return *this;
}

JsonWriter &JsonWriter::value(std::string_view text) {
    separate();
    text_ += quoted(text);
    return *this;
}

JsonWriter &JsonWriter::value(std::uint64_t number) {
    separate();
    text_ += std::to_string(number);
    return *this;
}

void JsonWriter::separate() {
    if (needsComma_) text_ += ',';
    needsComma_ = true;
}

}  // namespace zdbs::admin
