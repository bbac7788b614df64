#include "zdbs/answers/json.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "zdbs/answers/sizes.h"
#include "zdbs/base/utf8.h"

namespace zdbs {

namespace {

void appendEscaped(std::string &result, char byte) {
    switch (byte) {
        case '"':
            result += "\\\"";
            return;
        case '\\':
            result += "\\\\";
            return;
        case '\n':
            result += "\\n";
            return;
        case '\r':
            result += "\\r";
            return;
        case '\t':
            result += "\\t";
            return;
        default:
            break;
    }
    if (static_cast<unsigned char>(byte) >= 0x20) {
        result += byte;
        return;
    }
    std::array<char, 8> text;
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(byte));
    result += text.data();
}

std::string quoted(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        if (length == 0)
            result += "\xef\xbf\xbd";
        else if (length == 1)
            appendEscaped(result, text[0]);
        else
            result += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
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

JsonWriter &JsonWriter::value(std::chrono::nanoseconds time) {
    separate();
    text_ += millisecondsText(time);
    return *this;
}

void JsonWriter::separate() {
    if (needsComma_) text_ += ',';
    needsComma_ = true;
}

std::string jsonPiece(std::string_view piece) {
    std::string result;
    result.reserve(piece.size() + piece.size() / 8);
    for (const char byte : piece)
        appendEscaped(result, byte);
    return result;
}

}  // namespace zdbs
