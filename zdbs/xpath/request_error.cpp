#include "zdbs/xpath/request_error.h"

#include <algorithm>

#include "zdbs/base/utf8.h"

namespace zdbs::xpath {

struct RequestError::Place {
    std::size_t line;
    std::size_t column;
    std::string excerpt;

    static Place of(std::string_view request, std::size_t offset);
};

namespace {

constexpr std::size_t shownBefore = 60;
constexpr std::size_t shownBehind = 20;

/** The last characters of a text, at most so many. */
std::string_view lastCharacters(std::string_view text, std::size_t most) {
    std::size_t begin = text.size();
    for (; begin > 0 && most > 0; --most) {
        do
            --begin;
        while (begin > 0 && (static_cast<unsigned char>(text[begin]) & 0xc0U) == 0x80);
    }
    return text.substr(begin);
}

/** A tab would move the caret, and other control characters are obeyed by terminals. */
std::string withoutControls(std::string_view text) {
    std::string shown(text);
    std::replace_if(
        shown.begin(), shown.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, ' ');
    return shown;
}

}  // namespace

RequestError::Place RequestError::Place::of(std::string_view request, std::size_t offset) {
    const std::string_view before = request.substr(0, offset);
    const std::size_t lineEnd = before.rfind('\n');
    const std::string_view inLine =
        lineEnd == std::string_view::npos ? before : before.substr(lineEnd + 1);
    std::string_view behind = request.substr(offset);
    behind = cutUtf8(behind.substr(0, behind.find_first_of("\r\n")), shownBehind * 3);
    const std::string_view shown = lastCharacters(inLine, shownBefore);
    const auto lines = std::count(before.begin(), before.end(), '\n');
    return {static_cast<std::size_t>(lines) + 1, characterCount(inLine) + 1,
            "  " + withoutControls(shown) + withoutControls(behind) + "\n  " +
                std::string(characterCount(shown), ' ') + "^"};
}

RequestError::RequestError(std::string_view request, std::size_t offset, std::string_view what)
    : RequestError(Place::of(request, offset), what) {}

RequestError::RequestError(const Place &place, std::string_view what)
    : Failure(Status::requestFailed, {"line " + std::to_string(place.line) + ", column " +
                                      std::to_string(place.column) + ": " + std::string(what)}),
      line_(place.line),
      column_(place.column),
      excerpt_(place.excerpt) {}

}  // namespace zdbs::xpath
