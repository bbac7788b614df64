#include "prg/xml/xpath/parser/parsernodes/xpath_variable.h"

#include "prg/xml/xpath/parser/parsernodes/xpath_disposal.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

XPathVariable::XPathVariable(XPathName *pName) : m_pName(pName) {}

XPathVariable::XPathVariable(const XPathVariable &source)
    : XPathExpression(source),
      XPathComposite(source),
      m_pName(source.m_pName != nullptr ? dynamic_cast<XPathName *>(source.m_pName->Clone())
                                        : nullptr) {}

XPathVariable::~XPathVariable() {
    disposeNode(m_pName);
}

XPathExpression *XPathVariable::Clone() const {
    return new XPathVariable(*this);
}

void XPathVariable::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const {
    if (m_pName == nullptr) return;
    appendText(buffer, "$", 1);
    m_pName->ToString(buffer, bPaths, bPrefix, bSuffix);
}

void XPathVariable::ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathVariable")) return;
    if (m_pName != nullptr) m_pName->ToDebugString(buffer, bRecursive, nIndent + 1);
}
