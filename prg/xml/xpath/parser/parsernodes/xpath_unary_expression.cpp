#include <utility>

#include "prg/xml/xpath/parser/parsernodes/xpath_expression_pair.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_spine.h"

XPathUnaryExpression::XPathUnaryExpression(XPathExpression *pOperand, bool bNegated)
    : XPathExpressionPair(pOperand, PAIRSEP_NONE, nullptr), m_bIsNegated(bNegated) {}

XPathUnaryExpression::XPathUnaryExpression(const XPathUnaryExpression &source)
    : XPathUnaryExpression(source, XPathSpine(source.GetLeft()).Clone()) {}

XPathUnaryExpression::XPathUnaryExpression(const XPathUnaryExpression &source,
                                           std::unique_ptr<XPathExpression> pOperandCopy)
    : XPathExpression(source),
      XPathComposite(source),
      XPathStatement(source),
      XPathExpressionPair(source, std::move(pOperandCopy)),
      m_bIsNegated(source.m_bIsNegated) {}

XPathUnaryExpression::~XPathUnaryExpression() = default;

XPathExpression *XPathUnaryExpression::Clone() const {
    return new XPathUnaryExpression(*this);
}

void XPathUnaryExpression::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix,
                                    bool bSuffix) const {
    XPathSpine(this).ToString(buffer, bPaths, bPrefix, bSuffix);
}

void XPathUnaryExpression::ToDebugString(CStringBuffer &buffer, bool bRecursive,
                                         int nIndent) const {
    if (bRecursive) {
        XPathSpine(this).ToDebugString(buffer, nIndent);
    } else {
        DumpHead(buffer, nIndent);
    }
}

bool XPathUnaryExpression::DumpHead(CStringBuffer &buffer, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathUnaryExpression NEGATED=")) return false;
    appendText(buffer, yesOrNo(m_bIsNegated));
    appendText(buffer, " OPERATOR=");
    DumpOperator(buffer);
    return true;
}
