#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_NAME_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_NAME_H

#include "prg/xml/xpath/parser/parsernodes/xpath_composite.h"

/// A name with an optional namespace prefix. Null texts count as empty.
class XPathName : public XPathComposite {
public:
    explicit XPathName(const char *pszLocalName);
    XPathName(const char *pszNamespace, const char *pszLocalName);
    XPathName(const XPathName &source);
    XPathName &operator=(const XPathName &) = delete;
    ~XPathName() override;

    XPathExpression *Clone() const override;
    /// The namespace and ":" when there is one, then the local name.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    /// Replace the contents of `out`.
    void GetLocalName(CStringBuffer &out) const;
    void GetNamespace(CStringBuffer &out) const;
    bool HasNamespace() const;

private:
    CStringBuffer m_namespace;
    CStringBuffer m_localname;
};

#endif
