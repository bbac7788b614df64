/** Which encoding a document has: XML 1.0, 4.3.3 and appendix F. */
#ifndef ZDBS_LOAD_ENCODING_H
#define ZDBS_LOAD_ENCODING_H

#include <unicode/ucnv.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zdbs {

struct ConverterCloser {
    void operator()(UConverter *converter) const { ::ucnv_close(converter); }
};

/** Turns bytes into UTF-16 and stops at those that are no characters. */
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

/** Every name that ICU knows is one; null for the others. */
Converter openConverter(const std::string &name);

/** How the bytes of a document are to be taken. */
struct Encoding {
    std::string name;            ///< for messages
    Converter converter;         ///< null: they are UTF-8
    std::size_t markLength = 0;  ///< bytes in front that are a mark and no text
};

/** The most that a document's beginning is looked at. */
constexpr std::size_t longestDeclaration = 4096;

/** Does this beginning of a document end within an XML declaration? Then more of it is needed. */
bool needsMore(std::string_view beginning);

/**
 * The encoding by the mark or by the first characters, and by the declaration, which
 * is in `beginning` as a whole when there is one. UTF-8 when nothing tells. The
 * declaration must not contradict what the bytes are.
 *
 * Throws Failure: unknownEncoding, malformed, with `file`, line and column.
 */
Encoding findEncoding(std::string_view beginning, std::string_view file);

}  // namespace zdbs

#endif
