// Operator expressions.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <typeinfo>

#include "parser_support.h"

using namespace xpathtest;

namespace {

XPathInt *integer(int value) {
    auto *number = new XPathInt();
    *number = value;
    return number;
}

XPathFilterExpression *literal(const char *value) {
    return new XPathFilterExpression(new XPathChar(value));
}

XPathPath *pathOf(EAxisType axis, XPathNodeTest *test) {
    auto *path = new XPathPath();
    path->Add(new XPathAxisLocationStep(new XPathAxis(axis, test), nullptr));
    return path;
}

XPathPath *element(const char *name) {
    return pathOf(AXIS_CHILD, new XPathNodeNameTest(new XPathName(name)));
}

XPathPath *call(const char *name) {
    return pathOf(AXIS_CHILD, new XPathFunction(name));
}

/// The text of last() op right, as one number; "(none)" when there is none.
std::string scalarText(XPathExpression *left, EPairOperator op, XPathExpression *right) {
    const std::unique_ptr<XPathExpression> leftOwner(left);
    const std::unique_ptr<XPathExpression> rightOwner(right);
    const std::unique_ptr<XPathScalar> result(XPathExpressionPair::ToScalar(left, op, right));
    if (result == nullptr) return "(none)";
    EXPECT_NE(nullptr, dynamic_cast<XPathInt *>(result.get()));
    return text(*result);
}

XPathFilterExpression *number(const char *value) {
    auto *scalar = new XPathInt();
    scalar->SetValue(value, -1);
    return new XPathFilterExpression(scalar);
}

struct OperatorFact {
    int number;
    EPairOperator op;
    const char *surface;
    const char *debug;
};

constexpr OperatorFact operators[] = {
    {0, PAIRSEP_NONE, "", ""},         {1, PAIRSEP_OR, " OR ", "OR"},
    {2, PAIRSEP_AND, " AND ", "AND"},  {3, PAIRSEP_EQ, "=", "="},
    {4, PAIRSEP_NE, "!=", "!="},       {5, PAIRSEP_GT, ">", ">"},
    {6, PAIRSEP_LT, "<", "<"},         {7, PAIRSEP_LE, "<=", "<="},
    {8, PAIRSEP_GE, ">=", ">="},       {9, PAIRSEP_ADD, "+", "+"},
    {10, PAIRSEP_SUB, "-", "-"},       {11, PAIRSEP_MUL, "*", "*"},
    {12, PAIRSEP_DIV, "/", "/"},       {13, PAIRSEP_INTDIV, " DIV ", "DIV"},
    {14, PAIRSEP_MOD, " MOD ", "MOD"},
};

}  // namespace

TEST(Pair, OperatorsPrintAndDumpTheirTexts) {
    for (const OperatorFact &fact : operators) {
        EXPECT_EQ(fact.number, fact.op);
        const XPathExpressionPair pair(integer(1), fact.op, integer(2));
        EXPECT_EQ(fact.op, pair.GetOperator());
        EXPECT_EQ(std::string("1") + fact.surface + "2", text(pair));
        EXPECT_EQ(std::string("\nXPathExpressionPair OPERATOR=\"") + fact.debug + "\"",
                  dump(pair, false));
    }
}

TEST(Pair, ComparisonsAreThreeToEightAndArithmeticIsNineToFourteen) {
    for (const OperatorFact &fact : operators) {
        const bool compares = fact.number >= 3 && fact.number <= 8;
        EXPECT_EQ(compares, __is_comparison_op(fact.op)) << fact.debug;
        EXPECT_EQ(fact.number >= 9, __is_arithmetic_op(fact.op)) << fact.debug;
        EXPECT_EQ(compares, XPathExpressionPair(integer(1), fact.op, integer(2)).IsComparison());
    }
}

TEST(Pair, DumpsBothOperandsWhenRecursive) {
    const XPathExpressionPair pair(integer(1), PAIRSEP_EQ, integer(2));
    EXPECT_EQ(
        "\n   XPathExpressionPair OPERATOR=\"=\""
        "\n      XPathInt SCALAR ISPARENTHESIZED=N VALUE=1"
        "\n      XPathInt SCALAR ISPARENTHESIZED=N VALUE=2",
        dump(pair, true, 1));
}

