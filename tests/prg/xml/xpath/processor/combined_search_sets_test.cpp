#include "prg/xml/xpath/processor/combined_search_sets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/prg/xml/xpath/processor/fake_kernel.h"
#include "tests/prg/xml/xpath/processor/raised_message.h"
#include "tests/prg/xml/xpath/processor/recording_logger.h"
#include "tests/prg/xml/xpath/processor/trees.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class CombinedSetsTest : public ::testing::Test {
protected:
    void SetUp() override {
        kernel_.reset();
        SearchSet::ResetId();
    }

    static std::string conditionOf(SearchSet &set) {
        CStringBuffer condition;
        set.GetCondition(condition);
        return BufferText(condition);
    }

    // Unexecuted, with a condition.
    SearchSet *pending(const std::string &condition) {
        sets_.push_back(std::make_unique<SearchSet>(nullptr));
        sets_.back()->SetCondition(condition.c_str());
        return sets_.back().get();
    }

    SearchSet *numbered(std::int32_t number) {
        SearchSet *set = pending("unused");
        set->SetNumber(number);
        return set;
    }

    FakeKernel &kernel_ = FakeKernel::instance();
    std::vector<std::unique_ptr<SearchSet>> sets_;
    const Tree childStep_{newNameStep(AXIS_CHILD, "a")};
    const Tree ancestorStep_{newNameStep(AXIS_ANCESTOR, "a")};
    const Tree parentStep_{newNameStep(AXIS_PARENT, "a")};
    const Tree literal_{new XPathChar("x")};
};

// --- Unions and intersections ---

TEST_F(CombinedSetsTest, AUnionNamesItsMembersInTheirOrder) {
    UnionSearchSet all(nullptr, nullptr);
    all.AddSearchSet(numbered(3));
    all.AddSearchSet(numbered(5));
    EXPECT_EQ(conditionOf(all), "(S=3 OR S=5)");
}

TEST_F(CombinedSetsTest, AnIntersectionNamesItsMembersInTheirOrder) {
    IntersectionSearchSet both(nullptr, nullptr);
    both.AddSearchSet(numbered(5));
    both.AddSearchSet(numbered(3));
    both.AddSearchSet(numbered(4));
    EXPECT_EQ(conditionOf(both), "(S=5 AND.T S=3 AND.T S=4)");
}

TEST_F(CombinedSetsTest, WithoutMembersTheConditionIsAClosingParenthesis) {
    UnionSearchSet all(nullptr, nullptr);
    EXPECT_EQ(conditionOf(all), ")");
    IntersectionSearchSet both(nullptr, nullptr);
    EXPECT_EQ(conditionOf(both), ")");
}

TEST_F(CombinedSetsTest, OneMemberStandsAlone) {
    UnionSearchSet all(nullptr, nullptr);
    all.AddSearchSet(numbered(3));
    EXPECT_EQ(conditionOf(all), "(S=3)");
}

TEST_F(CombinedSetsTest, TheWordsAreTheKernels) {
    kernel_.setWord("ORX", "ODER");
    kernel_.setWord("ANT", "UND");
    kernel_.setWord("SXX", "SATZ");
    kernel_.setTextStyle(FakeKernel::TextStyle::padded);
    UnionSearchSet all(nullptr, nullptr);
    IntersectionSearchSet both(nullptr, nullptr);
    for (const std::int32_t number : {3, 5}) {
        all.AddSearchSet(numbered(number));
        both.AddSearchSet(numbered(number));
    }
    EXPECT_EQ(conditionOf(all), "(SATZ=3 ODER SATZ=5)");
    EXPECT_EQ(conditionOf(both), "(SATZ=3 UND SATZ=5)");
}

TEST_F(CombinedSetsTest, MembersAreExecutedInOrderBeforeTheSet) {
    UnionSearchSet all(nullptr, nullptr);
    all.AddSearchSet(pending("first"));
    all.AddSearchSet(pending("second"));
    EXPECT_EQ(all.GetNumber(), 3);
    EXPECT_THAT(kernel_.commands(), ElementsAre("FIND first", "FIND second", "FIND (S=1 OR S=2)"));
}

TEST_F(CombinedSetsTest, AFailingMemberFailsTheSet) {
    kernel_.failCommand(2, "No.");
    IntersectionSearchSet both(nullptr, nullptr);
    both.AddSearchSet(pending("first"));
    both.AddSearchSet(pending("second"));
    EXPECT_EQ(raisedMessage([&] { both.Execute(); }), "No.");
    EXPECT_FALSE(both.HasNumber());
    EXPECT_FALSE(both.HasCondition());
}

