#include "prg/xml/xpath/parser/parsernodes/xpath_axis.h"

#include "foundation/keyword.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_disposal.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

namespace {

struct AxisName {
    EAxisType axis;
    const char *name;
};

/// In the order in which GetAxisType compares.
constexpr AxisName axisNames[] = {
    {AXIS_CHILD, "child"},
    {AXIS_PARENT, "parent"},
    {AXIS_ANCESTOR, "ancestor"},
    {AXIS_ANCESTOR_OR_SELF, "ancestor-or-self"},
    {AXIS_ATTRIBUTE, "attribute"},
    {AXIS_DESCENDANT, "descendant"},
    {AXIS_DESCENDANT_OR_SELF, "descendant-or-self"},
    {AXIS_FOLLOWING, "following"},
    {AXIS_FOLLOWING_SIBLING, "following-sibling"},
    {AXIS_NAMESPACE, "namespace"},
    {AXIS_PRECEDING, "preceding"},
    {AXIS_PRECEDING_SIBLING, "preceding-sibling"},
    {AXIS_SELF, "self"},
};

constexpr int axisNameIncrement = 64;

}  // namespace

const char *XPathAxis::NameOf(EAxisType eAxis) {
    for (const auto &entry : axisNames) {
        if (entry.axis == eAxis) return entry.name;
    }
    return nullptr;
}

XPathAxis::XPathAxis(XPathNodeTest *pTest, bool bAt)
    : m_pTest(pTest),
      m_strName(axisNameIncrement),
      m_nAxisNameId(bAt ? AXIS_ATTRIBUTE : AXIS_CHILD),
      m_bAt(bAt) {
    SetName();
}

XPathAxis::XPathAxis(EAxisType eAxis, XPathNodeTest *pTest)
    : m_pTest(pTest), m_strName(axisNameIncrement), m_nAxisNameId(eAxis), m_bAt(false) {
    SetName();
}

XPathAxis::XPathAxis(const XPathAxis &source)
    : XPathExpression(source),
      XPathComposite(source),
      m_pTest(source.m_pTest != nullptr ? dynamic_cast<XPathNodeTest *>(source.m_pTest->Clone())
                                        : nullptr),
      m_strName(axisNameIncrement),
      m_nAxisNameId(source.m_nAxisNameId),
      m_bAt(source.m_bAt) {
    SetName();
}

XPathAxis::~XPathAxis() {
    disposeNode(m_pTest);
    m_pTest = nullptr;
}

XPathExpression *XPathAxis::Clone() const {
    return new XPathAxis(*this);
}

void XPathAxis::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const {
    appendText(buffer, m_strName.getBufferPointer(), m_strName.length());
    appendText(buffer, "::", 2);
    if (m_pTest != nullptr) m_pTest->ToString(buffer, bPaths, bPrefix, bSuffix);
}

void XPathAxis::ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathAxis AXIS=")) return;
    const char *name = IsAttribute() ? NameOf(AXIS_ATTRIBUTE) : NameOf(m_nAxisNameId);
    appendText(buffer, name != nullptr ? name : "INVALID");
    if (m_bAt) appendText(buffer, " AT=Y");
    if (bRecursive && m_pTest != nullptr) m_pTest->ToDebugString(buffer, true, nIndent + 1);
}

EAxisType XPathAxis::GetAxisType(const char *pszName) {
    if (pszName == nullptr) return AXIS_INVALID;
    for (const auto &entry : axisNames) {
        if (equalsNoCase(pszName, entry.name)) return entry.axis;
    }
    return AXIS_INVALID;
}

void XPathAxis::SetName() {
    if (const char *name = NameOf(m_nAxisNameId)) {
        m_strName.set(name, -1);
    } else if (m_bAt) {
        m_strName.set("attribute", -1);
    }
}

void XPathAxis::SetType(EAxisType eAxis) {
    m_nAxisNameId = eAxis;
    SetName();
}

const char *XPathAxis::GetName() const {
    const char *name = m_strName.getBufferPointer();
    return name != nullptr ? name : "";
}
