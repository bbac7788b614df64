// The trees of requests, as the debug log shows them.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "parser_support.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

using namespace xpathtest;

namespace {

std::string dumped(const std::string &request) {
    const auto statement = tree(request);
    return statement != nullptr ? dump(*statement) : "";
}

/// The dump of the one predicate expression of "a[...]".
std::string dumpedPredicate(const std::string &expression) {
    const auto statement = tree(requestWith(expression));
    return statement != nullptr ? dump(*predicateOf(*statement)) : "";
}

}  // namespace

TEST(DebugDump, OneStep) {
    EXPECT_EQ(R"(
XPathPath COUNT=1
   XPathAxisLocationStep STEP-PARENT= PREDICATES=0
      XPathAxis AXIS=child
         XPathNodeNameTest WILDCARD=N
            XPathName LOCALNAME="a"
      XPathExpressionList COUNT=0)",
              dumped("a"));
}

TEST(DebugDump, TheDoubleSlashIsAStepAndNeverAStepParent) {
    EXPECT_EQ(R"(
XPathPath COUNT=2
   XPathAxisLocationStep STEP-PARENT=/ PREDICATES=0
      XPathAxis AXIS=descendant-or-self
         XPathNodeTypeTest WILDCARD=N TYPE=node()
      XPathExpressionList COUNT=0
   XPathAxisLocationStep STEP-PARENT=/ PREDICATES=0
      XPathAxis AXIS=attribute AT=Y
         XPathNodeNameTest WILDCARD=N
            XPathName LOCALNAME="x"
      XPathExpressionList COUNT=0)",
              dumped("//@x"));
}

TEST(DebugDump, ContextAndParentStepsHaveNoPredicateList) {
    EXPECT_EQ(R"(
XPathPath COUNT=2
   XPathAxisLocationStep STEP-PARENT= PREDICATES=0
      XPathAxis AXIS=self
         XPathNodeTypeTest WILDCARD=N TYPE=node()
   XPathAxisLocationStep STEP-PARENT=/ PREDICATES=0
      XPathAxis AXIS=parent
         XPathNodeNameTest WILDCARD=Y
            XPathName LOCALNAME="*")",
              dumped("./.."));
}

TEST(DebugDump, WildcardsAndNamespaces) {
    EXPECT_EQ(R"(
XPathPath COUNT=3
   XPathAxisLocationStep STEP-PARENT= PREDICATES=0
      XPathAxis AXIS=child
         XPathNodeNameTest WILDCARD=Y
            XPathName LOCALNAME="*"
      XPathExpressionList COUNT=0
   XPathAxisLocationStep STEP-PARENT=/ PREDICATES=0
      XPathAxis AXIS=child
         XPathNodeNameTest WILDCARD=N
            XPathNameXPathName NAMESPACE="p" LOCALNAME=""
      XPathExpressionList COUNT=0
   XPathAxisLocationStep STEP-PARENT=/ PREDICATES=0
      XPathAxis AXIS=namespace
         XPathNodeNameTest WILDCARD=N
            XPathNameXPathName NAMESPACE="p" LOCALNAME="a"
      XPathExpressionList COUNT=0)",
              dumped("*/p:*/namespace::p:a"));
}

TEST(DebugDump, AUnion) {
    EXPECT_EQ(R"(
XPathUnionExpression PARTS=3
   XPathPath COUNT=1
      XPathAxisLocationStep STEP-PARENT= PREDICATES=0
         XPathAxis AXIS=child
            XPathNodeTypeTest WILDCARD=N TYPE=text()
         XPathExpressionList COUNT=0
   XPathPath COUNT=1
      XPathAxisLocationStep STEP-PARENT=/ PREDICATES=0
         XPathAxis AXIS=child
            XPathNodeTypeTest WILDCARD=N TYPE=comment()
         XPathExpressionList COUNT=0
   XPathPath COUNT=1
      XPathAxisLocationStep STEP-PARENT= PREDICATES=0
         XPathAxis AXIS=self
            XPathNodeTypeTest WILDCARD=N TYPE=node())",
              dumped("text()|/comment()|."));
}