TEST(Pair, PrintsItsPathsWhateverTheFlagSays) {
    const XPathExpressionPair pair(element("a"), PAIRSEP_EQ, element("b"));
    EXPECT_EQ("child::a=child::b", text(pair, false));
    const XPathExpressionPair quoted(new XPathChar("x"), PAIRSEP_EQ, new XPathChar("y"));
    EXPECT_EQ("x=y", text(quoted, false, false, false));
    EXPECT_EQ("\"x=\"y", text(quoted, false, true, false));
}

TEST(Pair, PrintsPathsBelowItEvenInAFilterExpression) {
    auto *inner = new XPathExpressionPair(element("a"), PAIRSEP_EQ, element("b"));
    auto *filter = new XPathFilterExpression(inner, new XPathPredicate(element("c")));
    const XPathFilterExpression outer(filter, new XPathPredicate(element("d")));
    EXPECT_EQ("child::a=child::b[child::c][child::d]", text(outer, true));
    EXPECT_EQ("child::a=child::b[][]", text(outer, false)) << "the pair's paths alone";
    auto *again = new XPathFilterExpression(element("a"), new XPathPredicate(element("b")));
    const XPathExpressionPair above(again, PAIRSEP_EQ, element("c"));
    EXPECT_EQ("child::a[child::b]=child::c", text(above, false));
}

TEST(Pair, PrintsNoBracketsOfItsOwn) {
    auto *inner = new XPathExpressionPair(integer(1), PAIRSEP_ADD, integer(2));
    inner->SetParenthesized(true);
    XPathInt *three = integer(3);
    three->SetParenthesized(true);
    EXPECT_EQ("1+2*(3)", text(XPathExpressionPair(inner, PAIRSEP_MUL, three)));
}

TEST(Pair, AnElementComparedWithALiteralGainsATextStep) {
    const XPathExpressionPair pair(element("a"), PAIRSEP_EQ, literal("x"));
    EXPECT_EQ("child::achild::text()=\"x\"", text(pair));
    EXPECT_EQ(
        "\nXPathExpressionPair OPERATOR=\"=\""
        "\n   XPathPath COUNT=2"
        "\n      XPathAxisLocationStep STEP-PARENT= PREDICATES=0"
        "\n         XPathAxis AXIS=child"
        "\n            XPathNodeNameTest WILDCARD=N"
        "\n               XPathName LOCALNAME=\"a\""
        "\n      XPathAxisLocationStep STEP-PARENT= PREDICATES=0"
        "\n         XPathAxis AXIS=child"
        "\n            XPathNodeTypeTest WILDCARD=N TYPE=text()"
        "\n         XPathExpressionList COUNT=0"
        "\n   XPathFilterExpression STEP-PARENT="
        "\n      XPathChar SCALAR ISPARENTHESIZED=N VALUE=\"x\"",
        dump(pair));
}

TEST(Pair, TheTextStepComesWithEveryOperator) {
    for (const OperatorFact &fact : operators) {
        const XPathExpressionPair pair(element("a"), fact.op, literal("x"));
        EXPECT_EQ(std::string("child::achild::text()") + fact.surface + "\"x\"", text(pair));
    }
}

TEST(Pair, TheTextStepComesForNothingElse) {
    const auto unchanged = [](XPathExpression *left, XPathExpression *right) {
        const std::string before = text(*left) + "=" + text(*right);
        EXPECT_EQ(before, text(XPathExpressionPair(left, PAIRSEP_EQ, right)));
    };
    unchanged(element("a"), new XPathChar("not in a filter expression"));
    unchanged(element("a"), new XPathFilterExpression(literal("x"), nullptr));
    unchanged(element("a"), element("b"));
    unchanged(literal("x"), element("a"));
    unchanged(pathOf(AXIS_ATTRIBUTE, new XPathNodeNameTest(new XPathName("a"))), literal("x"));
    unchanged(pathOf(AXIS_CHILD, new XPathNodeTypeTest(NTYPE_TEXT)), literal("x"));
    unchanged(pathOf(AXIS_CHILD, new XPathFunction("f")), literal("x"));
    unchanged(new XPathPath(), literal("x"));
    auto *filterLast = element("a");
    filterLast->Add(literal("step"));
    unchanged(filterLast, literal("x"));
}

