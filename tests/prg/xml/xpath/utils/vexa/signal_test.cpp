/** Signals and outputs that nobody reads. */
#include <csignal>
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::exited;
using support::killedBy;
using support::PipedProgram;
using support::ProgramResult;

class Signal : public VexaTest {};

TEST_F(Signal, thatEndsProgramsEndsTheShellAndIsTold) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        PipedProgram program(quietVexa());
        ASSERT_TRUE(program.waitForOutput(prompt));
        program.signal(number);
        EXPECT_EQ(program.finish().ending, killedBy(number));
    }
}

TEST_F(Signal, thatTheParentIgnoresStaysIgnored) {
    support::Command command = quietVexa();
    command.ignoredSignals = {SIGHUP, SIGINT};
    PipedProgram program(command);
    ASSERT_TRUE(program.waitForOutput(prompt));
    program.signal(SIGHUP);
    program.signal(SIGINT);
    ASSERT_TRUE(program.send("HELP;\n"));
    EXPECT_TRUE(program.waitForOutput(helpText));
    EXPECT_EQ(program.finish().ending, exited(0));
}

TEST_F(Signal, ofAClosedOutputPipeEndsTheShell) {
    PipedProgram program(quietVexa());
    ASSERT_TRUE(program.waitForOutput(prompt));
    program.closeOutput();
    ASSERT_TRUE(program.send("HELP;\n"));
    EXPECT_EQ(program.finish().ending, killedBy(SIGPIPE));
}

TEST_F(Signal, ofAClosedOutputPipeThatIsIgnoredLeadsToAMessageAndStatusOne) {
    support::Command command = quietVexa();
    command.ignoredSignals = {SIGPIPE};
    PipedProgram program(command);
    ASSERT_TRUE(program.waitForOutput(prompt));
    program.closeOutput();
    ASSERT_TRUE(program.send("HELP;\nHELP;\n"));
    const ProgramResult result = program.finish();
    EXPECT_EQ(result.err, "ERROR: Cannot write to standard output: Broken pipe\n");
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_EQ(kernelCalls().back(), "ZdbStopZarn(0) = 1");
}

TEST_F(Signal, fullOutputEndsTheShellWithAMessageAndStatusOne) {
    const std::string message = "ERROR: Cannot write to standard output: No space left on device\n";
    for (const auto &command :
         {quietVexa(), quietVexa({"-i"}), vexa({"-?"}), vexa({}), vexa({"-l", "5"})}) {
        const ProgramResult result =
            support::run(throughShell(command, ">/dev/full"), "HELP;\nHELP;\n");
        EXPECT_EQ(result.err, message);
        EXPECT_EQ(result.ending, exited(1));
    }
}

TEST_F(Signal, fullOutputIsNoticedBeforeTheNextStatement) {
    kernelAnswers("export-document 0123456789\nexport-repeat 100000\n");
    const ProgramResult result =
        support::run(throughShell(quietVexa({"-i"}), ">/dev/full"), "XGET a /;\nBASE plays;\n");
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_TRUE(kernelCommands().empty());
}

TEST_F(Signal, closedStandardOutputEndsTheShellWithStatusOne) {
    const ProgramResult result = support::run(throughShell(quietVexa(), ">&-"), "HELP;\n");
    EXPECT_EQ(result.err, "ERROR: Cannot write to standard output: Bad file descriptor\n");
    EXPECT_EQ(result.ending, exited(1));
}

}  // namespace
