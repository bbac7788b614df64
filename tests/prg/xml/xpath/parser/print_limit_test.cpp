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

TEST(PrintLimit, WhatLiesBehindIsNotVisited) {
    int count = 0;
    XPathPath path;
    for (int i = 0; i < 100; ++i)
        path.Add(new CountedNode(count));
    const XPathPrintLimit limit(7);
    EXPECT_EQ("nnnnnnn", text(path));
    EXPECT_EQ(7, count);
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
