#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_PRINT_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_PRINT_H

#include <algorithm>

#include "foundation/string_buffer.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print_limit.h"

// What the nodes' printing operations share; used by the node classes only.

/// A debug dump is cut once it holds this many bytes. Indentation makes a dump grow with the
/// square of a tree's depth: one short request could otherwise ask for terabytes.
inline constexpr int maxDumpLength = 64 * 1024 * 1024;

/// The last line of a dump that was cut.
inline constexpr char dumpCutMark[] = "\n... dump cut here";

/// Where a dump is cut: there, or at the limit of an XPathPrintLimit.
inline int dumpLimit() {
    return std::min(maxDumpLength, XPathPrintLimit::Length());
}

/// buffer.append up to the limit of an XPathPrintLimit, but a long text's block grows by doubling:
/// the buffer's own growth by a fixed increment costs time with the square of the length. A
/// negative length takes the whole text.
void appendText(CStringBuffer &buffer, const char *pszText, int nLength = -1);

/// "Y" or "N".
inline const char *yesOrNo(bool bFlag) {
    return bFlag ? "Y" : "N";
}

#endif
