// The driver: Begin, Query, End, Clean.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "prg/xml/xpath/processor/leaf_search_sets.h"
#include "prg/xml/xpath/processor/tree_printout.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"
#include "tests/prg/xml/xpath/processor/fake_kernel.h"
#include "tests/prg/xml/xpath/processor/raised_message.h"
#include "tests/prg/xml/xpath/processor/recording_logger.h"
#include "tests/prg/xml/xpath/processor/scarce_memory.h"
#include "tests/prg/xml/xpath/processor/trees.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ProcessorTest : public ::testing::Test {
protected:
    void SetUp() override { kernel_.reset(); }

    FakeKernel &kernel_ = FakeKernel::instance();
};

// --- Begin and End ---

TEST_F(ProcessorTest, BeginSavesTheStateAndHasHitsRecorded) {
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    EXPECT_THAT(kernel_.calls(),
                ElementsAre("SaveStatus", HasSubstr("ShellSymbol [DEF"),
                            HasSubstr("ShellSymbol [HIL"), "ExecuteCcl DEFINE HITS"));
}

TEST_F(ProcessorTest, EnablingEmptySetsAsksForItsWordsInTheirOrder) {
    ZXProcessorMain processor(nullptr);
    processor.EnableEmptySets();
    EXPECT_THAT(kernel_.shortCalls(), ElementsAre("?DEF", "?FIN", "?MIN", "DEFINE FIND MIN=0"));
}

TEST_F(ProcessorTest, EndAsksForItsWordsFirstWhateverTheNumberOfSets) {
    struct {
        const char *request;
        std::vector<std::string> calls;
    } const facts[] = {
        {nullptr, {"?DEL", "?SXX", "?REN", "load 1"}},
        {"a", {"?DEL", "?SXX", "?REN", "load 1"}},
        {"a/b",
         {"?DEL", "?SXX", "?REN", "DELETE S=1", "DELETE S=2", "RENUMBER", "result", "load 1"}},
    };
    for (const auto &fact : facts) {
        kernel_.reset();
        ZXProcessorMain processor(nullptr);
        processor.Begin();
        if (fact.request != nullptr) processor.Query(fact.request);
        const auto before = static_cast<std::ptrdiff_t>(kernel_.shortCalls().size());
        processor.End();
        const std::vector<std::string> calls = kernel_.shortCalls();
        EXPECT_EQ(std::vector<std::string>(calls.begin() + before, calls.end()), fact.calls);
    }
}

TEST_F(ProcessorTest, EndExecutesALateSetAfterAskingForItsOwnWords) {
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    processor.AddSearchSet(new ExpressionSearchSet(nullptr, "first", nullptr));
    processor.AddSearchSet(new ExpressionSearchSet(nullptr, "last", nullptr));
    processor.End();
    EXPECT_THAT(kernel_.shortCalls(),
                ElementsAre("save", "?DEF", "?HIL", "DEFINE HITS", "?DEL", "?SXX", "?REN", "?FIN",
                            "FIND first", "result", "DELETE S=1", "RENUMBER", "result", "load 1"));
}

// A destructor runs it when a request ran out of memory.
TEST_F(ProcessorTest, EndNeedsNoMemory) {
    for (const char *symbol : {"DEL", "SXX", "REN"})
        kernel_.setWord(symbol, std::string("SIXTEEN LETTERS") + symbol[0]);
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    processor.Query("a/b");
    {
        const ScarceMemory memory;
        processor.End();
    }
    const std::vector<std::string> &commands = kernel_.commands();
    EXPECT_THAT(std::vector<std::string>(commands.end() - 3, commands.end()),
                ElementsAre("SIXTEEN LETTERSD SIXTEEN LETTERSS=1",
                            "SIXTEEN LETTERSD SIXTEEN LETTERSS=2", "SIXTEEN LETTERSR"));
}

TEST_F(ProcessorTest, ASetThatEndHasNoMemoryToExecuteIsLeftToTheKernel) {
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    const std::string condition(100, 'x');
    processor.AddSearchSet(new ExpressionSearchSet(nullptr, condition.c_str(), nullptr));
    processor.AddSearchSet(new ExpressionSearchSet(nullptr, condition.c_str(), nullptr));
    {
        const ScarceMemory memory;
        processor.End();
    }
    EXPECT_THAT(kernel_.commands(), ElementsAre("DEFINE HITS", "RENUMBER"));
    EXPECT_EQ(kernel_.trace().back(), "load 1");
}

