/** Notes as text. */
#include <algorithm>

#include "prg/xml/xpath/notes/notes.h"

namespace notes {
namespace {

/** One character of the text for each, the parts of characters beyond ASCII left alone. */
std::string visible(std::string_view text) {
    std::string result(text);
    std::ranges::replace_if(
        result, [](unsigned char c) { return c < 0x20 || c == 0x7f; }, ' ');
    return result;
}

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xc0U) == 0x80;
}

std::size_t charactersIn(std::string_view text) {
    return text.size() - static_cast<std::size_t>(std::ranges::count_if(text, continuesCharacter));
}

/** The beginning or the end of a text, whole characters. */
std::string_view lastOf(std::string_view text, std::size_t bytes) {
    std::string_view part = text.substr(text.size() - std::min(bytes, text.size()));
    while (!part.empty() && continuesCharacter(part.front()))
        part.remove_prefix(1);
    return part;
}

std::string_view firstOf(std::string_view text, std::size_t bytes) {
    std::size_t length = std::min(bytes, text.size());
    while (length > 0 && length < text.size() && continuesCharacter(text[length]))
        --length;
    return text.substr(0, length);
}

}  // namespace

std::string linesOf(const Note &note, std::string_view request, std::size_t width) {
    if (!note.place) return visible(note.text) + '\n';
    const std::size_t place = std::min(*note.place, request.size());
    const std::string_view before = lastOf(request.substr(0, place), width / 2);
    const std::string_view behind = firstOf(request.substr(place), width - 1 - before.size());
    const std::string caret = std::string(charactersIn(before), ' ') + "^ ";
    return visible(before) + visible(behind) + '\n' + caret + visible(note.text) + '\n';
}

std::string sentenceOf(const Note &note, std::string_view request) {
    if (!note.place) return visible(note.text);
    const std::size_t column = charactersIn(request.substr(0, *note.place)) + 1;
    return visible("Column " + std::to_string(column) + ": " + note.text);
}

}  // namespace notes