TEST(Pair, PositionComparedWithLastIsComparedWithMinusOne) {
    for (const OperatorFact &fact : operators) {
        const XPathExpressionPair pair(call("position"), fact.op, call("last"));
        const auto *last = dynamic_cast<XPathInt *>(pair.GetRight());
        EXPECT_EQ(pair.IsComparison(), last != nullptr) << fact.debug;
        if (last != nullptr) {
            EXPECT_EQ(-1, (*last)());
            EXPECT_EQ(std::string("child::position()") + fact.surface + "-1", text(pair));
        }
    }
}

TEST(Pair, FunctionNamesAreFoundInAnyLetterCaseAndWithoutNamespace) {
    const XPathExpressionPair pair(
        pathOf(AXIS_SELF, new XPathFunction(new XPathName("p", "Position"))), PAIRSEP_EQ,
        call("LAST"));
    EXPECT_EQ("self::p:Position()=-1", text(pair));
}

TEST(Pair, LastComparedWithPositionStaysAsItIs) {
    EXPECT_EQ("child::last()=child::position()",
              text(XPathExpressionPair(call("last"), PAIRSEP_EQ, call("position"))));
    EXPECT_EQ("child::position()=child::lasting()",
              text(XPathExpressionPair(call("position"), PAIRSEP_EQ, call("lasting"))));
}

TEST(Pair, ToFunctionFindsTheCallInAPathsLastStep) {
    const std::unique_ptr<XPathPath> path(call("last"));
    ASSERT_NE(nullptr, __to_function(path.get()));
    EXPECT_EQ("last()", text(*__to_function(path.get())));
    const std::unique_ptr<XPathPath> plain(element("a"));
    EXPECT_EQ(nullptr, __to_function(plain.get()));
    EXPECT_EQ(nullptr, __to_function(path->Get(0))) << "a step is no path";
    EXPECT_EQ(nullptr, __to_function(nullptr));
    const XPathPath empty;
    EXPECT_EQ(nullptr, __to_function(&empty));
    XPathPath bare;
    bare.Add(new XPathLocationStep(XPATH_STEP_PARENT_NONE));
    EXPECT_EQ(nullptr, __to_function(&bare));
    bare.Add(new XPathAxisLocationStep(nullptr, nullptr));
    EXPECT_EQ(nullptr, __to_function(&bare));
}

TEST(Pair, LastMinusANumberIsCountedFromTheEnd) {
    struct {
        const char *number;
        const char *result;
    } const facts[] = {
        {"0", "-1"},
        {"2", "-3"},
        {"3", "-4"},
        {"-1", "-2"},
        {"-5", "-6"},
        {"abc", "-1"},
        {"7.9", "-8"},
        {"2147483647", "-2147483648"},
        {"-2147483648", "-2147483648"},
        {"-2147483647", "-2147483648"},
    };
    for (const auto &fact : facts) {
        EXPECT_EQ(fact.result, scalarText(call("last"), PAIRSEP_SUB, number(fact.number)))
            << fact.number;
    }
    EXPECT_EQ("-4", scalarText(call("LAST"), PAIRSEP_SUB, number("3")));
}

TEST(Pair, ToScalarIsNullForAnythingElse) {
    EXPECT_EQ("(none)", scalarText(call("last"), PAIRSEP_ADD, number("3")));
    EXPECT_EQ("(none)", scalarText(call("position"), PAIRSEP_SUB, number("3")));
    EXPECT_EQ("(none)", scalarText(element("last"), PAIRSEP_SUB, number("3")));
    EXPECT_EQ("(none)", scalarText(call("last"), PAIRSEP_SUB, literal("3")));
    EXPECT_EQ("(none)", scalarText(call("last"), PAIRSEP_SUB, integer(3)));
    EXPECT_EQ("(none)", scalarText(call("last"), PAIRSEP_SUB, nullptr));
    EXPECT_EQ("(none)", scalarText(nullptr, PAIRSEP_SUB, number("3")));
}

TEST(Pair, ToScalarReadsADecimalsText) {
    auto *decimal = new XPathFloat();
    *decimal = 2.7;
    EXPECT_EQ("-3", scalarText(call("last"), PAIRSEP_SUB, new XPathFilterExpression(decimal)));
}

