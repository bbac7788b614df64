#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_STATEMENT_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_STATEMENT_H

#include <ctime>

#include "prg/xml/xpath/parser/parsernodes/xpath_composite.h"

/// A node that can be the root of a request; knows when it was made.
class XPathStatement : public virtual XPathComposite {
public:
    /// Stores the current time.
    XPathStatement();
    /// Keeps the source's time: a copy is as old as its source.
    XPathStatement(const XPathStatement &source);
    XPathStatement &operator=(const XPathStatement &) = delete;
    ~XPathStatement() override;

    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    /// Writes the current time to `*pTimestamp`; takes no time from the caller.
    virtual void SetTimestamp(time_t *pTimestamp);

    /// Seconds since the epoch.
    time_t GetTimestamp() const { return m_timestamp; }

protected:
    time_t m_timestamp = 0;
};

#endif
