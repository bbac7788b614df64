/** Lines that are edited on a terminal: keys, pastes, the history, the keys that end something. */
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"
#include "tests/support/terminal_program.h"
#include "tests/support/test_locale.h"

namespace {

using support::exited;
using support::killedBy;
using support::TerminalProgram;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string result = ">\t<1>\t";  // behind the number of the set
const std::string up = "\033[A";
const std::string left = "\033[D";
const std::string home = "\033[H";

std::string pasted(const std::string &text) {
    return "\033[200~" + text + "\033[201~";
}

size_t countOf(const std::string &text, const std::string &part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

class LineEditing : public VexaTest {
protected:
    LineEditing() {
        environment_ = {
            {"TERM", "xterm"}, {"LC_ALL", "C.UTF-8"}, {"XDG_STATE_HOME", directory_ / "state"}};
    }
    std::string historyFile() const { return directory_ / "state/vexa/history"; }
    std::string history() const { return support::readFile(historyFile()); }

    /** On a wide terminal, on a narrow one, and on a narrow one under a Latin locale. */
    void onEveryScreen(const std::function<void(TerminalProgram &)> &converse) {
        for (const unsigned short columns : {80, 40}) {
            TerminalProgram program(quietVexa(), columns);
            converse(program);
        }
        for (const auto &[name, value] : support::makeLocale(directory_, "en_US", "ISO-8859-1"))
            environment_[name] = value;
        TerminalProgram latin(quietVexa(), 40);
        converse(latin);
    }

    /** Types what is to become a request, with Enter, and expects its result line. */
    void expectRequest(TerminalProgram &program, const std::string &typed,
                       const std::string &request) const {
        ASSERT_TRUE(program.expect(prompt));
        program.type(typed + "\r");
        EXPECT_TRUE(program.expect(result + request + "\r\n")) << program.unseen();
    }
    void leave(TerminalProgram &program) const {
        ASSERT_TRUE(program.expect(prompt));
        program.type("bye;\r");
        EXPECT_EQ(program.finish(), exited(0));
    }
};

TEST_F(LineEditing, keysEditTheLine) {
    for (const unsigned short columns : {80, 40}) {
        TerminalProgram program(quietVexa(), columns);
        expectRequest(program, "xfind //bexd;" + left + left + "\177", "//bed");
        expectRequest(program, "find //bed;" + home + "x", "//bed");
        expectRequest(program, "xfind //bed;" + left + "\033[3~[x];", "//bed[x]");
        expectRequest(program, "nonsense\025xfind //em;", "//em");
        leave(program);
    }
}

TEST_F(LineEditing, screenShowsTheFixedTextsInTheirPlaces) {
    TerminalProgram program(vexa({"-u", "ann", "-p", "secret"}));
    ASSERT_TRUE(
        program.expect("Welcome to ZARNxml/Vexa.\r\n"
                       "Use semicolon (;) to terminate each request.\r\n"));
    ASSERT_TRUE(program.expect("Vexa[01]> "));
    program.type("highlight\r");
    ASSERT_TRUE(program.expect("highlight\r\n"));
    ASSERT_TRUE(program.expect("Vexa[02]> "));
    program.type(";\r");
    ASSERT_TRUE(program.expect(";\r\n"));
    ASSERT_TRUE(program.expect("XGET fragment highlighting enabled.\r\n"));
    leave(program);
}

TEST_F(LineEditing, lineMayBeLongerThanTheWindow) {
    std::string request = "//" + std::string(120, 'a');
    for (const unsigned short columns : {80, 40}) {
        TerminalProgram program(quietVexa(), columns);
        expectRequest(program, "xfind " + request + "x;" + left + "\177", request);
        leave(program);
    }
}

TEST_F(LineEditing, windowMayBecomeNarrowerWhileALineIsTyped) {
    TerminalProgram program(quietVexa());
    ASSERT_TRUE(program.expect(prompt));
    program.type("xfind //" + std::string(60, 'a'));
    ASSERT_TRUE(program.expect(std::string(60, 'a')));
    program.resize(40);
    program.type(";\r");
    EXPECT_TRUE(program.expect(result + "//" + std::string(60, 'a') + "\r\n"));
    leave(program);
}

TEST_F(LineEditing, pasteOfAMegabyteGivesOneResultLine) {
    const std::string request = "a[b='" + std::string(1 << 20, 'x') + "']";
    onEveryScreen([&](TerminalProgram &program) {
        expectRequest(program, pasted("XFIND " + request + ";"), request);
        leave(program);
        EXPECT_EQ(countOf(program.screen(), result), 1U);
    });
}

TEST_F(LineEditing, lineThatIsLongerThanWhatATerminalReadsIsWholeWithoutPasteBrackets) {
    const std::string request = "a[b='" + std::string(100000, 'x') + "']";
    TerminalProgram program(quietVexa());
    expectRequest(program, "XFIND " + request + ";", request);
    leave(program);
    EXPECT_EQ(countOf(program.screen(), result), 1U);
}

TEST_F(LineEditing, linesOfAPasteAreStatementsOnlyWhenTheyAreSentOff) {
    onEveryScreen([&](TerminalProgram &program) {
        ASSERT_TRUE(program.expect(prompt));
        program.type(pasted("xfind //bed;\rxfind\r//em\r;"));
        ASSERT_TRUE(program.expect("//em"));
        EXPECT_THAT(program.screen(), Not(HasSubstr(result)));
        program.type("\r");
        ASSERT_TRUE(program.expect("<1>\t<1>\t//bed\r\n"));
        ASSERT_TRUE(program.expect("Vexa[01]> xfind\r\nVexa[02]> //em\r\nVexa[03]> ;\r\n"));
        ASSERT_TRUE(program.expect("//em\r\n"));
        leave(program);
    });
}

TEST_F(LineEditing, controlCharactersOfAPasteAreText) {
    TerminalProgram program(quietVexa());
    ASSERT_TRUE(program.expect(prompt));
    program.type(pasted("xfind a[b='\t\025']") + ";\r");
    ASSERT_TRUE(program.expect(result + "a[b='\t\025']"));
    leave(program);
}

TEST_F(LineEditing, bracketsAreAskedForOnlyWhileALineIsTyped) {
    TerminalProgram program(quietVexa());
    leave(program);
    const std::string &screen = program.screen();
    EXPECT_EQ(countOf(screen, "\033[?2004h"), countOf(screen, "\033[?2004l"));
    EXPECT_LT(screen.rfind("\033[?2004h"), screen.rfind("\033[?2004l"));
    EXPECT_TRUE(program.echoes());
}

TEST_F(LineEditing, historyBringsLinesOfThisAndOfEarlierSessions) {
    for (int session = 0; session < 2; ++session) {
        TerminalProgram program(quietVexa());
        if (session == 0) expectRequest(program, "xfind //bed;", "//bed");
        if (session == 1) expectRequest(program, up + up, "//bed");
        leave(program);
    }
}

TEST_F(LineEditing, historyIsForItsOwnerAloneAndHoldsEachLineOnce) {
    TerminalProgram program(quietVexa());
    for (const char *name : {"//bed", "//em", "//bed"})
        expectRequest(program, "xfind " + std::string(name) + ";", name);
    leave(program);
    EXPECT_EQ(history(), "xfind //em;\nxfind //bed;\nbye;\n");
    struct stat about = {};
    ASSERT_EQ(stat(historyFile().c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 07777U, 0600U);
}

TEST_F(LineEditing, historyNeverHoldsThePassword) {
    TerminalProgram program(vexa({}));
    ASSERT_TRUE(program.expect("Username> "));
    program.type("ann\n");
    ASSERT_TRUE(program.expect("Password> "));
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("geheim\n");
    leave(program);
    EXPECT_EQ(history(), "bye;\n");
}

TEST_F(LineEditing, historyIsBounded) {
    std::filesystem::create_directories(directory_ / "state/vexa");
    std::string old;
    for (int i = 0; i < 3000; ++i)
        old += "line " + std::to_string(i) + "\n";
    directory_.write("state/vexa/history", old);
    TerminalProgram program(quietVexa());
    expectRequest(program, pasted("xfind a[b='" + std::string(20000, 'x') + "'];"),
                  "a[b='" + std::string(20000, 'x') + "']");
    leave(program);
    const std::string kept = history();
    EXPECT_EQ(countOf(kept, "\n"), 1000U);
    EXPECT_THAT(kept, Not(HasSubstr("xfind")));
    EXPECT_TRUE(kept.ends_with("line 2999\nbye;\n"));
}

TEST_F(LineEditing, sessionGoesOnWhereNoHistoryCanBeKept) {
    environment_["XDG_STATE_HOME"] = "/dev/null";
    TerminalProgram program(quietVexa());
    expectRequest(program, "xfind //bed;", "//bed");
    expectRequest(program, up, "//bed");
    leave(program);
    EXPECT_THAT(program.screen(), Not(HasSubstr("history")));
}

TEST_F(LineEditing, interruptKeyDropsWhatWasTyped) {
    onEveryScreen([&](TerminalProgram &program) {
        ASSERT_TRUE(program.expect(prompt));
        program.type("xfind //bed\r");
        ASSERT_TRUE(program.expect("Vexa[02]> "));
        program.type("nonsense\003");
        ASSERT_TRUE(program.expect("^C\r\n"));
        expectRequest(program, "xfind //em;", "//em");
        leave(program);
    });
}

TEST_F(LineEditing, endOfInputKeyOnAnEmptyLineEndsTheProgram) {
    onEveryScreen([](TerminalProgram &program) {
        ASSERT_TRUE(program.expect(prompt));
        program.type("\004");
        EXPECT_EQ(program.finish(), exited(0));
        EXPECT_TRUE(program.echoes());
    });
}

TEST_F(LineEditing, endingSignalsGiveTheTerminalBack) {
    for (const int number : {SIGTERM, SIGHUP, SIGQUIT}) {
        TerminalProgram program(quietVexa());
        ASSERT_TRUE(program.expect(prompt));
        ASSERT_TRUE(program.waitForEcho(false));
        program.signal(number);
        EXPECT_EQ(program.finish(), killedBy(number));
        EXPECT_TRUE(program.echoes()) << "signal " << number;
        EXPECT_THAT(program.unseen(), HasSubstr("\033[?2004l"));
    }
}

TEST_F(LineEditing, charactersOfTheLocaleAreEditedAsCharacters) {
    TerminalProgram program(quietVexa());
    expectRequest(program, "xfind //bäöx;" + left + left + "\177", "//bäx");
    leave(program);
    EXPECT_EQ(history(), "xfind //bäx;\nbye;\n");
}

TEST_F(LineEditing, charactersOfALatinLocaleAreEditedAndKept) {
    for (const auto &[name, value] : support::makeLocale(directory_, "en_US", "ISO-8859-1"))
        environment_[name] = value;
    TerminalProgram program(quietVexa(), 40);
    expectRequest(program, "xfind //b\344\366x;" + left + left + "\177", "//b\344x");
    leave(program);
    EXPECT_EQ(history(), "xfind //bäx;\nbye;\n");
}

TEST_F(LineEditing, bytesThatAreNoCharactersAreSentAsTheyWereTyped) {
    TerminalProgram program(quietVexa());
    expectRequest(program, "xfind a[b='\344'];", "a[b='\344']");
    leave(program);
}

class NoEditing : public LineEditing {
protected:
    void expectPlain(const support::Command &command) const {
        TerminalProgram program(command);
        ASSERT_TRUE(program.expect(prompt));
        EXPECT_TRUE(program.echoes());
        program.type("bye;\n");
        EXPECT_EQ(program.finish(), exited(0));
        EXPECT_THAT(program.screen(), Not(HasSubstr("\033")));
        EXPECT_FALSE(std::filesystem::exists(historyFile()));
    }
};

TEST_F(NoEditing, thereIsNoneOnATerminalThatCannot) {
    environment_["TERM"] = "dumb";
    expectPlain(quietVexa());
    environment_.erase("TERM");
    expectPlain(quietVexa());
}

TEST_F(NoEditing, thereIsNoneWhenInputOrOutputIsNoTerminal) {
    expectPlain(support::throughShell(quietVexa(), "| cat"));
    TerminalProgram program(support::throughShell(quietVexa(), "<<'END'\nHIGHLIGHT;\nEND\n"));
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_THAT(program.screen(), Not(HasSubstr("\033")));
    EXPECT_THAT(program.screen(), HasSubstr(prompt + "XGET fragment highlighting enabled."));
}

/** As a terminal shows line ends. */
std::string shown(const std::string &text) {
    std::string lines;
    for (const char c : text)
        lines += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return lines;
}

TEST_F(NoEditing, everyByteIsTheSameWhereOutputIsNoTerminal) {
    TerminalProgram program(support::throughShell(vexa({"-u", "ann", "-p", "secret"}), "| cat"));
    for (const char *line : {"XFIND //bed[.='x'];\n", "quit;\n", "XFIND //bed[;\n", "BYE;\n"}) {
        ASSERT_TRUE(program.expect(prompt));
        program.type(line);
    }
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_EQ(program.screen(),
              shown(banner + welcome + prompt + "XFIND //bed[.='x'];\n<1>\t<1>\t//bed[.='x']\n" +
                    prompt + "quit;\nInvalid command.\n" + prompt +
                    "XFIND //bed[;\nEXCEPTION: syntax error\n" + prompt + "BYE;\n"));
}

/** One conversation, with files for what goes in and what comes out of it, errors in their place.
 */
class Golden : public NoEditing {
protected:
    const std::string statements_ = support::readFile(GOLDEN_DIR "/statements.txt");
    const std::string session_ = support::readFile(GOLDEN_DIR "/session.txt");
    const std::string in_ = directory_.write("in.txt", statements_);
    const std::string out_ = directory_ / "out.txt";

    support::Command talkingVexa(const std::string &redirections) const {
        return support::throughShell(vexa({"-u", "ann", "-p", "secret"}), redirections);
    }
};

TEST_F(Golden, sessionThroughPipes) {
    EXPECT_EQ(support::run(talkingVexa("2>&1"), statements_).out, session_);
}

TEST_F(Golden, sessionFromAFileIntoAFile) {
    support::run(talkingVexa("<'" + in_ + "' >'" + out_ + "' 2>&1"));
    EXPECT_EQ(support::readFile(out_), session_);
}

TEST_F(Golden, sessionFromATerminalIntoAPipe) {
    TerminalProgram program(talkingVexa("2>&1 | cat >'" + out_ + "'"));
    program.type(statements_);
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_EQ(support::readFile(out_), session_);
}

TEST_F(Golden, sessionFromAFileOntoATerminal) {
    for (const unsigned short columns : {80, 40}) {
        TerminalProgram program(talkingVexa("<'" + in_ + "'"), columns);
        EXPECT_EQ(program.finish(), exited(0));
        EXPECT_EQ(program.screen(), shown(session_));
    }
}

class StopKey : public LineEditing {
protected:
    /** Under a shell with jobs; one that was stopped is taken to the front again. */
    static support::Command asJob(const support::Command &program) {
        support::Command shell = program;
        shell.program = "sh";
        shell.arguments = {"-c", "set -m; \"$0\" \"$@\"; echo stopped; read go; fg >/dev/null",
                           program.program};
        shell.arguments.insert(shell.arguments.end(), program.arguments.begin(),
                               program.arguments.end());
        return shell;
    }
};

TEST_F(StopKey, atThePasswordLeavesTheTerminalWithItsEcho) {
    TerminalProgram program(asJob(vexa({"-u", "ann"})));
    ASSERT_TRUE(program.expect("Password> "));
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("ge\032");
    ASSERT_TRUE(program.expect("stopped\r\n"));
    EXPECT_TRUE(program.echoes());
    program.type("\n");
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("heim\n");
    ASSERT_TRUE(program.expect(prompt));
    EXPECT_THAT(program.screen(), Not(HasSubstr("heim")));
    program.type("bye;\r");
    EXPECT_EQ(program.finish(), exited(0));
}

TEST_F(StopKey, atThePromptGivesTheTerminalBackForAWhile) {
    TerminalProgram program(asJob(quietVexa()));
    ASSERT_TRUE(program.expect(prompt));
    program.type("xfind //b");
    ASSERT_TRUE(program.expect("//b"));
    program.type("\032");
    ASSERT_TRUE(program.expect("stopped\r\n"));
    EXPECT_TRUE(program.echoes());
    EXPECT_THAT(program.screen(), HasSubstr("\033[?2004l"));
    program.type("\n");
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("ed;\r");
    EXPECT_TRUE(program.expect(result + "//bed\r\n"));
    leave(program);
}

}  // namespace
