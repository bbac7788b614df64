// The operations that paths and predicates are made of.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "prg/xml/xpath/processor/combined_search_sets.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"
#include "tests/prg/xml/xpath/processor/fake_kernel.h"
#include "tests/prg/xml/xpath/processor/raised_message.h"
#include "tests/prg/xml/xpath/processor/trees.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class PathOperationsTest : public ::testing::Test {
protected:
    void SetUp() override { kernel_.reset(); }

    // An executed set, registered with the processor.
    SearchSet *addSet(const char *condition) {
        SearchSet *set =
            processor_.AddSearchSet(new ExpressionSearchSet(nullptr, condition, nullptr));
        set->Execute();
        return set;
    }

    static std::string conditionOf(SearchSet *set) {
        CStringBuffer condition;
        set->GetCondition(condition);
        return BufferText(condition);
    }

    static XPathPath *pathOf(const Tree &tree) { return dynamic_cast<XPathPath *>(tree.get()); }

    FakeKernel &kernel_ = FakeKernel::instance();
    ZXProcessorMain processor_{nullptr};
};

// --- ProcessLocPath ---

TEST_F(PathOperationsTest, APathOfOneStepGivesTheSetBack) {
    const Tree path = parseTree("a");
    SearchSet *set = addSet("found");
    std::int32_t index = 77;
    EXPECT_EQ(processor_.ProcessLocPath(pathOf(path), set, AXIS_ATTRIBUTE, &index), set);
    EXPECT_EQ(processor_.GetSearchSetCount(), 1);
    EXPECT_EQ(index, 77) << "nothing to tell about a step before";
}

TEST_F(PathOperationsTest, ClimbingJoinsFromTheNearestStepToTheFirst) {
    const Tree path = parseTree("descendant::a/b/@id");
    SearchSet *set = addSet("found");
    processor_.ProcessLocPath(pathOf(path), set, AXIS_ATTRIBUTE, nullptr);
    EXPECT_THAT(kernel_.commands(),
                ElementsAre("FIND found", HasSubstr("N_NAME=\"b\""), "FIND XPATH(attribute,2,1,1)",
                            HasSubstr("N_NAME=\"a\""), "FIND XPATH(child,4,3,1)"));
    EXPECT_EQ(processor_.GetSearchSetCount(), 5);
}

TEST_F(PathOperationsTest, ClimbingTellsTheIndexOfTheNearestStepsSet) {
    const Tree path = parseTree("a/*/@id");
    SearchSet *set = addSet("found");
    std::int32_t index = -1;
    processor_.ProcessLocPath(pathOf(path), set, AXIS_ATTRIBUTE, &index);
    ASSERT_EQ(index, 2) << "behind the set found and the wildcard's universal set";
    EXPECT_THAT(conditionOf(processor_.GetSearchSet(index)), HasSubstr("N_NAME=\"*\""));
}

TEST_F(PathOperationsTest, ClimbingWithoutASetStartsWithTheNearestStep) {
    const Tree path = parseTree("a/b/c");
    SearchSet *set = processor_.ProcessLocPath(pathOf(path), nullptr, AXIS_ATTRIBUTE, nullptr);
    EXPECT_EQ(conditionOf(set), "XPATH(attribute,2,1,1)") << "the axis is still that of the call";
    const Tree one = parseTree("a");
    EXPECT_EQ(processor_.ProcessLocPath(pathOf(one), nullptr, AXIS_CHILD, nullptr), nullptr);
}

TEST_F(PathOperationsTest, AJoinIsRegisteredOnlyAfterItsExecution) {
    const Tree path = parseTree("a/b");
    SearchSet *set = addSet("found");
    kernel_.failCommand(3, "No.");
    EXPECT_EQ(
        raisedMessage([&] { processor_.ProcessLocPath(pathOf(path), set, AXIS_CHILD, nullptr); }),
        "No.");
    EXPECT_EQ(processor_.GetSearchSetCount(), 2);
}

// --- ProcessPredicate ---

