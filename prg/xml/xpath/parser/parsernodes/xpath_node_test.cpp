#include "prg/xml/xpath/parser/parsernodes/xpath_node_test.h"

#include "prg/xml/xpath/parser/parsernodes/xpath_disposal.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_name.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

namespace {

const char *typeText(ENodeType nType) {
    switch (nType) {
        case NTYPE_COMMENT:
            return "comment()";
        case NTYPE_TEXT:
            return "text()";
        case NTYPE_PROCESSING_INSTRUCTION:
            return "processing-instruction()";
        case NTYPE_NODE:
            return "node()";
        case NTYPE_INVALID:
            break;
    }
    return "";
}

}  // namespace

XPathNodeTest::XPathNodeTest(bool bWildcard) : m_bWildcard(bWildcard) {}

XPathNodeTest::XPathNodeTest(const XPathNodeTest &source)
    : XPathExpression(source), XPathComposite(source), m_bWildcard(source.m_bWildcard) {}

XPathNodeTest::~XPathNodeTest() = default;

XPathExpression *XPathNodeTest::Clone() const {
    return new XPathNodeTest(*this);
}

void XPathNodeTest::ToString(CStringBuffer &buffer, bool, bool, bool) const {
    if (HasWildcard()) appendText(buffer, "*", 1);
}

void XPathNodeTest::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathNodeTest WILDCARD=")) return;
    appendText(buffer, yesOrNo(HasWildcard()));
}

XPathNodeNameTest::XPathNodeNameTest(const char *pszName)
    : XPathNodeTest(true), m_pName(new XPathName(pszName)) {}

XPathNodeNameTest::XPathNodeNameTest(XPathName *pName) : XPathNodeTest(false), m_pName(pName) {}

XPathNodeNameTest::XPathNodeNameTest(const XPathNodeNameTest &source)
    : XPathExpression(source),
      XPathNodeTest(source),
      m_pName(source.m_pName != nullptr ? dynamic_cast<XPathName *>(source.m_pName->Clone())
                                        : nullptr) {}

XPathNodeNameTest::~XPathNodeNameTest() {
    disposeNode(m_pName);
}

XPathExpression *XPathNodeNameTest::Clone() const {
    return new XPathNodeNameTest(*this);
}

void XPathNodeNameTest::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix,
                                 bool bSuffix) const {
    if (m_pName != nullptr) m_pName->ToString(buffer, bPaths, bPrefix, bSuffix);
}

void XPathNodeNameTest::ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathNodeNameTest WILDCARD=")) return;
    appendText(buffer, yesOrNo(HasWildcard()));
    if (m_pName != nullptr) m_pName->ToDebugString(buffer, bRecursive, nIndent + 1);
}

XPathNodeTypeTest::XPathNodeTypeTest(ENodeType nType) : XPathNodeTest(false), m_nType(nType) {}

XPathNodeTypeTest::XPathNodeTypeTest(const XPathNodeTypeTest &source)
    : XPathExpression(source), XPathNodeTest(source), m_nType(source.m_nType) {}

XPathNodeTypeTest::~XPathNodeTypeTest() = default;

XPathExpression *XPathNodeTypeTest::Clone() const {
    return new XPathNodeTypeTest(*this);
}

void XPathNodeTypeTest::ToString(CStringBuffer &buffer, bool, bool, bool) const {
    appendText(buffer, typeText(m_nType));
}

void XPathNodeTypeTest::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathNodeTypeTest WILDCARD=")) return;
    appendText(buffer, yesOrNo(HasWildcard()));
    appendText(buffer, " TYPE=");
    appendText(buffer, typeText(m_nType));
}
