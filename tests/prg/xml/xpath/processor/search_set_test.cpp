#include "prg/xml/xpath/processor/search_set.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "foundation/memory.h"
#include "prg/xml/xpath/processor/leaf_search_sets.h"
#include "tests/prg/xml/xpath/processor/fake_kernel.h"
#include "tests/prg/xml/xpath/processor/raised_message.h"
#include "tests/prg/xml/xpath/processor/recording_logger.h"
#include "tests/prg/xml/xpath/processor/trees.h"

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class SearchSetTest : public ::testing::Test {
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

    FakeKernel &kernel_ = FakeKernel::instance();
};

TEST_F(SearchSetTest, StartsWithoutNumberAndCrossConnected) {
    SearchSet set(nullptr);
    EXPECT_FALSE(set.HasNumber());
    EXPECT_TRUE(set.GetCrossConnect());
    EXPECT_EQ(conditionOf(set), "");
    EXPECT_THAT(kernel_.calls(), IsEmpty());
}

TEST_F(SearchSetTest, IdsCountFromOneAfterAReset) {
    const SearchSet first(nullptr), second(nullptr);
    EXPECT_EQ(first.GetId(), 1);
    EXPECT_EQ(second.GetId(), 2);
    SearchSet::ResetId();
    EXPECT_EQ(SearchSet(nullptr).GetId(), 1);
}

TEST_F(SearchSetTest, TheNumberIsAskedForByExecuting) {
    kernel_.addSet();
    SearchSet set(nullptr);
    set.SetCondition("N_ID=$");
    EXPECT_EQ(set.GetNumber(), 2);
    EXPECT_THAT(kernel_.commands(), ElementsAre("FIND N_ID=$"));
}

TEST_F(SearchSetTest, TheRecordCountIsAskedForByExecuting) {
    kernel_.setFound(1, 42, 7);
    SearchSet set(nullptr);
    set.SetCondition("N_ID=$");
    EXPECT_EQ(set.GetRecordCount(), 42);
    EXPECT_THAT(kernel_.commands(), ElementsAre("FIND N_ID=$"));
}

TEST_F(SearchSetTest, ANegativeNumberIsAskedForAgainButItsRecordsAreNot) {
    kernel_.setFound(1, 42);
    SearchSet set(nullptr);
    set.SetCondition("N_ID=$");
    set.SetNumber(-4);
    EXPECT_EQ(set.GetRecordCount(), 0);
    EXPECT_THAT(kernel_.calls(), IsEmpty());
    EXPECT_EQ(set.GetNumber(), 1);
    EXPECT_EQ(set.GetRecordCount(), 42);
    EXPECT_THAT(kernel_.commands(), ElementsAre("FIND N_ID=$"));
}

TEST_F(SearchSetTest, WhatTheKernelDoesNotTellIsNothing) {
    kernel_.setFound(1, 42, 7);
    SearchSet set(nullptr);
    set.SetCondition("N_ID=$");
    set.Execute();
    set.SetNumber(-4);
    kernel_.failGetSearchFrom(2);
    set.Execute();
    EXPECT_EQ(kernel_.calls().back(), "GetSearch") << "with its three outputs cleared";
    EXPECT_FALSE(set.HasNumber());
    kernel_.failGetSearchFrom(0);
    set.SetNumber(-4);
    EXPECT_EQ(set.GetRecordCount(), 0);
}

TEST_F(SearchSetTest, ASecondExecutionAfterSuccessDoesNothing) {
    SearchSet set(nullptr);
    set.SetCondition("N_ID=$");
    set.Execute();
    set.Execute();
    EXPECT_EQ(set.GetNumber(), 1);
    EXPECT_EQ(kernel_.commands().size(), 1u);
}

TEST_F(SearchSetTest, ANewNumberIsNotAskedForAgain) {
    SearchSet set(nullptr);
    set.SetNumber(9);
    EXPECT_EQ(set.GetNumber(), 9);
    EXPECT_THAT(kernel_.calls(), IsEmpty());
}