class PredicateTest : public PathOperationsTest {
protected:
    // The set of the predicate of a request "a[...]", for a set of its own.
    SearchSet *process(const Tree &tree) {
        return processor_.ProcessPredicate(addSet("step"), firstPredicate(tree));
    }
};

TEST_F(PredicateTest, APlainStepIsJoinedBelowTheStepThatCarriesIt) {
    const Tree tree = parseTree("a[b]");
    auto *cross = dynamic_cast<CrossSearchSet *>(process(tree));
    ASSERT_NE(cross, nullptr);
    EXPECT_EQ(cross->GetParentSearchSet(), processor_.GetSearchSet(0));
    EXPECT_EQ(cross->GetChildSearchSet(), processor_.GetSearchSet(1));
    EXPECT_EQ(conditionOf(cross), "XPATH(child,1,2,1)");
    EXPECT_TRUE(cross->HasNumber());
}

TEST_F(PredicateTest, AndMakesAnIntersectionLeftFirst) {
    const Tree tree = parseTree("a[b and c]");
    auto *both = dynamic_cast<IntersectionSearchSet *>(process(tree));
    ASSERT_NE(both, nullptr);
    ASSERT_EQ(both->GetSearchSets().size(), 2);
    EXPECT_EQ(both->GetSearchSets().get(0), processor_.GetSearchSet(2));
    EXPECT_EQ(both->GetSearchSets().get(1), processor_.GetSearchSet(4));
    EXPECT_FALSE(both->HasNumber());
    EXPECT_EQ(conditionOf(both), "(S=3 AND.T S=5)");
}

TEST_F(PredicateTest, OrMakesAUnionLeftFirst) {
    const Tree tree = parseTree("a[b or c]");
    auto *either = dynamic_cast<UnionSearchSet *>(process(tree));
    ASSERT_NE(either, nullptr);
    EXPECT_FALSE(either->HasNumber());
    EXPECT_EQ(conditionOf(either), "(S=3 OR S=5)");
}

TEST_F(PredicateTest, NestedAndOrMakeATreeOfSets) {
    // (b and c) or (d and e)
    const auto path = [](const char *name) { return newPath(newNameStep(AXIS_CHILD, name)); };
    const XPathExpressionPair pair(new XPathExpressionPair(path("b"), PAIRSEP_AND, path("c")),
                                   PAIRSEP_OR,
                                   new XPathExpressionPair(path("d"), PAIRSEP_AND, path("e")));
    SearchSet *set =
        processor_.ProcessPredicate(addSet("step"), const_cast<XPathExpressionPair *>(&pair));
    auto *either = dynamic_cast<UnionSearchSet *>(set);
    ASSERT_NE(either, nullptr);
    ASSERT_EQ(either->GetSearchSets().size(), 2);
    auto *left = static_cast<SearchSet *>(either->GetSearchSets().get(0));
    auto *right = static_cast<SearchSet *>(either->GetSearchSets().get(1));
    EXPECT_NE(dynamic_cast<IntersectionSearchSet *>(left), nullptr);
    EXPECT_NE(dynamic_cast<IntersectionSearchSet *>(right), nullptr);
    EXPECT_EQ(conditionOf(either), "(S=10 OR S=11)");
    EXPECT_EQ(conditionOf(left), "(S=3 AND.T S=5)");
    EXPECT_EQ(conditionOf(right), "(S=7 AND.T S=9)");
}

TEST_F(PredicateTest, AnOperandWithoutASetMakesNone) {
    const auto path = [] { return newPath(newNameStep(AXIS_CHILD, "b")); };
    const auto nothing = [] { return new XPathVariable(new XPathName("v")); };
    XPathExpressionPair left(nothing(), PAIRSEP_AND, path());
    XPathExpressionPair right(path(), PAIRSEP_OR, nothing());
    SearchSet *step = addSet("step");
    EXPECT_EQ(processor_.ProcessPredicate(step, &left), nullptr);
    EXPECT_EQ(processor_.GetSearchSetCount(), 1);
    EXPECT_EQ(processor_.ProcessPredicate(step, &right), nullptr);
    EXPECT_EQ(processor_.GetSearchSetCount(), 3);
}

