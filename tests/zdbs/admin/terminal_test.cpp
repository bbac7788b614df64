#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "tests/support/terminal_program.h"
#include "tests/zdbs/admin/program_fixture.h"
#include "zdbs/embedded/store/snapshot.h"

namespace zdbs {
namespace {

using support::exited;
using support::killedBy;
using support::TerminalProgram;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Terminal : public ProgramTest {
protected:
    Terminal() { good({"init"}); }
};

TEST_F(Terminal, AsksTwiceForAPasswordAndDoesNotShowIt) {
    TerminalProgram program(command({"user", "add", "alice"}));
    ASSERT_TRUE(program.expect("Password for alice: "));
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("top secret\n");
    ASSERT_TRUE(program.expect("The same again: "));
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("top secret\n");
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_TRUE(program.echoes());
    EXPECT_THAT(program.screen(), Not(HasSubstr("secret")));
    EXPECT_TRUE(home()->authenticate("alice", "top secret"));
}

TEST_F(Terminal, TakesNothingWhenTheTwoDiffer) {
    TerminalProgram program(command({"user", "add", "alice"}));
    ASSERT_TRUE(program.expect("Password for alice: "));
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("one\n");
    ASSERT_TRUE(program.expect("The same again: "));
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("two\n");
    EXPECT_EQ(program.finish(), exited(1));
    EXPECT_THAT(program.screen(), HasSubstr("the two differ"));
    EXPECT_THAT(home()->users(), IsEmpty());
}

TEST_F(Terminal, AsksOnTheTerminalWhereverTheOtherStreamsGo) {
    home()->addUser("alice", "old");
    const char *script = "exec \"$0\" user passwd alice </dev/null >/dev/null 2>&1";
    TerminalProgram program(
        {"/bin/sh", {"-c", script, ZDBS_PROGRAM}, {{"ZDBS_HOME", homePath_}}, {}});
    ASSERT_TRUE(program.expect("Password for alice: "));
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("new\n");
    ASSERT_TRUE(program.expect("The same again: "));
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("new\n");
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_TRUE(home()->authenticate("alice", "new"));
}

TEST_F(Terminal, ShowsTypingAgainWhenASignalEndsIt) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        TerminalProgram program(command({"user", "add", "alice"}));
        ASSERT_TRUE(program.expect("Password for alice: "));
        ASSERT_TRUE(program.waitForEcho(false));
        program.signal(number);
        EXPECT_EQ(program.finish(), killedBy(number));
        EXPECT_TRUE(program.echoes()) << number;
    }
    EXPECT_THAT(home()->users(), IsEmpty());
}

TEST_F(Terminal, AsksAgainBehindAStop) {
    TerminalProgram program(command({"user", "add", "alice"}));
    for (int turn = 0; turn < 3; ++turn) {
        ASSERT_TRUE(program.expect("Password for alice: "));
        ASSERT_TRUE(program.waitForEcho(false));
        // Nobody could continue it here, so that the system does not stop it.
        if (turn < 2) program.signal(SIGTSTP);
    }
    program.type("secret\n");
    ASSERT_TRUE(program.expect("The same again: "));
    ASSERT_TRUE(program.waitForEcho(false));
    program.type("secret\n");
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_TRUE(home()->authenticate("alice", "secret"));
}

TEST_F(Terminal, StillIgnoresSignalsThatWereIgnored) {
    support::Command ignoring = command({"user", "add", "alice"});
    ignoring.ignoredSignals = {SIGHUP};
    TerminalProgram program(ignoring);
    for (const char *prompt : {"Password for alice: ", "The same again: "}) {
        ASSERT_TRUE(program.expect(prompt));
        ASSERT_TRUE(program.waitForEcho(false));
        program.signal(SIGHUP);
        program.type("secret\n");
    }
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_TRUE(home()->authenticate("alice", "secret"));
}

TEST_F(Terminal, ShowsTypingAgainWhenItIsCancelled) {
    for (const char *key : {"\003", "\004"}) {
        TerminalProgram program(command({"user", "add", "alice"}));
        ASSERT_TRUE(program.expect("Password for alice: "));
        ASSERT_TRUE(program.waitForEcho(false));
        program.type(key);
        EXPECT_NE(program.finish(), exited(0));
        EXPECT_TRUE(program.echoes());
    }
    EXPECT_THAT(home()->users(), IsEmpty());
}

TEST_F(Terminal, ShowsProgressWhileItLoadsAndTakesItAway) {
    good({"create", "db"});
    std::string xml = "<a>";
    for (int i = 0; i < 100000; ++i)
        xml += "<b>text</b>";
    TerminalProgram program(command({"load", "db", directory_.write("a.xml", xml + "</a>")}));
    ASSERT_TRUE(program.expect("% ["));
    ASSERT_TRUE(program.expect("/s"));
    ASSERT_TRUE(program.expect("\r\033[KStored 1 document, 200 001 nodes, 1.1 MB of XML in "));
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_TRUE(program.screen().ends_with(".\r\n")) << program.screen();
}

TEST_F(Terminal, EndsALoadByTheKeyForThat) {
    good({"create", "db"});
    const std::string file = directory_.write("a.xml", "<a>" + std::string(300000, 'x') + "</a>");
    TerminalProgram program(command({"load", "db", file, "-"}));
    ASSERT_TRUE(program.expect(" kB"));
    program.type("\003");
    EXPECT_EQ(program.finish(), exited(130));
    EXPECT_THAT(program.screen(), HasSubstr("zdbs: Interrupted. Nothing was stored.\r\n"));
    EXPECT_EQ(good({"list", "db"}), "NODES  XML  DOCUMENT\n");
}

TEST_F(Terminal, ShowsProgressWhileItDumpsIntoFilesOnly) {
    good({"create", "db"});
    const std::string xml = "<a>" + std::string(300000, 'x') + "</a>";
    good({"load", "db", directory_.write("a.xml", xml)});
    const std::string bar = "% [";

    TerminalProgram folder(command({"dump", "db", "--output", directory_ / "out"}));
    ASSERT_TRUE(folder.expect(bar));
    EXPECT_EQ(folder.finish(), exited(0));
    EXPECT_TRUE(folder.screen().ends_with("\r\033[K")) << folder.screen();
    EXPECT_EQ(support::readFile(directory_ / "out/a.xml"), xml + '\n');

    const std::string redirected = "exec \"$0\" dump db >" + (directory_ / "b.xml");
    TerminalProgram file(
        {"/bin/sh", {"-c", redirected, ZDBS_PROGRAM}, {{"ZDBS_HOME", homePath_}}, {}});
    ASSERT_TRUE(file.expect(bar));
    EXPECT_EQ(file.finish(), exited(0));
    EXPECT_EQ(support::readFile(directory_ / "b.xml"), xml + '\n');

    TerminalProgram shown(command({"dump", "db"}));
    ASSERT_TRUE(shown.expect("</a>"));
    EXPECT_EQ(shown.finish(), exited(0));
    EXPECT_THAT(shown.screen(), Not(HasSubstr(bar)));
}

TEST_F(Terminal, ShowsMessagesOnLinesOfTheirOwnBesideTheProgress) {
    good({"create", "db"});
    const std::string file = directory_.write("a.xml", "<a>" + std::string(300000, 'x'));
    TerminalProgram program(command({"load", "db", file}));
    EXPECT_EQ(program.finish(), exited(1));
    EXPECT_THAT(program.screen(), HasSubstr("\r\033[Kzdbs: " + file + ":1:300004: "));
}

}  // namespace
}  // namespace zdbs
