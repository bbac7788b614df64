#ifndef PRG_XML_XPATH_NOTES_REQUEST_TOKENS_H
#define PRG_XML_XPATH_NOTES_REQUEST_TOKENS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace notes {

/** A token of a request: the scanner's code, and where it stands. */
struct Token {
    int code = 0;
    std::string_view text;  ///< a part of the request
};

/**
 * The tokens of a request as the scanner yields them, up to the first that ends a request. They
 * point into the request. REQUIRES that it holds no NUL.
 */
std::vector<Token> tokensOf(std::string_view request);

/**
 * Where the grammar meets what it does not take, in bytes from the beginning; the length of the
 * request at its end. Nothing when the request is one.
 */
std::optional<std::size_t> syntaxErrorIn(std::string_view request);

}  // namespace notes

#endif
