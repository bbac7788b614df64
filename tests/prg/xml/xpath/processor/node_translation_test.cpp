// Translation of nodes that no request leads to, and of nodes within a context.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "prg/xml/xpath/processor/combined_search_sets.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"
#include "tests/prg/xml/xpath/processor/fake_kernel.h"
#include "tests/prg/xml/xpath/processor/raised_message.h"
#include "tests/prg/xml/xpath/processor/trees.h"

namespace {

using ::testing::IsEmpty;

constexpr std::int32_t context = 12;

class NodeTranslationTest : public ::testing::Test {
protected:
    void SetUp() override { kernel_.reset(); }

    // The condition of the set that a node is translated to, in a processor of its own.
    std::string conditionOf(XPathExpression *node, std::int32_t within) {
        ZXProcessorMain processor(nullptr);
        return conditionIn(processor, node, within);
    }

    static std::string conditionIn(ZXProcessorMain &processor, XPathExpression *node,
                                   std::int32_t within) {
        SearchSet *set = processor.ProcessNode(node, within);
        if (set == nullptr) return "(no set)";
        CStringBuffer condition;
        set->GetCondition(condition);
        return BufferText(condition);
    }

    // The same with something on the stack of expressions.
    std::string conditionBehind(XPathExpression *node, std::int32_t within) {
        ZXProcessorMain processor(nullptr);
        processor.PushExpr(node);
        return conditionIn(processor, node, within);
    }

