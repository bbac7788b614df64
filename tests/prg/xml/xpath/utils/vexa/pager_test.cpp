/** XGET's document on a terminal: paged, in colour, and harmless. */
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"
#include "tests/support/terminal_program.h"
#include "tests/support/test_locale.h"

namespace {

using support::exited;
using support::TerminalProgram;
using ::testing::HasSubstr;
using ::testing::Not;

class PagerTest : public VexaTest {
protected:
    PagerTest() {
        environment_ = {{"TERM", "xterm"},
                        {"LC_ALL", "C.UTF-8"},
                        {"XDG_STATE_HOME", directory_ / "state"},
                        {"PAGER", "sed 's/^/paged: /'"}};
    }
    support::Command talkingVexa() const { return vexa({"-u", "ann", "-p", "secret"}); }

    /** Types XGET and expects this on the screen, behind what was typed. */
    static void expectShown(TerminalProgram &program, const std::string &shown) {
        ASSERT_TRUE(program.expect(prompt));
        program.type("xget //a /;\r");
        ASSERT_TRUE(program.expect("xget //a /;\r\n"));
        EXPECT_TRUE(program.expect(shown)) << program.unseen();
    }
    static void leave(TerminalProgram &program) {
        ASSERT_TRUE(program.expect(prompt));
        program.type("bye;\r");
        EXPECT_EQ(program.finish(), exited(0));
        EXPECT_TRUE(program.echoes());
    }
    /** So many lines "<a/>". */
    void documentOfLines(int lines) const {
        kernelAnswers("export-document <a/>\\n\nexport-repeat " + std::to_string(lines) + "\n");
    }
};

TEST_F(PagerTest, getsWhatIsLongerThanTheScreen) {
    documentOfLines(30);
    for (const unsigned short columns : {80, 40}) {
        TerminalProgram program(talkingVexa(), columns);
        expectShown(program, "paged: <a/>\r\npaged: <a/>\r\n");
        leave(program);
    }
}

TEST_F(PagerTest, getsNothingThatFitsTheScreen) {
    documentOfLines(22);
    TerminalProgram program(talkingVexa());
    expectShown(program, "<a/>\r\n<a/>\r\n");
    leave(program);
    EXPECT_THAT(program.screen(), Not(HasSubstr("paged")));
}

TEST_F(PagerTest, getsOneLineThatFillsTheScreen) {
    kernelAnswers("export-document abcdefghij\nexport-repeat 100\n");
    TerminalProgram narrow(talkingVexa(), 40);
    expectShown(narrow, "paged: abcdefghij");
    leave(narrow);
    TerminalProgram wide(talkingVexa(), 80);
    expectShown(wide, "abcdefghij");
    leave(wide);
    EXPECT_THAT(wide.screen(), Not(HasSubstr("paged")));
}

TEST_F(PagerTest, isNotCalledWhereItIsCatOrTheSessionIsQuiet) {
    documentOfLines(30);
    TerminalProgram quiet(quietVexa());
    expectShown(quiet, "<a/>\r\n<a/>\r\n");
    leave(quiet);
    EXPECT_THAT(quiet.screen(), Not(HasSubstr("paged")));
    environment_["PAGER"] = "cat";
    TerminalProgram program(talkingVexa());
    expectShown(program, "<a/>\r\n<a/>\r\n");
    leave(program);
}

TEST_F(PagerTest, isLessWhereNoneIsNamed) {
    documentOfLines(30);
    environment_.erase("PAGER");
    std::filesystem::create_directory(directory_ / "bin");
    const std::string less =
        directory_.write("bin/less", "#!/bin/sh\necho \"less $*\"\ncat >/dev/null\n");
    std::filesystem::permissions(less, std::filesystem::perms::owner_all);
    environment_["PATH"] = (directory_ / "bin") + ":/usr/bin:/bin";
    TerminalProgram program(talkingVexa());
    expectShown(program, "less -FRX\r\n");
    leave(program);
}

TEST_F(PagerTest, thatIsNotThereLeavesTheDocumentToTheTerminal) {
    documentOfLines(30);
    environment_["PAGER"] = "/nonexistent/pager 2>/dev/null";
    TerminalProgram program(talkingVexa());
    expectShown(program, "<a/>\r\n<a/>\r\n");
    leave(program);
}

TEST_F(PagerTest, thatEndsEarlyEndsTheOutputOnly) {
    documentOfLines(1000000);
    environment_["PAGER"] = "echo enough";
    TerminalProgram program(talkingVexa());
    expectShown(program, "enough\r\n");
    leave(program);
}

TEST_F(PagerTest, findsTheTerminalInItsLineMode) {
    documentOfLines(30);
    environment_["PAGER"] =
        "cat >/dev/null; stty -a </dev/tty | grep -o ' icanon'; "
        "stty -a </dev/tty | grep -o ' echo '";
    TerminalProgram program(talkingVexa());
    expectShown(program, " icanon\r\n echo \r\n");
    ASSERT_TRUE(program.expect(prompt));
    EXPECT_TRUE(program.waitForEcho(false));
    program.type("bye;\r");
    EXPECT_EQ(program.finish(), exited(0));
}

TEST_F(PagerTest, interruptKeyEndsTheOutputOfADocument) {
    documentOfLines(10000000);
    environment_["PAGER"] = "cat";
    TerminalProgram program(talkingVexa());
    expectShown(program, "<a/>\r\n");
    program.type("\003");
    leave(program);
    EXPECT_LT(program.screen().size(), 50000000U);
}

TEST_F(PagerTest, interruptKeyInThePagerComesBackToThePrompt) {
    documentOfLines(30);
    environment_["PAGER"] = "echo ready; cat >/dev/null; exec sleep 1000";
    TerminalProgram program(talkingVexa());
    expectShown(program, "ready\r\n");
    program.type("\003");
    leave(program);
}

TEST_F(PagerTest, hitsAreInColourUnlessNobodyWantsThat) {
    kernelAnswers("export-document <a>x<vexa:hit>y</vexa:hit></a>\n");
    TerminalProgram program(talkingVexa());
    expectShown(program, "<a>x<vexa:hit>\033[1;31my\033[0m</vexa:hit></a>\r\n");
    leave(program);
    environment_["NO_COLOR"] = "1";
    TerminalProgram plain(talkingVexa());
    expectShown(plain, "<a>x<vexa:hit>y</vexa:hit></a>\r\n");
    leave(plain);
}

TEST_F(PagerTest, bytesThatWouldSteerTheTerminalAreShown) {
    kernelAnswers("export-document a\\x1b[2Jb\\x07\\x0d\\x7f\\xc2\\x9b\\xc4\\x9b\\xff\n");
    const std::string shown = "a\\x1b[2Jb\\x07\\x0d\\x7f";
    TerminalProgram program(talkingVexa());
    expectShown(program, shown + "\\x9b\xc4\x9b\xff\r\n");
    leave(program);
    for (const auto &[name, value] : support::makeLocale(directory_, "en_US", "ISO-8859-1"))
        environment_[name] = value;
    TerminalProgram latin(talkingVexa());
    expectShown(latin, shown + "\xc2\\x9b\xc4\\x9b\xff\r\n");
    leave(latin);
}

TEST_F(PagerTest, documentIsSentAsItIsWhereOutputIsNoTerminal) {
    kernelAnswers("export-document a\\x1b[2J<vexa:hit>y</vexa:hit>\n");
    const std::string out = runStatements("XGET //a /;\nBYE;\n").out;
    EXPECT_THAT(out, HasSubstr("a\033[2J<vexa:hit>y</vexa:hit>\n"));
    const std::string file = directory_ / "out.txt";
    TerminalProgram program(support::throughShell(quietVexa(), ">'" + file + "'"));
    program.type("XGET //a /;\nBYE;\n");
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_EQ(support::readFile(file),
              banner + prompt + "a\033[2J<vexa:hit>y</vexa:hit>\n" + prompt);
}

}  // namespace