TEST(Pair, TheAxisTypeIsThatOfThePathsFirstStep) {
    const auto attribute = [] {
        return pathOf(AXIS_ATTRIBUTE, new XPathNodeNameTest(new XPathName("a")));
    };
    const auto axisOf = [](XPathExpression *left, XPathExpression *right) {
        return XPathExpressionPair(left, PAIRSEP_EQ, right).GetAxisType();
    };
    EXPECT_EQ(AXIS_ATTRIBUTE, axisOf(literal("x"), attribute()));
    EXPECT_EQ(AXIS_ATTRIBUTE, axisOf(new XPathChar("x"), attribute()));
    EXPECT_EQ(AXIS_ATTRIBUTE, axisOf(attribute(), literal("x")));
    EXPECT_EQ(AXIS_CHILD, axisOf(element("a"), attribute())) << "the left side goes first";
    auto *two = element("a");
    two->Add(new XPathAxisLocationStep(new XPathAxis(AXIS_SELF, new XPathNodeTest(true)), nullptr));
    EXPECT_EQ(AXIS_CHILD, axisOf(two, literal("x"))) << "the first step of two";
    EXPECT_EQ(AXIS_PARENT, axisOf(new XPathAxisLocationStep(
                                      new XPathAxis(AXIS_PARENT, new XPathNodeTest(true)), nullptr),
                                  literal("x")))
        << "a step itself";
}

TEST(Pair, TheAxisTypeOfWhatHasNoneIsInvalid) {
    const auto axisOf = [](XPathExpression *left, XPathExpression *right) {
        return XPathExpressionPair(left, PAIRSEP_EQ, right).GetAxisType();
    };
    EXPECT_EQ(AXIS_INVALID, axisOf(literal("x"), literal("y")));
    EXPECT_EQ(AXIS_INVALID, axisOf(literal("x"), nullptr));
    EXPECT_EQ(AXIS_INVALID, axisOf(nullptr, element("a")));
    EXPECT_EQ(AXIS_INVALID, axisOf(new XPathPath(), literal("x")));
    EXPECT_EQ(AXIS_INVALID, axisOf(new XPathUnaryExpression(element("a"), true), literal("x")))
        << "a negated path is no step";
}

TEST(Pair, TheAxisTypeOfANegatedStepIsTheSteps) {
    auto *step =
        new XPathAxisLocationStep(new XPathAxis(AXIS_SELF, new XPathNodeTest(true)), nullptr);
    EXPECT_EQ(AXIS_SELF,
              XPathExpressionPair(new XPathUnaryExpression(step, true), PAIRSEP_EQ, integer(1))
                  .GetAxisType());
}

TEST(Pair, ACopyHasOperandsOfItsOwnAndTheOperator) {
    XPathExpressionPair pair(integer(1), PAIRSEP_LE, new XPathChar("x"));
    pair.SetParenthesized(true);
    const std::unique_ptr<XPathExpression> copy(pair.Clone());
    auto *typed = dynamic_cast<XPathExpressionPair *>(copy.get());
    ASSERT_NE(nullptr, typed);
    EXPECT_EQ("1<=\"x\"", text(*typed));
    EXPECT_EQ(PAIRSEP_LE, typed->GetOperator());
    EXPECT_NE(pair.GetLeft(), typed->GetLeft());
    EXPECT_NE(pair.GetRight(), typed->GetRight());
    EXPECT_TRUE(typed->IsParenthesized());
}

TEST(Pair, ACopyOfAPairWithAPathHoldsAPlainList) {
    const XPathExpressionPair pair(element("a"), PAIRSEP_EQ, integer(1));
    const XPathExpressionPair copy(pair);
    EXPECT_EQ(nullptr, dynamic_cast<XPathPath *>(copy.GetLeft()));
    EXPECT_NE(nullptr, dynamic_cast<XPathList<XPathLocationStep> *>(copy.GetLeft()));
}

TEST(Pair, WhatCannotBeClonedInsideIsNoLeak) {
    const char message[] = "XPathExpression::Clone() is not implemented.";
    const XPathExpressionPair left(new XPathExpression(), PAIRSEP_EQ, integer(1));
    EXPECT_EQ(message, thrownMessage([&] { left.Clone(); }));
    const XPathExpressionPair right(integer(1), PAIRSEP_EQ, new XPathExpression());
    EXPECT_EQ(message, thrownMessage([&] { right.Clone(); }));
    const XPathUnaryExpression unary(
        new XPathExpressionPair(integer(1), PAIRSEP_EQ, new XPathExpression()), true);
    EXPECT_EQ(message, thrownMessage([&] { unary.Clone(); }));
}

