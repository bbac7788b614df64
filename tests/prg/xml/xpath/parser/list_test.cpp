// The root classes, lists of nodes, and who deletes what.
#include <gtest/gtest.h>

#include <ctime>
#include <memory>
#include <string>

#include "parser_support.h"

using namespace xpathtest;

namespace {

/// A node that tells when it is deleted, and in what order.
class Witness : public XPathExpression {
public:
    Witness(std::string name, std::string &log) : name_(std::move(name)), log_(log) {}
    Witness(const Witness &) = delete;
    Witness &operator=(const Witness &) = delete;
    ~Witness() override { log_ += name_; }

private:
    std::string name_;
    std::string &log_;
};

XPathInt *integer(int value) {
    auto *number = new XPathInt();
    *number = value;
    return number;
}

/// A statement made five seconds into 1970.
class OldPair : public XPathExpressionPair {
public:
    OldPair() : XPathExpressionPair(integer(1), PAIRSEP_EQ, integer(2)) { m_timestamp = 5; }
};

XPathAxisLocationStep *childStep(const char *name) {
    auto *axis = new XPathAxis(new XPathNodeNameTest(new XPathName(name)), false);
    return new XPathAxisLocationStep(axis, nullptr);
}

constexpr char cloneMessage[] = "XPathExpression::Clone() is not implemented.";
constexpr char printMessage[] = "XPathExpression::ToString(CStringBuffer&) is not implemented.";

}  // namespace

TEST(Expression, TheRoundBracketMarkIsKeptAndCopied) {
    XPathExpression one;
    EXPECT_FALSE(one.IsParenthesized());
    one.SetParenthesized(true);
    EXPECT_TRUE(one.IsParenthesized());
    XPathExpression other;
    other.Copy(one);
    EXPECT_TRUE(other.IsParenthesized());
    EXPECT_TRUE(XPathExpression(one).IsParenthesized());
}

TEST(Expression, BaseClassesCannotBeClonedOrPrinted) {
    CStringBuffer buffer;
    const XPathExpression expression;
    EXPECT_EQ(cloneMessage, thrownMessage([&] { expression.Clone(); }));
    EXPECT_EQ(printMessage, thrownMessage([&] { text(expression); }));
    const XPathComposite composite;
    EXPECT_EQ(cloneMessage, thrownMessage([&] { composite.Clone(); }));
    EXPECT_EQ(printMessage, thrownMessage([&] { text(composite); }));
    const XPathStatement statement;
    EXPECT_EQ(cloneMessage, thrownMessage([&] { statement.Clone(); }));
    EXPECT_EQ(printMessage, thrownMessage([&] { text(statement); }));
    EXPECT_EQ(printMessage, thrownMessage([&] { text(XPathList<XPathExpression>()); }));
    EXPECT_EQ(printMessage, thrownMessage([&] { text(XPathList<XPathPath>()); }));
}

TEST(Expression, BaseClassesDumpThatTheyAreUsedInError) {
    EXPECT_EQ("\nXPathExpression -- INVALID USE OF BASE CLASS", dump(XPathExpression()));
    EXPECT_EQ("\nXPathExpression -- INVALID USE OF BASE CLASS", dump(XPathComposite()));
    EXPECT_EQ("\nXPathStatement -- INVALID USE OF BASE CLASS", dump(XPathStatement()));
    EXPECT_EQ("\n   XPathStatement -- INVALID USE OF BASE CLASS",
              dump(XPathList<XPathLocationStep>(), true, 1));
}

TEST(Expression, IndentationIsThreeBlanksALevel) {
    const XPathExpression expression;
    struct {
        int level;
        size_t blanks;
    } const facts[] = {{-1, 0}, {0, 0}, {1, 3}, {2, 6}, {16, 48}, {17, 51}, {100, 300}};
    for (const auto &fact : facts) {
        CStringBuffer buffer;
        expression.IndentLevel(buffer, fact.level);
        EXPECT_EQ(std::string(fact.blanks, ' '), text(buffer)) << fact.level;
    }
}

TEST(Expression, DumpingStartsWithALineBreakAndTheIndentation) {
    EXPECT_EQ("\nXPathName LOCALNAME=\"a\"", dump(XPathName("a"), true, 0));
    EXPECT_EQ("\n      XPathName LOCALNAME=\"a\"", dump(XPathName("a"), true, 2));
    EXPECT_EQ("\nXPathName LOCALNAME=\"a\"", dump(XPathName("a"), true, -3));
}

