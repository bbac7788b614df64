// Comparisons and functions: within a context, on hand-built trees, and what they do to the tree.
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

constexpr std::int32_t context = 12;

class ComparisonTest : public ::testing::Test {
protected:
    void SetUp() override { kernel_.reset(); }

    static std::string conditionOf(SearchSet *set) {
        CStringBuffer condition;
        set->GetCondition(condition);
        return BufferText(condition);
    }

    // The condition for the predicate of a request "a[...]", within a context and behind one set.
    std::string conditionFor(const char *request, std::int32_t within) {
        const Tree tree = parseTree(request);
        ZXProcessorMain processor(nullptr);
        processor.AddSearchSet(new ExpressionSearchSet(nullptr, "step", nullptr))->Execute();
        return conditionOf(processor.ProcessNode(firstPredicate(tree), within));
    }

    // The commands of a whole request.
    std::vector<std::string> commandsOf(const std::string &request) {
        kernel_.reset();
        ZXProcessorMain processor(nullptr);
        processor.Query(request.c_str());
        return kernel_.commands();
    }

    FakeKernel &kernel_ = FakeKernel::instance();
};

// --- Within a context ---

TEST_F(ComparisonTest, AComparisonWithinAContextIsWrapped) {
    EXPECT_EQ(conditionFor("a[text()='x']", context), "S=12 AND (N_TYPE=TEXT AND.T N_TVALUE=&x&)");
    EXPECT_EQ(conditionFor("a[text()!='']", context), "S=12 AND (N_TYPE=TEXT AND.T N_TVALUE=$)");
    EXPECT_EQ(conditionFor("a[@id<'5']", context),
              "S=12 AND (N_TYPE=ATTRIBUTE AND.T N_NAME=\"id\" AND.T N_TVALUE<\"5\")");
}

TEST_F(ComparisonTest, ThePositionWithinAContextIsWrapped) {
    EXPECT_EQ(conditionFor("a[position()=2]", context), "S=12 AND (XPATH(SELF,1,1,1,EQ,2))");
}

TEST_F(ComparisonTest, TheContextNodeWithinAContextHasNoCondition) {
    EXPECT_EQ(conditionFor("a[.='x']", context), "");
}

TEST_F(ComparisonTest, ContainsWithinAContextIsWrapped) {
    const Tree tree = parseTree("contains(text(),'x')");
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(conditionOf(processor.ProcessNode(firstStep(tree), context)),
              "S=12 AND (N_TYPE=TEXT AND.T N_TVALUE=$x$)");
    const Tree attribute = parseTree("contains(@id,'')");
    EXPECT_EQ(conditionOf(processor.ProcessNode(firstStep(attribute), context)),
              "S=12 AND (N_TYPE=ATTRIBUTE AND.T N_NAME=\"id\" AND.T N_TVALUE=\"\")");
}

// --- The sides of a comparison ---

TEST_F(ComparisonTest, ABareLiteralMayStandOnTheLeft) {
    XPathExpressionPair pair(
        new XPathChar("x"), PAIRSEP_LT,
        newPath(newNameStep(AXIS_CHILD, "b"), newNameStep(AXIS_ATTRIBUTE, "c")));
    ZXProcessorMain processor(nullptr);
    processor.ProcessNode(&pair, 0);
    EXPECT_THAT(kernel_.commands(),
                ElementsAre("FIND N_TYPE=ATTRIBUTE AND.T N_NAME=\"c\" AND.T N_TVALUE<\"x\"",
                            HasSubstr("N_NAME=\"b\""), "FIND XPATH(attribute,2,1,1)"))
        << "the operator is not turned round";
}

TEST_F(ComparisonTest, AStepMayStandWithoutAPath) {
    XPathExpressionPair pair(newNameStep(AXIS_ATTRIBUTE, "c"), PAIRSEP_EQ, new XPathChar("x"));
    ZXProcessorMain processor(nullptr);
    SearchSet *set = processor.ProcessNode(&pair, 0);
    EXPECT_EQ(conditionOf(set), "N_TYPE=ATTRIBUTE AND.T N_NAME=\"c\" AND.T N_TVALUE=&x&");
    EXPECT_TRUE(set->HasNumber());
    EXPECT_EQ(processor.PeekExpr(), &pair);
}

TEST_F(ComparisonTest, ALiteralWrittenInParenthesesKeepsThem) {
    auto *literal = new XPathChar("x");
    literal->SetParenthesized(true);
    XPathExpressionPair pair(newNameStep(AXIS_ATTRIBUTE, "c"), PAIRSEP_EQ, literal);
    ZXProcessorMain processor(nullptr);
    EXPECT_THAT(conditionOf(processor.ProcessNode(&pair, 0)), HasSubstr("N_TVALUE=&(x)&"));
}

