// The small composite nodes: predicates, variables, functions, filter expressions.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "parser_support.h"

using namespace xpathtest;

namespace {

XPathInt *integer(int value) {
    auto *number = new XPathInt();
    *number = value;
    return number;
}

XPathAxisLocationStep *childStep(const char *name) {
    auto *axis = new XPathAxis(new XPathNodeNameTest(new XPathName(name)), false);
    return new XPathAxisLocationStep(axis, nullptr);
}

XPathFunction *concatOf(XPathExpression *first, XPathExpression *second) {
    auto *function = new XPathFunction("concat");
    auto *args = new XPathExpressionList();
    args->Add(first);
    args->Add(second);
    function->SetArgs(args);
    return function;
}

constexpr char cloneMessage[] = "XPathExpression::Clone() is not implemented.";

}  // namespace

TEST(Predicate, PrintsItsExpressionInSquareBrackets) {
    EXPECT_EQ("[1]", text(XPathPredicate(integer(1))));
    EXPECT_EQ("[]", text(XPathPredicate(nullptr)));
    EXPECT_EQ("[x]", text(XPathPredicate(new XPathChar("x")), true, false, false));
}

TEST(Predicate, DumpsItsExpressionAlways) {
    const XPathPredicate predicate(integer(1));
    const std::string both = "\nXPathPredicate\n   XPathInt SCALAR ISPARENTHESIZED=N VALUE=1";
    EXPECT_EQ(both, dump(predicate, true));
    EXPECT_EQ(both, dump(predicate, false));
    EXPECT_EQ("\nXPathPredicate", dump(XPathPredicate(nullptr)));
}

TEST(Predicate, ClonesDeep) {
    XPathPredicate predicate(integer(1));
    predicate.SetParenthesized(true);
    const std::unique_ptr<XPathExpression> copy(predicate.Clone());
    auto *typed = dynamic_cast<XPathPredicate *>(copy.get());
    ASSERT_NE(nullptr, typed);
    EXPECT_EQ("[1]", text(*typed));
    EXPECT_NE(predicate.GetExpression(), typed->GetExpression());
    EXPECT_TRUE(typed->IsParenthesized());
}

TEST(Variable, PrintsDumpsAndClones) {
    const XPathVariable variable(new XPathName("p", "v"));
    EXPECT_EQ("$p:v", text(variable));
    EXPECT_EQ("\nXPathVariable\n   XPathNameXPathName NAMESPACE=\"p\" LOCALNAME=\"v\"",
              dump(variable, false));
    const std::unique_ptr<XPathExpression> copy(variable.Clone());
    EXPECT_EQ("$p:v", text(*copy));
    EXPECT_EQ("", text(XPathVariable(nullptr)));
    EXPECT_EQ("\nXPathVariable", dump(XPathVariable(nullptr)));
}

TEST(Function, PrintsItsNameAndArguments) {
    EXPECT_EQ("last()", text(XPathFunction("last")));
    EXPECT_EQ("p:f()", text(XPathFunction(new XPathName("p", "f"))));
    const std::unique_ptr<XPathFunction> function(concatOf(integer(1), new XPathChar("x")));
    EXPECT_EQ("concat(1,\"x\")", text(*function));
    EXPECT_EQ("concat(1,x)", text(*function, true, false, false));
    EXPECT_EQ("()", text(XPathFunction(static_cast<XPathName *>(nullptr))));
}

TEST(Function, KnowsItsNameAndArguments) {
    const XPathFunction function(new XPathName("p", "f"));
    CStringBuffer name("before");
    function.GetName(name);
    EXPECT_EQ("f", text(name)) << "without namespace";
    EXPECT_EQ(nullptr, function.GetArgs());
    EXPECT_FALSE(function.HasWildcard());
    const std::unique_ptr<XPathFunction> called(concatOf(integer(1), integer(2)));
    ASSERT_NE(nullptr, called->GetArgs());
    EXPECT_EQ(2, called->GetArgs()->GetSize());
}

TEST(Function, DumpsTheNumberOfArguments) {
    EXPECT_EQ("\nXPathFunction WILDCARD=N ARGS=0\n   XPathName LOCALNAME=\"last\"",
              dump(XPathFunction("last")));
    const std::unique_ptr<XPathFunction> function(concatOf(integer(1), integer(2)));
    const std::string head =
        "\nXPathFunction WILDCARD=N ARGS=2"
        "\n   XPathName LOCALNAME=\"concat\""
        "\n   XPathExpressionList COUNT=2";
    EXPECT_EQ(head, dump(*function, false)) << "the list is dumped, its entries are not";
    EXPECT_EQ(head +
                  "\n      XPathInt SCALAR ISPARENTHESIZED=N VALUE=1"
                  "\n      XPathInt SCALAR ISPARENTHESIZED=N VALUE=2",
              dump(*function, true));
}

