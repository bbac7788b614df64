/** The names of documents. */
#ifndef ZDBS_BASE_DOCUMENT_NAME_H
#define ZDBS_BASE_DOCUMENT_NAME_H

#include <cstddef>
#include <string_view>

namespace zdbs {

constexpr std::size_t maxDocumentNameLength = 4096;

/**
 * A relative path in UTF-8 without control characters and without empty, "."
 * and ".." steps: dumped into a folder it stays there, and it can stand in XML.
 */
bool isValidDocumentName(std::string_view name);

/** Is this UTF-8 of characters that XML can have, in their shortest forms? Control characters pass.
 */
bool isXmlText(std::string_view text);

}  // namespace zdbs

#endif
