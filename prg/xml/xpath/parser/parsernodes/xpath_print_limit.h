#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_PRINT_LIMIT_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_PRINT_LIMIT_H

#include <climits>

#include "foundation/string_buffer.h"

/// For readers that keep the beginning of a text only, as a log does: while an object of this class
/// lives, ToString and ToDebugString stop as soon as their buffer holds `nLength` bytes. What they
/// have printed until then is what they would have printed anyway. It counts for the trees of this
/// thread; the innermost limit holds.
class XPathPrintLimit {
public:
    explicit XPathPrintLimit(int nLength) : m_nOuter(m_nLength) { m_nLength = nLength; }
    ~XPathPrintLimit() { m_nLength = m_nOuter; }
    XPathPrintLimit(const XPathPrintLimit &) = delete;
    XPathPrintLimit &operator=(const XPathPrintLimit &) = delete;

    /// The limit that holds, INT_MAX without one.
    static int Length() { return m_nLength; }

    static bool IsReached(const CStringBuffer &buffer) { return buffer.length() >= m_nLength; }

private:
    int m_nOuter;
    inline static thread_local int m_nLength = INT_MAX;
};

#endif