    FakeKernel &kernel_ = FakeKernel::instance();
};

// --- Dispatch ---

TEST_F(NodeTranslationTest, ANullNodeIsRefused) {
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(raisedMessage([&] { processor.ProcessNode(nullptr, 0); }),
              "Cannot process a NULL XPath parser node.");
}

TEST_F(NodeTranslationTest, ABareLiteralYieldsNoSet) {
    const Tree literal(new XPathChar("x"));
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(processor.ProcessNode(literal.get(), 0), nullptr);
    EXPECT_EQ(processor.GetSearchSetCount(), 0);
    EXPECT_EQ(processor.GetSearchSet(processor.GetSearchSetCount() - 1), nullptr)
        << "which is what Query returns then";
    EXPECT_THAT(kernel_.calls(), IsEmpty());
}

TEST_F(NodeTranslationTest, OtherNodesYieldNoSet) {
    const Tree nodes[] = {Tree(new XPathVariable(new XPathName("v"))), Tree(new XPathName("n")),
                          Tree(new XPathPredicate(nullptr)), Tree(new XPathInt)};
    for (const Tree &node : nodes)
        EXPECT_EQ(conditionOf(node.get(), 0), "(no set)");
}

TEST_F(NodeTranslationTest, AnEmptyPathYieldsNoSet) {
    XPathPath path;
    EXPECT_EQ(conditionOf(&path, 0), "(no set)");
    EXPECT_EQ(conditionOf(&path, context), "(no set)");
}

TEST_F(NodeTranslationTest, AStepThatIsNoAxisStepIsRefused) {
    XPathLocationStep bare(XPATH_STEP_PARENT_NONE);
    XPathFilterExpression filter(new XPathChar("x"));
    XPathAxisLocationStep withoutAxis(nullptr, nullptr);
    XPathExpression *nodes[] = {&bare, &filter, &withoutAxis};
    for (XPathExpression *node : nodes) {
        EXPECT_EQ(raisedMessage([&] { conditionOf(node, 0); }),
                  "INTERNAL ERROR: Invalid location step type!");
    }
}

TEST_F(NodeTranslationTest, AnEmptyStepOfAPathIsRefused) {
    XPathPath path;
    path.Add(nullptr);
    EXPECT_EQ(raisedMessage([&] { conditionOf(&path, 0); }),
              "Cannot process a NULL XPath parser node.");
}

// --- Negation ---

Tree negated(bool isNegated) {
    return Tree(new XPathUnaryExpression(newPath(newNameStep(AXIS_CHILD, "a")), isNegated));
}

TEST_F(NodeTranslationTest, ANegationOfNodesFoundTakesThemAway) {
    EXPECT_EQ(conditionOf(negated(true).get(), 0), " N_ID=$ NOT.T S=1 ");
    EXPECT_EQ(kernel_.commands().back(), "FIND  N_ID=$ NOT.T S=1 ");
}

TEST_F(NodeTranslationTest, ANegationOfNothingIsEverything) {
    kernel_.setFound(1, 0);
    EXPECT_EQ(conditionOf(negated(true).get(), 0), " N_ID=$ ");
    EXPECT_EQ(kernel_.commands().back(), "FIND  N_ID=$ ");
}

TEST_F(NodeTranslationTest, ANegationWithinAContext) {
    EXPECT_EQ(conditionOf(negated(true).get(), context), "S=12 AND ( N_ID=$ NOT.T S=1 )");
    kernel_.reset();
    kernel_.setFound(1, 0);
    EXPECT_EQ(conditionOf(negated(true).get(), context), "S=12 AND ( N_ID=$ )");
}

TEST_F(NodeTranslationTest, ASignThatDoesNotNegateLeavesTheOperand) {
    EXPECT_EQ(conditionOf(negated(false).get(), 0), "N_TYPE=ELEMENT AND.T N_NAME=\"a\"");
    EXPECT_EQ(kernel_.commands().size(), 1u);
}

TEST_F(NodeTranslationTest, ANegationOfSomethingWithoutASetHasNone) {
    const Tree node(new XPathUnaryExpression(new XPathChar("x"), true));
    EXPECT_EQ(conditionOf(node.get(), 0), "(no set)");
}

// --- Unions ---

TEST_F(NodeTranslationTest, AUnionWithinAContextIsWrapped) {
    for (int i = 0; i < 3; ++i)
        kernel_.addSet();
    const Tree paths = parseTree("a|b/c");
    EXPECT_EQ(conditionOf(paths.get(), context), "S=12 AND (S=4 OR S=7)");
}

TEST_F(NodeTranslationTest, AUnionIsNotExecutedAtOnce) {
    const Tree paths = parseTree("a|b|c");
    ZXProcessorMain processor(nullptr);
    SearchSet *set = processor.ProcessNode(paths.get(), 0);
    EXPECT_FALSE(set->HasNumber());
    EXPECT_EQ(processor.PeekExpr(), paths.get());
    EXPECT_EQ(kernel_.commands().size(), 3u);
}

TEST_F(NodeTranslationTest, AMemberWithoutASetCountsAsZero) {
    XPathUnionExpression paths;
    paths.Add(new XPathPath);
    paths.Add(newPath(newNameStep(AXIS_CHILD, "a")));
    EXPECT_EQ(conditionOf(&paths, 0), "S=0 OR S=1");
}

// --- Paths ---

TEST_F(NodeTranslationTest, APathOfTwoStepsMakesThreeSetsAndAnswersWithTheJoin) {
    const Tree path = parseTree("a/b");
    ZXProcessorMain processor(nullptr);
    SearchSet *answer = processor.ProcessNode(path.get(), 0);
    ASSERT_EQ(processor.GetSearchSetCount(), 3);
    const auto *cross = dynamic_cast<CrossSearchSet *>(processor.GetSearchSet(2));
    ASSERT_EQ(answer, cross);
    EXPECT_EQ(cross->GetParentSearchSet(), processor.GetSearchSet(0));
    EXPECT_EQ(cross->GetChildSearchSet(), processor.GetSearchSet(1));
    EXPECT_EQ(cross->GetAxisType(), AXIS_CHILD);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(processor.GetSearchSet(i)->HasNumber());
}

TEST_F(NodeTranslationTest, TheSecondJoinTakesTheFirstAsItsParent) {
    const Tree path = parseTree("a/b/d");
    ZXProcessorMain processor(nullptr);
    processor.ProcessNode(path.get(), 0);
    ASSERT_EQ(processor.GetSearchSetCount(), 5);
    const auto *second = dynamic_cast<CrossSearchSet *>(processor.GetSearchSet(4));
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->GetParentSearchSet(), processor.GetSearchSet(2));
    EXPECT_EQ(second->GetChildSearchSet(), processor.GetSearchSet(3));
}

