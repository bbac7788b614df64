// The tree builders, also those that no rule of the grammar calls.
#include "prg/xml/xpath/parser/zx_grammar.h"

#include <gtest/gtest.h>

#include <ctime>
#include <memory>
#include <string>

#include "parser_support.h"
#include "prg/xml/xpath/parser/xpath_grammar.h"
#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

using namespace xpathtest;
using namespace ZXGrammar;

namespace {

/// The text of a node, which is deleted.
std::string textOf(XPathExpression *node) {
    const std::unique_ptr<XPathExpression> owner(node);
    return text(*owner);
}

XPathExpression *integer(int value) {
    return Scalar::IntegerLiteral(value);
}

XPathAxisLocationStep *step(const char *name) {
    return NodeSets::LocationStep(
        Composite::Axis(Composite::NodeTest(Composite::Name(name)), false), Expr::List());
}

EPairOperator operatorOf(XPathExpression *node) {
    const std::unique_ptr<XPathExpression> owner(node);
    return dynamic_cast<XPathExpressionPair *>(node)->GetOperator();
}

/// A driver whose collected errors can be read.
class OpenDriver : public ZXParserMain {
public:
    std::string errors() const { return text(m_strParseError); }
};

}  // namespace

TEST(Builders, APairForEachOperator) {
    struct {
        XPathExpression *(*build)(XPathExpression *, XPathExpression *);
        EPairOperator op;
    } const facts[] = {
        {Expr::OrPair, PAIRSEP_OR},         {Expr::AndPair, PAIRSEP_AND},
        {Expr::EqPair, PAIRSEP_EQ},         {Expr::NePair, PAIRSEP_NE},
        {Expr::LtPair, PAIRSEP_LT},         {Expr::GtPair, PAIRSEP_GT},
        {Expr::LePair, PAIRSEP_LE},         {Expr::GePair, PAIRSEP_GE},
        {Expr::AddPair, PAIRSEP_ADD},       {Expr::SubPair, PAIRSEP_SUB},
        {Expr::MulPair, PAIRSEP_MUL},       {Expr::DivPair, PAIRSEP_DIV},
        {Expr::IntDivPair, PAIRSEP_INTDIV}, {Expr::ModPair, PAIRSEP_MOD},
    };
    for (const auto &fact : facts) {
        EXPECT_EQ(fact.op, operatorOf(fact.build(integer(1), integer(2))));
    }
}

TEST(Builders, AWordBetweenExpressionsMeansAndUnlessItIsAnother) {
    struct {
        const char *word;
        EPairOperator op;
    } const facts[] = {
        {"or", PAIRSEP_OR},   {"OR", PAIRSEP_OR},      {"mod", PAIRSEP_MOD},
        {"Mod", PAIRSEP_MOD}, {"div", PAIRSEP_INTDIV}, {"DIV", PAIRSEP_INTDIV},
        {"and", PAIRSEP_AND}, {"AND", PAIRSEP_AND},    {"xyz", PAIRSEP_AND},
        {"orr", PAIRSEP_AND}, {"", PAIRSEP_AND},
    };
    for (const auto &fact : facts) {
        EXPECT_EQ(fact.op, operatorOf(Expr::AddCompositePair(integer(1), fact.word, integer(2))))
            << fact.word;
    }
}

TEST(Builders, ListsAreMadeFilledAndExtended) {
    const std::unique_ptr<XPathExpressionList> empty(Expr::List());
    EXPECT_EQ(0, empty->GetSize());
    const std::unique_ptr<XPathExpressionList> list(Expr::List(integer(1)));
    EXPECT_EQ(1, list->GetSize());
    EXPECT_EQ(list.get(), Expr::List(list.get(), integer(2)));
    EXPECT_EQ("12", text(*list));
}

TEST(Builders, AUnionIsMadeOfPathsOrExtended) {
    XPathExpression *left = NodeSets::Path(step("a"));
    XPathUnionExpression *both = NodeSets::UnionExpression(left, NodeSets::Path(step("b")));
    EXPECT_EQ("child::a|child::b", text(*both));
    EXPECT_EQ(both, NodeSets::UnionExpression(both, NodeSets::Path(step("c"))));
    EXPECT_EQ("child::a|child::b|child::c", textOf(both));
}

TEST(Builders, WhatIsNoPathIsLeftOutOfAUnion) {
    EXPECT_EQ("child::b", textOf(NodeSets::UnionExpression(integer(1), NodeSets::Path(step("b")))));
    EXPECT_EQ("child::a", textOf(NodeSets::UnionExpression(NodeSets::Path(step("a")), integer(1))));
}

