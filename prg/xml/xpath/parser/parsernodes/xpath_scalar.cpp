#include "prg/xml/xpath/parser/parsernodes/xpath_scalar.h"

#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

namespace {
constexpr int valueIncrement = 256;
}

XPathScalar::XPathScalar() : m_strValue(valueIncrement) {}

XPathScalar::XPathScalar(const XPathScalar &source)
    : XPathExpression(source), m_eSign(source.m_eSign), m_strValue(valueIncrement) {
    SetParenthesized(false);
}

XPathScalar::~XPathScalar() = default;

XPathExpression *XPathScalar::Clone() const {
    return __clone(this);
}

void XPathScalar::ToString(CStringBuffer &buffer, bool, bool bPrefix, bool bSuffix) const {
    if (IsParenthesized()) appendText(buffer, "(", 1);
    if (bPrefix) AppendPrefix(buffer);
    FormatValue(buffer);
    if (bSuffix) AppendSuffix(buffer);
    if (IsParenthesized()) appendText(buffer, ")", 1);
}

void XPathScalar::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    DumpScalar(buffer, nIndent, "XPathScalar ISPARENTHESIZED=", "\"");
}

void XPathScalar::AppendPrefix(CStringBuffer &) const {}

void XPathScalar::AppendSuffix(CStringBuffer &) const {}

void XPathScalar::FormatValue(CStringBuffer &buffer) const {
    appendText(buffer, ValueText(), m_strValue.length());
}

void XPathScalar::SetValue(const char *pszText, int nLength) {
    m_strValue.set(pszText, nLength);
}

void XPathScalar::SetValue(const CStringBuffer &text) {
    m_strValue.set(text);
}

void XPathScalar::GetValue(CStringBuffer &out) const {
    out.set(m_strValue);
}

int XPathScalar::GetValueLength() const {
    return m_strValue.length();
}

XPathScalar *XPathScalar::__clone(const XPathScalar *pScalar) {
    if (const auto *number = dynamic_cast<const XPathInt *>(pScalar)) return new XPathInt(*number);
    if (const auto *number = dynamic_cast<const XPathFloat *>(pScalar)) {
        return new XPathFloat(*number);
    }
    if (const auto *text = dynamic_cast<const XPathChar *>(pScalar)) return new XPathChar(*text);
    return nullptr;
}

const char *XPathScalar::ValueText() const {
    const char *text = m_strValue.getBufferPointer();
    return text != nullptr ? text : "";
}

void XPathScalar::CopyValue(const XPathScalar &source) {
    if (this != &source) m_strValue.set(source.m_strValue);
}

void XPathScalar::DumpScalar(CStringBuffer &buffer, int nIndent, const char *pszLabel,
                             const char *pszQuote) const {
    if (!DumpLine(buffer, nIndent, pszLabel)) return;
    appendText(buffer, yesOrNo(IsParenthesized()));
    appendText(buffer, " VALUE=");
    appendText(buffer, pszQuote);
    appendText(buffer, ValueText(), m_strValue.length());
    appendText(buffer, pszQuote);
}

XPathChar::XPathChar(const char *pszText) {
    SetValue(pszText, -1);
}

XPathChar::XPathChar(const XPathChar &source) : XPathExpression(source), XPathScalar(source) {
    CopyValue(source);
}

XPathChar::~XPathChar() = default;

const char *XPathChar::operator()() const {
    return ValueText();
}

XPathChar &XPathChar::operator=(const char *pszText) {
    SetValue(pszText, -1);
    return *this;
}

XPathChar &XPathChar::operator=(const XPathChar &source) {
    CopyValue(source);
    return *this;
}

bool XPathChar::IsAtom() const {
    return true;
}

void XPathChar::AppendPrefix(CStringBuffer &buffer) const {
    appendText(buffer, "\"", 1);
}

void XPathChar::AppendSuffix(CStringBuffer &buffer) const {
    appendText(buffer, "\"", 1);
}

void XPathChar::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    DumpScalar(buffer, nIndent, "XPathChar SCALAR ISPARENTHESIZED=", "\"");
}
