#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_EXPRESSION_PAIR_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_EXPRESSION_PAIR_H

#include <memory>

#include "prg/xml/xpath/parser/parsernodes/xpath_axis.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_function.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_scalar.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_statement.h"

/// Operators of a pair: 3 to 8 compare, 9 to 14 calculate.
enum EPairOperator {
    PAIRSEP_NONE = 0,
    PAIRSEP_OR = 1,
    PAIRSEP_AND = 2,
    PAIRSEP_EQ = 3,
    PAIRSEP_NE = 4,
    PAIRSEP_GT = 5,
    PAIRSEP_LT = 6,
    PAIRSEP_LE = 7,
    PAIRSEP_GE = 8,
    PAIRSEP_ADD = 9,
    PAIRSEP_SUB = 10,
    PAIRSEP_MUL = 11,
    PAIRSEP_DIV = 12,
    PAIRSEP_INTDIV = 13,
    PAIRSEP_MOD = 14,
};

/// The function that a path calls in its last step, or null when `pExpr` is no path or its last
/// step calls none. Stays owned by the path.
XPathFunction *__to_function(const XPathExpression *pExpr);
bool __is_comparison_op(EPairOperator op);
bool __is_arithmetic_op(EPairOperator op);

/// A left operand, an operator and a right operand. Owns the operands.
/// Printing, dumping and copying need no more stack for a long chain (a + b + c + ...) than for a
/// short one.
class XPathExpressionPair : public virtual XPathStatement {
public:
    /// Takes ownership of both operands and rewrites two shapes that cannot be searched as they
    /// are: a child element compared with a literal gains a text() step (whatever the operator
    /// is: meant), and position() compared with last() becomes position() compared with -1.
    XPathExpressionPair(XPathExpression *pLeft, EPairOperator op, XPathExpression *pRight);
    /// Copies the operands that are present, and the operator.
    XPathExpressionPair(const XPathExpressionPair &source);
    XPathExpressionPair &operator=(const XPathExpressionPair &) = delete;
    ~XPathExpressionPair() override;

    XPathExpression *Clone() const override;
    /// Left, operator, right; paths are printed also when bPaths is false. No brackets.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    XPathExpression *GetLeft() const { return m_pLeft; }
    /// Null for a unary expression.
    XPathExpression *GetRight() const { return m_pRight; }
    EPairOperator GetOperator() const { return m_op; }
    bool IsComparison() const { return __is_comparison_op(m_op); }

    /// The axis of the step that the pair's path operand starts with, or AXIS_INVALID.
    EAxisType GetAxisType() const;

    /// last() - n as one integer that counts from the end: -(n + 1); n - 1 for a negative n
    /// (the asymmetry is meant). Null for any other operands. The caller owns the result; the
    /// operands are left alone.
    static XPathScalar *ToScalar(const XPathExpression *pLeft, EPairOperator op,
                                 const XPathExpression *pRight);

private:
    friend class XPathSpine;
    friend class XPathUnaryExpression;
    bool DumpHead(CStringBuffer &buffer, int nIndent) const;
    void DumpOperator(CStringBuffer &buffer) const;
    const char *OperatorText() const;
    /// Like the copy constructor, with the copy of the left operand already made.
    XPathExpressionPair(const XPathExpressionPair &source,
                        std::unique_ptr<XPathExpression> pLeftCopy);

    XPathExpression *m_pLeft;
    XPathExpression *m_pRight;
    EPairOperator m_op;
};

/// A negated (or explicitly not negated) operand: a pair without operator and right side.
class XPathUnaryExpression : public virtual XPathExpressionPair {
public:
    XPathUnaryExpression(XPathExpression *pOperand, bool bNegated);
    XPathUnaryExpression(const XPathUnaryExpression &source);
    XPathUnaryExpression &operator=(const XPathUnaryExpression &) = delete;
    ~XPathUnaryExpression() override;

    XPathExpression *Clone() const override;
    /// "-" when negated, then the operand.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    XPathExpression *Get() const { return GetLeft(); }
    bool IsNegated() const { return m_bIsNegated; }

private:
    friend class XPathSpine;
    bool DumpHead(CStringBuffer &buffer, int nIndent) const;
    XPathUnaryExpression(const XPathUnaryExpression &source,
                         std::unique_ptr<XPathExpression> pOperandCopy);

    bool m_bIsNegated;
};

#endif
