#ifndef PRG_XML_XPATH_PARSER_ZX_GRAMMAR_H
#define PRG_XML_XPATH_PARSER_ZX_GRAMMAR_H

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"

/// The tree builders that the grammar's actions call.
///
/// Ownership: a builder takes over every node that it is given, unless it answers null; the result
/// is the caller's. Texts are copied.
namespace ZXGrammar {

/// Reports to the scanner's parser driver; without a driver nothing is recorded.
void Error(void *scanner, const char *pszFormat, ...) __attribute__((format(printf, 2, 3)));

/// A block that the scanner's parser driver owns.
void *StackBlock(void *scanner, size_t nSize);

/// Expressions in predicates, and lists of them.
namespace Expr {

/// "or", "mod" and "div" in any letter case; every other word means "and". "div" is the integer
/// division, not PAIRSEP_DIV (meant).
XPathExpression *AddCompositePair(XPathExpression *pLeft, const char *pszWord,
                                  XPathExpression *pRight);

XPathExpression *OrPair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *AndPair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *EqPair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *NePair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *LtPair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *GtPair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *LePair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *GePair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *AddPair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *SubPair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *MulPair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *DivPair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *IntDivPair(XPathExpression *pLeft, XPathExpression *pRight);
XPathExpression *ModPair(XPathExpression *pLeft, XPathExpression *pRight);

XPathExpressionList *List();
XPathExpressionList *List(XPathExpression *pEntry);
/// Appends to the given list and returns it. REQUIRES: pList is not null.
XPathExpressionList *List(XPathExpressionList *pList, XPathExpression *pEntry);

/// The scalar itself.
XPathExpression *AnyExpr(XPathScalar *pScalar);
XPathUnaryExpression *Unary(XPathExpression *pOperand, bool bNegated);

}  // namespace Expr

/// Paths, their steps and their unions.
namespace NodeSets {

/// Extends the union on the left, or makes one of two paths; what is no path is left out (and
/// deleted).
XPathUnionExpression *UnionExpression(XPathExpression *pLeft, XPathExpression *pRight);

/// A path of one step.
XPathPath *Path(XPathLocationStep *pStep);
/// Roots the path. "//" becomes "/descendant-or-self::node()/": it never reaches the tree.
/// REQUIRES: the path has a step.
XPathPath *Path(XPathStepParent eSeparator, XPathPath *pPath);
/// Appends a step; "//" as above.
XPathPath *Path(XPathPath *pPath, XPathStepParent eSeparator, XPathLocationStep *pStep);
/// A path of descendant-or-self::node() for "//", else of a bare step with that step parent.
XPathPath *Path(XPathStepParent eSeparator);

XPathAxisLocationStep *LocationStep(XPathAxis *pAxis, XPathExpressionList *pPredicates);
/// CONTEXTNODE: self::node(). PARENTNODE: parent::* (meant, not node()). Another token: null.
XPathAxisLocationStep *LocationStep(int nToken);

XPathFilterExpression *FilterExpression(XPathExpression *pExpr);
XPathFilterExpression *FilterExpression(XPathExpression *pExpr, XPathPredicate *pPredicate);

}  // namespace NodeSets

/// Axes, node tests, names, functions and predicates.
namespace Composite {

/// Null for a name that is no axis; the test stays the caller's then.
XPathAxis *Axis(const char *pszName, XPathNodeTest *pTest);
/// The attribute axis with the at sign, the child axis without.
XPathAxis *Axis(XPathNodeTest *pTest, bool bAt);

/// The wildcard.
XPathNodeTest *NodeTest();
XPathNodeTest *NodeTest(ENodeType nType);
XPathNodeTest *NodeTest(XPathName *pName);
/// As a call: the node-type test, or position() or last(), of that name in any letter case; null
/// for every other name. Not as a call: a name test made of the text (with its wildcard mark).
XPathNodeTest *NodeTest(const char *pszName, bool bIsCall);
XPathNodeTest *NodeTest(XPathChar *pName, bool bIsCall);

XPathFunction *Function(const char *pszName, XPathExpressionList *pArgs);
XPathFunction *Function(XPathName *pName);
XPathFunction *Function(XPathName *pName, XPathExpressionList *pArgs);

XPathVariable *Variable(XPathName *pName);

XPathName *Name(const char *pszLocalName);
XPathName *Name(const char *pszNamespace, const char *pszLocalName);
XPathName *Name(XPathChar *pLocalName);
XPathName *Name(XPathChar *pNamespace, XPathChar *pLocalName);

/// A predicate. A bare integer n becomes self::position() = n.
XPathPredicate *Predicate(XPathExpression *pExpr);

}  // namespace Composite

/// Literals.
namespace Scalar {

XPathScalar *StringLiteral(const char *pszText);
XPathScalar *IntegerLiteral(int nValue);
XPathScalar *FloatLiteral(double fValue);

/// The node itself.
XPathNumeric *NumericLiteral(XPathInt *pNumber);
XPathNumeric *NumericLiteral(XPathFloat *pNumber);
XPathScalar *AnyLiteral(XPathNumeric *pNumber);
XPathScalar *AnyLiteral(XPathChar *pText);

}  // namespace Scalar

namespace Utils {

/// The local time as "2005-12-31 23:59:59". The argument has no meaning.
XPathChar *CurrentTimestamp(int nUnused);

/// Prints the formatted text and a line feed to standard error.
void LogToConsole(const char *pszFormat, ...) __attribute__((format(printf, 1, 2)));

}  // namespace Utils

}  // namespace ZXGrammar

#endif
