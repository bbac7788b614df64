#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_VARIABLE_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_VARIABLE_H

#include "prg/xml/xpath/parser/parsernodes/xpath_name.h"

/// A variable reference. Owns its name, which may be null. The grammar makes none.
class XPathVariable : public XPathComposite {
public:
    explicit XPathVariable(XPathName *pName);
    XPathVariable(const XPathVariable &source);
    XPathVariable &operator=(const XPathVariable &) = delete;
    ~XPathVariable() override;

    XPathExpression *Clone() const override;
    /// "$" and the name; nothing without a name.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

private:
    XPathName *m_pName;
};

#endif
