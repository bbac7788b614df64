#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_PREDICATE_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_PREDICATE_H

#include "prg/xml/xpath/parser/parsernodes/xpath_composite.h"

/// A condition in square brackets. Owns its expression, which may be null.
class XPathPredicate : public XPathComposite {
public:
    explicit XPathPredicate(XPathExpression *pExpr);
    XPathPredicate(const XPathPredicate &source);
    XPathPredicate &operator=(const XPathPredicate &) = delete;
    ~XPathPredicate() override;

    XPathExpression *Clone() const override;
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    XPathExpression *GetExpression() const { return m_pExpr; }

private:
    XPathExpression *m_pExpr;
};

#endif