TEST_F(ComparisonTest, AStepWithoutAnAxisIsNoSide) {
    XPathExpressionPair pair(new XPathAxisLocationStep(nullptr, nullptr), PAIRSEP_EQ,
                             new XPathChar("x"));
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(raisedMessage([&] { processor.ProcessNode(&pair, 0); }),
              "A ZARN XPath comparison predicate requires a location step and a scalar value.");
}

TEST_F(ComparisonTest, APairWithoutASecondOperandIsRefused) {
    XPathExpressionPair compared(newNameStep(AXIS_ATTRIBUTE, "c"), PAIRSEP_EQ, nullptr);
    XPathExpressionPair without(newNameStep(AXIS_ATTRIBUTE, "c"), PAIRSEP_NONE, nullptr);
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(raisedMessage([&] { processor.ProcessNode(&compared, 0); }),
              "A ZARN XPath comparison predicate requires a location step and a scalar value.");
    EXPECT_EQ(raisedMessage([&] { processor.ProcessNode(&without, 0); }),
              "Paired expressions are not yet fully implemented.");
}

TEST_F(ComparisonTest, AndAndOrAreRefusedOutsideOfPredicates) {
    for (const EPairOperator op : {PAIRSEP_AND, PAIRSEP_OR}) {
        XPathExpressionPair pair(newNameStep(AXIS_ATTRIBUTE, "c"), op, new XPathChar("x"));
        ZXProcessorMain processor(nullptr);
        EXPECT_EQ(raisedMessage([&] { processor.ProcessNode(&pair, 0); }),
                  "Paired expressions are not yet fully implemented.");
    }
}

// --- The context node ---

TEST_F(ComparisonTest, TheContextNodeComparedMakesAContextSet) {
    const Tree tree = parseTree("a[.='x']");
    kernel_.addSet();
    ZXProcessorMain processor(nullptr);
    auto *set = dynamic_cast<ContextSearchSet *>(processor.ProcessNode(firstPredicate(tree), 0));
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set->GetNumber(), 1);
    EXPECT_EQ(set->GetExpression(), firstPredicate(tree));
    EXPECT_EQ(conditionOf(set), "");
    EXPECT_EQ(kernel_.commands().size(), 0u);
}

TEST_F(ComparisonTest, AContextSetIsNotTakenOverAgainAtTheEnd) {
    ZXProcessorMain processor(nullptr);
    processor.Query("a[.='x']");
    ASSERT_EQ(processor.GetSearchSetCount(), 3);
    EXPECT_EQ(processor.GetSearchSet(1)->GetNumber(), 1);
    EXPECT_EQ(processor.GetSearchSet(2)->GetNumber(), 2);
}

// --- position() and last() ---

TEST_F(ComparisonTest, APositionWithNothingToCountInIsRefused) {
    const char *message = "Call to position() or last() with a NULL context node set.";
    for (const char *request : {"a[position()=2]", "a[2]", "a[last()=1]"}) {
        const Tree tree = parseTree(request);
        ZXProcessorMain processor(nullptr);
        EXPECT_EQ(raisedMessage([&] { processor.ProcessNode(firstPredicate(tree), 0); }), message)
            << request;
        EXPECT_EQ(processor.GetSearchSetCount(), 0);
    }
}

TEST_F(ComparisonTest, APositionUnderAPathWithNothingBeforeCountsInWhatThePathSelects) {
    const auto commandsFor = [this](const char *request) {
        kernel_.reset();
        const Tree tree = parseTree(request);
        ZXProcessorMain processor(nullptr);
        SearchSet *set = processor.ProcessNode(firstPredicate(tree), 0);
        EXPECT_FALSE(set->GetCrossConnect());
        std::vector<std::string> commands = kernel_.commands();
        commands.push_back("answer S" + std::to_string(set->GetNumber()));
        return commands;
    };
    const std::string element = "FIND N_TYPE=ELEMENT AND.T N_NAME=";
    EXPECT_THAT(commandsFor("a[b/position()=2]"),
                ElementsAre(element + "\"b\"", "FIND XPATH(child,0,1,2)",
                            "FIND XPATH(SELF,2,2,1,EQ,2)", "FIND XPATH(child,0,3,1)", "answer S4"));
    EXPECT_THAT(
        commandsFor("a[descendant::b/last()<3]"),
        ElementsAre(element + "\"b\"", "FIND XPATH(descendant,0,1,2)",
                    "FIND XPATH(SELF,2,2,1,LT,-3)", "FIND XPATH(descendant,0,3,1)", "answer S4"));
    EXPECT_THAT(commandsFor("a[b/c/position()=2]"),
                ElementsAre(element + "\"b\"", "FIND XPATH(child,0,1,2)", element + "\"c\"",
                            "FIND XPATH(child,2,3,2)", "FIND XPATH(SELF,4,4,1,EQ,2)", "answer S1"))
        << "longer paths answer with the set of their first step";
}

