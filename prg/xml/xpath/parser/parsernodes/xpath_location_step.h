#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_LOCATION_STEP_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_LOCATION_STEP_H

#include "prg/xml/xpath/parser/parsernodes/xpath_axis.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_composite.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_list.h"

/// What precedes a step.
enum XPathStepParent {
    XPATH_STEP_PARENT_NONE = 0,       ///< nothing: the first step of a relative path
    XPATH_STEP_PARENT_IMMEDIATE = 1,  ///< "/"
    XPATH_STEP_PARENT_ANY = 2,        ///< "//"
};

/// A step of a location path.
class XPathLocationStep : public XPathComposite {
public:
    explicit XPathLocationStep(XPathStepParent eStepParent);
    XPathLocationStep(const XPathLocationStep &source);
    XPathLocationStep &operator=(const XPathLocationStep &) = delete;
    ~XPathLocationStep() override;

    XPathExpression *Clone() const override;
    /// "/", "//" or nothing, by the step parent.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    void SetStepParent(XPathStepParent eStepParent) { m_eStepParent = eStepParent; }
    XPathStepParent GetStepParent() const { return m_eStepParent; }

protected:
    /// "/", "//" or "".
    const char *StepParentText() const;

private:
    XPathStepParent m_eStepParent;
};

/// A step along an axis, with its predicates. Its step parent is set by the path builder.
class XPathAxisLocationStep : public XPathLocationStep {
public:
    /// Takes ownership; the predicates (XPathPredicate entries) may be null.
    XPathAxisLocationStep(XPathAxis *pAxis, XPathExpressionList *pPredicates);
    /// Copies the axis; the predicates are lost, since the copy of a list is a plain list (meant).
    XPathAxisLocationStep(const XPathAxisLocationStep &source);
    XPathAxisLocationStep &operator=(const XPathAxisLocationStep &) = delete;
    ~XPathAxisLocationStep() override;

    XPathExpression *Clone() const override;
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    XPathAxis *GetAxis() const { return m_pAxis; }
    /// Null when there is no list.
    XPathExpressionList *GetPredicates() const { return m_pPredicates; }

private:
    XPathAxis *m_pAxis;
    XPathExpressionList *m_pPredicates;
};

#endif
