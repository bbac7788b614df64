#include "foundation/keyword.h"

#include <algorithm>

namespace {

char asciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace

bool equalsNoCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return asciiUpper(x) == asciiUpper(y); });
}

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    return equalsNoCase(text.substr(0, prefix.size()), prefix);
}