TEST_F(CombinedSetsTest, UnionsAndIntersectionsKeepTheirExpression) {
    EXPECT_EQ(UnionSearchSet(literal_.get(), nullptr).GetExpression(), literal_.get());
    EXPECT_EQ(IntersectionSearchSet(literal_.get(), nullptr).GetExpression(), literal_.get());
}

// --- Crosses ---

TEST_F(CombinedSetsTest, ACrossOfAllNodesAndAChildSet) {
    UniversalSearchSet parent(nullptr, nullptr);
    CrossSearchSet cross(nullptr);
    cross.SetParentSearchSet(&parent, false);
    cross.SetChildSearchSet(numbered(4), true);
    cross.SetAxisType(AXIS_DESCENDANT);
    EXPECT_EQ(conditionOf(cross), "XPATH(descendant,0,4,2)");
}

TEST_F(CombinedSetsTest, TheChildIsExecutedBeforeTheParent) {
    CrossSearchSet cross(nullptr);
    cross.SetParentSearchSet(pending("parent"), true);
    cross.SetChildSearchSet(pending("child"), false);
    EXPECT_EQ(cross.GetNumber(), 3);
    EXPECT_THAT(kernel_.commands(),
                ElementsAre("FIND child", "FIND parent", "FIND XPATH(child,2,1,1)"));
}

TEST_F(CombinedSetsTest, ASideThatWasNotGivenCountsAsAllNodes) {
    CrossSearchSet cross(nullptr);
    cross.SetChildSearchSet(numbered(4), true);
    EXPECT_EQ(conditionOf(cross), "XPATH(child,0,4,2)");
}

TEST_F(CombinedSetsTest, TheLastSideGivenDecidesTheDirection) {
    struct {
        bool useParent, useChild;
        std::int32_t direction;
    } const cases[] = {{true, false, 1}, {false, true, 2}, {true, true, 2}, {false, false, 1}};
    for (const auto &fact : cases) {
        CrossSearchSet cross(nullptr);
        cross.SetParentSearchSet(nullptr, fact.useParent);
        cross.SetChildSearchSet(nullptr, fact.useChild);
        EXPECT_EQ(cross.GetModus(), fact.direction);
    }
    CrossSearchSet cross(nullptr);
    cross.SetChildSearchSet(nullptr, true);
    cross.SetParentSearchSet(nullptr, true);
    EXPECT_EQ(cross.GetModus(), 1);
    cross.SetModus(2);
    EXPECT_EQ(cross.GetModus(), 2);
}

TEST_F(CombinedSetsTest, EveryAxisHasItsName) {
    const char *names[] = {"child",    "attribute",         "descendant",
                           "ancestor", "ancestor-or-self",  "descendant-or-self",
                           "self",     "following-sibling", "preceding-sibling",
                           "parent",   "following",         "preceding",
                           "namespace"};
    for (int axis = AXIS_CHILD; axis <= AXIS_NAMESPACE; ++axis) {
        CrossSearchSet cross(nullptr);
        cross.SetParentSearchSet(numbered(1), true);
        cross.SetChildSearchSet(numbered(2), false);
        cross.SetAxisType(static_cast<EAxisType>(axis));
        EXPECT_EQ(conditionOf(cross), std::string("XPATH(") + names[axis - 1] + ",1,2,1)");
    }
}

TEST_F(CombinedSetsTest, AnAxisThatThereIsNotIsRefusedBeforeAnythingIsExecuted) {
    CrossSearchSet cross(nullptr);
    cross.SetParentSearchSet(pending("parent"), true);
    cross.SetChildSearchSet(pending("child"), false);
    cross.SetAxisType(static_cast<EAxisType>(14));
    EXPECT_EQ(raisedMessage([&] { cross.Execute(); }), "Invalid AXIS code 14");
    EXPECT_EQ(kernel_.commands().size(), 0u);
}

