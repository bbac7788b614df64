// Axes, node tests and location steps.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "parser_support.h"

using namespace xpathtest;

namespace {

struct AxisFact {
    int number;
    EAxisType axis;
    const char *name;
    bool (XPathAxis::*is)() const;
};

constexpr AxisFact axes[] = {
    {1, AXIS_CHILD, "child", &XPathAxis::IsChild},
    {2, AXIS_ATTRIBUTE, "attribute", &XPathAxis::IsAttribute},
    {3, AXIS_DESCENDANT, "descendant", &XPathAxis::IsDescendant},
    {4, AXIS_ANCESTOR, "ancestor", &XPathAxis::IsAncestor},
    {5, AXIS_ANCESTOR_OR_SELF, "ancestor-or-self", &XPathAxis::IsAncestorOrSelf},
    {6, AXIS_DESCENDANT_OR_SELF, "descendant-or-self", &XPathAxis::IsDescendantOrSelf},
    {7, AXIS_SELF, "self", &XPathAxis::IsSelf},
    {8, AXIS_FOLLOWING_SIBLING, "following-sibling", &XPathAxis::IsFollowingSibling},
    {9, AXIS_PRECEDING_SIBLING, "preceding-sibling", &XPathAxis::IsPrecedingSibling},
    {10, AXIS_PARENT, "parent", &XPathAxis::IsParent},
    {11, AXIS_FOLLOWING, "following", &XPathAxis::IsFollowing},
    {12, AXIS_PRECEDING, "preceding", &XPathAxis::IsPreceding},
    {13, AXIS_NAMESPACE, "namespace", &XPathAxis::IsNamespace},
};

XPathNodeTest *named(const char *name) {
    return new XPathNodeNameTest(new XPathName(name));
}

XPathExpressionList *onePredicate(int number) {
    auto *value = new XPathInt();
    *value = number;
    auto *list = new XPathExpressionList();
    list->Add(new XPathPredicate(value));
    return list;
}

}  // namespace

TEST(Axis, NumbersNamesAndQuestionsGoTogether) {
    EXPECT_EQ(0, AXIS_INVALID);
    for (const AxisFact &fact : axes) {
        EXPECT_EQ(fact.number, fact.axis) << fact.name;
        const XPathAxis axis(fact.axis, named("a"));
        EXPECT_EQ(fact.axis, axis.GetType());
        EXPECT_STREQ(fact.name, axis.GetName());
        EXPECT_EQ(fact.name + std::string("::a"), text(axis));
        EXPECT_EQ(fact.axis, XPathAxis::GetAxisType(fact.name));
        for (const AxisFact &other : axes) {
            EXPECT_EQ(&fact == &other, (axis.*other.is)()) << fact.name << ' ' << other.name;
        }
        EXPECT_EQ(std::string("\nXPathAxis AXIS=") + fact.name, dump(axis, false));
    }
}

TEST(Axis, NamesAreFoundInAnyLetterCaseAndOnlyWhole) {
    EXPECT_EQ(AXIS_CHILD, XPathAxis::GetAxisType("CHILD"));
    EXPECT_EQ(AXIS_ANCESTOR_OR_SELF, XPathAxis::GetAxisType("Ancestor-Or-Self"));
    EXPECT_EQ(AXIS_ANCESTOR, XPathAxis::GetAxisType("ancestor"));
    for (const char *name : {"", "chld", "childs", "ancestor-or-sel", " child", "child ", "*"}) {
        EXPECT_EQ(AXIS_INVALID, XPathAxis::GetAxisType(name)) << name;
    }
    EXPECT_EQ(AXIS_INVALID, XPathAxis::GetAxisType(nullptr));
}

TEST(Axis, TheAbbreviatedFormIsChildOrAttribute) {
    const XPathAxis child(named("a"), false);
    EXPECT_TRUE(child.IsChild());
    EXPECT_EQ("child::a", text(child));
    EXPECT_EQ("\nXPathAxis AXIS=child", dump(child, false));

    const XPathAxis attribute(named("a"), true);
    EXPECT_EQ(AXIS_ATTRIBUTE, attribute.GetType());
    EXPECT_TRUE(attribute.IsAttribute());
    EXPECT_STREQ("attribute", attribute.GetName());
    EXPECT_EQ("attribute::a", text(attribute));
    EXPECT_EQ("\nXPathAxis AXIS=attribute AT=Y", dump(attribute, false));
}