TEST_F(PredicateTest, APositionIsReturnedAsItIs) {
    const Tree tree = parseTree("a[2]");
    SearchSet *set = process(tree);
    EXPECT_EQ(set, processor_.GetSearchSet(1));
    EXPECT_FALSE(set->GetCrossConnect());
    EXPECT_EQ(processor_.GetSearchSetCount(), 2);
}

TEST_F(PredicateTest, TheAxisIsThatOfAStepOfAPathOrOfAPair) {
    SearchSet *step = addSet("step");
    processor_.PushExpr(firstStep(parseTree("a")));
    const std::unique_ptr<XPathAxisLocationStep> bare(newNameStep(AXIS_ANCESTOR, "b"));
    EXPECT_THAT(conditionOf(processor_.ProcessPredicate(step, bare.get())),
                HasSubstr("XPATH(ancestor,"));
    const Tree path = parseTree("a[preceding::b/c]");
    EXPECT_THAT(conditionOf(processor_.ProcessPredicate(step, firstPredicate(path))),
                HasSubstr("XPATH(preceding,"));
    const Tree pair = parseTree("a[descendant::b/@c='x']");
    EXPECT_THAT(conditionOf(processor_.ProcessPredicate(step, firstPredicate(pair))),
                HasSubstr("XPATH(descendant,"));
}

TEST_F(PredicateTest, WithoutAStepTheAxisIsLeftToTheSets) {
    SearchSet *step = addSet("step");
    XPathUnionExpression paths;
    paths.Add(newPath(newNameStep(AXIS_DESCENDANT, "b")));
    EXPECT_EQ(conditionOf(processor_.ProcessPredicate(step, &paths)), "XPATH(child,1,3,1)");
}

// --- BuildNameCondition ---

std::string nameCondition(XPathNodeTest *test, const char *before) {
    const std::unique_ptr<XPathNodeTest> owner(test);
    const ZXProcessorMain processor(nullptr);
    CStringBuffer condition;
    condition.set(before);
    processor.BuildNameCondition(test, condition);
    return BufferText(condition);
}

TEST_F(PathOperationsTest, ANameConditionContinuesWhatIsThere) {
    const auto name = [] { return new XPathNodeNameTest(new XPathName("a")); };
    const auto type = [](ENodeType nodeType) { return new XPathNodeTypeTest(nodeType); };
    struct {
        XPathNodeTest *test;
        const char *before;
        const char *after;
    } const facts[] = {
        {name(), "", "N_TYPE=ELEMENT AND.T N_NAME=\"a\""},
        {name(), "S=5 AND (", "S=5 AND (N_TYPE=ELEMENT AND.T N_NAME=\"a\""},
        {name(), "N_ID=$", "N_ID=$ AND.T N_TYPE=ELEMENT AND.T N_NAME=\"a\""},
        {name(), "N_TYPE=ATTRIBUTE", "N_TYPE=ATTRIBUTE AND.T N_NAME=\"a\""},
        {name(), "N_TYPE=X AND (", "N_TYPE=X AND (N_NAME=\"a\""},
        {new XPathNodeNameTest(new XPathName("p", "a")), "",
         "N_TYPE=ELEMENT AND.T N_NAME=\"a\" AND.T N_NAMESPACE=\"p\""},
        {new XPathNodeNameTest(new XPathName("p", "")), "N_TYPE=ATTRIBUTE",
         "N_TYPE=ATTRIBUTE AND.T N_NAME=\"\" AND.T N_NAMESPACE=\"p\""},
        {new XPathNodeNameTest(new XPathName("a\"b\\")), "",
         "N_TYPE=ELEMENT AND.T N_NAME=\"a\"b\\\""},
        {new XPathNodeNameTest("*"), "", "N_TYPE=ELEMENT AND.T N_NAME=\"*\""},
        {new XPathNodeTest(true), "", "N_TYPE=ELEMENT"},
        {new XPathNodeTest(true), "N_TYPE=ATTRIBUTE", "N_TYPE=ATTRIBUTE"},
        {new XPathNodeTest(false), "", ""},
        {new XPathFunction("last"), "", ""},
        {type(NTYPE_TEXT), "", "N_TYPE=TEXT"},
        {type(NTYPE_TEXT), "(", "(N_TYPE=TEXT"},
        {type(NTYPE_TEXT), "N_TYPE=ATTRIBUTE", "N_TYPE=ATTRIBUTE AND.T N_TYPE=TEXT"},
        {type(NTYPE_COMMENT), "", "N_TYPE=COMMENT"},
        {type(NTYPE_PROCESSING_INSTRUCTION), "", "N_TYPE=PROCESSING_INSTRUCTION"},
        {type(NTYPE_NODE), "", "N_ID=$"},
        {type(NTYPE_NODE), "S=5 AND (", "S=5 AND (N_ID=$"},
        {type(NTYPE_NODE), "S=5", "S=5 AND.T N_ID=$"},
        {type(NTYPE_NODE), "N_TYPE=ATTRIBUTE", "N_TYPE=ATTRIBUTE"},
        {type(NTYPE_INVALID), "", "N_ID=$"},
        {nullptr, "", ""},
        {nullptr, "N_ID=$", "N_ID=$"},
    };
    for (const auto &fact : facts) {
        EXPECT_EQ(nameCondition(fact.test, fact.before), fact.after) << fact.before;
    }
}