TEST_F(NodeTranslationTest, ASecondStepJoinsTheFirstWithoutItsPredicate) {
    const Tree path = parseTree("a[p]/b");
    ZXProcessorMain processor(nullptr);
    SearchSet *answer = processor.ProcessNode(path.get(), 0);
    const auto *cross = dynamic_cast<CrossSearchSet *>(answer);
    ASSERT_NE(cross, nullptr);
    EXPECT_EQ(cross->GetParentSearchSet(), processor.GetSearchSet(0));
}

TEST_F(NodeTranslationTest, AThirdStepJoinsThePredicateOfTheSecond) {
    const Tree path = parseTree("a/b[p]/c");
    ZXProcessorMain processor(nullptr);
    SearchSet *answer = processor.ProcessNode(path.get(), 0);
    const auto *cross = dynamic_cast<CrossSearchSet *>(answer);
    ASSERT_NE(cross, nullptr);
    EXPECT_EQ(cross->GetParentSearchSet(), processor.GetSearchSet(4)) << "the join of p with b";
}

TEST_F(NodeTranslationTest, TwoPredicatesAreEvaluatedForTheSameSetAndIntersected) {
    const Tree path = parseTree("a[p][q]");
    ZXProcessorMain processor(nullptr);
    SearchSet *answer = processor.ProcessNode(path.get(), 0);
    ASSERT_EQ(processor.GetSearchSetCount(), 6);
    const auto *first = dynamic_cast<CrossSearchSet *>(processor.GetSearchSet(2));
    const auto *second = dynamic_cast<CrossSearchSet *>(processor.GetSearchSet(4));
    const auto *both = dynamic_cast<IntersectionSearchSet *>(answer);
    ASSERT_TRUE(first != nullptr && second != nullptr && both != nullptr);
    EXPECT_EQ(first->GetParentSearchSet(), processor.GetSearchSet(0));
    EXPECT_EQ(second->GetParentSearchSet(), processor.GetSearchSet(0));
    ASSERT_EQ(both->GetSearchSets().size(), 2);
    EXPECT_EQ(both->GetSearchSets().get(0), second);
    EXPECT_EQ(both->GetSearchSets().get(1), first);
    EXPECT_FALSE(both->HasNumber());
}

TEST_F(NodeTranslationTest, APathWithinAContextIsRestrictedAtItsEnd) {
    const Tree path = parseTree("a/b");
    EXPECT_EQ(conditionOf(path.get(), context), "S=12 AND.R S=3");
    EXPECT_THAT(kernel_.commands().back(), "FIND S=12 AND.R S=3");
}

TEST_F(NodeTranslationTest, APredicateThatYieldsNoSetIsRefused) {
    const char *message = "Unexpected NULL return from evaluation of predicate.";
    const Tree variable =
        pathWithPredicate(new XPathPredicate(new XPathVariable(new XPathName("v"))));
    EXPECT_EQ(raisedMessage([&] { conditionOf(variable.get(), 0); }), message);
    const Tree literal = pathWithPredicate(new XPathPredicate(new XPathChar("x")));
    EXPECT_EQ(raisedMessage([&] { conditionOf(literal.get(), 0); }), message);
}

TEST_F(NodeTranslationTest, APredicateWithoutAnExpressionIsRefused) {
    const char *message = "Cannot process a NULL XPath parser node.";
    const Tree empty = pathWithPredicate(new XPathPredicate(nullptr));
    EXPECT_EQ(raisedMessage([&] { conditionOf(empty.get(), 0); }), message);
    const Tree noPredicate = pathWithPredicate(new XPathChar("x"));
    EXPECT_EQ(raisedMessage([&] { conditionOf(noPredicate.get(), 0); }), message);
}