TEST(Axis, AnInvalidAxisWithTheAtSignStaysAnAttribute) {
    XPathAxis axis(named("a"), true);
    axis.SetType(AXIS_PARENT);
    EXPECT_STREQ("parent", axis.GetName());
    axis.SetType(AXIS_INVALID);
    EXPECT_EQ(AXIS_INVALID, axis.GetType());
    EXPECT_TRUE(axis.IsAttribute());
    EXPECT_STREQ("attribute", axis.GetName());
    EXPECT_EQ("\nXPathAxis AXIS=attribute AT=Y", dump(axis, false));
}

TEST(Axis, AnInvalidAxisWithoutTheAtSignKeepsItsName) {
    XPathAxis axis(AXIS_SELF, named("a"));
    axis.SetType(AXIS_INVALID);
    EXPECT_FALSE(axis.IsAttribute());
    EXPECT_FALSE(axis.IsSelf());
    EXPECT_STREQ("self", axis.GetName());
    EXPECT_EQ("\nXPathAxis AXIS=INVALID", dump(axis, false));
    const XPathAxis unnamed(AXIS_INVALID, named("a"));
    EXPECT_STREQ("", unnamed.GetName());
    EXPECT_EQ("::a", text(unnamed));
}

TEST(Axis, SetTypeRenames) {
    XPathAxis axis(named("a"), false);
    axis.SetType(AXIS_DESCENDANT);
    EXPECT_EQ("descendant::a", text(axis));
    EXPECT_TRUE(axis.IsDescendant());
}

TEST(Axis, DumpsItsTestWhenRecursive) {
    const XPathAxis axis(AXIS_SELF, new XPathNodeTypeTest(NTYPE_TEXT));
    EXPECT_EQ("\nXPathAxis AXIS=self", dump(axis, false));
    EXPECT_EQ("\nXPathAxis AXIS=self\n   XPathNodeTypeTest WILDCARD=N TYPE=text()", dump(axis));
    EXPECT_EQ("\nXPathAxis AXIS=self", dump(XPathAxis(AXIS_SELF, nullptr)));
    EXPECT_EQ("self::", text(XPathAxis(AXIS_SELF, nullptr)));
}

TEST(Axis, ACopyHasATestOfItsOwn) {
    const XPathAxis axis(named("a"), true);
    const std::unique_ptr<XPathExpression> copy(axis.Clone());
    auto *typed = dynamic_cast<XPathAxis *>(copy.get());
    ASSERT_NE(nullptr, typed);
    EXPECT_NE(axis.GetNodeTest(), typed->GetNodeTest());
    EXPECT_EQ("attribute::a", text(*typed));
    EXPECT_EQ(dump(axis), dump(*typed));
}

TEST(Axis, ACopyOfAnInvalidAxisIsNamedByTheAtSignAlone) {
    XPathAxis with(named("a"), true);
    with.SetType(AXIS_INVALID);
    EXPECT_STREQ("attribute", XPathAxis(with).GetName());
    XPathAxis without(AXIS_SELF, named("a"));
    without.SetType(AXIS_INVALID);
    EXPECT_STREQ("", XPathAxis(without).GetName());
}

TEST(NodeTest, NumbersOfTheTypes) {
    EXPECT_EQ(0, NTYPE_INVALID);
    EXPECT_EQ(1, NTYPE_COMMENT);
    EXPECT_EQ(2, NTYPE_TEXT);
    EXPECT_EQ(3, NTYPE_PROCESSING_INSTRUCTION);
    EXPECT_EQ(4, NTYPE_NODE);
}

TEST(NodeTest, PlainTestPrintsAStarForTheWildcard) {
    EXPECT_EQ("*", text(XPathNodeTest(true)));
    EXPECT_EQ("", text(XPathNodeTest(false)));
    EXPECT_EQ("\nXPathNodeTest WILDCARD=Y", dump(XPathNodeTest(true)));
    EXPECT_EQ("\nXPathNodeTest WILDCARD=N", dump(XPathNodeTest(false)));
    const std::unique_ptr<XPathExpression> copy(XPathNodeTest(true).Clone());
    EXPECT_EQ("*", text(*copy));
}