TEST(Builders, PathsAreMadeRootedAndExtended) {
    EXPECT_EQ("child::a", textOf(NodeSets::Path(step("a"))));
    EXPECT_EQ("/child::a",
              textOf(NodeSets::Path(XPATH_STEP_PARENT_IMMEDIATE, NodeSets::Path(step("a")))));
    EXPECT_EQ("/descendant-or-self::node()/child::a",
              textOf(NodeSets::Path(XPATH_STEP_PARENT_ANY, NodeSets::Path(step("a")))));
    EXPECT_EQ("child::a/child::b", textOf(NodeSets::Path(NodeSets::Path(step("a")),
                                                         XPATH_STEP_PARENT_IMMEDIATE, step("b"))));
    EXPECT_EQ("child::a/descendant-or-self::node()/child::b",
              textOf(NodeSets::Path(NodeSets::Path(step("a")), XPATH_STEP_PARENT_ANY, step("b"))));
}

TEST(Builders, ASeparatorAloneMakesAPathOfOneStep) {
    const std::unique_ptr<XPathPath> any(NodeSets::Path(XPATH_STEP_PARENT_ANY));
    EXPECT_EQ("/descendant-or-self::node()", text(*any));
    const std::unique_ptr<XPathPath> immediate(NodeSets::Path(XPATH_STEP_PARENT_IMMEDIATE));
    EXPECT_EQ("/", text(*immediate));
    EXPECT_EQ("\n   XPathLocationStep STEP-PARENT=/", dump(*immediate->Get(0), true, 1));
}

TEST(Builders, TheContextAndParentTokensMakeSteps) {
    const std::unique_ptr<XPathAxisLocationStep> context(NodeSets::LocationStep(CONTEXTNODE));
    EXPECT_EQ("self::node()", text(*context));
    EXPECT_EQ(nullptr, context->GetPredicates());
    EXPECT_FALSE(context->GetAxis()->GetNodeTest()->HasWildcard());
    const std::unique_ptr<XPathAxisLocationStep> parent(NodeSets::LocationStep(PARENTNODE));
    EXPECT_EQ("parent::*", text(*parent));
    EXPECT_TRUE(parent->GetAxis()->GetNodeTest()->HasWildcard());
    EXPECT_EQ(nullptr, NodeSets::LocationStep(ASTERISK));
    EXPECT_EQ(nullptr, NodeSets::LocationStep(0));
}

TEST(Builders, AxesByNameOrAbbreviation) {
    const std::unique_ptr<XPathNodeTest> test(Composite::NodeTest());
    EXPECT_EQ(nullptr, Composite::Axis("chld", test.get())) << "the test is the caller's";
    EXPECT_EQ("*", text(*test));
    EXPECT_EQ("following::*", textOf(Composite::Axis("Following", Composite::NodeTest())));
    EXPECT_EQ("attribute::*", textOf(Composite::Axis(Composite::NodeTest(), true)));
    EXPECT_EQ("child::*", textOf(Composite::Axis(Composite::NodeTest(), false)));
}

TEST(Builders, NodeTestsOfEachKind) {
    const std::unique_ptr<XPathNodeTest> star(Composite::NodeTest());
    EXPECT_TRUE(star->HasWildcard());
    EXPECT_EQ("\nXPathNodeNameTest WILDCARD=Y\n   XPathName LOCALNAME=\"*\"", dump(*star));
    EXPECT_EQ("comment()", textOf(Composite::NodeTest(NTYPE_COMMENT)));
    const std::unique_ptr<XPathNodeTest> name(Composite::NodeTest(Composite::Name("p", "a")));
    EXPECT_EQ("p:a", text(*name));
    EXPECT_FALSE(name->HasWildcard());
}

TEST(Builders, CalledNodeTestsAreTypesOrPositionAndLast) {
    struct {
        const char *name;
        const char *dump;
    } const facts[] = {
        {"node", "\nXPathNodeTypeTest WILDCARD=N TYPE=node()"},
        {"COMMENT", "\nXPathNodeTypeTest WILDCARD=N TYPE=comment()"},
        {"Text", "\nXPathNodeTypeTest WILDCARD=N TYPE=text()"},
        {"processing-instruction", "\nXPathNodeTypeTest WILDCARD=N TYPE=processing-instruction()"},
        {"position", "\nXPathFunction WILDCARD=N ARGS=0\n   XPathName LOCALNAME=\"position\""},
        {"Last", "\nXPathFunction WILDCARD=N ARGS=0\n   XPathName LOCALNAME=\"Last\""},
    };
    for (const auto &fact : facts) {
        const std::unique_ptr<XPathNodeTest> test(Composite::NodeTest(fact.name, true));
        ASSERT_NE(nullptr, test) << fact.name;
        EXPECT_EQ(fact.dump, dump(*test));
    }
    for (const char *name : {"contains", "count", "", "nodes"}) {
        EXPECT_EQ(nullptr, Composite::NodeTest(name, true)) << name;
    }
    EXPECT_EQ("node", textOf(Composite::NodeTest("node", false))) << "a name test";
    EXPECT_EQ("text()", textOf(Composite::NodeTest(new XPathChar("text"), true)));
    EXPECT_EQ("text", textOf(Composite::NodeTest(new XPathChar("text"), false)));
    const std::unique_ptr<XPathChar> unknown(new XPathChar("unknown"));
    EXPECT_EQ(nullptr, Composite::NodeTest(unknown.get(), true)) << "the text is the caller's";
}