TEST_F(SearchSetTest, ExecutingAsksForTheWordThenSearchesThenReadsTheResult) {
    SearchSet set(nullptr);
    set.SetCondition("N_ID=$");
    set.Execute();
    EXPECT_THAT(kernel_.calls(),
                ElementsAre(HasSubstr("ShellSymbol [FIN"), "ExecuteCcl FIND N_ID=$", "GetSearch"));
}

TEST_F(SearchSetTest, AFailedSearchRaisesTheKernelsSentenceAndLeavesTheSetUnexecuted) {
    kernel_.failCommand(1, "Unknown field N_FOO at column 6.");
    SearchSet set(nullptr);
    set.SetCondition("N_FOO=1");
    EXPECT_EQ(raisedMessage([&] { set.Execute(); }), "Unknown field N_FOO at column 6.");
    EXPECT_FALSE(set.HasNumber());
    EXPECT_THAT(kernel_.calls(), Contains("Message 1048 256"));
    EXPECT_EQ(set.GetNumber(), 1) << "the next attempt succeeds";
}

TEST_F(SearchSetTest, TheKernelsSentenceEndsAtItsLengthInBothStyles) {
    for (const auto style : {FakeKernel::TextStyle::terminated, FakeKernel::TextStyle::padded}) {
        for (const std::size_t size : {0u, 1u, 255u, 256u, 300u}) {
            kernel_.reset();
            kernel_.setTextStyle(style);
            kernel_.failCommand(1, std::string(size, 'm'));
            SearchSet set(nullptr);
            EXPECT_EQ(raisedMessage([&] { set.Execute(); }),
                      std::string(std::min<std::size_t>(size, 256), 'm'));
        }
    }
}

TEST_F(SearchSetTest, WithoutAResultTheSetStaysUnexecuted) {
    kernel_.failGetSearchFrom(1);
    SearchSet set(nullptr);
    set.SetCondition("N_ID=$");
    EXPECT_EQ(set.GetNumber(), 0);
    EXPECT_EQ(set.GetRecordCount(), 0);
}

TEST_F(SearchSetTest, AConditionOfAMegabyteIsSentWhole) {
    const std::string literal(1 << 20, 'x');
    SearchSet set(nullptr);
    set.SetCondition(literal.c_str());
    set.Execute();
    EXPECT_EQ(kernel_.commands().at(0), "FIND " + literal);
}

TEST_F(SearchSetTest, TheLogTellsConditionCommandAndResult) {
    RecordingLogger logger;
    kernel_.setFound(1, 0, 0);
    SearchSet set(&logger);
    set.SetCondition("N_ID=$");
    set.Execute();
    EXPECT_THAT(logger.lines(),
                ElementsAre("SearchSet::SetCondition: (SS/01) Assigned CCL condition: N_ID=$",
                            "SearchSet::Execute: (SS/01) Executing FIND N_ID=$",
                            "SearchSet::Execute: (SS/01) Produced set S1 with 0 records"));
}

TEST_F(SearchSetTest, APerCentSignInAConditionIsLoggedAsItIs) {
    RecordingLogger logger;
    SearchSet set(&logger);
    set.SetCondition("N_TVALUE=&%s%n%d&");
    EXPECT_THAT(logger.lines(), ElementsAre(HasSubstr("condition: N_TVALUE=&%s%n%d&")));
}

TEST_F(SearchSetTest, HitsAreLoggedOneALineForFiveRecordsAtTheMost) {
    RecordingLogger logger;
    std::vector<FakeKernel::Record> records(7);
    for (std::size_t i = 0; i < records.size(); ++i) {
        records[i].id = static_cast<std::int32_t>(10 + i);
        records[i].hits.resize(2);
        records[i].hits[0].part = 1;
        records[i].hits[1].part = 2;
    }
    kernel_.setRecords(records);
    kernel_.setFound(1, 7);
    SearchSet set(&logger);
    set.SetCondition("N_ID=$");
    set.Execute();
    std::vector<std::string> expected;
    for (int id = 10; id < 15; ++id) {
        for (int part = 1; part < 3; ++part) {
            expected.push_back("SearchSet::Execute: (SS/01) Tuples in R" + std::to_string(id) +
                               " [ " + std::to_string(part) + " ]");
        }
    }
    EXPECT_EQ(std::vector<std::string>(logger.lines().begin() + 3, logger.lines().end()), expected);
    EXPECT_EQ(kernel_.openRecordControls(), 0);
}