TEST(DebugDump, AFunctionIsTheTestOfAStep) {
    EXPECT_EQ(R"(
XPathPath COUNT=1
   XPathAxisLocationStep STEP-PARENT= PREDICATES=0
      XPathAxis AXIS=child
         XPathFunction WILDCARD=N ARGS=3
            XPathName LOCALNAME="f"
            XPathExpressionList COUNT=3
               XPathInt SCALAR ISPARENTHESIZED=N VALUE=1
               XPathChar SCALAR ISPARENTHESIZED=N VALUE="x"
               XPathPath COUNT=1
                  XPathAxisLocationStep STEP-PARENT= PREDICATES=0
                     XPathAxis AXIS=self
                        XPathNodeTypeTest WILDCARD=N TYPE=node()
      XPathExpressionList COUNT=0)",
              dumped("f(1, 'x', .)"));
}

TEST(DebugDump, ABareIntegerPredicateIsAPositionOnTheSelfAxis) {
    EXPECT_EQ(R"(
XPathPath COUNT=1
   XPathAxisLocationStep STEP-PARENT= PREDICATES=1
      XPathAxis AXIS=child
         XPathNodeNameTest WILDCARD=N
            XPathName LOCALNAME="a"
      XPathExpressionList COUNT=1
         XPathPredicate
            XPathExpressionPair OPERATOR="="
               XPathAxisLocationStep STEP-PARENT= PREDICATES=0
                  XPathAxis AXIS=self
                     XPathFunction WILDCARD=N ARGS=0
                        XPathName LOCALNAME="position"
                  XPathExpressionList COUNT=0
               XPathInt SCALAR ISPARENTHESIZED=N VALUE=3)",
              dumped("a[3]"));
}

TEST(DebugDump, OtherLiteralPredicatesAreFilterExpressions) {
    EXPECT_EQ(R"(
XPathFilterExpression STEP-PARENT=
   XPathFloat SCALAR ISPARENTHESIZED=N VALUE=3.00)",
              dumpedPredicate("3.0"));
    EXPECT_EQ(R"(
XPathFilterExpression STEP-PARENT=
   XPathChar SCALAR ISPARENTHESIZED=N VALUE="3")",
              dumpedPredicate("'3'"));
}

TEST(DebugDump, AnElementComparedWithALiteral) {
    EXPECT_EQ(R"(
XPathExpressionPair OPERATOR="="
   XPathPath COUNT=2
      XPathAxisLocationStep STEP-PARENT= PREDICATES=0
         XPathAxis AXIS=child
            XPathNodeNameTest WILDCARD=N
               XPathName LOCALNAME="b"
         XPathExpressionList COUNT=0
      XPathAxisLocationStep STEP-PARENT= PREDICATES=0
         XPathAxis AXIS=child
            XPathNodeTypeTest WILDCARD=N TYPE=text()
         XPathExpressionList COUNT=0
   XPathFilterExpression STEP-PARENT=
      XPathChar SCALAR ISPARENTHESIZED=N VALUE="x")",
              dumpedPredicate("b='x'"));
}

TEST(DebugDump, ComparisonsShareOneLevelAndGroupFromTheLeft) {
    EXPECT_EQ(R"(
XPathExpressionPair OPERATOR="="
   XPathExpressionPair OPERATOR="<"
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=1
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=2
   XPathFilterExpression STEP-PARENT=
      XPathInt SCALAR ISPARENTHESIZED=N VALUE=3)",
              dumpedPredicate("1 < 2 = 3"));
}

TEST(DebugDump, MultiplicationBindsMoreThanAddition) {
    EXPECT_EQ(R"(
XPathExpressionPair OPERATOR="+"
   XPathFilterExpression STEP-PARENT=
      XPathInt SCALAR ISPARENTHESIZED=N VALUE=1
   XPathExpressionPair OPERATOR="*"
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=2
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=3)",
              dumpedPredicate("1 + 2 * 3"));
}

TEST(DebugDump, SubtractionGroupsFromTheLeft) {
    EXPECT_EQ(R"(
XPathExpressionPair OPERATOR="-"
   XPathExpressionPair OPERATOR="-"
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=1
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=2
   XPathFilterExpression STEP-PARENT=
      XPathInt SCALAR ISPARENTHESIZED=N VALUE=3)",
              dumpedPredicate("1 - 2 - 3"));
}