TEST(Expression, PrintingAppends) {
    CStringBuffer buffer("before ");
    XPathName("a").ToString(buffer, true, true, true);
    XPathName("a").ToDebugString(buffer, true, 0);
    EXPECT_EQ("before a\nXPathName LOCALNAME=\"a\"", text(buffer));
}

TEST(Statement, KnowsWhenItWasMade) {
    const time_t before = std::time(nullptr);
    const XPathStatement statement;
    EXPECT_GE(statement.GetTimestamp(), before);
    EXPECT_LE(statement.GetTimestamp(), std::time(nullptr));
}

TEST(Statement, SetTimestampWritesTheCurrentTimeToItsArgument) {
    XPathStatement statement;
    const time_t before = std::time(nullptr);
    time_t moment = 5;
    statement.SetTimestamp(&moment);
    EXPECT_GE(moment, before);
}

TEST(Statement, ACopyIsAsOldAsItsSource) {
    const OldPair old;
    EXPECT_EQ(5, old.GetTimestamp());
    EXPECT_EQ(5, XPathStatement(old).GetTimestamp());
    const std::unique_ptr<XPathExpression> copy(old.Clone());
    EXPECT_EQ(5, dynamic_cast<XPathStatement *>(copy.get())->GetTimestamp());
}

TEST(List, AddsGetsAndCounts) {
    XPathExpressionList list;
    EXPECT_EQ(0, list.GetSize());
    EXPECT_EQ(nullptr, list.Get(0));
    XPathInt *one = integer(1);
    XPathInt *two = integer(2);
    list.Add(one);
    list.Add(two);
    EXPECT_EQ(2, list.GetSize());
    EXPECT_EQ(one, list.Get(0));
    EXPECT_EQ(two, list.Get(1));
    EXPECT_EQ(nullptr, list.Get(2));
    EXPECT_EQ(nullptr, list.Get(-1));
}

TEST(List, DeletesItsEntriesFirstToLastAndPassesOverNull) {
    std::string log;
    {
        XPathExpressionList list;
        list.Add(nullptr);
        list.Add(new Witness("a", log));
        list.Add(nullptr);
        list.Add(new Witness("b", log));
        list.Add(new Witness("c", log));
        list.Add(nullptr);
    }
    EXPECT_EQ("abc", log);
}

TEST(List, AnEmptyExpressionListPrintsNothing) {
    const XPathExpressionList list;
    EXPECT_EQ("", text(list));
    EXPECT_EQ("\nXPathExpressionList COUNT=0", dump(list));
}

TEST(List, AnExpressionListPrintsItsEntriesWithNothingBetween) {
    XPathExpressionList list;
    list.Add(integer(1));
    list.Add(nullptr);
    list.Add(new XPathChar("x"));
    EXPECT_EQ("1\"x\"", text(list));
    EXPECT_EQ("1x", text(list, true, false, false));
    EXPECT_EQ(
        "\nXPathExpressionList COUNT=3"
        "\n   XPathInt SCALAR ISPARENTHESIZED=N VALUE=1"
        "\n   XPathChar SCALAR ISPARENTHESIZED=N VALUE=\"x\"",
        dump(list));
    EXPECT_EQ("\nXPathExpressionList COUNT=3", dump(list, false));
}

TEST(List, TheCloneIsAPlainListThatDoesNotPrint) {
    XPathExpressionList list;
    list.Add(integer(1));
    list.Add(nullptr);
    list.Add(integer(2));
    list.SetParenthesized(true);
    const std::unique_ptr<XPathExpression> copy(list.Clone());
    EXPECT_EQ(nullptr, dynamic_cast<XPathExpressionList *>(copy.get()));
    auto *plain = dynamic_cast<XPathList<XPathExpression> *>(copy.get());
    ASSERT_NE(nullptr, plain);
    ASSERT_EQ(2, plain->GetSize()) << "null entries are left out";
    EXPECT_EQ("1", text(*plain->Get(0)));
    EXPECT_EQ("2", text(*plain->Get(1)));
    EXPECT_NE(list.Get(0), plain->Get(0));
    EXPECT_FALSE(copy->IsParenthesized());
    EXPECT_EQ(printMessage, thrownMessage([&] { text(*copy); }));
}

TEST(List, AnEntryThatCannotBeClonedIsNoLeak) {
    XPathExpressionList list;
    list.Add(integer(1));
    list.Add(new XPathExpression());
    EXPECT_EQ(cloneMessage, thrownMessage([&] { list.Clone(); }));
}

