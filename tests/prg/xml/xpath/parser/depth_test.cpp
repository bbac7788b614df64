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
    const char *before;
    const char *open;
    const char *core;
    const char *close;
    const char *behind;
    int deepest;  // parses; one more exhausts the parser's stack
};

/// How many entries of the parser's stack of 10000 a level needs decides how deep it goes, and how
/// many what stands around and inside needs.
constexpr Nesting nestings[] = {
    {"predicates", "", "a[", "a", "]", "", 3332},
    {"predicates with a number inside", "", "a[", "1", "]", "", 3332},
    {"calls", "", "f(", "a", ")", "", 4998},
    {"calls with a number inside", "", "f(", "1", ")", "", 4998},
    {"calls in a predicate", "a[", "f(", "a", ")", "]", 4996},
    {"predicates of literals", "a[", "'x'[", "'x'", "]", "]", 4996},
    {"brackets around the right side", "a[", "(1+", "1", ")", "]", 3331},
    {"round brackets", "a[", "(", "1", ")", "]", 9993},
    {"round brackets around a path", "a[", "(", "a", ")", "]", 9993},
};

std::string nested(const Nesting &nesting, int levels) {
    return nesting.before + repeated(nesting.open, levels) + nesting.core +
           repeated(nesting.close, levels) + nesting.behind;
}

}  // namespace

TEST(Depth, TheDeepestNestingOfEachKindIsParsedPrintedDumpedClonedAndDeleted) {
    for (const Nesting &nesting : nestings) {
        SCOPED_TRACE(nesting.what);
        const auto deep = tree(nested(nesting, nesting.deepest));
        ASSERT_NE(nullptr, deep);
        EXPECT_GT(text(*deep).size(), 10u);
        EXPECT_GT(dump(*deep).size(), 100u);
        const std::unique_ptr<XPathExpression> copy(deep->Clone());
        EXPECT_NE(nullptr, copy);
    }
}

TEST(Depth, NestingBeyondTheParsersStackIsReportedAsMemoryExhausted) {
    for (const Nesting &nesting : nestings) {
        SCOPED_TRACE(nesting.what);
        EXPECT_EQ("!memory exhausted", printed(nested(nesting, nesting.deepest + 1)));
    }
}

namespace {

/// Far more links than a recursion could take on a stack of eight megabytes.
constexpr int manyTerms = 400000;
constexpr int manyPredicates = 100000;

/// The condition must print as it is written.
void expectPrintedDumpedAndCloned(const std::string &condition) {
    const auto statement = tree(requestWith(condition));
    ASSERT_NE(nullptr, statement);
    EXPECT_TRUE(text(*statement).substr(7) == requestWith(condition)) << "child:: and the request";
    const std::string longDump = dump(*statement);
    EXPECT_GT(longDump.size(), static_cast<size_t>(maxDumpLength));
    const std::unique_ptr<XPathExpression> copy(predicateOf(*statement)->Clone());
    EXPECT_TRUE(condition == text(*copy));
}

}  // namespace

TEST(Depth, ASumOfHundredsOfThousandsOfTermsNeedsNoStack) {
    const std::string sum = repeated("1+", manyTerms - 1) + "1";
    expectPrintedDumpedAndCloned(sum);
}

TEST(Depth, ALiteralWithAHundredThousandPredicatesNeedsNoStack) {
    const std::string chain = "\"x\"" + repeated("[\"y\"]", manyPredicates);
    expectPrintedDumpedAndCloned(chain);
}

TEST(Depth, AChainOfUnaryExpressionsNeedsNoStack) {
    std::unique_ptr<XPathExpression> chain(new XPathChar("x"));
    for (int i = 0; i < manyPredicates; ++i) {
        chain.reset(new XPathUnaryExpression(chain.release(), i % 2 == 0));
        chain.reset(new XPathFilterExpression(chain.release()));
    }
    const std::string surface = repeated("-", manyPredicates / 2) + "\"x\"";
    EXPECT_TRUE(surface == text(*chain));
    const std::unique_ptr<XPathExpression> copy(chain->Clone());
    EXPECT_TRUE(surface == text(*copy));
}

TEST(Depth, LongPathsUnionsListsAndPredicatesAreFlat) {
    constexpr int many = 20000;
    EXPECT_EQ(9u * many - 1, printed(repeated("a/", many - 1) + "a").size());
    EXPECT_EQ(9u * many - 1, printed(repeated("a|", many - 1) + "a").size());
    EXPECT_EQ(4u * many + 8, printed("a" + repeated("['']", many)).size());
    EXPECT_EQ(2u * many + 9, printed("f(" + repeated("1,", many - 1) + "1)").size());
}
