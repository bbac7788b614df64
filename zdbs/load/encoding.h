/** Character sets of one byte a character, for what expat does not know itself. */
#ifndef ZDBS_LOAD_ENCODING_H
#define ZDBS_LOAD_ENCODING_H

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace zdbs {

/** Code point of each byte; -1 where a byte is no character. */
using ByteMap = std::array<int, 256>;

/** The map of a character set by name; nothing when it is unknown or has longer characters. */
std::optional<ByteMap> singleByteEncoding(const std::string &name);

/**
 * A piece of a document as it stands there, in UTF-8. It begins with a character
 * of ASCII, by which UTF-16 is told; otherwise `map` says what bytes mean, or
 * null that they are UTF-8.
 */
std::string markupToUtf8(std::string_view markup, const ByteMap *map);

/**
 * The literal with its quotes that a piece of a document begins with, in the
 * document's own encoding; empty when there is none or it does not end.
 */
std::string_view quotedLiteral(std::string_view markup);

}  // namespace zdbs

#endif
