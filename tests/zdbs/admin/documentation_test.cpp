// The manual page, the completion and the page about the store, against the program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/zdbs/admin/program_fixture.h"

namespace zdbs {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

class Documentation : public ProgramTest {
protected:
    /** What `expression` finds first in each line of the program's help. */
    std::vector<std::string> inHelp(const Words &words, const std::string &expression) const {
        Words asking = words;
        asking.emplace_back("--help");
        const std::string help = good(asking);
        const std::regex pattern(expression);
        std::vector<std::string> found;
        for (std::sregex_iterator at(help.begin(), help.end(), pattern), end; at != end; ++at)
            found.push_back((*at)[1]);
        return found;
    }

    std::vector<std::string> commands(const Words &words) const {
        return inHelp(words, "\n  ([a-z]+)  ");
    }

    /** Every command with its words: {"init"}, {"user", "add"} … */
    std::vector<Words> allCommands() const {
        std::vector<Words> all;
        for (const std::string &name : commands({})) {
            if (name != "user")
                all.push_back({name});
            else
                for (const std::string &sub : commands({"user"}))
                    all.push_back({"user", sub});
        }
        return all;
    }

    /** What bash offers for the last of these words. */
    std::vector<std::string> completions(const Words &words) const {
        std::string script =
            "PATH=" + std::string(ZDBS_PROGRAM).substr(0, std::string(ZDBS_PROGRAM).rfind('/')) +
            ":$PATH; source \"$0\"; COMP_WORDS=(zdbs \"$@\"); "
            "COMP_CWORD=$#; _zdbs; printf '%s\\n' \"${COMPREPLY[@]}\"";
        Words arguments = {"-c", script, ZDBS_COMPLETION};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const auto result = support::run({"/bin/bash", arguments, {{"ZDBS_HOME", homePath_}}, {}});
        EXPECT_EQ(result.ending, support::exited(0)) << result.err;
        EXPECT_EQ(result.err, "");
        std::vector<std::string> lines;
        std::istringstream out(result.out);
        for (std::string line; std::getline(out, line);) {
            if (!line.empty()) lines.push_back(line);
        }
        return lines;
    }
};

std::string joined(const std::vector<std::string> &words) {
    std::string text = "zdbs";
    for (const std::string &word : words)
        text += ' ' + word;
    return text;
}

TEST_F(Documentation, OfTheManualNamesEveryCommandAndOption) {
    const std::string manual = support::readFile(ZDBS_MANUAL);
    ASSERT_FALSE(manual.empty());
    ASSERT_EQ(allCommands().size(), 15U);
    for (const auto &words : allCommands()) {
        EXPECT_THAT(manual, HasSubstr(joined(words))) << joined(words);
        for (std::string option : inHelp(words, "\n  (?:-h,)?(--[a-z-]+)")) {
            for (std::size_t at = 0; (at = option.find('-', at)) != std::string::npos; at += 2)
                option.replace(at, 1, "\\-");
            EXPECT_THAT(manual, HasSubstr(option)) << joined(words);
        }
    }
}

TEST_F(Documentation, OfTheManualNamesTheDefaultsOfTheLimits) {
    const std::string manual = support::readFile(ZDBS_MANUAL);
    const auto defaults = inHelp({"load"}, "--max-[a-z-]+ N=([0-9]+)");
    EXPECT_EQ(defaults.size(), 5U);
    for (const std::string &number : defaults)
        EXPECT_THAT(manual, HasSubstr(": " + number + ".\n")) << number;
}

TEST_F(Documentation, OfTheManualNamesNoCommandThatIsNotThere) {
    const std::string manual = support::readFile(ZDBS_MANUAL);
    const std::regex pattern("\n\\.B[IR]? \"?zdbs ([a-z]+)");
    for (std::sregex_iterator at(manual.begin(), manual.end(), pattern), end; at != end; ++at)
        EXPECT_EQ(run({(*at)[1], "--help"}).ending, support::exited(0)) << (*at)[1];
}

TEST_F(Documentation, CompletionOffersEveryCommandAndOption) {
    good({"init"});
    EXPECT_THAT(completions({""}), UnorderedElementsAreArray(commands({})));
    EXPECT_THAT(completions({"user", ""}), UnorderedElementsAreArray(commands({"user"})));
    for (Words words : allCommands()) {
        const auto options = inHelp(words, "\n  (?:-h,)?(--[a-z-]+)");
        words.emplace_back("--");
        EXPECT_THAT(completions(words), UnorderedElementsAreArray(options)) << joined(words);
    }
}

TEST_F(Documentation, CompletionOffersNamesOfTheHome) {
    makeDatabase();
    good({"create", "plays"});
    good({"user", "add", "alice", "--password-stdin"}, "x\n");
    good({"load", "plays", directory_.write("some play.xml", "<a/>")});
    EXPECT_THAT(completions({"in"}), ElementsAre("init", "info"));
    EXPECT_THAT(completions({"info", ""}), ElementsAre("db", "plays"));
    EXPECT_THAT(completions({"info", "p"}), ElementsAre("plays"));
    EXPECT_THAT(completions({"info", "plays", ""}), IsEmpty());
    EXPECT_THAT(completions({"--home", homePath_, "drop", ""}), ElementsAre("db", "plays"));
    EXPECT_THAT(completions({"--home", "/nonexistent", "drop", ""}), IsEmpty());
    EXPECT_THAT(completions({"grant", "a"}), ElementsAre("alice"));
    EXPECT_THAT(completions({"grant", "alice", ""}), ElementsAre("db", "plays", "\\*"));
    EXPECT_THAT(completions({"user", "passwd", ""}), ElementsAre("alice"));
    EXPECT_THAT(completions({"dump", "plays", "so"}), ElementsAre("some\\ play.xml"));
    EXPECT_THAT(completions({"load", "--max-depth", "5", "p"}), ElementsAre("plays"));
    EXPECT_THAT(completions({"load", "db", directory_ / "some"}),
                ElementsAre(directory_ / "some play.xml"));
}

TEST_F(Documentation, OfTheStoreNamesFilesAndFunctionsThatAreThere) {
    const std::string page = support::readFile(ZDBS_STORE_PAGE);
    const auto root = std::filesystem::path(ZDBS_STORE_PAGE).parent_path().parent_path();
    const std::regex pattern("`(zdbs/[a-z_/.]+)`");
    int files = 0;
    for (std::sregex_iterator at(page.begin(), page.end(), pattern), end; at != end; ++at, ++files)
        EXPECT_TRUE(std::filesystem::exists(root / std::string((*at)[1]))) << (*at)[1];
    EXPECT_GT(files, 5);
}

}  // namespace
}  // namespace zdbs