TEST(DebugDump, BracketsGroupAndMarkTheExpressionNotItsScalar) {
    const std::string both = R"(
XPathExpressionPair OPERATOR="*"
   XPathExpressionPair OPERATOR="+"
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=1
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=2
   XPathFilterExpression STEP-PARENT=
      XPathInt SCALAR ISPARENTHESIZED=N VALUE=3)";
    EXPECT_EQ(both, dumpedPredicate("(1 + 2) * (3)"));
    const auto statement = tree("a[(1 + 2) * 3]");
    const auto *pair = dynamic_cast<XPathExpressionPair *>(predicateOf(*statement));
    EXPECT_TRUE(pair->GetLeft()->IsParenthesized());
    EXPECT_FALSE(pair->GetRight()->IsParenthesized());
    EXPECT_FALSE(pair->IsParenthesized());
}

TEST(DebugDump, WordOperatorsAndTheirOperands) {
    EXPECT_EQ(R"(
XPathExpressionPair OPERATOR="DIV"
   XPathExpressionPair OPERATOR="+"
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=1
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=2
   XPathExpressionPair OPERATOR="!="
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=3
      XPathFilterExpression STEP-PARENT=
         XPathInt SCALAR ISPARENTHESIZED=N VALUE=4)",
              dumpedPredicate("1 + 2 div 3 != 4"));
}

TEST(DebugDump, PredicatesOfALiteralNestFromTheLeft) {
    EXPECT_EQ(R"(
XPathFilterExpression STEP-PARENT=
   XPathFilterExpression STEP-PARENT=
      XPathFilterExpression STEP-PARENT=
         XPathChar SCALAR ISPARENTHESIZED=N VALUE="x"
      XPathPredicate
         XPathFilterExpression STEP-PARENT=
            XPathChar SCALAR ISPARENTHESIZED=N VALUE="y"
   XPathPredicate
      XPathFilterExpression STEP-PARENT=
         XPathFloat SCALAR ISPARENTHESIZED=N VALUE=1.50)",
              dumpedPredicate("'x'['y'][1.5]"));
}

TEST(DebugDump, LastMinusANumberIsOnePosition) {
    EXPECT_EQ(R"(
XPathExpressionPair OPERATOR="="
   XPathAxisLocationStep STEP-PARENT= PREDICATES=0
      XPathAxis AXIS=self
         XPathFunction WILDCARD=N ARGS=0
            XPathName LOCALNAME="position"
      XPathExpressionList COUNT=0
   XPathInt SCALAR ISPARENTHESIZED=N VALUE=-4)",
              dumpedPredicate("last() - 3"));
}

TEST(DebugDump, PositionComparedWithLastHasABareNumberOnTheRight) {
    EXPECT_EQ(R"(
XPathExpressionPair OPERATOR=">="
   XPathPath COUNT=1
      XPathAxisLocationStep STEP-PARENT= PREDICATES=0
         XPathAxis AXIS=child
            XPathFunction WILDCARD=N ARGS=0
               XPathName LOCALNAME="position"
         XPathExpressionList COUNT=0
   XPathInt SCALAR ISPARENTHESIZED=N VALUE=-1)",
              dumpedPredicate("position() >= last()"));
}

TEST(DebugDump, WithoutRecursionIsOneLine) {
    EXPECT_EQ("\nXPathPath COUNT=1", dump(*tree("a[b]"), false));
    EXPECT_EQ("\n   XPathUnionExpression PARTS=2", dump(*tree("a|b"), false, 1));
}

TEST(DebugDump, TooLongADumpIsCutAndSaysSo) {
    const std::string request = requestWith(repeated("f(", 4900) + "a" + repeated(")", 4900));
    const std::string longDump = dumped(request);
    const std::string mark = dumpCutMark;
    EXPECT_GT(longDump.size(), static_cast<size_t>(maxDumpLength));
    EXPECT_LT(longDump.size(), static_cast<size_t>(maxDumpLength) + 200000);
    EXPECT_EQ(mark, longDump.substr(longDump.size() - mark.size()));
    EXPECT_EQ(longDump.find(mark), longDump.size() - mark.size()) << "once";
}
