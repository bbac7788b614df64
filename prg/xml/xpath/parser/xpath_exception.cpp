#include "prg/xml/xpath/parser/xpath_exception.h"

namespace {
constexpr int messageIncrement = 256;
}

XPathException::XPathException() : m_msg(messageIncrement) {}

XPathException::XPathException(const char *pszMessage) : m_msg(messageIncrement) {
    m_msg.set(pszMessage, -1);
}

XPathException::~XPathException() = default;

void XPathException::GetErrorMessage(char *pszBuffer, int nSize) const {
    m_msg.copyTo(pszBuffer, nSize);
}
