#include "prg/xml/xpath/parser/parsernodes/xpath_filter_expression.h"

#include <utility>

#include "prg/xml/xpath/parser/parsernodes/xpath_disposal.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_spine.h"

XPathFilterExpression::XPathFilterExpression(XPathExpression *pExpr)
    : XPathFilterExpression(pExpr, nullptr) {}

XPathFilterExpression::XPathFilterExpression(XPathExpression *pExpr, XPathPredicate *pPredicate)
    : XPathLocationStep(XPATH_STEP_PARENT_NONE), m_pExpr(pExpr), m_pPredicate(pPredicate) {}

XPathFilterExpression::XPathFilterExpression(const XPathFilterExpression &source)
    : XPathFilterExpression(source, XPathSpine(source.m_pExpr).Clone()) {}

XPathFilterExpression::XPathFilterExpression(const XPathFilterExpression &source,
                                             std::unique_ptr<XPathExpression> pExprCopy)
    : XPathExpression(source),
      XPathLocationStep(source),
      m_pExpr(nullptr),
      m_pPredicate(source.m_pPredicate != nullptr
                       ? dynamic_cast<XPathPredicate *>(source.m_pPredicate->Clone())
                       : nullptr) {
    m_pExpr = pExprCopy.release();
}

XPathFilterExpression::~XPathFilterExpression() {
    disposeNode(m_pPredicate);
    disposeNode(m_pExpr);
}

XPathExpression *XPathFilterExpression::Clone() const {
    return new XPathFilterExpression(*this);
}

void XPathFilterExpression::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix,
                                     bool bSuffix) const {
    XPathSpine(this).ToString(buffer, bPaths, bPrefix, bSuffix);
}

void XPathFilterExpression::ToDebugString(CStringBuffer &buffer, bool bRecursive,
                                          int nIndent) const {
    if (bRecursive) {
        XPathSpine(this).ToDebugString(buffer, nIndent);
    } else {
        DumpHead(buffer, nIndent);
    }
}

bool XPathFilterExpression::DumpHead(CStringBuffer &buffer, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathFilterExpression STEP-PARENT=")) return false;
    appendText(buffer, StepParentText());
    return true;
}