TEST_F(CombinedSetsTest, TheAxisIsTheFirstThatIsKnown) {
    ExpressionSearchSet ancestor(ancestorStep_.get(), nullptr, nullptr);
    ExpressionSearchSet literal(literal_.get(), nullptr, nullptr);
    UniversalSearchSet universalParent(parentStep_.get(), nullptr);
    CrossSearchSet following(nullptr), plain(nullptr);
    following.SetAxisType(AXIS_FOLLOWING);
    struct {
        EAxisType own;
        SearchSet *child;
        SearchSet *parent;
        EAxisType axis;
    } const cases[] = {
        {AXIS_SELF, &ancestor, &following, AXIS_SELF},
        {AXIS_INVALID, &ancestor, &following, AXIS_ANCESTOR},
        {AXIS_INVALID, &following, &universalParent, AXIS_FOLLOWING},
        {AXIS_INVALID, &universalParent, &following, AXIS_PARENT},
        {AXIS_INVALID, &literal, &following, AXIS_FOLLOWING},
        {AXIS_INVALID, &literal, &universalParent, AXIS_PARENT},
        {AXIS_INVALID, &literal, &ancestor, AXIS_CHILD},
        {AXIS_INVALID, &plain, &following, AXIS_CHILD},
        {AXIS_INVALID, nullptr, nullptr, AXIS_CHILD},
    };
    for (const auto &fact : cases) {
        CrossSearchSet cross(nullptr);
        cross.SetAxisType(fact.own);
        cross.SetChildSearchSet(fact.child, true);
        cross.SetParentSearchSet(fact.parent, false);
        EXPECT_EQ(cross.GetAxisType(), fact.axis);
    }
}

TEST_F(CombinedSetsTest, AssigningTakesTheAxisOfTheChild) {
    ExpressionSearchSet ancestor(ancestorStep_.get(), nullptr, nullptr);
    ExpressionSearchSet literal(literal_.get(), nullptr, nullptr);
    UniversalSearchSet universal(ancestorStep_.get(), nullptr);
    CrossSearchSet following(nullptr);
    following.SetAxisType(AXIS_FOLLOWING);
    struct {
        SearchSet *child;
        EAxisType axis;
    } const cases[] = {{&ancestor, AXIS_ANCESTOR},
                       {&literal, AXIS_CHILD},
                       {&following, AXIS_FOLLOWING},
                       {&universal, AXIS_ANCESTOR},
                       {numbered(1), AXIS_CHILD}};
    for (const auto &fact : cases) {
        SearchSet *parent = numbered(7);
        CrossSearchSet cross(nullptr);
        cross.Assign(parent, fact.child);
        EXPECT_EQ(cross.GetAxisType(), fact.axis);
        EXPECT_EQ(cross.GetParentSearchSet(), parent);
        EXPECT_EQ(cross.GetChildSearchSet(), fact.child);
        EXPECT_EQ(cross.GetModus(), 1);
    }
}

TEST_F(CombinedSetsTest, AssigningOnTheParentAxisExchangesTheSides) {
    ExpressionSearchSet above(parentStep_.get(), nullptr, nullptr);
    above.SetNumber(2);
    CrossSearchSet cross(nullptr);
    cross.Assign(numbered(1), &above);
    EXPECT_EQ(conditionOf(cross), "XPATH(parent,2,1,2)");
}

TEST_F(CombinedSetsTest, TheParentsExpressionIsThatOfAnExpressionSet) {
    ExpressionSearchSet expression(childStep_.get(), nullptr, nullptr);
    UniversalSearchSet universal(childStep_.get(), nullptr);
    CrossSearchSet cross(nullptr);
    EXPECT_EQ(cross.GetParentExpression(), nullptr);
    cross.SetParentSearchSet(&expression, true);
    EXPECT_EQ(cross.GetParentExpression(), childStep_.get());
    cross.SetParentSearchSet(&universal, true);
    EXPECT_EQ(cross.GetParentExpression(), nullptr);
}

TEST_F(CombinedSetsTest, TheLogTellsTheConditionsThatWereBuilt) {
    RecordingLogger logger;
    UnionSearchSet all(nullptr, &logger);
    all.AddSearchSet(numbered(3));
    IntersectionSearchSet both(nullptr, &logger);
    both.AddSearchSet(numbered(4));
    CrossSearchSet cross(&logger);
    cross.SetParentSearchSet(numbered(1), true);
    cross.SetChildSearchSet(numbered(2), false);
    conditionOf(all);
    conditionOf(both);
    conditionOf(cross);
    EXPECT_THAT(
        logger.lines(),
        ElementsAre(
            HasSubstr("ExpressionSearchSet::ExpressionSearchSet: (SS/01) Composite"),
            HasSubstr("ExpressionSearchSet::ExpressionSearchSet: (SS/03) Composite"),
            "UnionSearchSet::CreateCondition: (SS/01) Created CCL condition: (S=3)",
            "SearchSet::SetCondition: (SS/01) Assigned CCL condition: (S=3)",
            "IntersectionSearchSet::CreateCondition: (SS/03) Created CCL condition: (S=4)",
            "SearchSet::SetCondition: (SS/03) Assigned CCL condition: (S=4)",
            "CrossSearchSet::CreateCondition: (SS/05) Created CCL condition: XPATH(child,1,2,1)",
            "SearchSet::SetCondition: (SS/05) Assigned CCL condition: XPATH(child,1,2,1)"));
}

