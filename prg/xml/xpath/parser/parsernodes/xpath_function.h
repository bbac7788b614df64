#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_FUNCTION_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_FUNCTION_H

#include "prg/xml/xpath/parser/parsernodes/xpath_list.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_name.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_node_test.h"

/// A function call. It is a node test, so that it can stand where an axis expects its test.
class XPathFunction : public XPathNodeTest {
public:
    /// Takes ownership of the name; no arguments, no wildcard mark.
    explicit XPathFunction(XPathName *pName);
    explicit XPathFunction(const char *pszName);
    /// Copies the name; the argument list is lost, since the copy of a list is a plain list
    /// (meant).
    XPathFunction(const XPathFunction &source);
    XPathFunction &operator=(const XPathFunction &) = delete;
    ~XPathFunction() override;

    XPathExpression *Clone() const override;
    /// The name, "(", the arguments separated by ",", ")".
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    /// Takes ownership of the list; a list held before is not deleted.
    void SetArgs(XPathExpressionList *pArgs) { m_pArgs = pArgs; }
    /// Owned by the function; null when it was called without arguments.
    XPathExpressionList *GetArgs() const { return m_pArgs; }
    /// Fills the buffer with the local name, without namespace.
    void GetName(CStringBuffer &name) const;

private:
    XPathName *m_pName;
    XPathExpressionList *m_pArgs = nullptr;
};

#endif