TEST_F(NodeTranslationTest, SetsMadeBeforeAFailureStayRegistered) {
    const Tree path = parseTree("a/b/self::c");
    ZXProcessorMain processor(nullptr);
    raisedMessage([&] { processor.ProcessNode(path.get(), 0); });
    EXPECT_EQ(processor.GetSearchSetCount(), 3);
}

// --- Steps within a context ---

// A request of one step with its axis written out.
std::string stepRequest(EAxisType axis, const char *test) {
    const XPathAxis named(axis, nullptr);
    return std::string(named.GetName()) + "::" + test;
}

TEST_F(NodeTranslationTest, AStepWithinAContextIsWrapped) {
    struct {
        EAxisType axis;
        const char *test;
        const char *condition;
    } const facts[] = {
        {AXIS_CHILD, "b", "S=12 AND (N_TYPE=ELEMENT AND.T N_NAME=\"b\")"},
        {AXIS_CHILD, "*", "S=12 AND (N_TYPE=ELEMENT AND.T N_NAME=\"*\")"},
        {AXIS_CHILD, "node()", "S=12 AND (N_ID=$)"},
        {AXIS_DESCENDANT, "text()", "S=12 AND (N_TYPE=TEXT)"},
        {AXIS_FOLLOWING, "b", "S=12 AND (N_TYPE=ELEMENT AND.T N_NAME=\"b\")"},
        {AXIS_FOLLOWING, "node()", "S=12 AND ((N_TYPE=ELEMENT OR N_TYPE=TEXT) AND.T N_ID=$)"},
        {AXIS_PRECEDING_SIBLING, "text()",
         "S=12 AND ((N_TYPE=ELEMENT OR N_TYPE=TEXT) AND.T N_TYPE=TEXT)"},
        {AXIS_PARENT, "b", "S=12 AND (N_TYPE=ELEMENT AND.T N_NAME=\"b\")"},
        {AXIS_ANCESTOR, "node()", "S=12 AND (N_ID=$)"},
        {AXIS_ANCESTOR_OR_SELF, "b", ""},
        {AXIS_DESCENDANT_OR_SELF, "b", ""},
        // The suffix stands in front here.
        {AXIS_ATTRIBUTE, "b", ")N_TYPE=ATTRIBUTE AND.T N_NAME=\"b\")"},
        {AXIS_ATTRIBUTE, "node()", ")N_TYPE=ATTRIBUTE)"},
    };
    for (const auto &fact : facts) {
        const Tree tree = parseTree(stepRequest(fact.axis, fact.test));
        EXPECT_EQ(conditionBehind(firstStep(tree), context), fact.condition);
    }
}

TEST_F(NodeTranslationTest, ANegativeContextIsNone) {
    const Tree tree = parseTree("b");
    EXPECT_EQ(conditionOf(firstStep(tree), -1), "N_TYPE=ELEMENT AND.T N_NAME=\"b\"");
}

TEST_F(NodeTranslationTest, TheRootTermComesBeforeTheContext) {
    const Tree tree = parseTree("/a");
    EXPECT_EQ(conditionOf(firstStep(tree), context),
              "N_PARENT=0 AND.T S=12 AND (N_TYPE=ELEMENT AND.T N_NAME=\"a\")");
}

TEST_F(NodeTranslationTest, ARootStepWithoutATestHasTheRootTermAlone) {
    const std::unique_ptr<XPathAxisLocationStep> step(newStep(AXIS_CHILD, nullptr));
    step->SetStepParent(XPATH_STEP_PARENT_IMMEDIATE);
    EXPECT_EQ(conditionOf(step.get(), 0), "N_PARENT=0");
    EXPECT_EQ(conditionOf(step.get(), context), "S=12 AND (N_PARENT=0)");
}

