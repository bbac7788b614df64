#ifndef PRG_XML_XPATH_UTILS_VEXA_DOCUMENT_TEXT_H
#define PRG_XML_XPATH_UTILS_VEXA_DOCUMENT_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

/** How a terminal takes a document. */
struct TerminalText {
    bool isUtf8 = true;       ///< its character set
    bool hasColours = false;  ///< hits are in colour
};

/**
 * A document as it can be sent to a terminal: what would steer it is written as \x1b. Everything
 * else, line feeds and tabs too, stays as it is.
 */
std::string visibleDocument(std::string_view document, TerminalText how);

/** Whether a text takes more than so many rows; as if every byte took a column. */
bool isLongerThan(std::string_view text, std::size_t rows, std::size_t columns);

#endif
