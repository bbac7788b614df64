// The kinds of set that are not built from other sets.
#ifndef PRG_XML_XPATH_PROCESSOR_LEAF_SEARCH_SETS_H
#define PRG_XML_XPATH_PROCESSOR_LEAF_SEARCH_SETS_H

#include "prg/xml/xpath/parser/parsernodes/xpath_axis.h"
#include "prg/xml/xpath/processor/search_set.h"

// All nodes. It is never executed and has no condition: its number is always 0, which the kernel
// takes for every node there is.
class UniversalSearchSet : public SearchSet {
public:
    // Takes its axis from `expression` when that is an axis step; AXIS_CHILD otherwise.
    UniversalSearchSet(XPathExpression *expression, IZfxLogger *logger);
    ~UniversalSearchSet() override;

    // Does nothing.
    void Execute() override;

    EAxisType GetAxisType() const { return m_eAxisType; }

private:
    EAxisType m_eAxisType;
};

// A set made for an expression; also the base of unions and intersections.
class ExpressionSearchSet : public SearchSet {
public:
    // Both the expression and the condition may be null.
    ExpressionSearchSet(XPathExpression *expression, const char *condition, IZfxLogger *logger);
    ~ExpressionSearchSet() override;

    // Not owned; lives as long as the tree.
    XPathExpression *GetExpression() const { return m_pExpr; }

private:
    XPathExpression *m_pExpr;
};

// The kernel's most recent set under another name: what "." stands for in a comparison.
class ContextSearchSet : public SearchSet {
public:
    ContextSearchSet(XPathExpression *expression, IZfxLogger *logger);
    ~ContextSearchSet() override;

    // Takes over the kernel's most recent set instead of searching, every time it is called.
    void Execute() override;

    // Not owned; lives as long as the tree.
    XPathExpression *GetExpression() const { return m_pExpr; }

private:
    XPathExpression *m_pExpr;
};

#endif
