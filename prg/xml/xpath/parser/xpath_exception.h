#ifndef PRG_XML_XPATH_PARSER_XPATH_EXCEPTION_H
#define PRG_XML_XPATH_PARSER_XPATH_EXCEPTION_H

#include "foundation/string_buffer.h"

/// The one exception of the parser, the expression tree and the query processor.
///
/// It is allocated with new and thrown as a pointer: the catcher owns it, reads the message and
/// deletes it. The raiser passes the finished text; the exception formats nothing.
class XPathException {
public:
    /// An empty message.
    XPathException();
    /// Copies the whole message.
    explicit XPathException(const char *pszMessage);
    XPathException(const XPathException &) = delete;
    XPathException &operator=(const XPathException &) = delete;
    virtual ~XPathException();

    /// Copies at most nSize - 1 bytes of the message and a terminating NUL into pszBuffer.
    void GetErrorMessage(char *pszBuffer, int nSize) const;

private:
    CStringBuffer m_msg;
};

#endif