TEST(Path, PrintsItsStepsUnlessPathsAreNotWanted) {
    XPathPath path;
    EXPECT_EQ("", text(path));
    path.Add(childStep("a"));
    path.Add(childStep("b"));
    path.Get(1)->SetStepParent(XPATH_STEP_PARENT_IMMEDIATE);
    EXPECT_EQ("child::a/child::b", text(path));
    EXPECT_EQ("", text(path, false));
}

TEST(Path, InsertPutsAStepInFront) {
    XPathPath path;
    path.Insert(0, childStep("c"));
    path.Insert(0, childStep("a"));
    path.Insert(1, childStep("b"));
    EXPECT_EQ(3, path.GetSize());
    EXPECT_EQ("child::achild::bchild::c", text(path));
}

TEST(Path, DumpsItsStepsWhenRecursive) {
    XPathPath path;
    path.Add(childStep("a"));
    EXPECT_EQ("\nXPathPath COUNT=1", dump(path, false));
    EXPECT_EQ(
        "\nXPathPath COUNT=1"
        "\n   XPathAxisLocationStep STEP-PARENT= PREDICATES=0"
        "\n      XPathAxis AXIS=child"
        "\n         XPathNodeNameTest WILDCARD=N"
        "\n            XPathName LOCALNAME=\"a\"",
        dump(path));
}

TEST(Path, TheCloneIsAPlainListOfSteps) {
    XPathPath path;
    path.Add(childStep("a"));
    const std::unique_ptr<XPathExpression> copy(path.Clone());
    EXPECT_EQ(nullptr, dynamic_cast<XPathPath *>(copy.get()));
    auto *plain = dynamic_cast<XPathList<XPathLocationStep> *>(copy.get());
    ASSERT_NE(nullptr, plain);
    EXPECT_EQ("child::a", text(*plain->Get(0)));
    EXPECT_EQ(printMessage, thrownMessage([&] { text(*copy); }));
}

TEST(Union, PrintsABarBetweenItsPaths) {
    XPathUnionExpression both;
    EXPECT_EQ("", text(both));
    for (const char *name : {"a", "b", "c"}) {
        auto *path = new XPathPath();
        path->Add(childStep(name));
        both.Add(path);
    }
    EXPECT_EQ("child::a|child::b|child::c", text(both));
    EXPECT_EQ("||", text(both, false)) << "the paths print nothing, the bars stay";
}

TEST(Union, DumpsItsPathsWhenRecursive) {
    XPathUnionExpression both;
    both.Add(new XPathPath());
    both.Add(new XPathPath());
    EXPECT_EQ("\nXPathUnionExpression PARTS=2", dump(both, false));
    EXPECT_EQ("\nXPathUnionExpression PARTS=2\n   XPathPath COUNT=0\n   XPathPath COUNT=0",
              dump(both));
}

TEST(Union, TheCloneHoldsOneNullForEachPath) {
    XPathUnionExpression both;
    both.Add(new XPathPath());
    both.Add(new XPathPath());
    const std::unique_ptr<XPathExpression> copy(both.Clone());
    EXPECT_EQ(nullptr, dynamic_cast<XPathUnionExpression *>(copy.get()));
    auto *plain = dynamic_cast<XPathList<XPathPath> *>(copy.get());
    ASSERT_NE(nullptr, plain);
    EXPECT_EQ(2, plain->GetSize());
    EXPECT_EQ(nullptr, plain->Get(0));
    EXPECT_EQ(nullptr, plain->Get(1));
    EXPECT_EQ(printMessage, thrownMessage([&] { text(*copy); }));
}

TEST(Ownership, APredicateGoesBeforeTheExpressionItFilters) {
    std::string log;
    {
        XPathFilterExpression filter(new Witness("expression ", log),
                                     new XPathPredicate(new Witness("predicate ", log)));
    }
    EXPECT_EQ("predicate expression ", log);
}

TEST(Ownership, DeletingTheRootDeletesEverythingBeforeItReturns) {
    std::string log;
    auto *list = new XPathExpressionList();
    list->Add(new XPathPredicate(new XPathPredicate(new Witness("deep ", log))));
    list->Add(
        new XPathExpressionPair(new Witness("left ", log), PAIRSEP_EQ, new Witness("right ", log)));
    delete list;
    EXPECT_EQ("deep left right ", log);
}