TEST(Function, ACopyHasNoArguments) {
    const std::unique_ptr<XPathFunction> function(concatOf(integer(1), integer(2)));
    const std::unique_ptr<XPathExpression> copy(function->Clone());
    auto *typed = dynamic_cast<XPathFunction *>(copy.get());
    ASSERT_NE(nullptr, typed);
    EXPECT_EQ(nullptr, typed->GetArgs());
    EXPECT_EQ("concat()", text(*copy));
}

TEST(Function, InAPredicateDumpsAsManyLevelsAsItHas) {
    auto *function = new XPathFunction("f");
    auto *args = new XPathExpressionList();
    args->Add(integer(1));
    function->SetArgs(args);
    EXPECT_EQ(
        "\n   XPathPredicate"
        "\n      XPathFunction WILDCARD=N ARGS=1"
        "\n         XPathName LOCALNAME=\"f\""
        "\n         XPathExpressionList COUNT=1"
        "\n            XPathInt SCALAR ISPARENTHESIZED=N VALUE=1",
        dump(XPathPredicate(function), true, 1));
}

TEST(FilterExpression, OfACallWithAPredicatePrintsBackWithoutBlanks) {
    auto *function = concatOf(new XPathVariable(new XPathName("a")), new XPathChar("x"));
    const XPathFilterExpression filter(function, new XPathPredicate(integer(1)));
    EXPECT_EQ("concat($a,\"x\")[1]", text(filter));
}

TEST(FilterExpression, PrintsItsStepParent) {
    XPathFilterExpression filter(integer(1));
    EXPECT_EQ(XPATH_STEP_PARENT_NONE, filter.GetStepParent());
    EXPECT_EQ("1", text(filter));
    EXPECT_EQ("\nXPathFilterExpression STEP-PARENT=", dump(filter, false));
    filter.SetStepParent(XPATH_STEP_PARENT_IMMEDIATE);
    EXPECT_EQ("/1", text(filter));
    EXPECT_EQ("\nXPathFilterExpression STEP-PARENT=/", dump(filter, false));
    filter.SetStepParent(XPATH_STEP_PARENT_ANY);
    EXPECT_EQ("//1", text(filter));
    EXPECT_EQ("\nXPathFilterExpression STEP-PARENT=//", dump(filter, false));
    EXPECT_EQ("", text(XPathFilterExpression(nullptr)));
}

TEST(FilterExpression, DumpsItsPartsWhenRecursive) {
    const XPathFilterExpression filter(integer(1), new XPathPredicate(integer(2)));
    EXPECT_EQ(
        "\nXPathFilterExpression STEP-PARENT="
        "\n   XPathInt SCALAR ISPARENTHESIZED=N VALUE=1"
        "\n   XPathPredicate"
        "\n      XPathInt SCALAR ISPARENTHESIZED=N VALUE=2",
        dump(filter));
    EXPECT_EQ("\nXPathFilterExpression STEP-PARENT=", dump(filter, false));
}

TEST(FilterExpression, ClonesDeepWithItsStepParent) {
    XPathFilterExpression filter(integer(1), new XPathPredicate(integer(2)));
    filter.SetStepParent(XPATH_STEP_PARENT_ANY);
    const std::unique_ptr<XPathExpression> copy(filter.Clone());
    auto *typed = dynamic_cast<XPathFilterExpression *>(copy.get());
    ASSERT_NE(nullptr, typed);
    EXPECT_EQ("//1[2]", text(*typed));
    EXPECT_NE(filter.GetExpression(), typed->GetExpression());
    const std::unique_ptr<XPathExpression> bare(XPathFilterExpression(integer(1)).Clone());
    EXPECT_EQ("1", text(*bare));
}

TEST(FilterExpression, PassesThePathFlagOn) {
    auto *path = new XPathPath();
    path->Add(childStep("a"));
    const XPathFilterExpression filter(path, new XPathPredicate(integer(1)));
    EXPECT_EQ("child::a[1]", text(filter, true));
    EXPECT_EQ("[1]", text(filter, false));
}

TEST(FilterExpression, WhatCannotBeClonedInsideIsNoLeak) {
    const XPathFilterExpression inside(new XPathExpression(), new XPathPredicate(integer(1)));
    EXPECT_EQ(cloneMessage, thrownMessage([&] { inside.Clone(); }));
    const XPathFilterExpression beside(integer(1), new XPathPredicate(new XPathExpression()));
    EXPECT_EQ(cloneMessage, thrownMessage([&] { beside.Clone(); }));
}
