#include <cstdio>
#include <cstdlib>

#include "prg/xml/xpath/parser/parsernodes/xpath_scalar.h"

XPathNumeric::XPathNumeric(const XPathNumeric &source)
    : XPathExpression(source), XPathScalar(source) {}

XPathNumeric::~XPathNumeric() = default;

bool XPathNumeric::IsAtom() const {
    return true;
}

void XPathNumeric::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    // The label of a string literal is meant.
    DumpScalar(buffer, nIndent, "XPathChar SCALAR ISPARENTHESIZED=", "");
}

XPathInt::XPathInt(const XPathInt &source)
    : XPathExpression(source), XPathScalar(source), XPathNumeric(source) {
    CopyValue(source);
}

XPathInt::~XPathInt() = default;

int XPathInt::operator()() const {
    return static_cast<int>(std::strtol(ValueText(), nullptr, 10));
}

XPathInt &XPathInt::operator=(int nValue) {
    m_strValue.set(nValue);
    return *this;
}

XPathInt &XPathInt::operator=(const XPathInt &source) {
    CopyValue(source);
    return *this;
}

void XPathInt::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    DumpScalar(buffer, nIndent, "XPathInt SCALAR ISPARENTHESIZED=", "");
}

XPathFloat::XPathFloat(const XPathFloat &source)
    : XPathExpression(source), XPathScalar(source), XPathNumeric(source) {
    *this = source.m_fValue;
}

XPathFloat::~XPathFloat() = default;

double XPathFloat::operator()() const {
    return std::strtod(ValueText(), nullptr);
}

XPathFloat &XPathFloat::operator=(double fValue) {
    m_fValue = fValue;
    char text[256];  // cuts the digits of numbers beyond 1e252, as it always did
    std::snprintf(text, sizeof text, "%.02f", fValue);
    SetValue(text, -1);
    return *this;
}

XPathFloat &XPathFloat::operator=(float fValue) {
    return *this = static_cast<double>(fValue);
}

XPathFloat &XPathFloat::operator=(const XPathFloat &source) {
    if (this != &source) *this = source.m_fValue;
    return *this;
}

void XPathFloat::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    DumpScalar(buffer, nIndent, "XPathFloat SCALAR ISPARENTHESIZED=", "");
}