TEST(Unary, PrintsAMinusWhenNegated) {
    const XPathUnaryExpression negated(element("a"), true);
    EXPECT_EQ("-child::a", text(negated));
    EXPECT_EQ("-child::a", text(negated, false));
    EXPECT_TRUE(negated.IsNegated());
    EXPECT_EQ("child::a", text(XPathUnaryExpression(element("a"), false)));
}

TEST(Unary, IsAPairWithoutOperatorAndRightSide) {
    const XPathUnaryExpression unary(element("a"), true);
    EXPECT_EQ(unary.GetLeft(), unary.Get());
    EXPECT_EQ(nullptr, unary.GetRight());
    EXPECT_EQ(PAIRSEP_NONE, unary.GetOperator());
    EXPECT_FALSE(unary.IsComparison());
}

TEST(Unary, DumpsAnEmptyOperator) {
    const XPathUnaryExpression unary(integer(1), true);
    EXPECT_EQ("\nXPathUnaryExpression NEGATED=Y OPERATOR=\"\"", dump(unary, false));
    EXPECT_EQ(
        "\nXPathUnaryExpression NEGATED=Y OPERATOR=\"\""
        "\n   XPathInt SCALAR ISPARENTHESIZED=N VALUE=1",
        dump(unary));
    EXPECT_EQ("\nXPathUnaryExpression NEGATED=N OPERATOR=\"\"",
              dump(XPathUnaryExpression(nullptr, false)));
}

TEST(Unary, ACopySkipsTheMissingRightSide) {
    const XPathUnaryExpression unary(integer(1), true);
    const std::unique_ptr<XPathExpression> copy(unary.Clone());
    auto *typed = dynamic_cast<XPathUnaryExpression *>(copy.get());
    ASSERT_NE(nullptr, typed);
    EXPECT_EQ("-1", text(*typed));
    EXPECT_NE(unary.Get(), typed->Get());
    EXPECT_EQ(nullptr, typed->GetRight());
    const std::unique_ptr<XPathExpression> empty(XPathUnaryExpression(nullptr, true).Clone());
    EXPECT_EQ("-", text(*empty));
}

TEST(Casts, WorkThroughTheVirtualBasesAndFailToStrangers) {
    const std::unique_ptr<XPathExpression> pair(
        new XPathUnaryExpression(new XPathFilterExpression(integer(1)), true));
    EXPECT_NE(nullptr, dynamic_cast<XPathUnaryExpression *>(pair.get()));
    EXPECT_NE(nullptr, dynamic_cast<XPathExpressionPair *>(pair.get()));
    EXPECT_NE(nullptr, dynamic_cast<XPathStatement *>(pair.get()));
    EXPECT_NE(nullptr, dynamic_cast<XPathComposite *>(pair.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathPath *>(pair.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathScalar *>(pair.get()));

    const std::unique_ptr<XPathExpression> path(element("a"));
    EXPECT_NE(nullptr, dynamic_cast<XPathPath *>(path.get()));
    EXPECT_NE(nullptr, dynamic_cast<XPathList<XPathLocationStep> *>(path.get()));
    EXPECT_NE(nullptr, dynamic_cast<XPathStatement *>(path.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathUnionExpression *>(path.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathList<XPathPath> *>(path.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathLocationStep *>(path.get()));

    const std::unique_ptr<XPathExpression> filter(literal("x"));
    EXPECT_NE(nullptr, dynamic_cast<XPathLocationStep *>(filter.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathAxisLocationStep *>(filter.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathStatement *>(filter.get()));

    const std::unique_ptr<XPathExpression> function(new XPathFunction("f"));
    EXPECT_NE(nullptr, dynamic_cast<XPathNodeTest *>(function.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathNodeNameTest *>(function.get()));

    const std::unique_ptr<XPathExpression> number(integer(1));
    EXPECT_NE(nullptr, dynamic_cast<XPathNumeric *>(number.get()));
    EXPECT_NE(nullptr, dynamic_cast<XPathScalar *>(number.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathFloat *>(number.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathChar *>(number.get()));
    EXPECT_EQ(nullptr, dynamic_cast<XPathComposite *>(number.get()));
}