TEST_F(ProcessorTest, AStateThatCannotBeSavedIsNeitherTidiedNorRestored) {
    kernel_.failSaveStatus();
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    EXPECT_THAT(kernel_.calls(), ElementsAre("SaveStatus"));
    processor.Query("a/b");
    const std::size_t calls = kernel_.calls().size();
    processor.End();
    EXPECT_EQ(kernel_.calls().size(), calls);
}

TEST_F(ProcessorTest, EndWithoutBeginDoesNothing) {
    ZXProcessorMain processor(nullptr);
    processor.End();
    EXPECT_THAT(kernel_.calls(), IsEmpty());
}

TEST_F(ProcessorTest, EndWithoutSetsRestoresTheState) {
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    processor.End();
    processor.End();
    EXPECT_THAT(kernel_.trace(), ElementsAre("save", "DEFINE HITS", "load 1"));
}

TEST_F(ProcessorTest, ARequestOfOneSetIsNotTidiedAndKeepsItsNumber) {
    kernel_.addSet();
    kernel_.addSet();
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    SearchSet *result = processor.Query("a");
    processor.End();
    EXPECT_EQ(result->GetNumber(), 3);
    EXPECT_THAT(kernel_.trace(), ElementsAre("save", "DEFINE HITS", "DEFINE FIND MIN=0",
                                             HasSubstr("FIND N_TYPE"), "load 1"));
    EXPECT_THAT(kernel_.setNumbers(), ElementsAre(1, 2, 3));
}

TEST_F(ProcessorTest, IntermediateSetsAreDeletedOldestFirstAndTheResultRenumbered) {
    kernel_.addSet();
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    SearchSet *result = processor.Query("a/b");
    EXPECT_EQ(result->GetNumber(), 4);
    processor.End();
    EXPECT_EQ(result->GetNumber(), 2);
    EXPECT_THAT(kernel_.setNumbers(), ElementsAre(1, 2));
    const std::vector<std::string> &commands = kernel_.commands();
    EXPECT_THAT(std::vector<std::string>(commands.end() - 3, commands.end()),
                ElementsAre("DELETE S=2", "DELETE S=3", "RENUMBER"));
}

TEST_F(ProcessorTest, AnIntermediateSetWithoutANumberIsNotDeleted) {
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    processor.AddSearchSet(new UniversalSearchSet(nullptr, nullptr));
    SearchSet *negative = processor.AddSearchSet(new UniversalSearchSet(nullptr, nullptr));
    negative->SetNumber(-4);
    for (int i = 0; i < 3; ++i) {
        processor.AddSearchSet(new ExpressionSearchSet(nullptr, "N_ID=$", nullptr))->Execute();
    }
    processor.End();
    EXPECT_THAT(kernel_.commands(),
                ElementsAre("DEFINE HITS", "FIND N_ID=$", "FIND N_ID=$", "FIND N_ID=$",
                            "DELETE S=1", "DELETE S=2", "RENUMBER"));
}

TEST_F(ProcessorTest, WithoutAnAnswerAfterRenumberingTheResultKeepsItsNumber) {
    kernel_.failGetSearchFrom(4);
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    SearchSet *result = processor.Query("a/b");
    processor.End();
    EXPECT_EQ(result->GetNumber(), 3);
}

TEST_F(ProcessorTest, ASetThatWasNotExecutedIsExecutedByEnd) {
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    processor.AddSearchSet(new ExpressionSearchSet(nullptr, "first", nullptr));
    processor.AddSearchSet(new ExpressionSearchSet(nullptr, "last", nullptr));
    processor.End();
    EXPECT_THAT(kernel_.commands(),
                ElementsAre("DEFINE HITS", "FIND first", "DELETE S=1", "RENUMBER"));
}

class ThrowingSet : public SearchSet {
public:
    using SearchSet::SearchSet;
    void Execute() override { throw std::runtime_error("not an XPathException"); }
};

TEST_F(ProcessorTest, NothingThatASetRaisesLeavesEnd) {
    kernel_.failFrom(2);
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    processor.AddSearchSet(new ExpressionSearchSet(nullptr, "first", nullptr));
    processor.AddSearchSet(new ThrowingSet(nullptr));
    processor.AddSearchSet(new ExpressionSearchSet(nullptr, "last", nullptr));
    processor.End();
    EXPECT_THAT(kernel_.trace(),
                ElementsAre("save", "DEFINE HITS", "FIND first", "RENUMBER", "load 1"));
}

