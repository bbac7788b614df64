// The transcripts of the pages in docs/, run.
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

const std::string prompt = "Vexa[01]> ";

/** What somebody types, and what is shown then. */
struct Example {
    bool isSession = false;  ///< statements for the shell; otherwise a command
    std::string input;
    std::string output;
};

/** A command for each "$ ", with the lines behind it that begin with "> ". */
std::vector<Example> commandsOf(const std::vector<std::string> &lines) {
    std::vector<Example> commands;
    for (const std::string &line : lines) {
        if (line.starts_with("$ ")) {
            commands.push_back({false, line.substr(2), ""});
        } else if (line.starts_with("> ") && commands.back().output.empty()) {
            commands.back().input += '\n' + line.substr(2);
        } else {
            commands.back().output += line + '\n';
        }
    }
    return commands;
}

/** Statements leave the prompt to stand in front of what they print: a pipe shows nothing typed. */
Example sessionOf(const std::vector<std::string> &lines) {
    Example session{true, "", ""};
    for (const std::string &line : lines) {
        const bool isStatement = line.starts_with(prompt);
        if (isStatement) session.input += line.substr(prompt.size()) + '\n';
        session.output += isStatement ? prompt : line + '\n';
    }
    return session;
}

/** The blocks that begin with a prompt. */
std::vector<Example> examplesOf(const std::string &page) {
    std::vector<Example> examples;
    std::istringstream in(page);
    for (std::string line; std::getline(in, line);) {
        if (!line.starts_with("```")) continue;
        const bool isPlain = line == "```";
        std::vector<std::string> lines;
        while (std::getline(in, line) && line != "```")
            lines.push_back(line);
        if (!isPlain || lines.empty()) continue;
        if (lines.front().starts_with(prompt)) examples.push_back(sessionOf(lines));
        if (!lines.front().starts_with("$ ")) continue;
        for (const Example &command : commandsOf(lines))
            examples.push_back(command);
    }
    return examples;
}

/** Times and the width of the columns that they stand in differ from run to run. */
std::string comparable(const std::string &text) {
    const std::string timeless =
        std::regex_replace(text, std::regex("[0-9]+\\.[0-9]{3}( ms|,\"ids|,\"notes)"), "T$1");
    return std::regex_replace(timeless, std::regex(" +"), " ");
}

class Pages : public ProgramTest {
protected:
    /** Makes the database of querying.md. */
    void loadPlays() const {
        const std::string page = support::readFile(ZDBS_PAGES "/querying.md");
        const std::string fence = "```xml\n";
        const std::size_t begin = page.find(fence) + fence.size();
        const std::string text = page.substr(begin, page.find("```", begin) - begin);
        good({"init"});
        good({"create", "plays"});
        good({"load", "plays", directory_.write("hamlet.xml", text)});
    }

    /** Runs a page from its beginning, in one folder and with what it exports. */
    void expectExamples(const std::string &page, std::size_t least) {
        const auto examples = examplesOf(support::readFile(ZDBS_PAGES "/" + page));
        ASSERT_GE(examples.size(), least);
        for (const Example &example : examples) {
            if (example.input.starts_with("export ")) exports_ += example.input + '\n';
            EXPECT_EQ(comparable(shown(example)), comparable(example.output)) << example.input;
        }
    }

private:
    std::string shown(const Example &example) const {
        if (!example.isSession) return inShell(example.input, "");
        const std::string text = inShell("vexa -u ada -p secret -q 2>&1", example.input + "BYE;\n");
        const std::size_t begin = text.find(prompt);
        const std::size_t end = text.rfind(prompt);
        return begin == end ? text : text.substr(begin, end - begin);
    }

    std::string inShell(const std::string &command, const std::string &input) const {
        const std::string program = ZDBS_PROGRAM;
        const std::string path = program.substr(0, program.rfind('/')) + ":/usr/bin:/bin";
        const std::string script = "cd \"$HOME\"\n" + exports_ + command;
        const auto result = support::run({"/bin/sh",
                                          {"-c", script},
                                          {{"ZDBS_HOME", homePath_},
                                           {"HOME", directory_.path()},
                                           {"PATH", path},
                                           {"LC_ALL", "C.UTF-8"}},
                                          {}},
                                         input);
        return std::regex_replace(result.out + result.err,
                                  std::regex(std::string(directory_.path())), "~");
    }

    std::string exports_;
};

TEST_F(Pages, OnQueryingShowsWhatTheProgramPrints) {
    loadPlays();
    expectExamples("querying.md", 13);
}

TEST_F(Pages, OnXPathShowsWhatTheProgramPrints) {
    loadPlays();
    expectExamples("xpath.md", 9);
}

TEST_F(Pages, OfTheTutorialShowWhatTheProgramsPrint) {
    expectExamples("tutorial.md", 38);
}

TEST(QueryingPageWords, AreThoseOfThePlans) {
    const std::string page = support::readFile(ZDBS_PAGES "/querying.md");
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