TEST_F(SearchSetTest, HitsOfASetWithoutANumberAreNotAskedFor) {
    RecordingLogger logger;
    kernel_.failGetSearchFrom(1);
    SearchSet set(&logger);
    set.SetCondition("N_ID=$");
    set.Execute();
    EXPECT_THAT(kernel_.calls(),
                ElementsAre(HasSubstr("ShellSymbol [FIN"), "ExecuteCcl FIND N_ID=$", "GetSearch"));
    EXPECT_THAT(logger.lines().back(), HasSubstr("Produced set S0 with 0 records"));
}

TEST_F(SearchSetTest, HitsAreNotAskedForBelowTheDebugLevel) {
    RecordingLogger logger(LL_INFO);
    SearchSet set(&logger);
    set.SetCondition("N_ID=$");
    set.Execute();
    EXPECT_THAT(kernel_.calls(), Each(::testing::Not(HasSubstr("RecordControl"))));
    EXPECT_THAT(logger.lines(), IsEmpty());
}

// --- Hit tuples ---

FakeKernel::Record recordWithParts(std::int32_t id, const std::vector<std::int32_t> &parts) {
    FakeKernel::Record record;
    record.id = id;
    for (const std::int32_t part : parts) {
        FakeKernel::HitWord hit;
        hit.part = part;
        record.hits.push_back(hit);
    }
    return record;
}

std::vector<std::int32_t> tuplesOf(SearchSet &set, std::int32_t maxRecords) {
    std::int32_t *block = nullptr;
    const std::int32_t count = set.GetHitTuples(&block, maxRecords);
    std::vector<std::int32_t> tuples(block, block + std::ptrdiff_t{2} * count + 1);
    ZfxMemFree(block);
    return tuples;
}

using Tuples = std::vector<std::int32_t>;

TEST_F(SearchSetTest, TuplesArePairsBehindTheirCount) {
    kernel_.setRecords({recordWithParts(7, {1, 3}), recordWithParts(9, {2})});
    kernel_.setFound(1, 2);
    SearchSet set(nullptr);
    EXPECT_EQ(tuplesOf(set, 0), (Tuples{3, 7, 1, 7, 3, 9, 2}));
    EXPECT_EQ(tuplesOf(set, 1), (Tuples{2, 7, 1, 7, 3}));
    EXPECT_EQ(tuplesOf(set, 5), (Tuples{3, 7, 1, 7, 3, 9, 2}));
}

TEST_F(SearchSetTest, CollectingExecutesTheSetAndCallsTheKernelInOrder) {
    kernel_.setRecords({recordWithParts(7, {1})});
    SearchSet set(nullptr);
    set.SetCondition("N_ID=$");
    tuplesOf(set, 0);
    EXPECT_THAT(kernel_.calls(),
                ElementsAre(HasSubstr("ShellSymbol"), "ExecuteCcl FIND N_ID=$", "GetSearch",
                            "CreateRecordControl", "GetRecordInSearchRis 1 1", "GetNextHitWord",
                            "GetNextHitWord", "DeleteRecordControl"));
}

TEST_F(SearchSetTest, ARecordThatCannotBeReadIsSkipped) {
    FakeKernel::Record unreadable = recordWithParts(7, {1});
    unreadable.readable = false;
    kernel_.setRecords({unreadable, recordWithParts(9, {2})});
    kernel_.setFound(1, 3);
    SearchSet set(nullptr);
    EXPECT_EQ(tuplesOf(set, 0), (Tuples{1, 9, 2}));
    EXPECT_EQ(kernel_.openRecordControls(), 0);
}

