/** Expressions and the trees that they are. */
#include "zdbs/xpath/grammar.h"

#include <gtest/gtest.h>

#include "zdbs/xpath/expression_text.h"

namespace zdbs::xpath {
namespace {

struct Fact {
    const char *request;
    const char *tree;
};

constexpr Fact facts[] = {
    // Steps and abbreviations.
    {"a", "child::a"},
    {"/", "/"},
    {"/a", "/child::a"},
    {"a/b", "child::a/child::b"},
    {"@a", "attribute::a"},
    {".", "self::node()"},
    {"..", "parent::node()"},
    {"*", "child::*"},
    {"p:*", "child::{urn:p}*"},
    {"p:a", "child::{urn:p}a"},
    {"xml:a", "child::{http://www.w3.org/XML/1998/namespace}a"},
    {"text()", "child::text()"},
    {"processing-instruction('x')", "child::processing-instruction(\"x\")"},
    {"ancestor-or-self :: node ( )", "ancestor-or-self::node()"},
    {"a_b/\xC3\xA4.-1", "child::a_b/child::\xC3\xA4.-1"},
    // // is one step where no position is counted.
    {"//a", "/descendant::a"},
    {"//a[b]", "/descendant::a[child::b]"},
    {"//a[1]", "/descendant-or-self::node()/child::a[1]"},
    {"//a[last()=2]", "/descendant-or-self::node()/child::a[(last() = 2)]"},
    {"//a[count(b[2])]", "/descendant-or-self::node()/child::a[count(child::b[2])]"},
    {"//a[b[2]]", "/descendant::a[child::b[2]]"},
    {"//@a", "/descendant-or-self::node()/attribute::a"},
    {"a//..", "child::a/descendant-or-self::node()/parent::node()"},
    // A step to where one is already is none.
    {"./a", "child::a"},
    {"a/.", "child::a"},
    {"./.", "self::node()"},
    {"/.", "/"},
    {".//a", "descendant::a"},
    {".//a[1]", "descendant-or-self::node()/child::a[1]"},
    {"a//.", "child::a/descendant-or-self::node()"},
    {"self::node()[a]/b", "self::node()[child::a]/child::b"},
    {"(a)/.", "(child::a)"},
    // Filters.
    {"(//a)[1]", "(/descendant::a)[1]"},
    {"(a)/b", "(child::a)/child::b"},
    {"(a|b)[1]/c", "((child::a | child::b))[1]/child::c"},
    {"id('x')/a", "(id(\"x\"))/child::a"},
    {"((a))", "child::a"},
    // Operators, from the loosest on.
    {"1 or 2 and 3", "(1 or (2 and 3))"},
    {"1=2<3", "(1 = (2 < 3))"},
    {"1<2<3", "((1 < 2) < 3)"},
    {"1=2!=3", "((1 = 2) != 3)"},
    {"1+2*3", "(1 + (2 * 3))"},
    {"1-2-3", "((1 - 2) - 3)"},
    {"8 div 4 mod 3", "((8 div 4) mod 3)"},
    {"-a|b", "-(child::a | child::b)"},
    {"---1", "-1"},
    {"--1", "--1"},
    {"-2*3", "(-2 * 3)"},
    // Names that are operators elsewhere.
    {"div", "child::div"},
    {"div div div", "(child::div div child::div)"},
    {"* * *", "(child::* * child::*)"},
    {"and and or or mod", "((child::and and child::or) or child::mod)"},
    {"@*[.=*]", "attribute::*[(self::node() = child::*)]"},
    {"text", "child::text"},
    {"text/text()", "child::text/child::text()"},
    {"a-b", "child::a-b"},
    {"a -b", "(child::a - child::b)"},
    {"child", "child::child"},
    {"not(a)", "not(child::a)"},
    // Literals and variables.
    {"'it\"s'", "'it\"s'"},
    {"\"it's\"", "\"it's\""},
    {"1.50", "1.5"},
    {".5", "0.5"},
    {"5.", "5"},
    {"$v", "\"value\""},
    {"$n", "-1.5"},
    {"$t", "true()"},
    {"string()", "string(self::node())"},
    {"concat('a', 'b', 'c')", "concat(\"a\", \"b\", \"c\")"},
};

TEST(Grammar, UnderstandsExpressions) {
    const Surroundings surroundings{{{"p", "urn:p"}}, {{"v", "value"}, {"n", -1.5}, {"t", true}}};
    for (const Fact &fact : facts)
        EXPECT_EQ(textOf(*parse(fact.request, surroundings)), fact.tree) << fact.request;
}

struct TypeFact {
    const char *request;
    ValueType type;
    bool isPositional;
};

constexpr TypeFact types[] = {
    {"a", ValueType::nodeSet, false},
    {"a|b", ValueType::nodeSet, false},
    {"'a'", ValueType::string, false},
    {"1", ValueType::number, true},
    {"count(a)", ValueType::number, true},
    {"a=1", ValueType::boolean, false},
    {"position()=1", ValueType::boolean, true},
    {"not(last())", ValueType::boolean, true},
    {"a[position()=1]", ValueType::nodeSet, false},
    {"a[last()]=2", ValueType::boolean, false},
    {"(a)[last()]", ValueType::nodeSet, false},
    {"string(position())='1'", ValueType::boolean, true},
};

TEST(Grammar, KnowsTypesAndWhatCountsPositions) {
    for (const TypeFact &fact : types) {
        const ExpressionPtr expression = parse(fact.request, {});
        EXPECT_EQ(expression->traits.type, fact.type) << fact.request;
        EXPECT_EQ(isPositional(*expression), fact.isPositional) << fact.request;
    }
}

}  // namespace
}  // namespace zdbs::xpath
