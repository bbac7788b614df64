/**
 * The tokens of an expression, as section 3.7 of XPath 1.0 has them: the longest one always, white
 * space between any two.
 */
#ifndef ZDBS_XPATH_SCANNER_H
#define ZDBS_XPATH_SCANNER_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zdbs::xpath {

enum class TokenKind : std::uint8_t {
    end,
    literal,   ///< between quotes of either kind; the text is without them
    number,    ///< without a sign
    variable,  ///< $name
    function,  ///< a name in front of a parenthesis
    nodeType,  ///< node, text, comment or processing-instruction in front of a parenthesis
    axis,      ///< a name in front of ::
    nameTest,  ///< a name, *, or prefix:*
    sign,      ///< whatever is written with signs, but for * as a name test
    word,      ///< and, or, div, mod
};

/** Its texts are parts of the request. */
struct Token {
    TokenKind kind = TokenKind::end;
    std::string_view text;    ///< of a name the local part
    std::string_view prefix;  ///< of a name
    std::size_t offset = 0;   ///< where it begins

    bool is(std::string_view signOrWord) const {
        return (kind == TokenKind::sign || kind == TokenKind::word) && text == signOrWord;
    }
};

/** Bytes of an expression. */
constexpr std::size_t longestExpression = std::size_t{1} << 20U;

/**
 * All tokens, `end` as the last. Throws RequestError for what is none, for what is longer than
 * longestExpression, and for what is not UTF-8.
 */
std::vector<Token> scan(std::string_view request);

}  // namespace zdbs::xpath

#endif
