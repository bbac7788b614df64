#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_AXIS_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_AXIS_H

#include "prg/xml/xpath/parser/parsernodes/xpath_node_test.h"

/// The direction of a step from its context node.
enum EAxisType {
    AXIS_INVALID = 0,
    AXIS_CHILD = 1,
    AXIS_ATTRIBUTE = 2,
    AXIS_DESCENDANT = 3,
    AXIS_ANCESTOR = 4,
    AXIS_ANCESTOR_OR_SELF = 5,
    AXIS_DESCENDANT_OR_SELF = 6,
    AXIS_SELF = 7,
    AXIS_FOLLOWING_SIBLING = 8,
    AXIS_PRECEDING_SIBLING = 9,
    AXIS_PARENT = 10,
    AXIS_FOLLOWING = 11,
    AXIS_PRECEDING = 12,
    AXIS_NAMESPACE = 13,
};

/// An axis and the node test on it. Owns the test.
class XPathAxis : public XPathComposite {
public:
    /// The abbreviated form: the attribute axis with the at sign, the child axis without.
    XPathAxis(XPathNodeTest *pTest, bool bAt);
    /// The form with the axis written out.
    XPathAxis(EAxisType eAxis, XPathNodeTest *pTest);
    /// The copy has its own copy of the test.
    XPathAxis(const XPathAxis &source);
    XPathAxis &operator=(const XPathAxis &) = delete;
    ~XPathAxis() override;

    XPathExpression *Clone() const override;
    /// Always the long form: axis name, "::", test.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    /// The axis of a name, in any letter case; AXIS_INVALID for another text (or null).
    static EAxisType GetAxisType(const char *pszName);
    /// The name of an axis; null for AXIS_INVALID.
    static const char *NameOf(EAxisType eAxis);

    /// Sets the name text from the axis. For AXIS_INVALID it becomes "attribute" with the at sign
    /// and stays as it was without.
    void SetName();
    void SetType(EAxisType eAxis);
    EAxisType GetType() const { return m_nAxisNameId; }
    /// Lives until the axis is changed or destroyed; "" when never named.
    const char *GetName() const;
    XPathNodeTest *GetNodeTest() const { return m_pTest; }

    bool IsChild() const { return m_nAxisNameId == AXIS_CHILD; }
    /// Also true for AXIS_INVALID with the at sign.
    bool IsAttribute() const {
        return m_nAxisNameId == AXIS_ATTRIBUTE || (m_nAxisNameId == AXIS_INVALID && m_bAt);
    }
    bool IsDescendant() const { return m_nAxisNameId == AXIS_DESCENDANT; }
    bool IsAncestor() const { return m_nAxisNameId == AXIS_ANCESTOR; }
    bool IsAncestorOrSelf() const { return m_nAxisNameId == AXIS_ANCESTOR_OR_SELF; }
    bool IsDescendantOrSelf() const { return m_nAxisNameId == AXIS_DESCENDANT_OR_SELF; }
    bool IsSelf() const { return m_nAxisNameId == AXIS_SELF; }
    bool IsFollowingSibling() const { return m_nAxisNameId == AXIS_FOLLOWING_SIBLING; }
    bool IsPrecedingSibling() const { return m_nAxisNameId == AXIS_PRECEDING_SIBLING; }
    bool IsParent() const { return m_nAxisNameId == AXIS_PARENT; }
    bool IsFollowing() const { return m_nAxisNameId == AXIS_FOLLOWING; }
    bool IsPreceding() const { return m_nAxisNameId == AXIS_PRECEDING; }
    bool IsNamespace() const { return m_nAxisNameId == AXIS_NAMESPACE; }

private:
    XPathNodeTest *m_pTest;
    CStringBuffer m_strName;
    EAxisType m_nAxisNameId;
    bool m_bAt;
};

#endif
