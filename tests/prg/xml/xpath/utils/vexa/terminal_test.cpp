/** What only a terminal shows: echo, prompts in their places, Ctrl-C and Ctrl-D. */
#include <csignal>
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"
#include "tests/support/terminal_program.h"

namespace {

using support::exited;
using support::killedBy;
using support::TerminalProgram;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class Terminal : public VexaTest {
protected:
    /** Leads to the question for the password, with what is typed hidden. */
    void answerUsername(TerminalProgram &program) const {
        ASSERT_TRUE(program.expect("Username> "));
        program.type("ann\n");
        ASSERT_TRUE(program.expect("Password> "));
        ASSERT_TRUE(program.waitForEcho(false));
    }
};

TEST_F(Terminal, conversationLooksAsItShould) {
    TerminalProgram program(vexa({"-u", "ann", "-p", "secret"}));
    ASSERT_TRUE(program.expect(prompt));
    program.type("highlight\n");
    ASSERT_TRUE(program.expect("Vexa[02]> "));
    program.type(";\n");
    ASSERT_TRUE(program.expect(prompt));
    program.type("bye;\n");
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_THAT(program.screen(), HasSubstr("Use semicolon (;) to terminate each request.\r\n"
                                            "Vexa[01]> highlight\r\n"
                                            "Vexa[02]> ;\r\n"
                                            "XGET fragment highlighting enabled.\r\n"
                                            "Vexa[01]> bye;\r\n"));
}

TEST_F(Terminal, passwordIsNotShownWhileItIsTyped) {
    TerminalProgram program(vexa({}));
    answerUsername(program);
    program.type("geheim\n");
    ASSERT_TRUE(program.expect(prompt));
    EXPECT_TRUE(program.echoes());
    EXPECT_THAT(program.screen(), HasSubstr("Username> ann\r\n\r\nPassword> \r\nWelcome"));
    EXPECT_THAT(program.screen(), Not(HasSubstr("geheim")));
    EXPECT_THAT(kernelCalls("ZdbStartZarn"),
                ElementsAre("ZdbStartZarn(\"ann\", \"geheim\", 9, 4096) = 1"));
    program.type("bye;\n");
    EXPECT_EQ(program.finish(), exited(0));
}

TEST_F(Terminal, passwordIsNotShownWhereThereIsNoSttyCommand) {
    environment_ = {{"PATH", "/nonexistent"}};
    TerminalProgram program(vexa({}));
    answerUsername(program);
    program.type("geheim\n");
    ASSERT_TRUE(program.expect(prompt));
    EXPECT_TRUE(program.echoes());
    EXPECT_THAT(program.screen(), Not(HasSubstr("geheim")));
    program.type("bye;\n");
    EXPECT_EQ(program.finish(), exited(0));
}

TEST_F(Terminal, sttyCommandRunsBeforeAndAfterEveryCharacterOfThePassword) {
    const std::string log = directory_ / "stty.log";
    std::filesystem::create_directory(directory_ / "bin");
    const std::string stty = directory_.write(
        "bin/stty", "#!/bin/sh\necho \"$*\" >>'" + log + "'\nexec /usr/bin/stty \"$@\"\n");
    std::filesystem::permissions(stty, std::filesystem::perms::owner_all);
    environment_ = {{"PATH", (directory_ / "bin") + ":/usr/bin:/bin"}};
    TerminalProgram program(vexa({}));
    answerUsername(program);
    program.type("ab\n");
    ASSERT_TRUE(program.expect(prompt));
    EXPECT_EQ(support::readFile(log), "-echo\necho\n-echo\necho\n-echo\necho\n");
    program.type("bye;\n");
    EXPECT_EQ(program.finish(), exited(0));
}

TEST_F(Terminal, backspaceKeyOfTheTerminalEditsThePassword) {
    TerminalProgram program(vexa({}));
    answerUsername(program);
    program.type("secrex\177t\n");
    ASSERT_TRUE(program.expect(prompt));
    EXPECT_THAT(kernelCalls("ZdbStartZarn"),
                ElementsAre("ZdbStartZarn(\"ann\", \"secret\", 9, 4096) = 1"));
    program.type("bye;\n");
    EXPECT_EQ(program.finish(), exited(0));
}

TEST_F(Terminal, interruptKeyAtThePasswordPromptEndsTheProgramAndShowsTypingAgain) {
    TerminalProgram program(vexa({}));
    answerUsername(program);
    program.type("sec\003");
    EXPECT_EQ(program.finish(), killedBy(SIGINT));
    EXPECT_TRUE(program.echoes());
    EXPECT_THAT(program.screen(), Not(HasSubstr("sec\003")));
}

TEST_F(Terminal, endingSignalsAtThePasswordPromptShowTypingAgain) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        TerminalProgram program(vexa({}));
        answerUsername(program);
        program.signal(number);
        EXPECT_EQ(program.finish(), killedBy(number));
        EXPECT_TRUE(program.echoes()) << "signal " << number;
    }
}

