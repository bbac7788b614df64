#include "prg/xml/xpath/parser/parsernodes/xpath_function.h"

#include <memory>

#include "prg/xml/xpath/parser/parsernodes/xpath_disposal.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

XPathFunction::XPathFunction(XPathName *pName) : XPathNodeTest(false), m_pName(pName) {}

XPathFunction::XPathFunction(const char *pszName)
    : XPathNodeTest(false), m_pName(new XPathName(pszName)) {}

XPathFunction::XPathFunction(const XPathFunction &source)
    : XPathExpression(source), XPathNodeTest(source), m_pName(nullptr) {
    std::unique_ptr<XPathExpression> args(source.m_pArgs ? source.m_pArgs->Clone() : nullptr);
    if (source.m_pName != nullptr) m_pName = dynamic_cast<XPathName *>(source.m_pName->Clone());
    // The copy of a list is a plain list, the cast fails, and the copy has no arguments: meant.
    SetArgs(dynamic_cast<XPathExpressionList *>(args.get()));
    if (m_pArgs != nullptr) static_cast<void>(args.release());
}

XPathFunction::~XPathFunction() {
    disposeNode(m_pName);
    disposeNode(m_pArgs);
}

XPathExpression *XPathFunction::Clone() const {
    return new XPathFunction(*this);
}

void XPathFunction::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const {
    if (m_pName != nullptr) m_pName->ToString(buffer, bPaths, bPrefix, bSuffix);
    appendText(buffer, "(", 1);
    const int count = m_pArgs != nullptr ? m_pArgs->GetSize() : 0;
    for (int i = 0; i < count && !XPathPrintLimit::IsReached(buffer); ++i) {
        if (i > 0) appendText(buffer, ",", 1);
        if (const auto *arg = m_pArgs->Get(i)) arg->ToString(buffer, bPaths, bPrefix, bSuffix);
    }
    appendText(buffer, ")", 1);
}

void XPathFunction::ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathFunction WILDCARD=")) return;
    appendText(buffer, yesOrNo(HasWildcard()));
    appendText(buffer, " ARGS=");
    buffer.append(m_pArgs != nullptr ? m_pArgs->GetSize() : 0);
    if (m_pName != nullptr) m_pName->ToDebugString(buffer, bRecursive, nIndent + 1);
    if (m_pArgs != nullptr) m_pArgs->ToDebugString(buffer, bRecursive, nIndent + 1);
}

void XPathFunction::GetName(CStringBuffer &name) const {
    if (m_pName != nullptr) {
        m_pName->GetLocalName(name);
    } else {
        name.clear();
    }
}