TEST(NodeTest, ANameGivenAsTextSetsTheWildcardMarkAndANameDoesNot) {
    const XPathNodeNameTest star("*");
    EXPECT_TRUE(star.HasWildcard());
    EXPECT_EQ("*", text(star));
    EXPECT_EQ("\nXPathNodeNameTest WILDCARD=Y\n   XPathName LOCALNAME=\"*\"", dump(star));
    EXPECT_TRUE(XPathNodeNameTest("a").HasWildcard());

    const XPathNodeNameTest named(new XPathName("p", "a"));
    EXPECT_FALSE(named.HasWildcard());
    EXPECT_EQ("p:a", text(named));
    EXPECT_EQ(
        "\nXPathNodeNameTest WILDCARD=N\n   XPathNameXPathName NAMESPACE=\"p\" LOCALNAME=\"a\"",
        dump(named, false));
    ASSERT_NE(nullptr, named.GetName());
    EXPECT_TRUE(named.GetName()->HasNamespace());
}

TEST(NodeTest, ANameTestWithoutNamePrintsNothing) {
    const XPathNodeNameTest nameless(static_cast<XPathName *>(nullptr));
    EXPECT_EQ("", text(nameless));
    EXPECT_EQ("\nXPathNodeNameTest WILDCARD=N", dump(nameless));
    const std::unique_ptr<XPathExpression> copy(nameless.Clone());
    EXPECT_EQ("", text(*copy));
}

TEST(NodeTest, ACopiedNameTestHasANameOfItsOwn) {
    const XPathNodeNameTest star("*");
    const std::unique_ptr<XPathExpression> copy(star.Clone());
    auto *typed = dynamic_cast<XPathNodeNameTest *>(copy.get());
    ASSERT_NE(nullptr, typed);
    EXPECT_TRUE(typed->HasWildcard());
    EXPECT_NE(star.GetName(), typed->GetName());
    EXPECT_EQ("*", text(*typed));
}

TEST(NodeTest, TypeTestsPrintTheirType) {
    struct {
        ENodeType type;
        const char *text;
    } const facts[] = {
        {NTYPE_COMMENT, "comment()"},
        {NTYPE_TEXT, "text()"},
        {NTYPE_PROCESSING_INSTRUCTION, "processing-instruction()"},
        {NTYPE_NODE, "node()"},
        {NTYPE_INVALID, ""},
    };
    for (const auto &fact : facts) {
        const XPathNodeTypeTest test(fact.type);
        EXPECT_FALSE(test.HasWildcard());
        EXPECT_EQ(fact.type, test.GetNodeType());
        EXPECT_EQ(fact.text, text(test));
        EXPECT_EQ(std::string("\nXPathNodeTypeTest WILDCARD=N TYPE=") + fact.text, dump(test));
        const std::unique_ptr<XPathExpression> copy(test.Clone());
        EXPECT_EQ(fact.type, dynamic_cast<XPathNodeTypeTest *>(copy.get())->GetNodeType());
    }
}

TEST(NodeTest, TheTypeCanBeChanged) {
    XPathNodeTypeTest test(NTYPE_NODE);
    test.SetNodeType(NTYPE_TEXT);
    EXPECT_EQ(NTYPE_TEXT, test.GetNodeType());
    EXPECT_EQ("text()", text(test));
}

TEST(LocationStep, PrintsWhatPrecedesIt) {
    struct {
        XPathStepParent parent;
        int number;
        const char *text;
    } const facts[] = {
        {XPATH_STEP_PARENT_NONE, 0, ""},
        {XPATH_STEP_PARENT_IMMEDIATE, 1, "/"},
        {XPATH_STEP_PARENT_ANY, 2, "//"},
    };
    for (const auto &fact : facts) {
        EXPECT_EQ(fact.number, fact.parent);
        XPathLocationStep step(fact.parent);
        EXPECT_EQ(fact.text, text(step));
        EXPECT_EQ(std::string("\nXPathLocationStep STEP-PARENT=") + fact.text, dump(step));
        const std::unique_ptr<XPathExpression> copy(step.Clone());
        EXPECT_EQ(fact.parent, dynamic_cast<XPathLocationStep *>(copy.get())->GetStepParent());
        step.SetStepParent(XPATH_STEP_PARENT_ANY);
        EXPECT_EQ(XPATH_STEP_PARENT_ANY, step.GetStepParent());
    }
}

