#include <cassert>

#include "foundation/keyword.h"
#include "prg/xml/xpath/parser/zx_grammar.h"

namespace ZXGrammar::Expr {

XPathExpression *AddCompositePair(XPathExpression *pLeft, const char *pszWord,
                                  XPathExpression *pRight) {
    if (equalsNoCase(pszWord, "or")) return OrPair(pLeft, pRight);
    if (equalsNoCase(pszWord, "mod")) return ModPair(pLeft, pRight);
    if (equalsNoCase(pszWord, "div")) return IntDivPair(pLeft, pRight);
    return AndPair(pLeft, pRight);
}

XPathExpression *OrPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_OR, pRight);
}

XPathExpression *AndPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_AND, pRight);
}

XPathExpression *EqPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_EQ, pRight);
}

XPathExpression *NePair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_NE, pRight);
}

XPathExpression *LtPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_LT, pRight);
}

XPathExpression *GtPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_GT, pRight);
}

XPathExpression *LePair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_LE, pRight);
}

XPathExpression *GePair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_GE, pRight);
}

XPathExpression *AddPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_ADD, pRight);
}

XPathExpression *SubPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_SUB, pRight);
}

XPathExpression *MulPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_MUL, pRight);
}

XPathExpression *DivPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_DIV, pRight);
}

XPathExpression *IntDivPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_INTDIV, pRight);
}

XPathExpression *ModPair(XPathExpression *pLeft, XPathExpression *pRight) {
    return new XPathExpressionPair(pLeft, PAIRSEP_MOD, pRight);
}

XPathExpressionList *List() {
    return new XPathExpressionList();
}

XPathExpressionList *List(XPathExpression *pEntry) {
    return List(List(), pEntry);
}

XPathExpressionList *List(XPathExpressionList *pList, XPathExpression *pEntry) {
    assert(pList != nullptr);
    pList->Add(pEntry);
    return pList;
}

XPathExpression *AnyExpr(XPathScalar *pScalar) {
    return pScalar;
}

XPathUnaryExpression *Unary(XPathExpression *pOperand, bool bNegated) {
    return new XPathUnaryExpression(pOperand, bNegated);
}

}  // namespace ZXGrammar::Expr
