// The examples of docs/querying.md and docs/xpath.md, run.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/zdbs/admin/program_fixture.h"
#include "zdbs/embedded/sets/plan.h"

namespace zdbs {

using namespace embedded;
namespace {

struct Example {
    std::string command;
    std::string output;
};

std::string between(const std::string &text, const std::string &open, std::size_t &at) {
    const std::size_t start = text.find(open, at);
    if (start == std::string::npos) return "";
    const std::size_t begin = start + open.size();
    at = text.find("\n```", begin) + 1;
    return text.substr(begin, at - begin);
}

/** The blocks that begin with a prompt. */
std::vector<Example> examplesOf(const std::string &page) {
    std::vector<Example> examples;
    std::size_t at = 0;
    for (;;) {
        const std::string block = between(page, "```\n$ ", at);
        if (block.empty()) return examples;
        const std::size_t end = block.find('\n');
        examples.push_back({block.substr(0, end), block.substr(end + 1)});
    }
}

/** Times and the width of the columns that they stand in differ from run to run. */
std::string comparable(const std::string &text) {
    const std::string timeless =
        std::regex_replace(text, std::regex("[0-9]+\\.[0-9]{3}( ms|,\"ids|,\"notes)"), "T$1");
    return std::regex_replace(timeless, std::regex(" +"), " ");
}

class QueryingPage : public ProgramTest {
protected:
    /** Makes the database of the pages. */
    void load() const {
        const std::string page = support::readFile(ZDBS_QUERYING_PAGE);
        good({"init"});
        good({"create", "plays"});
        std::size_t at = 0;
        good({"load", "plays", directory_.write("hamlet.xml", between(page, "```xml\n", at))});
    }

    void expectExamples(const std::string &page, std::size_t least) const {
        const auto examples = examplesOf(support::readFile(page));
        ASSERT_GE(examples.size(), least);
        for (const Example &example : examples) {
            const std::string script = "zdbs() { \"$0\" \"$@\"; }; " + example.command;
            const auto result = support::run(
                {"/bin/sh", {"-c", script, ZDBS_PROGRAM}, {{"ZDBS_HOME", homePath_}}, {}});
            EXPECT_EQ(comparable(result.out + result.err), comparable(example.output))
                << example.command << '\n'
                << result.out;
        }
    }
};

TEST_F(QueryingPage, ShowsWhatTheProgramPrints) {
    load();
    expectExamples(ZDBS_QUERYING_PAGE, 8);
}

TEST_F(QueryingPage, OfXPathDoesToo) {
    load();
    expectExamples(ZDBS_XPATH_PAGE, 3);
}

TEST(QueryingPageWords, AreThoseOfThePlans) {
    const std::string page = support::readFile(ZDBS_QUERYING_PAGE);
    for (int step = 0; step <= static_cast<int>(PlanStep::generalPositions); ++step) {
        Plan plan;
        plan.note(static_cast<PlanStep>(step), Axis::self);
        const std::string words = std::regex_replace(plan.text(), std::regex("self"), "AXIS");
        ASSERT_NE(words, "");
        EXPECT_NE(page.find(words), std::string::npos) << words;
    }
}

}  // namespace
}  // namespace zdbs