// --- ConnectSets and MergeSets ---

TEST_F(PathOperationsTest, ConnectingMarksTheSideOfItsMode) {
    SearchSet *parent = addSet("parent");
    SearchSet *child = addSet("child");
    struct {
        std::int32_t mode;
        const char *condition;
    } const facts[] = {{1, "XPATH(ancestor,1,2,1)"},
                       {2, "XPATH(ancestor,1,2,2)"},
                       {0, "XPATH(ancestor,1,2,2)"},
                       {7, "XPATH(ancestor,1,2,2)"}};
    for (const auto &fact : facts) {
        SearchSet *cross = processor_.ConnectSets(parent, child, fact.mode, AXIS_ANCESTOR);
        EXPECT_EQ(conditionOf(cross), fact.condition);
        EXPECT_TRUE(cross->HasNumber());
        EXPECT_EQ(cross, processor_.GetSearchSet(processor_.GetSearchSetCount() - 1));
    }
}

TEST_F(PathOperationsTest, ConnectingWithoutAnAxisTakesTheChilds) {
    const Tree tree = parseTree("@id");
    SearchSet *parent = addSet("parent");
    SearchSet *child = processor_.ProcessNode(firstStep(tree), 0);
    SearchSet *cross = processor_.ConnectSets(parent, child, 2, AXIS_INVALID);
    EXPECT_EQ(conditionOf(cross), "XPATH(attribute,1,2,2)");
}

TEST_F(PathOperationsTest, ConnectingRegistersBeforeItExecutes) {
    SearchSet *parent = addSet("parent");
    kernel_.failCommand(2, "No.");
    raisedMessage([&] { processor_.ConnectSets(parent, parent, 1, AXIS_CHILD); });
    EXPECT_EQ(processor_.GetSearchSetCount(), 2);
}

TEST_F(PathOperationsTest, MergingJoinsTwoNumbersWithTheKernelsWord) {
    for (const auto style : {FakeKernel::TextStyle::terminated, FakeKernel::TextStyle::padded}) {
        kernel_.reset();
        kernel_.setTextStyle(style);
        SearchSet *merged = processor_.MergeSets(3, 15);
        EXPECT_THAT(kernel_.commands(), ElementsAre("FIND S=3 OR S=15"));
        EXPECT_EQ(merged->GetNumber(), 1);
        EXPECT_EQ(merged, processor_.GetSearchSet(processor_.GetSearchSetCount() - 1));
    }
}

TEST_F(PathOperationsTest, AMergeThatFailsIsNotRegistered) {
    kernel_.failCommand(1, "No.");
    EXPECT_EQ(raisedMessage([&] { processor_.MergeSets(3, 15); }), "No.");
    EXPECT_EQ(processor_.GetSearchSetCount(), 0);
}

}  // namespace
