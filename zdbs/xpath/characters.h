/** Characters of texts in UTF-8, as XPath counts and names them. */
#ifndef ZDBS_XPATH_CHARACTERS_H
#define ZDBS_XPATH_CHARACTERS_H

#include <cstddef>
#include <string_view>

namespace zdbs::xpath {

struct Character {
    char32_t point = 0;
    std::size_t bytes = 0;  ///< 0 at the end of the text
};

/** The character at a place of well-formed UTF-8. */
Character characterAt(std::string_view text, std::size_t offset);

/** What XPath calls S: blank, tab, line feed, carriage return. */
constexpr bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/** The bytes of the NCName that begins a text; 0 when none does. */
std::size_t nameLength(std::string_view text);

}  // namespace zdbs::xpath

#endif