TEST_F(Terminal, signalWhileTypingIsBeingHiddenWaitsUntilItCanBeShownAgain) {
    // The command ends the shell, waits until that is pending or has happened, and hides typing.
    const std::string done = directory_ / "done";
    std::filesystem::create_directory(directory_ / "bin");
    const std::string stty = directory_.write("bin/stty",
                                              "#!/bin/sh\n"
                                              "trap '' HUP\n"
                                              "shell=$PPID\n"
                                              "until grep -q '^Name:.vexa' /proc/$shell/status\n"
                                              "do shell=$(awk '/^PPid/ { print $2 }' "
                                              "/proc/$shell/status); done\n"
                                              "if [ \"$1\" = -echo ]; then\n"
                                              "  kill -TERM $shell\n"
                                              "  while grep -q '^Name:.vexa' /proc/$shell/status\n"
                                              "  do grep -q '^ShdPnd:.*[1-9a-f]' "
                                              "/proc/$shell/status && break; done\n"
                                              "fi\n"
                                              "/usr/bin/stty \"$@\"; echo >'" +
                                                  done + "'\n");
    std::filesystem::permissions(stty, std::filesystem::perms::owner_all);
    environment_ = {{"PATH", (directory_ / "bin") + ":/usr/bin:/bin"}};
    TerminalProgram program(vexa({"-u", "ann"}));
    const auto deadline = support::Clock::now() + support::patience;
    while (!std::filesystem::exists(done))
        ASSERT_LT(support::Clock::now(), deadline);
    EXPECT_EQ(program.finish(), killedBy(SIGTERM));
    EXPECT_TRUE(program.echoes());
}

TEST_F(Terminal, endOfInputAtThePasswordPromptShowsTypingAgain) {
    TerminalProgram program(vexa({}));
    answerUsername(program);
    program.type("\004");
    EXPECT_EQ(program.finish(), exited(1));
    EXPECT_TRUE(program.echoes());
    EXPECT_THAT(program.screen(), HasSubstr("Password> \r\nUSAGE: Vexa <options>\r\n"));
}

TEST_F(Terminal, typingThatWasHiddenBeforeStaysHidden) {
    TerminalProgram program(vexa({}));
    ASSERT_TRUE(program.expect("Username> "));
    program.setEcho(false);
    program.type("ann\n");
    ASSERT_TRUE(program.expect("Password> "));
    program.type("geheim\n");
    ASSERT_TRUE(program.expect(prompt));
    EXPECT_FALSE(program.echoes());
    program.signal(SIGTERM);
    EXPECT_EQ(program.finish(), killedBy(SIGTERM));
    EXPECT_FALSE(program.echoes());
}

TEST_F(Terminal, signalsAtTheStatementPromptLeaveTheTerminalAlone) {
    TerminalProgram program(vexa({}));
    answerUsername(program);
    program.type("geheim\n");
    ASSERT_TRUE(program.expect(prompt));
    program.setEcho(false);
    program.signal(SIGTERM);
    EXPECT_EQ(program.finish(), killedBy(SIGTERM));
    EXPECT_FALSE(program.echoes());
}

TEST_F(Terminal, interruptKeyAtTheStatementPromptEndsTheProgram) {
    TerminalProgram program(quietVexa());
    ASSERT_TRUE(program.expect(prompt));
    program.type("XFIND \003");
    EXPECT_EQ(program.finish(), killedBy(SIGINT));
}

TEST_F(Terminal, endOfInputKeyEndsTheProgram) {
    TerminalProgram program(quietVexa());
    ASSERT_TRUE(program.expect(prompt));
    program.type("\004");
    EXPECT_EQ(program.finish(), exited(0));
}

TEST_F(Terminal, endOfInputKeyAfterAScriptAsksAgainAndTheTerminalStillWorks) {
    const std::string script = directory_.write("input.txt", "HIGHLIGHT;\n");
    TerminalProgram program(quietVexa());
    ASSERT_TRUE(program.expect(prompt));
    program.type("INPUT " + script + ";\n");
    ASSERT_TRUE(program.expect("XGET fragment highlighting enabled.\r\n" + prompt));
    for (int i = 0; i < 5; ++i) {
        program.type("\004");
        ASSERT_TRUE(program.expect(prompt));
    }
    program.type("HELP;\n");
    ASSERT_TRUE(program.expect("Available Vexa-specific commands:\r\n"));
    ASSERT_TRUE(program.expect(prompt));
    program.type("BYE;\n");
    EXPECT_EQ(program.finish(), exited(0));
}

TEST_F(Terminal, signalEndsTheWaitForInput) {
    const std::string script = directory_.write("input.txt", "");
    TerminalProgram program(quietVexa());
    ASSERT_TRUE(program.expect(prompt));
    program.type("INPUT " + script + ";\n");
    ASSERT_TRUE(program.expect(prompt));
    for (int i = 0; i < 3; ++i) {
        program.type("\004");
        ASSERT_TRUE(program.expect(prompt));
    }
    program.type("\004");
    program.signal(SIGTERM);
    EXPECT_EQ(program.finish(), killedBy(SIGTERM));
    EXPECT_TRUE(program.echoes());
}

TEST_F(Terminal, batchFromAScriptShowsNoPrompts) {
    const std::string batch = directory_.write("batch.txt", "HIGHLIGHT;\n");
    TerminalProgram program(quietVexa({"-i", batch}));
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_THAT(program.screen(), Not(HasSubstr("Vexa[")));
    EXPECT_THAT(program.screen(), HasSubstr("XGET fragment highlighting enabled.\r\n"));
}

TEST_F(Terminal, errorsAndResultsAppearInOrder) {
    TerminalProgram program(quietVexa());
    ASSERT_TRUE(program.expect(prompt));
    program.type("XFIND a/;\nXFIND b;\nBYE;\n");
    EXPECT_EQ(program.finish(), exited(0));
    const std::string &screen = program.screen();
    EXPECT_LT(screen.find("EXCEPTION: syntax error"), screen.find("<1>\t<1>\tb"));
}

}  // namespace
