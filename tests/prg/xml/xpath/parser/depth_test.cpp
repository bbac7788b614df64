// Requests that nest or chain as far as they can: none of them may overflow the stack.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "parser_support.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

using namespace xpathtest;

namespace {

struct Nesting {
    const char *what;
    const char *open;
    const char *core;
    const char *close;
    int deepest;  // parses
    int tooDeep;  // exhausts the parser's stack
};

/// How many entries of the parser's stack of 10000 a level needs decides how deep it goes.
constexpr Nesting nestings[] = {
    {"predicates of steps", "a[", "a", "]", 3330, 3340},
    {"predicates of literals", "'x'[", "'x'", "]", 4990, 5010},
    {"calls", "f(", "a", ")", 4990, 5010},
    {"brackets around the right side", "(1+", "1", ")", 3320, 3340},
    {"brackets alone", "(", "1", ")", 9980, 10010},
};

std::string nested(const Nesting &nesting, int levels) {
    return "a[" + repeated(nesting.open, levels) + nesting.core + repeated(nesting.close, levels) +
           "]";
}

}  // namespace

TEST(Depth, TheDeepestNestingOfEachKindIsParsedPrintedDumpedClonedAndDeleted) {
    for (const Nesting &nesting : nestings) {
        SCOPED_TRACE(nesting.what);
        const auto deep = tree(nested(nesting, nesting.deepest));
        ASSERT_NE(nullptr, deep);
        EXPECT_GT(text(*deep).size(), 10u);
        EXPECT_GT(dump(*deep).size(), 100u);
        const std::unique_ptr<XPathExpression> copy(predicateOf(*deep)->Clone());
        EXPECT_NE(nullptr, copy);
    }
}

TEST(Depth, NestingBeyondTheParsersStackIsReportedAsMemoryExhausted) {
    for (const Nesting &nesting : nestings) {
        SCOPED_TRACE(nesting.what);
        EXPECT_EQ("!memory exhausted", printed(nested(nesting, nesting.tooDeep)));
    }
}