TEST_F(ProcessorTest, TheWordsAroundARequestAreTheKernels) {
    for (const char *symbol : {"DEF", "HIL", "FIN", "MIN", "DEL", "SXX", "REN"}) {
        kernel_.setWord(symbol, std::string("<") + symbol + ">");
    }
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    processor.Query("a/b");
    processor.End();
    EXPECT_THAT(kernel_.trace(),
                ElementsAre("save", "<DEF> <HIL>", "<DEF> <FIN> <MIN>=0", HasSubstr("<FIN> N_TYPE"),
                            HasSubstr("<FIN> N_TYPE"), "<FIN> XPATH(child,1,2,2)", "<DEL> <SXX>=1",
                            "<DEL> <SXX>=2", "<REN>", "load 1"));
}

// --- The destructor ---

TEST_F(ProcessorTest, TheDestructorEndsTheRequest) {
    {
        ZXProcessorMain processor(nullptr);
        processor.Begin();
        processor.Query("a/b");
    }
    EXPECT_EQ(kernel_.trace().back(), "load 1");
    EXPECT_THAT(kernel_.setNumbers(), ElementsAre(1));
}

TEST_F(ProcessorTest, TheDestructorTidiesUpWhileAnExceptionPasses) {
    const auto request = [] {
        ZXProcessorMain processor(nullptr);
        processor.Begin();
        processor.Query("a[contains(.//text(),'x')]");
        processor.End();
    };
    EXPECT_EQ(raisedMessage(request),
              "Location step expressions for axis \"self\" are not yet implemented.");
    EXPECT_EQ(kernel_.trace().back(), "load 1");
    EXPECT_THAT(kernel_.setNumbers(), IsEmpty());
}

// --- Query ---

TEST_F(ProcessorTest, QueryKeepsEmptySetsAlsoWithoutBegin) {
    ZXProcessorMain processor(nullptr);
    processor.Query("a");
    EXPECT_THAT(kernel_.trace(), ElementsAre("DEFINE FIND MIN=0", HasSubstr("FIND N_TYPE")));
}

TEST_F(ProcessorTest, QueryReturnsTheLastSet) {
    ZXProcessorMain processor(nullptr);
    SearchSet *result = processor.Query("a/b");
    ASSERT_EQ(processor.GetSearchSetCount(), 3);
    EXPECT_EQ(result, processor.GetSearchSet(2));
    EXPECT_EQ(result->GetNumber(), 3);
    EXPECT_EQ(processor.GetSearchSet(-1), nullptr);
    EXPECT_EQ(processor.GetSearchSet(3), nullptr);
}

TEST_F(ProcessorTest, ARequestThatDoesNotParseRaisesTheParsersTextAndMakesNoSet) {
    RecordingLogger logger(LL_ERROR);
    for (const char *request : {"a/", "chld::a", "foo()", "", "a[b and c and d]"}) {
        ZXParserMain parser;
        CStringBuffer error;
        ASSERT_EQ(parser.Parse(request, &error), nullptr);
        ZXProcessorMain processor(&logger);
        EXPECT_EQ(raisedMessage([&] { processor.Query(request); }), BufferText(error));
        EXPECT_EQ(processor.GetSearchSetCount(), 0);
        EXPECT_EQ(
            logger.lines().back(),
            std::string("ZXProcessorMain::Query #0: XPath parsing error: ") + BufferText(error));
    }
}

TEST_F(ProcessorTest, NoRequestAtAllDoesNotParse) {
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(raisedMessage([&] { processor.Query(nullptr); }), "syntax error");
}

TEST_F(ProcessorTest, ASecondQueryDropsTheFirstOne) {
    ZXProcessorMain processor(nullptr);
    processor.Query("a/b/c");
    EXPECT_NE(processor.PeekExpr(), nullptr);
    SearchSet *result = processor.Query("/a");
    EXPECT_EQ(processor.GetSearchSetCount(), 1);
    EXPECT_EQ(result->GetId(), 1);
    EXPECT_THAT(kernel_.commands().back(), HasSubstr("N_PARENT=0"));
}