TEST_F(NodeTranslationTest, ARootStepOfAPlainWildcardHasNoName) {
    const std::unique_ptr<XPathAxisLocationStep> step(newStep(AXIS_CHILD, new XPathNodeTest(true)));
    step->SetStepParent(XPATH_STEP_PARENT_IMMEDIATE);
    EXPECT_EQ(conditionOf(step.get(), 0), "N_PARENT=0 AND.T N_TYPE=ELEMENT");
}

TEST_F(NodeTranslationTest, ARootStepIsASetOfItsOwn) {
    const Tree tree = parseTree("/a");
    ZXProcessorMain processor(nullptr);
    SearchSet *set = processor.ProcessNode(firstStep(tree), 0);
    EXPECT_EQ(processor.GetSearchSetCount(), 1);
    EXPECT_NE(dynamic_cast<ExpressionSearchSet *>(set), nullptr);
}

TEST_F(NodeTranslationTest, AWildcardStepLeavesAUniversalSetBesideItsOwn) {
    for (const char *request : {"/*", "/node()"}) {
        const Tree tree = parseTree(request);
        ZXProcessorMain processor(nullptr);
        SearchSet *set = processor.ProcessNode(firstStep(tree), 0);
        ASSERT_EQ(processor.GetSearchSetCount(), 2);
        EXPECT_NE(dynamic_cast<UniversalSearchSet *>(processor.GetSearchSet(0)), nullptr);
        EXPECT_EQ(set, processor.GetSearchSet(1));
        EXPECT_NE(dynamic_cast<ExpressionSearchSet *>(set), nullptr);
    }
}

TEST_F(NodeTranslationTest, EveryStepIsPushed) {
    for (const char *request : {"b", "@b", "descendant-or-self::b"}) {
        const Tree tree = parseTree(request);
        ZXProcessorMain processor(nullptr);
        processor.ProcessNode(firstStep(tree), 0);
        EXPECT_EQ(processor.PopExpr(), firstStep(tree)) << request;
        EXPECT_EQ(processor.PopExpr(), nullptr) << request;
    }
    for (const char *request : {"following::b", "preceding-sibling::b", "parent::b", "ancestor::b",
                                "ancestor-or-self::b"}) {
        const Tree tree = parseTree(request);
        ZXProcessorMain processor(nullptr);
        processor.PushExpr(tree.get());
        processor.ProcessNode(firstStep(tree), 0);
        EXPECT_EQ(processor.PopExpr(), firstStep(tree)) << request;
        EXPECT_EQ(processor.PopExpr(), tree.get()) << request;
    }
}

TEST_F(NodeTranslationTest, AWildcardStepIsPushedTwice) {
    const Tree tree = parseTree("*");
    ZXProcessorMain processor(nullptr);
    processor.ProcessNode(firstStep(tree), 0);
    EXPECT_EQ(processor.PopExpr(), firstStep(tree));
    EXPECT_EQ(processor.PopExpr(), firstStep(tree));
    EXPECT_EQ(processor.PopExpr(), nullptr);
}

TEST_F(NodeTranslationTest, ASideStepWithoutATestFindsElementsAndTexts) {
    const std::unique_ptr<XPathAxisLocationStep> step(newStep(AXIS_FOLLOWING, nullptr));
    EXPECT_EQ(conditionBehind(step.get(), 0), "(N_TYPE=ELEMENT OR N_TYPE=TEXT)");
    const std::unique_ptr<XPathAxisLocationStep> any(
        newStep(AXIS_FOLLOWING, new XPathNodeTest(true)));
    EXPECT_EQ(conditionBehind(any.get(), 0), "N_TYPE=ELEMENT");
}

TEST_F(NodeTranslationTest, AnAxisThatThereIsNotIsRefused) {
    const std::unique_ptr<XPathAxisLocationStep> step(newNameStep(AXIS_CHILD, "a"));
    step->GetAxis()->SetType(AXIS_INVALID);
    EXPECT_EQ(raisedMessage([&] { conditionOf(step.get(), 0); }),
              "Location step expressions for axis \"child\" are not yet implemented.")
        << "an invalid axis keeps the name it had";
}

}  // namespace
