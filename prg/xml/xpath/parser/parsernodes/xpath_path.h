#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_PATH_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_PATH_H

#include "prg/xml/xpath/parser/parsernodes/xpath_list.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_location_step.h"

/// A location path: its steps in order. The steps know whether "/" or "//" precedes them.
class XPathPath : public virtual XPathList<XPathLocationStep> {
public:
    XPathPath() = default;
    ~XPathPath() override;

    /// The steps in order; nothing at all when bPaths is false.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;
};

/// A union of location paths, in the order written.
class XPathUnionExpression : public XPathList<XPathPath> {
public:
    XPathUnionExpression() = default;
    ~XPathUnionExpression() override;

    /// The paths with "|" between them.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;
};

#endif
