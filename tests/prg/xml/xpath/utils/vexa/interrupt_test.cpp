/** The interrupt key while something runs, and how long it has been running. */
#include <csignal>
#include <string>
#include <utility>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"
#include "tests/support/terminal_program.h"
#include "tests/support/test_locale.h"

namespace {

using support::exited;
using support::killedBy;
using support::TerminalProgram;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char *stopping = "stopping; Ctrl-C again ends the program";

class Interrupt : public VexaTest {
protected:
    Interrupt() { environment_ = {{"TERM", "xterm"}, {"XDG_STATE_HOME", directory_ / "state"}}; }

    support::Command talkingVexa() const { return vexa({"-u", "ann", "-p", "secret"}); }

    static void send(TerminalProgram &program, const std::string &line) {
        ASSERT_TRUE(program.expect(prompt));
        program.type(line + "\r");
        ASSERT_TRUE(program.expect(line + "\r\n"));
    }
    static void expectWorks(TerminalProgram &program) {
        send(program, "xfind //bed;");
        ASSERT_TRUE(program.expect(">\t<1>\t//bed\r\n"));
        send(program, "bye;");
        EXPECT_EQ(program.finish(), exited(0));
    }
};

TEST_F(Interrupt, stopsARequestAndComesBackToThePrompt) {
    kernelAnswers("command-waits FIND*slow* => It was stopped.\n");
    const auto latin = support::makeLocale(directory_, "en_US", "ISO-8859-1");
    for (const auto &[columns, locale] :
         {std::pair{80, false}, std::pair{40, false}, std::pair{40, true}}) {
        if (locale) environment_.insert(latin.begin(), latin.end());
        TerminalProgram program(quietVexa(), static_cast<unsigned short>(columns));
        send(program, locale ? "xfind //slow[b='\344'];" : "xfind //slow;");
        program.type("\003");
        ASSERT_TRUE(program.expect("EXCEPTION: It was stopped.\r\n"));
        expectWorks(program);
    }
}

TEST_F(Interrupt, leavesNoSetOfTheRequest) {
    kernelAnswers("command-waits FIND*slow* => It was stopped.\n");
    TerminalProgram program(quietVexa());
    send(program, "xfind //a;");
    ASSERT_TRUE(program.expect("<1>\t<1>\t//a\r\n"));
    send(program, "xfind //b/slow;");
    program.type("\003");
    ASSERT_TRUE(program.expect("EXCEPTION: It was stopped.\r\n"));
    send(program, "xfind //c;");
    EXPECT_TRUE(program.expect("<2>\t<1>\t//c\r\n"));
    send(program, "bye;");
    EXPECT_EQ(program.finish(), exited(0));
}

TEST_F(Interrupt, stopsTheOpeningOfADatabase) {
    kernelAnswers("command-waits BASE slow => It was stopped.\n");
    TerminalProgram program(quietVexa());
    send(program, "base slow;");
    program.type("\003");
    ASSERT_TRUE(program.expect("ERROR: It was stopped.\r\n"));
    expectWorks(program);
}

TEST_F(Interrupt, stopsAScriptWithItsRequest) {
    kernelAnswers("command-waits FIND*slow* => It was stopped.\n");
    const std::string script = directory_.write("input.txt", "XFIND //slow;\nHELP;\n");
    TerminalProgram program(talkingVexa());
    send(program, "input " + script + ";");
    ASSERT_TRUE(program.expect("running for 1 s"));
    program.type("\003");
    ASSERT_TRUE(program.expect("EXCEPTION: It was stopped.\r\n"));
    expectWorks(program);
    EXPECT_THAT(program.screen(), Not(HasSubstr("Available")));
}

TEST_F(Interrupt, twiceEndsTheProgramWhereTheKernelDoesNotHeedIt) {
    kernelAnswers("command-hangs FIND*slow*\n");
    TerminalProgram program(talkingVexa());
    send(program, "xfind //slow;");
    program.type("\003");
    ASSERT_TRUE(program.expect(stopping));
    program.type("\003");
    EXPECT_EQ(program.finish(), killedBy(SIGINT));
    EXPECT_TRUE(program.echoes());
}

TEST_F(Interrupt, whatRunsForLongSaysSoOnALineThatVanishes) {
    kernelAnswers("command-waits FIND*slow* => It was stopped.\n");
    TerminalProgram program(talkingVexa(), 40);
    send(program, "xfind //slow;");
    ASSERT_TRUE(program.expect("\r\033[2mrunning for 1 s; Ctrl-C stops it\033[22m\033[K"));
    ASSERT_TRUE(program.expect("\r\033[2mrunning for 2 s; Ctrl-C stops it\033[22m\033[K"));
    program.type("\003");
    ASSERT_TRUE(program.expect("\r\033[KEXCEPTION: It was stopped.\r\n"));
    expectWorks(program);
}

TEST_F(Interrupt, quietSessionDoesNotSayHowLongSomethingRuns) {
    kernelAnswers("command-waits FIND*slow* => It was stopped.\n");
    TerminalProgram program(quietVexa());
    send(program, "xfind //slow;");
    program.type("\003");
    ASSERT_TRUE(program.expect("EXCEPTION: It was stopped.\r\n"));
    expectWorks(program);
    EXPECT_THAT(program.screen(), Not(HasSubstr("stopping")));
}

TEST_F(Interrupt, isIgnoredWhereTheParentProcessHadItIgnored) {
    support::Command command = quietVexa();
    command.ignoredSignals = {SIGINT};
    TerminalProgram program(command);
    ASSERT_TRUE(program.expect(prompt));
    program.type("xfind //b");
    ASSERT_TRUE(program.expect("//b"));
    program.type("\003ed;\r");
    EXPECT_TRUE(program.expect(">\t<1>\t//bed\r\n"));
    program.type("bye;\r");
    EXPECT_EQ(program.finish(), exited(0));
}

}  // namespace