// --- Sets within sets ---

// The commands of a chain of joins whose children are joins, `depth` deep.
std::vector<std::string> commandsOfChain(int depth) {
    FakeKernel::instance().reset();
    std::vector<std::unique_ptr<SearchSet>> sets;
    const auto add = [&sets](std::unique_ptr<SearchSet> set) {
        sets.push_back(std::move(set));
        return sets.back().get();
    };
    SearchSet *innermost = add(std::make_unique<SearchSet>(nullptr));
    innermost->SetCondition("innermost");
    SearchSet *child = innermost;
    for (int i = 0; i < depth; ++i) {
        SearchSet *parent = add(std::make_unique<SearchSet>(nullptr));
        parent->SetCondition(("parent " + std::to_string(i)).c_str());
        auto cross = std::make_unique<CrossSearchSet>(nullptr);
        cross->SetParentSearchSet(parent, true);
        cross->SetChildSearchSet(child, false);
        cross->SetAxisType(AXIS_CHILD);
        child = add(std::move(cross));
    }
    EXPECT_EQ(child->GetNumber(), 2 * depth + 1);
    return FakeKernel::instance().commands();
}

TEST_F(CombinedSetsTest, AChainOfJoinsIsExecutedFromTheInsideWhateverItsDepth) {
    for (const int depth : {1, 2, 31, 32, 33, 34, 70, 20000}) {
        std::vector<std::string> expected{"FIND innermost"};
        for (int i = 0; i < depth; ++i) {
            expected.push_back("FIND parent " + std::to_string(i));
            expected.push_back("FIND XPATH(child," + std::to_string(2 * i + 2) + "," +
                               std::to_string(2 * i + 1) + ",1)");
        }
        EXPECT_EQ(commandsOfChain(depth), expected) << depth;
    }
}

TEST_F(CombinedSetsTest, AFailureDeepInAChainPassesThrough) {
    std::vector<std::unique_ptr<IntersectionSearchSet>> sets;
    SearchSet *held = pending("innermost");
    for (int i = 0; i < 1000; ++i) {
        sets.push_back(std::make_unique<IntersectionSearchSet>(nullptr, nullptr));
        sets.back()->AddSearchSet(numbered(1));
        sets.back()->AddSearchSet(held);
        held = sets.back().get();
    }
    kernel_.failCommand(500, "No.");
    EXPECT_EQ(raisedMessage([&] { held->Execute(); }), "No.");
    EXPECT_EQ(kernel_.commands().size(), 500u);
    EXPECT_EQ(held->GetNumber(), 1001) << "what was executed is not executed again";
    EXPECT_EQ(kernel_.commands().size(), 500u + 502u);
}

TEST_F(CombinedSetsTest, AKernelThatNeverTellsANumberEndsADeepChainAllTheSame) {
    std::vector<std::unique_ptr<IntersectionSearchSet>> sets;
    SearchSet *held = pending("innermost");
    for (int i = 0; i < 200; ++i) {
        sets.push_back(std::make_unique<IntersectionSearchSet>(nullptr, nullptr));
        sets.back()->AddSearchSet(held);
        held = sets.back().get();
    }
    kernel_.failGetSearchFrom(1);
    EXPECT_EQ(held->GetNumber(), 0);
    EXPECT_LT(kernel_.commands().size(), 2000u);
}

TEST_F(CombinedSetsTest, AJoinFindsItsAxisThroughAnyNumberOfJoins) {
    std::vector<std::unique_ptr<CrossSearchSet>> sets;
    SearchSet *side = nullptr;
    for (int i = 0; i < 100000; ++i) {
        sets.push_back(std::make_unique<CrossSearchSet>(nullptr));
        sets.back()->SetChildSearchSet(i % 2 == 0 ? side : nullptr, true);
        sets.back()->SetParentSearchSet(i % 2 == 0 ? nullptr : side, false);
        side = sets.back().get();
    }
    sets.front()->SetAxisType(AXIS_PRECEDING);
    EXPECT_EQ(sets.back()->GetAxisType(), AXIS_PRECEDING);
}

}  // namespace