TEST_F(ComparisonTest, APositionUnderAPathIsJoinedTwice) {
    // 1, 2: x and a; 3: their join; 4: the position; 5: back to x.
    EXPECT_THAT(commandsOf("x[a/position()=2]"),
                ElementsAre("DEFINE FIND MIN=0", HasSubstr("N_NAME=\"x\""),
                            HasSubstr("N_NAME=\"a\""), "FIND XPATH(child,1,2,2)",
                            "FIND XPATH(SELF,3,3,1,EQ,2)", "FIND XPATH(child,1,4,1)"));
}

TEST_F(ComparisonTest, LastCountsFromTheEnd) {
    EXPECT_EQ(commandsOf("a[last()=1]").back(), "FIND XPATH(SELF,1,1,1,EQ,-1)");
    EXPECT_EQ(commandsOf("a[last()='-1']").back(), "FIND XPATH(SELF,1,1,1,EQ,-1)");
}

TEST_F(ComparisonTest, TheFirstStepOfAPositionMayBeACall) {
    // The set of a contains() with a path is a join, and so has an axis of its own.
    EXPECT_THAT(commandsOf("a[contains(b/text(),'x')/position()=2]"),
                ElementsAre("DEFINE FIND MIN=0", HasSubstr("N_NAME=\"a\""),
                            "FIND N_TYPE=TEXT AND.T N_TVALUE=$x$", HasSubstr("N_NAME=\"b\""),
                            "FIND XPATH(descendant,3,2,1)", "FIND XPATH(descendant,1,4,2)",
                            "FIND XPATH(SELF,5,5,1,EQ,2)", "FIND XPATH(descendant,1,6,1)"));
}

TEST_F(ComparisonTest, VeryLongPositionsAreSentWhole) {
    const std::string digits(10000, '7');
    EXPECT_EQ(commandsOf("a[position()='" + digits + "']").back(),
              "FIND XPATH(SELF,1,1,1,EQ," + digits + ")");
    EXPECT_EQ(commandsOf("a[last()='-" + digits + "']").back(),
              "FIND XPATH(SELF,1,1,1,EQ,-" + digits + ")");
}

TEST_F(ComparisonTest, ANumberBeyondThirtyTwoBitsCountsAsTheGreatestOne) {
    struct {
        const char *literal, *value;
    } const facts[] = {{"2147483646", "-2147483646"},
                       {"2147483647", "-2147483647"},
                       {"2147483648", "-2147483647"},
                       {"9223372036854775808", "-2147483647"},
                       {"-2147483649", "-2147483649"},
                       {" 3", "-3"},
                       {"+3", "-3"},
                       {"3x", "-3"}};
    for (const auto &fact : facts) {
        EXPECT_EQ(commandsOf(std::string("a[last()='") + fact.literal + "']").back(),
                  std::string("FIND XPATH(SELF,1,1,1,EQ,") + fact.value + ")");
    }
    EXPECT_EQ(commandsOf("a[last()='" + std::string(10000, '9') + "']").back(),
              "FIND XPATH(SELF,1,1,1,EQ,-2147483647)");
}

TEST_F(ComparisonTest, APositionIsNotJoinedAgain) {
    const Tree tree = parseTree("a[2]");
    ZXProcessorMain processor(nullptr);
    processor.AddSearchSet(new ExpressionSearchSet(nullptr, "step", nullptr));
    SearchSet *set = processor.ProcessNode(firstPredicate(tree), 0);
    EXPECT_FALSE(set->GetCrossConnect());
    EXPECT_THAT(kernel_.commands(), ElementsAre("FIND step", "FIND XPATH(SELF,1,1,1,EQ,2)"))
        << "the set to count in is executed when its number is needed";
}

// --- Literals ---

TEST_F(ComparisonTest, LiteralsAreSentAsTheyAre) {
    for (const char *literal :
         {"x&y", "x$y", "x\"y", "&", "$", "\"", "%s", "%%", "\\", ") OR S=1"}) {
        const std::string value = literal;
        EXPECT_EQ(commandsOf("a[@id='" + value + "']").at(2),
                  "FIND N_TYPE=ATTRIBUTE AND.T N_NAME=\"id\" AND.T N_TVALUE=&" + value + "&");
        EXPECT_EQ(commandsOf("a[@id!='" + value + "']").at(2),
                  "FIND N_TYPE=ATTRIBUTE AND.T N_NAME=\"id\" AND.T N_TVALUE<>\"" + value + "\"");
        EXPECT_EQ(commandsOf("a[contains(@id,'" + value + "')]").at(2),
                  "FIND N_TYPE=ATTRIBUTE AND.T N_NAME=\"id\" AND.T N_TVALUE=$" + value + "$");
    }
}