TEST_F(ProcessorTest, CleanDropsEverythingAndStartsTheIdsAgain) {
    ZXProcessorMain processor(nullptr);
    processor.Query("a/b");
    processor.Clean();
    EXPECT_EQ(processor.GetSearchSetCount(), 0);
    EXPECT_EQ(processor.PeekExpr(), nullptr);
    EXPECT_EQ(SearchSet(nullptr).GetId(), 1);
}

class ReportingSet : public SearchSet {
public:
    ReportingSet(std::vector<int> &gone, int name) : SearchSet(nullptr), gone_(gone), name_(name) {}
    ~ReportingSet() override { gone_.push_back(name_); }

private:
    std::vector<int> &gone_;
    int name_;
};

TEST_F(ProcessorTest, CleanDeletesTheNewestSetFirst) {
    std::vector<int> gone;
    ZXProcessorMain processor(nullptr);
    for (int name = 1; name <= 3; ++name)
        processor.AddSearchSet(new ReportingSet(gone, name));
    processor.Clean();
    EXPECT_THAT(gone, ElementsAre(3, 2, 1));
}

TEST_F(ProcessorTest, AddingASetReturnsIt) {
    ZXProcessorMain processor(nullptr);
    auto *set = new SearchSet(nullptr);
    EXPECT_EQ(processor.AddSearchSet(set), set);
    EXPECT_EQ(processor.GetSearchSet(0), set);
}

TEST_F(ProcessorTest, TheExpressionStackIsAStack) {
    const Tree first(new XPathChar("1")), second(new XPathChar("2"));
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(processor.PeekExpr(), nullptr);
    EXPECT_EQ(processor.PopExpr(), nullptr);
    processor.PushExpr(first.get());
    processor.PushExpr(second.get());
    EXPECT_EQ(processor.PeekExpr(), second.get());
    EXPECT_EQ(processor.PopExpr(), second.get());
    EXPECT_EQ(processor.PopExpr(), first.get());
    EXPECT_EQ(processor.PeekExpr(), nullptr);
}

// --- The log ---

std::size_t placeOf(const RecordingLogger &logger, const std::string &piece) {
    std::size_t i = 0;
    while (i < logger.lines().size() && logger.lines()[i].find(piece) == std::string::npos)
        ++i;
    return i;
}

TEST_F(ProcessorTest, TheTreeIsLoggedBetweenItsHeadingAndItsEnd) {
    RecordingLogger logger;
    ZXProcessorMain processor(&logger);
    processor.Query("a");
    ASSERT_GE(logger.lines().size(), 4u);
    EXPECT_EQ(logger.lines()[0], "ZXProcessorMain::Query: Entered");
    EXPECT_EQ(logger.lines()[1], "ZXProcessorMain::Query: Parsing XPath expression \"a\"");
    CStringBuffer dump;
    parseTree("a")->ToDebugString(dump, true, 0);
    EXPECT_EQ(logger.lines()[2],
              std::string("ZXProcessorMain::Query: XPath parser node printout follows.") +
                  BufferText(dump) + "\n\n");
    EXPECT_EQ(logger.lines()[3], "ZXProcessorMain::Query: XPath parser node printout completed.");
}

TEST_F(ProcessorTest, TheTreeIsNotLoggedBelowTheDebugLevel) {
    RecordingLogger logger(LL_INFO);
    ZXProcessorMain processor(&logger);
    processor.Query("a");
    EXPECT_THAT(logger.lines(), IsEmpty());
}

TEST_F(ProcessorTest, ARequestCannotFormatTheLog) {
    RecordingLogger logger;
    ZXProcessorMain processor(&logger);
    processor.Query("a[@id='%n%s%9999d']");
    const std::size_t place = placeOf(logger, "printout follows.");
    ASSERT_LT(place, logger.lines().size());
    EXPECT_THAT(logger.lines()[place], HasSubstr("VALUE=\"%n%s%9999d\""));
}

TEST_F(ProcessorTest, TwoPerCentSignsAreLoggedAsOne) {
    RecordingLogger logger;
    ZXProcessorMain processor(&logger);
    processor.Query("a[@id='100%% of %%%s%']");
    EXPECT_THAT(logger.lines()[placeOf(logger, "printout follows.")],
                HasSubstr("VALUE=\"100% of %%s%\""));
}