TEST_F(SearchSetTest, ARecordControlThatCannotBeCreatedIsPassedOnAllTheSame) {
    kernel_.setRecords({recordWithParts(7, {1}), recordWithParts(9, {2})});
    kernel_.setFound(1, 2);
    SearchSet set(nullptr);
    EXPECT_EQ(set.GetNumber(), 1);
    const std::size_t before = kernel_.calls().size();
    kernel_.failHitCall(1);
    EXPECT_EQ(tuplesOf(set, 0), (Tuples{1, 9, 2}));
    const std::vector<std::string> &calls = kernel_.calls();
    EXPECT_THAT(
        std::vector<std::string>(calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end()),
        ElementsAre("CreateRecordControl", "GetRecordInSearchRis 1 1",
                    "DeleteRecordControl of no handle", "CreateRecordControl",
                    "GetRecordInSearchRis 1 2", "GetNextHitWord", "GetNextHitWord",
                    "DeleteRecordControl"));
    EXPECT_EQ(kernel_.openRecordControls(), 0);
}

TEST_F(SearchSetTest, AHitWithoutAPartGivesItsItem) {
    FakeKernel::Record record = recordWithParts(7, {0, -1, 30});
    record.hits[0].item = 11;
    record.hits[1].item = 12;
    record.hits[2].item = 13;
    kernel_.setRecords({record});
    SearchSet set(nullptr);
    EXPECT_EQ(tuplesOf(set, 0), (Tuples{3, 7, 11, 7, 12, 7, 30}));
}

TEST_F(SearchSetTest, ASetWithoutHitsHasNoTuples) {
    kernel_.setRecords({recordWithParts(7, {})});
    SearchSet set(nullptr);
    EXPECT_EQ(tuplesOf(set, 0), (Tuples{0}));
    kernel_.setRecords({});
    EXPECT_EQ(tuplesOf(set, 0), (Tuples{0}));
}

TEST_F(SearchSetTest, TheArrayGrowsWithItsTuples) {
    std::vector<std::int32_t> parts;
    for (std::int32_t part = 1; part <= 500; ++part)
        parts.push_back(part);
    for (const std::size_t records : {1u, 31u, 32u, 33u, 64u, 65u}) {
        for (const std::size_t hits : {1u, 30u, 31u, 32u, 33u, 500u}) {
            const std::vector<std::int32_t> some(parts.begin(),
                                                 parts.begin() + static_cast<std::ptrdiff_t>(hits));
            kernel_.setRecords(std::vector<FakeKernel::Record>(records, recordWithParts(7, some)));
            kernel_.setFound(1, static_cast<std::int32_t>(records));
            SearchSet set(nullptr);
            kernel_.addSet(static_cast<std::int32_t>(records));
            const Tuples tuples = tuplesOf(set, 0);
            EXPECT_EQ(tuples.at(0), static_cast<std::int32_t>(records * hits));
            EXPECT_EQ(tuples.back(), static_cast<std::int32_t>(hits));
            kernel_.reset();
        }
    }
}

// --- Leaf sets ---

class CountingUniversalSet : public UniversalSearchSet {
public:
    using UniversalSearchSet::UniversalSearchSet;
    void Execute() override {
        ++executions;
        UniversalSearchSet::Execute();
    }
    int executions = 0;
};

TEST_F(SearchSetTest, TheNumberOfAUniversalSetIsZeroAndAskedForEveryTime) {
    CountingUniversalSet set(nullptr, nullptr);
    EXPECT_EQ(set.GetNumber(), 0);
    EXPECT_EQ(set.GetNumber(), 0);
    EXPECT_EQ(set.executions, 2);
    EXPECT_EQ(set.GetRecordCount(), 0);
    EXPECT_EQ(conditionOf(set), "");
    EXPECT_THAT(kernel_.calls(), IsEmpty());
}

TEST_F(SearchSetTest, AUniversalSetTakesItsAxisFromAnAxisStep) {
    const Tree step(newNameStep(AXIS_ANCESTOR, "a"));
    EXPECT_EQ(UniversalSearchSet(step.get(), nullptr).GetAxisType(), AXIS_ANCESTOR);
    const Tree literal(new XPathChar("x"));
    EXPECT_EQ(UniversalSearchSet(literal.get(), nullptr).GetAxisType(), AXIS_CHILD);
    EXPECT_EQ(UniversalSearchSet(nullptr, nullptr).GetAxisType(), AXIS_CHILD);
}