TEST_F(ComparisonTest, AnEmptyLiteralIsAnyValueOrRefused) {
    EXPECT_THAT(commandsOf("a[@id!='']").at(2), HasSubstr("AND.T N_TVALUE=$"));
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(raisedMessage([&] { processor.Query("a[@id='']"); }),
              "Specified comparison operator is not supported for emptry strings.");
}

TEST_F(ComparisonTest, ALiteralOfAMegabyteIsSentWhole) {
    const std::string value(1 << 20, 'x');
    EXPECT_THAT(commandsOf("a[@id='" + value + "']").at(2), HasSubstr("=&" + value + "&"));
    EXPECT_THAT(commandsOf("a[contains(.,'" + value + "')]").at(2), HasSubstr("=$" + value + "$"));
}

TEST_F(ComparisonTest, ALongFunctionNameIsInTheMessageWhole) {
    const std::string name(20000, 'f');
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(raisedMessage([&] { processor.Query((name + "(1)").c_str()); }),
              "ERROR: unknown or unsupported function \"" + name + "\"");
    EXPECT_EQ(raisedMessage([&] { processor.Query(("a[" + name + "(1)=1]").c_str()); }),
              "Unsupported function \"" + name + "\" in comparison.");
}

// --- contains() ---

TEST_F(ComparisonTest, ContainsIsNotExecutedAtOnce) {
    const Tree tree = parseTree("contains(b/text(),'x')");
    ZXProcessorMain processor(nullptr);
    auto *set = dynamic_cast<CrossSearchSet *>(processor.ProcessNode(firstStep(tree), 0));
    ASSERT_NE(set, nullptr);
    EXPECT_FALSE(set->HasNumber());
    EXPECT_EQ(processor.GetSearchSetCount(), 3);
    EXPECT_EQ(kernel_.commands().size(), 0u);
}

TEST_F(ComparisonTest, ContainsMayStandOnAnyAxis) {
    const Tree tree(newStep(AXIS_PRECEDING, [] {
        auto *function = new XPathFunction("contains");
        auto *arguments = new XPathExpressionList;
        arguments->Add(newNameStep(AXIS_ATTRIBUTE, "id"));
        arguments->Add(new XPathFilterExpression(new XPathChar("x")));
        function->SetArgs(arguments);
        return function;
    }()));
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(conditionOf(processor.ProcessNode(tree.get(), 0)),
              "N_TYPE=ATTRIBUTE AND.T N_NAME=\"id\" AND.T N_TVALUE=$x$");
}

TEST_F(ComparisonTest, ContainsWithoutArgumentsIsRefused) {
    const Tree tree(newStep(AXIS_CHILD, new XPathFunction("contains")));
    ZXProcessorMain processor(nullptr);
    EXPECT_EQ(raisedMessage([&] { processor.ProcessNode(tree.get(), 0); }),
              "ERROR: Invalid number of arguments to contains function.");
}

// --- What the translation does to the tree ---

TEST_F(ComparisonTest, TheTreeShowsTheAxesThatWereChanged) {
    struct {
        const char *request, *before, *after;
    } const facts[] = {
        {"a[text()='x']", "child::a[child::text()=\"x\"]", "child::a[descendant::text()=\"x\"]"},
        {"a[b='x']", "child::a[child::bchild::text()=\"x\"]",
         "child::a[child::bdescendant::text()=\"x\"]"},
        {"a[@id='x']", "child::a[attribute::id=\"x\"]", "child::a[attribute::id=\"x\"]"},
        {"a[contains(text(),'x')]", "child::a[child::contains(child::text(),\"x\")]",
         "child::a[descendant::contains(descendant::text(),\"x\")]"},
        {"a[contains(.,'x')]", "child::a[child::contains(self::node(),\"x\")]",
         "child::a[descendant::contains(descendant::text(),\"x\")]"},
        {"a[contains(@id,'x')]", "child::a[child::contains(attribute::id,\"x\")]",
         "child::a[child::contains(attribute::id,\"x\")]"},
    };
    for (const auto &fact : facts) {
        const Tree tree = parseTree(fact.request);
        EXPECT_EQ(surfaceText(*tree), fact.before);
        ZXProcessorMain processor(nullptr);
        processor.ProcessNode(tree.get(), 0);
        EXPECT_EQ(surfaceText(*tree), fact.after);
    }
}

}  // namespace
