// JSON and CSV: whatever the text, a reader of the form gets it back; of bytes that are no UTF-8,
// what JSON has in their place.
#include <string>

#include "fuzz/fuzzing.h"
#include "tests/zdbs/admin/json_value.h"
#include "zdbs/answers/json.h"
#include "zdbs/answers/node_output.h"
#include "zdbs/base/utf8.h"

namespace {

using zdbs::JsonWriter;

constexpr std::string_view replacement = "\xef\xbf\xbd";

/** With every byte that begins no character replaced. */
std::string repaired(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = zdbs::characterLength(text);
        result += length == 0 ? replacement : text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result;
}

/** A field as RFC 4180 has it. */
std::string readField(std::string_view field) {
    if (!field.starts_with('"')) {
        fuzzing::require(field.find_first_of("\",\r\n") == field.npos, "A field without quotes.");
        return std::string(field);
    }
    fuzzing::require(field.size() > 1 && field.ends_with('"'), "A field without end.");
    std::string text;
    for (std::size_t i = 1; i + 1 < field.size(); ++i) {
        text += field[i];
        if (field[i] != '"') continue;
        fuzzing::require(field[++i] == '"' && i + 1 < field.size(), "A quote by itself.");
    }
    return text;
}

}  // namespace

void fuzz(fuzzing::Bytes input) {
    const std::string_view text = fuzzing::textOf(input);
    const std::string whole = repaired(text);
    JsonWriter json;
    json.beginObject().key(text).beginArray().value(text).value(input.size()).endArray();
    const zdbs::JsonValue value = zdbs::readJson(json.endObject().text());
    fuzzing::require(value[whole].items.at(0).text == whole, "JSON with another text.");
    const std::size_t middle = whole.size() / 2;
    const std::string pieces = zdbs::jsonPiece(std::string_view(whole).substr(0, middle)) +
                               zdbs::jsonPiece(std::string_view(whole).substr(middle));
    fuzzing::require(zdbs::readJson('"' + pieces + '"').text == whole, "JSON in other pieces.");
    fuzzing::require(readField(zdbs::csvField(text)) == text, "CSV with another text.");
}