TEST(Builders, FunctionsVariablesAndNames) {
    EXPECT_EQ("f(1)", textOf(Composite::Function("f", Expr::List(integer(1)))));
    EXPECT_EQ("p:f()", textOf(Composite::Function(Composite::Name("p", "f"))));
    EXPECT_EQ("f(1)", textOf(Composite::Function(Composite::Name("f"), Expr::List(integer(1)))));
    EXPECT_EQ("$v", textOf(Composite::Variable(Composite::Name("v"))));
    EXPECT_EQ("a", textOf(Composite::Name(new XPathChar("a"))));
    EXPECT_EQ("p:a", textOf(Composite::Name(new XPathChar("p"), new XPathChar("a"))));
}

TEST(Builders, APredicateOfABareIntegerComparesThePosition) {
    EXPECT_EQ("[self::position()=3]",
              textOf(Composite::Predicate(NodeSets::FilterExpression(integer(3)))));
    EXPECT_EQ("[3]", textOf(Composite::Predicate(integer(3)))) << "no filter expression";
    EXPECT_EQ("[3.00]",
              textOf(Composite::Predicate(NodeSets::FilterExpression(Scalar::FloatLiteral(3)))));
    EXPECT_EQ("[\"3\"]",
              textOf(Composite::Predicate(NodeSets::FilterExpression(Scalar::StringLiteral("3")))));
    EXPECT_EQ("[]", textOf(Composite::Predicate(nullptr)));
}

TEST(Builders, FilterExpressionsWithAndWithoutPredicate) {
    EXPECT_EQ("1", textOf(NodeSets::FilterExpression(integer(1))));
    EXPECT_EQ("1[2]",
              textOf(NodeSets::FilterExpression(integer(1), new XPathPredicate(integer(2)))));
}

TEST(Builders, ScalarsPassThrough) {
    const std::unique_ptr<XPathInt> number(new XPathInt());
    EXPECT_EQ(number.get(), Scalar::NumericLiteral(number.get()));
    EXPECT_EQ(number.get(), Scalar::AnyLiteral(static_cast<XPathNumeric *>(number.get())));
    EXPECT_EQ(number.get(), Expr::AnyExpr(number.get()));
    const std::unique_ptr<XPathFloat> decimal(new XPathFloat());
    EXPECT_EQ(decimal.get(), Scalar::NumericLiteral(decimal.get()));
    const std::unique_ptr<XPathChar> literal(new XPathChar("x"));
    EXPECT_EQ(literal.get(), Scalar::AnyLiteral(literal.get()));
    EXPECT_EQ("-1", textOf(Expr::Unary(integer(1), true)));
    EXPECT_EQ("1", textOf(Expr::Unary(integer(1), false)));
}

TEST(Builders, LiteralsHoldTheirValue) {
    EXPECT_EQ("\"x\"", textOf(Scalar::StringLiteral("x")));
    EXPECT_EQ("-7", textOf(Scalar::IntegerLiteral(-7)));
    EXPECT_EQ("2.50", textOf(Scalar::FloatLiteral(2.5)));
}

TEST(Builders, ErrorAppendsToTheDriversErrors) {
    OpenDriver driver;
    yyscan_t scanner = nullptr;
    xpath_lex_init_extra(&driver, &scanner);
    Error(scanner, "Invalid axis \"%s\"", "x");
    Error(scanner, "%s", "syntax error");
    EXPECT_EQ("Invalid axis \"x\"syntax error", driver.errors()) << "nothing between them";
    xpath_set_extra(nullptr, scanner);
    Error(scanner, "%s", "lost");
    Error(nullptr, "%s", "lost");
    EXPECT_EQ("Invalid axis \"x\"syntax error", driver.errors());
    xpath_lex_destroy(scanner);
}

TEST(Builders, TheTimestampIsTheLocalTimeOfNow) {
    const auto formatted = [](time_t moment) {
        char buffer[32];
        tm local = {};
        std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", localtime_r(&moment, &local));
        return std::string("\"") + buffer + "\"";
    };
    const time_t before = std::time(nullptr);
    const std::string stamp = textOf(Utils::CurrentTimestamp(0));
    const time_t after = std::time(nullptr);
    bool found = false;
    for (time_t moment = before; moment <= after; ++moment)
        found |= stamp == formatted(moment);
    EXPECT_TRUE(found) << stamp;
}

TEST(Builders, LogToConsolePrintsALineToStandardError) {
    testing::internal::CaptureStderr();
    Utils::LogToConsole("%s %d", "number", 5);
    EXPECT_EQ("number 5\n", testing::internal::GetCapturedStderr());
}
