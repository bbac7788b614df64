#include "prg/xml/xpath/parser/parsernodes/xpath_statement.h"

XPathStatement::XPathStatement() {
    XPathStatement::SetTimestamp(&m_timestamp);
}

XPathStatement::XPathStatement(const XPathStatement &source)
    : XPathExpression(source), XPathComposite(source), m_timestamp(source.m_timestamp) {}

XPathStatement::~XPathStatement() = default;

void XPathStatement::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    DumpLine(buffer, nIndent, "XPathStatement -- INVALID USE OF BASE CLASS");
}

void XPathStatement::SetTimestamp(time_t *pTimestamp) {
    *pTimestamp = std::time(nullptr);
}
