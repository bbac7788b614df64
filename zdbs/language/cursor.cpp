#include "zdbs/language/cursor.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

#include "zdbs/base/status.h"
#include "zdbs/base/utf8.h"

namespace zdbs {
namespace {

constexpr std::size_t longestShown = 60;

constexpr char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

constexpr std::array<bool, 256> wordCharacters = [] {
    std::array<bool, 256> result{};
    for (std::size_t c = 0; c < result.size(); ++c) {
        bool isLetter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        bool isDigit = c >= '0' && c <= '9';
        result[c] = isLetter || isDigit || c >= 0x80 || c == '_' || c == '-' || c == '.';
    }
    return result;
}();

constexpr bool isWordCharacter(char c) {
    return wordCharacters[static_cast<unsigned char>(c)];
}

}  // namespace

bool sameWord(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return x == y || upper(x) == upper(y);
           });
}

std::string shown(std::string_view text) {
    if (text.size() <= longestShown) return std::string(text);
    return std::string(cutUtf8(text, longestShown)) + "...";
}

std::size_t Cursor::columnOf(std::size_t place) {
    if (place < countedPlace_) {
        countedPlace_ = 0;
        countedColumn_ = 1;
    }
    countedColumn_ += characterCount(text_.substr(countedPlace_, place - countedPlace_));
    countedPlace_ = place;
    return countedColumn_;
}

std::size_t Cursor::column() {
    return columnOf(placeOfNext());
}

std::size_t Cursor::placeOfNext() {
    skipBlanks();
    return place_;
}

void Cursor::skipBlanks() {
    while (place_ < text_.size() && isBlank(text_[place_]))
        ++place_;
}

bool Cursor::atEnd() {
    skipBlanks();
    return place_ == text_.size();
}

char Cursor::peek() {
    return atEnd() ? '\0' : text_[place_];
}

bool Cursor::take(char c) {
    if (atEnd() || text_[place_] != c) return false;
    ++place_;
    return true;
}

void Cursor::expect(char c) {
    if (!take(c)) fail(std::string("'") + c + "'");
}

std::string_view Cursor::peekWord() {
    skipBlanks();
    std::size_t end = place_;
    while (end < text_.size() && isWordCharacter(text_[end]))
        ++end;
    return text_.substr(place_, end - place_);
}

std::string_view Cursor::takeWord() {
    std::string_view word = peekWord();
    take(word);
    return word;
}

std::string_view Cursor::takeUntil(std::string_view ends) {
    skipBlanks();
    const auto isEnd = [ends](char c) {
        return isBlank(c) || std::find(ends.begin(), ends.end(), c) != ends.end();
    };
    const std::string_view remaining = rest();
    const auto end = std::find_if(remaining.begin(), remaining.end(), isEnd);
    const auto length = static_cast<std::size_t>(end - remaining.begin());
    place_ += length;
    return remaining.substr(0, length);
}

std::int32_t Cursor::takeInteger() {
    const std::size_t at = placeOfNext();
    std::string_view word = takeUntil(",()");
    std::int32_t number = 0;
    auto result = std::from_chars(word.data(), word.data() + word.size(), number);
    if (result.ec != std::errc() || result.ptr != word.data() + word.size()) {
        throw Failure(Status::badNumber, {shown(word), std::to_string(columnOf(at))});
    }
    return number;
}

void Cursor::fail(std::string_view expected) {
    throw Failure(Status::syntaxError, {std::to_string(column()), expected});
}

}  // namespace zdbs
