#include "prg/xml/xpath/parser/parsernodes/xpath_predicate.h"

#include "prg/xml/xpath/parser/parsernodes/xpath_disposal.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

XPathPredicate::XPathPredicate(XPathExpression *pExpr) : m_pExpr(pExpr) {}

XPathPredicate::XPathPredicate(const XPathPredicate &source)
    : XPathExpression(source),
      XPathComposite(source),
      m_pExpr(source.m_pExpr != nullptr ? source.m_pExpr->Clone() : nullptr) {}

XPathPredicate::~XPathPredicate() {
    disposeNode(m_pExpr);
}

XPathExpression *XPathPredicate::Clone() const {
    return new XPathPredicate(*this);
}

void XPathPredicate::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix,
                              bool bSuffix) const {
    appendText(buffer, "[", 1);
    if (m_pExpr != nullptr) m_pExpr->ToString(buffer, bPaths, bPrefix, bSuffix);
    appendText(buffer, "]", 1);
}

void XPathPredicate::ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathPredicate")) return;
    if (m_pExpr != nullptr) m_pExpr->ToDebugString(buffer, bRecursive, nIndent + 1);
}
