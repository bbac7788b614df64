#include "prg/xml/xpath/parser/parsernodes/xpath_expression.h"

#include <algorithm>

#include "prg/xml/xpath/parser/parsernodes/xpath_composite.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"
#include "prg/xml/xpath/parser/xpath_exception.h"

XPathExpression::XPathExpression() : m_entry(*this) {}

XPathExpression::XPathExpression(const XPathExpression &source)
    : m_bIsParenthesized(source.m_bIsParenthesized), m_entry(*this) {}

XPathExpression::~XPathExpression() = default;

XPathExpression *XPathExpression::Clone() const {
    throw new XPathException("XPathExpression::Clone() is not implemented.");
}

void XPathExpression::ToString(CStringBuffer &, bool, bool, bool) const {
    // Scripts know the message with this one argument.
    throw new XPathException("XPathExpression::ToString(CStringBuffer&) is not implemented.");
}

void XPathExpression::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    DumpLine(buffer, nIndent, "XPathExpression -- INVALID USE OF BASE CLASS");
}

void XPathExpression::IndentLevel(CStringBuffer &buffer, int nIndent) const {
    static constexpr char blanks[] = "                                                ";
    constexpr int levelsAtOnce = (sizeof blanks - 1) / 3;
    while (nIndent > 0 && buffer.length() < dumpLimit()) {
        const int levels = std::min(nIndent, levelsAtOnce);
        appendText(buffer, blanks, 3 * levels);
        nIndent -= levels;
    }
}

bool XPathExpression::DumpLine(CStringBuffer &buffer, int nIndent, const char *pszLabel) const {
    if (buffer.length() >= dumpLimit()) {
        if (!buffer.endsWith(dumpCutMark)) appendText(buffer, dumpCutMark);
        return false;
    }
    appendText(buffer, "\n", 1);
    IndentLevel(buffer, nIndent);
    appendText(buffer, pszLabel);
    return true;
}

XPathComposite::XPathComposite(const XPathComposite &source) : XPathExpression(source) {}

XPathComposite::~XPathComposite() = default;