TEST_F(ProcessorTest, AFormatIsEscapedPairByPair) {
    struct {
        const char *text, *format;
    } const facts[] = {
        {"", ""},         {"a", "a"},    {"%", "%%"},    {"%%", "%%"},  {"%%%", "%%%%"},
        {"%%%%", "%%%%"}, {"%s", "%%s"}, {"%%s", "%%s"}, {"a%", "a%%"}, {"%d%%%n", "%%d%%%%n"}};
    for (const auto &fact : facts)
        EXPECT_EQ(EscapeFormat(fact.text), fact.format) << fact.text;
}

TEST_F(ProcessorTest, ALongPrintoutIsCutByTheLogger) {
    RecordingLogger logger;
    std::string request = "a";
    for (int i = 0; i < 500; ++i)
        request += "/abcdefgh";
    request += "[@id='%n']";
    ZXProcessorMain processor(&logger);
    processor.Query(request.c_str());
    const std::string source = "ZXProcessorMain::Query: ";
    EXPECT_EQ(logger.lines()[placeOf(logger, "printout follows.")].size(), source.size() + 8191);
}

// The printout as the logger would get it whole, and what it keeps of that.
std::string keptPrintout(const XPathExpression &tree) {
    CStringBuffer text("XPath parser node printout follows.");
    tree.ToDebugString(text, true, 0);
    const std::string format = EscapeFormat(BufferText(text)) + "\n\n";
    std::vector<char> kept(zfxLogTextLength + 1);
    std::snprintf(kept.data(), kept.size(), format.c_str());
    return kept.data();
}

TEST_F(ProcessorTest, OfALongPrintoutTheLogKeepsItsBeginning) {
    for (const int levels : {20, 40, 41, 42, 60, 200}) {
        const std::string pieces(150, '%');
        std::string request = "a[@b='" + pieces + "']";
        for (int i = 0; i < levels; ++i)
            request = "a[@b='" + pieces + "' and " + request + "]";
        RecordingLogger logger;
        ZXProcessorMain processor(&logger);
        processor.Query(request.c_str());
        EXPECT_EQ(logger.lines()[placeOf(logger, "printout follows.")],
                  "ZXProcessorMain::Query: " + keptPrintout(*parseTree(request)));
    }
}

// --- Classification ---

TEST_F(ProcessorTest, TheStepOfAPathIsItsLastOne) {
    const Tree path = parseTree("a/b/c");
    auto &steps = dynamic_cast<XPathPath &>(*path);
    EXPECT_EQ(ZXProcessorMain::ToLocationStep(path.get()), steps.Get(2));
    const XPathPath empty;
    EXPECT_EQ(ZXProcessorMain::ToLocationStep(const_cast<XPathPath *>(&empty)), nullptr);
}

TEST_F(ProcessorTest, TheStepOfAStepIsTheStep) {
    const Tree step(newNameStep(AXIS_CHILD, "a"));
    EXPECT_EQ(ZXProcessorMain::ToLocationStep(step.get()),
              dynamic_cast<XPathLocationStep *>(step.get()));
}

TEST_F(ProcessorTest, TheStepOfAUnaryExpressionIsItsOperandButOfANegatedPathThereIsNone) {
    auto *step = newNameStep(AXIS_CHILD, "a");
    const Tree negatedStep(new XPathUnaryExpression(step, true));
    EXPECT_EQ(ZXProcessorMain::ToLocationStep(negatedStep.get()), step);
    const Tree negatedPath(new XPathUnaryExpression(newPath(newNameStep(AXIS_CHILD, "a")), true));
    EXPECT_EQ(ZXProcessorMain::ToLocationStep(negatedPath.get()), nullptr);
}

TEST_F(ProcessorTest, OtherExpressionsHaveNoStep) {
    const Tree literal(new XPathChar("x"));
    EXPECT_EQ(ZXProcessorMain::ToLocationStep(literal.get()), nullptr);
    EXPECT_EQ(ZXProcessorMain::ToLocationStep(nullptr), nullptr);
}

TEST_F(ProcessorTest, TheScalarOfAFilterExpressionIsTheLiteralInIt) {
    auto *literal = new XPathChar("x");
    const Tree filter(new XPathFilterExpression(literal));
    EXPECT_EQ(ZXProcessorMain::ToScalar(filter.get()), literal);
    EXPECT_EQ(ZXProcessorMain::ToScalar(literal), literal);
    const Tree step(newNameStep(AXIS_CHILD, "a"));
    EXPECT_EQ(ZXProcessorMain::ToScalar(step.get()), nullptr);
    EXPECT_EQ(ZXProcessorMain::ToScalar(nullptr), nullptr);
}

}  // namespace
