/** Characters that XML text and attribute values must not hold as they are. */
#ifndef ZDBS_BASE_ESCAPE_H
#define ZDBS_BASE_ESCAPE_H

#include <string>
#include <string_view>

#include "zdbs/base/sink.h"

namespace zdbs {

/**
 * Writes character data: `&` `<` `>` as entities and CR as a reference. As every
 * `>` is escaped, "]]>" never appears.
 */
void writeEscapedText(XmlSink &sink, std::string_view text);

/** Writes what stands between the double quotes of an attribute: also `"`, TAB and LF. */
void writeEscapedAttribute(XmlSink &sink, std::string_view value);

/** The same two for short texts. */
std::string escapedText(std::string_view text);
std::string escapedAttribute(std::string_view value);

}  // namespace zdbs

#endif
