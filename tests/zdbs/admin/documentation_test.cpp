// The manual page, the completion and the page about the store, against the program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
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

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty()) lines.push_back(line);
    }
    return lines;
}

/** The word of small letters and hyphens that begins there. */
std::string wordAt(const std::string &text, std::size_t at) {
    const std::size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", at);
    return text.substr(at, end - at);
}

class Documentation : public ProgramTest {
protected:
    std::vector<std::string> helpLines(Words words) const {
        words.emplace_back("--help");
        return linesOf(good(words));
    }

    /** The words at the beginnings of the indented lines behind "Commands:". */
    std::vector<std::string> commands(const Words &words) const {
        std::vector<std::string> names;
        bool isList = false;
        for (const std::string &line : helpLines(words)) {
            if (isList && line.starts_with("  ")) names.push_back(wordAt(line, 2));
            isList = isList || line == "Commands:";
        }
        return names;
    }

    /** The long options at the beginnings of the lines. */
    std::vector<std::string> options(const Words &words) const {
        std::vector<std::string> names;
        for (const std::string &line : helpLines(words)) {
            if (!line.starts_with("  -")) continue;
            const bool hasShort = line[3] != '-';
            names.push_back(wordAt(line, hasShort ? 5 : 2));
        }
        return names;
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
        return linesOf(result.out);
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
    ASSERT_GE(allCommands().size(), 19U);
    for (const auto &words : allCommands()) {
        EXPECT_THAT(manual, HasSubstr(joined(words))) << joined(words);
        ASSERT_GE(options(words).size(), 2U);
        for (std::string option : options(words)) {
            for (std::size_t at = 0; (at = option.find('-', at)) != std::string::npos; at += 2)
                option.replace(at, 1, "\\-");
            EXPECT_THAT(manual, HasSubstr(option)) << joined(words);
        }
    }
}

TEST_F(Documentation, OfTheManualNamesTheDefaultsOfTheLimits) {
    const std::string manual = support::readFile(ZDBS_MANUAL);
    int limits = 0;
    for (const std::string &line : helpLines({"load"})) {
        const std::size_t at = line.find(" N=");
        if (at == std::string::npos) continue;
        const std::string number = line.substr(at + 3, line.find(' ', at + 1) - at - 3);
        EXPECT_THAT(manual, HasSubstr(": " + number + ".\n")) << line;
        ++limits;
    }
    EXPECT_EQ(limits, 6);
}

/** What man makes of a page, in wide lines; it warns of nothing. */
std::string formatted(const std::string &page) {
    const auto result = support::run({"/usr/bin/man",
                                      {"--warnings", "-l", page},
                                      {{"MANWIDTH", "300"}, {"LC_ALL", "C.UTF-8"}},
                                      {}});
    EXPECT_EQ(result.ending, support::exited(0)) << page;
    EXPECT_EQ(result.err, "") << page;
    return result.out;
}

TEST_F(Documentation, HasAPageForEachCommandWithItsOptions) {
    for (const auto &words : allCommands()) {
        const std::string name = words.front();
        const std::string page = formatted(ZDBS_MADE_PAGES "/zdbs-" + name + ".1.gz");
        EXPECT_THAT(page, HasSubstr("zdbs-" + name + " - ")) << name;
        EXPECT_THAT(page, HasSubstr("\n       " + joined(words))) << name;
        for (const std::string &option : options(words))
            EXPECT_THAT(page, HasSubstr(option)) << joined(words);
    }
}

TEST_F(Documentation, OfThePagesThatAreWrittenIsFormattedWithoutAWarning) {
    const auto folder = std::filesystem::path(ZDBS_MANUAL).parent_path();
    for (const char *page : {"vexa.1", "zdbs.1", "zdbs.conf.5"})
        EXPECT_THAT(formatted(folder / page), HasSubstr("SEE ALSO")) << page;
}

TEST_F(Documentation, OfTheBoundaryHasEveryCallOfTheHeader) {
    const std::string page = formatted(ZDBS_BOUNDARY_PAGE);
    std::istringstream header(support::readFile(ZDBS_HEADER));
    int calls = 0;
    for (std::string line; std::getline(header, line);) {
        const std::string opening = "ZDBS_EXPORT int32_t ";
        if (!line.starts_with(opening)) continue;
        const std::string name = line.substr(opening.size(), line.find('(') - opening.size());
        EXPECT_THAT(page, HasSubstr("   " + name + "\n")) << name;
        ++calls;
    }
    EXPECT_EQ(calls, 14);
}

TEST_F(Documentation, OfTheManualHasExamplesThatRun) {
    directory_.write("requests.txt", "//play\n");
    std::filesystem::create_directory(directory_ / "shakespeare");
    directory_.write("shakespeare/hamlet.xml", "<play><title>Hamlet</title></play>");
    const std::string program = ZDBS_PROGRAM;
    const std::map<std::string, std::string> environment = {
        {"ZDBS_HOME", homePath_},
        {"HOME", directory_.path()},
        {"PATH", program.substr(0, program.rfind('/')) + ":/usr/bin:/bin"}};
    const std::string manual = support::readFile(ZDBS_MANUAL);
    const std::size_t begin = manual.find("\n", manual.find(".nf", manual.find(".SH EXAMPLES")));
    std::istringstream examples(manual.substr(begin, manual.find(".fi", begin) - begin));
    int ran = 0;
    for (std::string command; std::getline(examples, command);) {
        if (command.starts_with("zdbs serve ")) continue;  // it has no end
        const bool asksForPassword = command.find("user add") != std::string::npos;
        const std::string script = "cd ~ && " + (command.empty() ? ":" : command) +
                                   (asksForPassword ? " --password-stdin" : "");
        const auto result = support::run({"/bin/sh", {"-c", script}, environment, {}}, "x\n");
        EXPECT_EQ(result.ending, support::exited(0)) << command << "\n" << result.err;
        EXPECT_EQ(result.err, "") << command;
        ++ran;
    }
    EXPECT_GE(ran, 18);
}

TEST_F(Documentation, OfTheManualNamesNoCommandThatIsNotThere) {
    const std::string opening = "zdbs ";
    int named = 0;
    for (const std::string &line : linesOf(support::readFile(ZDBS_MANUAL))) {
        const std::size_t at = line.find(opening);
        if (!line.starts_with(".B") || at == std::string::npos) continue;
        const std::string command = wordAt(line, at + opening.size());
        EXPECT_EQ(run({command, "--help"}).ending, support::exited(0)) << line;
        ++named;
    }
    EXPECT_GE(named, 17);
}

TEST_F(Documentation, CompletionOffersEveryCommandAndOption) {
    good({"init"});
    EXPECT_THAT(completions({""}), UnorderedElementsAreArray(commands({})));
    EXPECT_THAT(completions({"user", ""}), UnorderedElementsAreArray(commands({"user"})));
    for (Words words : allCommands()) {
        const auto expected = options(words);
        words.emplace_back("--");
        EXPECT_THAT(completions(words), UnorderedElementsAreArray(expected)) << joined(words);
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
    EXPECT_THAT(completions({"query", ""}), ElementsAre("db", "plays"));
    EXPECT_THAT(completions({"query", "--fragments", "/", "--ids", "p"}), ElementsAre("plays"));
    EXPECT_THAT(completions({"query", "--fragments", ""}), IsEmpty());
    EXPECT_THAT(completions({"explain", "p"}), ElementsAre("plays"));
    EXPECT_THAT(completions({"explain", "plays", ""}), IsEmpty());
    EXPECT_THAT(completions({"load", "db", directory_ / "some"}),
                ElementsAre(directory_ / "some play.xml"));
}

/** The words that another shell offers for the last of these, without their descriptions. */
std::vector<std::string> offeredBy(const support::ProgramResult &result, char separator) {
    EXPECT_EQ(result.err, "");
    std::vector<std::string> words;
    for (const std::string &line : linesOf(result.out))
        words.push_back(line.substr(0, line.find(separator)));
    return words;
}

TEST_F(Documentation, CompletionOfOtherShellsOffersTheSame) {
    makeDatabase();
    good({"load", "db", directory_.write("some play.xml", "<a/>")});
    const std::string program = ZDBS_PROGRAM;
    const std::map<std::string, std::string> environment = {
        {"ZDBS_HOME", homePath_},
        {"HOME", directory_.path()},
        {"PATH", program.substr(0, program.rfind('/')) + ":/usr/bin:/bin"}};
    const std::string folder =
        std::string(ZDBS_COMPLETION).substr(0, std::string(ZDBS_COMPLETION).rfind('/'));
    const auto inZsh = [&](Words words) {
        words.insert(words.begin(),
                     {"-fc", "source $0; _zdbs_candidates \"$@\"", folder + "/_zdbs"});
        return offeredBy(support::run({"/bin/zsh", words, environment, {}}), ':');
    };
    const auto inFish = [&](const Words &words) {
        const Words arguments = {
            "-N", "-c", "source " + folder + "/zdbs.fish; complete -C '" + joined(words) + "'"};
        return offeredBy(support::run({"/usr/bin/fish", arguments, environment, {}}), '\t');
    };
    EXPECT_THAT(inZsh({""}), UnorderedElementsAreArray(commands({})));
    EXPECT_THAT(inFish({""}), UnorderedElementsAreArray(commands({})));
    EXPECT_THAT(inZsh({"user", ""}), UnorderedElementsAreArray(commands({"user"})));
    EXPECT_THAT(inFish({"user", ""}), UnorderedElementsAreArray(commands({"user"})));
    EXPECT_THAT(inZsh({"--home", homePath_, "load", "--name", "x", ""}), ElementsAre("db"));
    EXPECT_THAT(inFish({"--home", homePath_, "load", "--name", "x", ""}), ElementsAre("db"));
    EXPECT_THAT(inZsh({"dump", "db", ""}), ElementsAre("some play.xml"));
    EXPECT_THAT(inFish({"dump", "db", ""}), ElementsAre("some play.xml"));
    for (const auto &command : allCommands()) {
        Words words = command;
        words.emplace_back("--");
        EXPECT_THAT(inZsh(words), UnorderedElementsAreArray(options(command))) << joined(words);
        EXPECT_THAT(inFish(words), UnorderedElementsAreArray(options(command))) << joined(words);
    }
}

TEST_F(Documentation, OfTheStoreNamesFilesThatAreThere) {
    const std::string page = support::readFile(ZDBS_STORE_PAGE);
    const auto root = std::filesystem::path(ZDBS_STORE_PAGE).parent_path().parent_path();
    int files = 0;
    for (std::size_t at = page.find("`zdbs/"); at != std::string::npos;
         at = page.find("`zdbs/", at + 1)) {
        const std::string name = page.substr(at + 1, page.find('`', at + 1) - at - 1);
        EXPECT_TRUE(std::filesystem::exists(root / name)) << name;
        ++files;
    }
    EXPECT_GT(files, 5);
}

}  // namespace
}  // namespace zdbs