TEST_F(SearchSetTest, AnExpressionSetKeepsExpressionAndCondition) {
    const Tree step(newNameStep(AXIS_CHILD, "a"));
    ExpressionSearchSet set(step.get(), "N_ID=$", nullptr);
    EXPECT_EQ(set.GetExpression(), step.get());
    EXPECT_EQ(conditionOf(set), "N_ID=$");
    ExpressionSearchSet bare(step.get(), nullptr, nullptr);
    EXPECT_EQ(conditionOf(bare), "");
}

TEST_F(SearchSetTest, AContextSetTakesOverTheMostRecentSetEveryTime) {
    const Tree step(newNameStep(AXIS_SELF, "a"));
    kernel_.addSet(5);
    ContextSearchSet set(step.get(), nullptr);
    EXPECT_EQ(set.GetExpression(), step.get());
    EXPECT_EQ(set.GetNumber(), 1);
    EXPECT_EQ(set.GetRecordCount(), 5);
    kernel_.addSet(6);
    EXPECT_EQ(set.GetNumber(), 1);
    set.Execute();
    EXPECT_EQ(set.GetNumber(), 2);
    EXPECT_EQ(set.GetRecordCount(), 6);
    EXPECT_THAT(kernel_.calls(), Each("GetSearch"));
}

TEST_F(SearchSetTest, AContextSetWithoutAnythingToTakeOverHasNoNumber) {
    ContextSearchSet set(nullptr, nullptr);
    EXPECT_EQ(set.GetNumber(), 0);
}

TEST_F(SearchSetTest, TheLogTellsWhatALeafSetWasMadeFor) {
    RecordingLogger logger;
    const Tree step(newNameStep(AXIS_CHILD, "a"));
    const Tree path = parseTree("a/b");
    const UniversalSearchSet universal(step.get(), &logger);
    const ExpressionSearchSet expression(path.get(), "N_ID=$", &logger);
    ContextSearchSet context(nullptr, &logger);
    context.Execute();
    EXPECT_THAT(
        logger.lines(),
        ElementsAre("UniversalSearchSet::UniversalSearchSet: (SS/01) Expression child::a",
                    "ExpressionSearchSet::ExpressionSearchSet: (SS/02) Composite expression",
                    "SearchSet::SetCondition: (SS/02) Assigned CCL condition: N_ID=$",
                    "ContextSearchSet::ContextSearchSet: (SS/03) Composite expression",
                    "ContextSearchSet::Execute: (SS/03) Produced set S0 with 0 records"));
}

TEST_F(SearchSetTest, TheLogTellsAnExpressionWithoutItsPathsButWithItsQuotes) {
    RecordingLogger logger;
    const Tree tree = parseTree("a[b][@id='x']");
    XPathExpression *step = firstStep(tree);
    const UniversalSearchSet universal(step, &logger);
    const ExpressionSearchSet expression(step, nullptr, &logger);
    const ContextSearchSet context(step, &logger);
    const std::string text = "Expression child::a[][attribute::id=\"x\"]";
    EXPECT_THAT(logger.lines(),
                ElementsAre("UniversalSearchSet::UniversalSearchSet: (SS/01) " + text,
                            "ExpressionSearchSet::ExpressionSearchSet: (SS/02) " + text,
                            "ContextSearchSet::ContextSearchSet: (SS/03) " + text));
}

TEST_F(SearchSetTest, OfALongExpressionTheLogKeepsItsBeginning) {
    std::string request = "a[@b='x']";
    for (int i = 0; i < 300; ++i)
        request = "a[@b='" + std::string(25, 'y') + "' and " + request + "]";
    const Tree tree = parseTree(request);
    CStringBuffer whole;
    firstStep(tree)->ToString(whole, false, true, true);
    const std::string line = std::string("(SS/01) Expression ") + BufferText(whole);
    ASSERT_GT(line.size(), 8191u);
    RecordingLogger logger;
    const ExpressionSearchSet set(firstStep(tree), nullptr, &logger);
    EXPECT_EQ(logger.lines().at(0),
              "ExpressionSearchSet::ExpressionSearchSet: " + line.substr(0, 8191));
}

}  // namespace