TEST(AxisLocationStep, PrintsBackInTheLongForm) {
    XPathAxisLocationStep step(new XPathAxis(named("id"), true), nullptr);
    EXPECT_EQ(XPATH_STEP_PARENT_NONE, step.GetStepParent());
    EXPECT_EQ("attribute::id", text(step));
    step.SetStepParent(XPATH_STEP_PARENT_ANY);
    EXPECT_EQ("//attribute::id", text(step));
}

TEST(AxisLocationStep, WithoutPredicatesHasNoBracketsAndDumpsAZero) {
    const XPathAxisLocationStep step(new XPathAxis(named("a"), false), nullptr);
    EXPECT_EQ("child::a", text(step));
    EXPECT_EQ(
        "\nXPathAxisLocationStep STEP-PARENT= PREDICATES=0"
        "\n   XPathAxis AXIS=child",
        dump(step, false));
    EXPECT_EQ(nullptr, step.GetPredicates());
}

TEST(AxisLocationStep, PrintsAndDumpsItsPredicates) {
    XPathAxisLocationStep step(new XPathAxis(named("a"), false), onePredicate(3));
    step.SetStepParent(XPATH_STEP_PARENT_IMMEDIATE);
    EXPECT_EQ("/child::a[3]", text(step));
    EXPECT_EQ(
        "\nXPathAxisLocationStep STEP-PARENT=/ PREDICATES=1"
        "\n   XPathAxis AXIS=child"
        "\n   XPathExpressionList COUNT=1",
        dump(step, false));
    EXPECT_EQ(
        "\nXPathAxisLocationStep STEP-PARENT=/ PREDICATES=1"
        "\n   XPathAxis AXIS=child"
        "\n      XPathNodeNameTest WILDCARD=N"
        "\n         XPathName LOCALNAME=\"a\""
        "\n   XPathExpressionList COUNT=1"
        "\n      XPathPredicate"
        "\n         XPathInt SCALAR ISPARENTHESIZED=N VALUE=3",
        dump(step));
}

TEST(AxisLocationStep, WithoutAxisPrintsItsStepParentAlone) {
    XPathAxisLocationStep step(nullptr, nullptr);
    step.SetStepParent(XPATH_STEP_PARENT_IMMEDIATE);
    EXPECT_EQ("/", text(step));
    EXPECT_EQ("\nXPathAxisLocationStep STEP-PARENT=/ PREDICATES=0", dump(step));
    const std::unique_ptr<XPathExpression> copy(step.Clone());
    EXPECT_EQ("/", text(*copy));
}

TEST(AxisLocationStep, ACopyHasAnAxisOfItsOwnAndNoPredicates) {
    XPathAxisLocationStep step(new XPathAxis(named("a"), false), onePredicate(3));
    step.SetStepParent(XPATH_STEP_PARENT_IMMEDIATE);
    const std::unique_ptr<XPathExpression> copy(step.Clone());
    auto *typed = dynamic_cast<XPathAxisLocationStep *>(copy.get());
    ASSERT_NE(nullptr, typed);
    EXPECT_NE(step.GetAxis(), typed->GetAxis());
    EXPECT_EQ(nullptr, typed->GetPredicates());
    EXPECT_EQ("/child::a", text(*typed));
}

TEST(AxisLocationStep, CanHoldAFunctionForATest) {
    const XPathAxisLocationStep step(new XPathAxis(AXIS_SELF, new XPathFunction("position")),
                                     new XPathExpressionList());
    EXPECT_EQ("self::position()", text(step));
    EXPECT_NE(nullptr, dynamic_cast<XPathFunction *>(step.GetAxis()->GetNodeTest()));
}
