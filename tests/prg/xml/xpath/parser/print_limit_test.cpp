// Printing up to a limit.
#include "prg/xml/xpath/parser/parsernodes/xpath_print_limit.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "parser_support.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"

using namespace xpathtest;

namespace {

const char *const requests[] = {
    "a",
    "/descendant::p:abc/@*",
    "a|b/c|//d",
    "a[b][@c='x'][contains(d/text(),'y')]/e[3]",
    "a[1+2*3=4 and b[c!=1.5]]",
    "a['x'['y']['z']]",
    "f(1,'x',a/b)[(1<2)=3]",
};

/// Counts how often it is printed.
class CountedNode : public XPathLocationStep {
public:
    explicit CountedNode(int &count) : XPathLocationStep(XPATH_STEP_PARENT_NONE), m_count(count) {}
    void ToString(CStringBuffer &buffer, bool, bool, bool) const override {
        ++m_count;
        buffer.append("n");
    }

private:
    int &m_count;
};

}  // namespace

TEST(PrintLimit, WhatIsPrintedIsTheBeginningOfTheWhole) {
    for (const char *request : requests) {
        const auto statement = tree(request);
        const std::string wholeText = text(*statement);
        const std::string wholeDump = dump(*statement);
        for (int limit = 0; limit <= static_cast<int>(wholeDump.size()) + 1; ++limit) {
            const XPathPrintLimit holds(limit);
            const size_t length = static_cast<size_t>(limit);
            EXPECT_EQ(wholeText.substr(0, length), text(*statement)) << request;
            EXPECT_EQ(wholeDump.substr(0, length), dump(*statement).substr(0, length)) << request;
        }
        EXPECT_EQ(wholeText, text(*statement)) << "no limit any more";
    }
}

namespace {

constexpr int many = 100;

std::unique_ptr<XPathExpression> pathOf(int &count) {
    auto path = std::make_unique<XPathPath>();
    for (int i = 0; i < many; ++i)
        path->Add(new CountedNode(count));
    return path;
}

XPathExpressionList *listOf(int &count) {
    auto *list = new XPathExpressionList;
    for (int i = 0; i < many; ++i)
        list->Add(new CountedNode(count));
    return list;
}

std::unique_ptr<XPathExpression> predicatesOf(int &count) {
    return std::unique_ptr<XPathExpression>(listOf(count));
}

std::unique_ptr<XPathExpression> callOf(int &count) {
    auto function = std::make_unique<XPathFunction>("f");
    function->SetArgs(listOf(count));
    return function;
}

std::unique_ptr<XPathExpression> unionOf(int &count) {
    auto paths = std::make_unique<XPathUnionExpression>();
    for (int i = 0; i < many; ++i) {
        auto *path = new XPathPath;
        path->Add(new CountedNode(count));
        paths->Add(path);
    }
    return paths;
}

std::unique_ptr<XPathExpression> sumOf(int &count) {
    XPathExpression *sum = new CountedNode(count);
    for (int i = 1; i < many; ++i)
        sum = new XPathExpressionPair(sum, PAIRSEP_ADD, new CountedNode(count));
    return std::unique_ptr<XPathExpression>(sum);
}

}  // namespace

TEST(PrintLimit, WhatLiesBehindIsNotVisited) {
    struct {
        std::unique_ptr<XPathExpression> (*make)(int &count);
        const char *beginning;
        int visited;
    } const facts[] = {
        {pathOf, "nnnnnnn", 7},  {predicatesOf, "nnnnnnn", 7}, {callOf, "f(n,n,n", 3},
        {unionOf, "n|n|n|n", 4}, {sumOf, "n+n+n+n", 4},
    };
    for (const auto &fact : facts) {
        int count = 0;
        const std::unique_ptr<XPathExpression> node = fact.make(count);
        const XPathPrintLimit limit(7);
        EXPECT_EQ(fact.beginning, text(*node).substr(0, 7));
        EXPECT_EQ(fact.visited, count) << fact.beginning;
    }
}

TEST(PrintLimit, OfAChainOnlyTheHeadsAreVisitedBehindIt) {
    int count = 0;
    XPathExpression *chain = new CountedNode(count);
    for (int i = 0; i < many; ++i)
        chain = new XPathUnaryExpression(chain, true);
    const std::unique_ptr<XPathExpression> owned(chain);
    const XPathPrintLimit limit(7);
    EXPECT_EQ("-------", text(*owned));
    EXPECT_EQ(0, count);
}

TEST(PrintLimit, NestedPredicatesBehindItAreNotVisited) {
    int count = 0;
    auto innermost = std::make_unique<XPathPath>();
    innermost->Add(new CountedNode(count));
    std::unique_ptr<XPathExpression> nested = std::move(innermost);
    for (int i = 0; i < 50; ++i) {
        auto *predicates = new XPathExpressionList;
        predicates->Add(new XPathPredicate(
            new XPathExpressionPair(new XPathChar("x"), PAIRSEP_EQ, nested.release())));
        auto path = std::make_unique<XPathPath>();
        path->Add(new XPathAxisLocationStep(
            new XPathAxis(AXIS_CHILD, new XPathNodeNameTest(new XPathName("a"))), predicates));
        nested = std::move(path);
    }
    text(*nested);
    EXPECT_EQ(1, count);
    const XPathPrintLimit limit(100);
    text(*nested);
    EXPECT_EQ(1, count);
}

TEST(PrintLimit, TheInnermostHolds) {
    const auto statement = tree("abcdef");
    const XPathPrintLimit outer(9);
    {
        const XPathPrintLimit inner(3);
        EXPECT_EQ("chi", text(*statement));
    }
    EXPECT_EQ("child::ab", text(*statement).substr(0, 9));
    EXPECT_EQ(9, XPathPrintLimit::Length());
}
