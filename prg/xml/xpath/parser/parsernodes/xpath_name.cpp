#include "prg/xml/xpath/parser/parsernodes/xpath_name.h"

#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

namespace {
constexpr int nameIncrement = 32;  // a tree holds many names, most of them short
}

XPathName::XPathName(const char *pszLocalName) : XPathName("", pszLocalName) {}

XPathName::XPathName(const char *pszNamespace, const char *pszLocalName)
    : m_namespace(nameIncrement), m_localname(nameIncrement) {
    m_namespace.set(pszNamespace, -1);
    m_localname.set(pszLocalName, -1);
}

XPathName::XPathName(const XPathName &source)
    : XPathExpression(source),
      XPathComposite(source),
      m_namespace(nameIncrement),
      m_localname(nameIncrement) {
    m_namespace.set(source.m_namespace);
    m_localname.set(source.m_localname);
}

XPathName::~XPathName() = default;

XPathExpression *XPathName::Clone() const {
    return new XPathName(*this);
}

void XPathName::ToString(CStringBuffer &buffer, bool, bool, bool) const {
    if (HasNamespace()) {
        appendText(buffer, m_namespace.getBufferPointer(), m_namespace.length());
        appendText(buffer, ":", 1);
    }
    appendText(buffer, m_localname.getBufferPointer(), m_localname.length());
}

void XPathName::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathName")) return;
    if (HasNamespace()) {
        appendText(buffer, "XPathName NAMESPACE=\"");  // the class name once more, meant
        appendText(buffer, m_namespace.getBufferPointer(), m_namespace.length());
        appendText(buffer, "\"", 1);
    }
    appendText(buffer, " LOCALNAME=\"");
    appendText(buffer, m_localname.getBufferPointer(), m_localname.length());
    appendText(buffer, "\"", 1);
}

void XPathName::GetLocalName(CStringBuffer &out) const {
    out.set(m_localname);
}

void XPathName::GetNamespace(CStringBuffer &out) const {
    out.set(m_namespace);
}

bool XPathName::HasNamespace() const {
    return m_namespace.length() > 0;
}
