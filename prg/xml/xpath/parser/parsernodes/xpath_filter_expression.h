#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_FILTER_EXPRESSION_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_FILTER_EXPRESSION_H

#include <memory>

#include "prg/xml/xpath/parser/parsernodes/xpath_location_step.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_predicate.h"

/// An expression with at most one predicate behind it; further predicates nest:
/// 'x'[a][b] is the filter of ('x'[a]) by b. It is a location step, so that a path can hold it.
/// Printing, dumping and copying need no more stack for a long chain than for a short one.
class XPathFilterExpression : public XPathLocationStep {
public:
    /// Takes ownership; step parent XPATH_STEP_PARENT_NONE, no predicate.
    explicit XPathFilterExpression(XPathExpression *pExpr);
    XPathFilterExpression(XPathExpression *pExpr, XPathPredicate *pPredicate);
    XPathFilterExpression(const XPathFilterExpression &source);
    XPathFilterExpression &operator=(const XPathFilterExpression &) = delete;
    ~XPathFilterExpression() override;

    XPathExpression *Clone() const override;
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    XPathExpression *GetExpression() const { return m_pExpr; }

private:
    friend class XPathSpine;
    bool DumpHead(CStringBuffer &buffer, int nIndent) const;
    /// Like the copy constructor, with the copy of the held expression already made.
    XPathFilterExpression(const XPathFilterExpression &source,
                          std::unique_ptr<XPathExpression> pExprCopy);

    XPathExpression *m_pExpr;
    XPathPredicate *m_pPredicate;
};

#endif
