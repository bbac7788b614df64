#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_NODE_TEST_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_NODE_TEST_H

#include "prg/xml/xpath/parser/parsernodes/xpath_composite.h"

class XPathName;

/// The node-type tests.
enum ENodeType {
    NTYPE_INVALID = 0,
    NTYPE_COMMENT = 1,
    NTYPE_TEXT = 2,
    NTYPE_PROCESSING_INSTRUCTION = 3,
    NTYPE_NODE = 4,
};

/// Which nodes on an axis qualify.
class XPathNodeTest : public XPathComposite {
public:
    explicit XPathNodeTest(bool bWildcard);
    XPathNodeTest(const XPathNodeTest &source);
    XPathNodeTest &operator=(const XPathNodeTest &) = delete;
    ~XPathNodeTest() override;

    XPathExpression *Clone() const override;
    /// "*" for a wildcard, else nothing.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    bool HasWildcard() const { return m_bWildcard; }

private:
    bool m_bWildcard;
};

/// A test for a name.
class XPathNodeNameTest : public XPathNodeTest {
public:
    /// Makes the name and sets the wildcard mark (meant: this is how "*" is built).
    explicit XPathNodeNameTest(const char *pszName);
    /// Takes ownership of the name; no wildcard mark.
    explicit XPathNodeNameTest(XPathName *pName);
    XPathNodeNameTest(const XPathNodeNameTest &source);
    XPathNodeNameTest &operator=(const XPathNodeNameTest &) = delete;
    ~XPathNodeNameTest() override;

    XPathExpression *Clone() const override;
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    /// Owned by the test; may be null.
    XPathName *GetName() const { return m_pName; }

private:
    XPathName *m_pName;
};

/// A test for a kind of node: comment(), text(), processing-instruction(), node().
class XPathNodeTypeTest : public XPathNodeTest {
public:
    explicit XPathNodeTypeTest(ENodeType nType);
    XPathNodeTypeTest(const XPathNodeTypeTest &source);
    XPathNodeTypeTest &operator=(const XPathNodeTypeTest &) = delete;
    ~XPathNodeTypeTest() override;

    XPathExpression *Clone() const override;
    /// Nothing for NTYPE_INVALID.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    ENodeType GetNodeType() const { return m_nType; }
    void SetNodeType(ENodeType nType) { m_nType = nType; }

private:
    ENodeType m_nType;
};

#endif
