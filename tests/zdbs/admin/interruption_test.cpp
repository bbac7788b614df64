/** Ctrl-C while requests are answered. */
#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "tests/support/piped_program.h"
#include "tests/zdbs/admin/program_fixture.h"

namespace zdbs {
namespace {

using support::PipedProgram;

class Interruption : public ProgramTest {
protected:
    /** Elements in elements: the fragments of all of them together are some megabytes. */
    void SetUp() override {
        std::string xml;
        for (int depth = 0; depth < 2000; ++depth)
            xml += "<e>";
        for (int depth = 0; depth < 2000; ++depth)
            xml += "</e>";
        good({"init"});
        good({"create", "deep"});
        good({"load", "deep", "-", "--name", "deep.xml"}, xml);
    }

    static void expectStopped(PipedProgram &program, const std::string &message) {
        const support::ProgramResult result = program.finish();
        EXPECT_EQ(result.ending, support::exited(130));
        EXPECT_EQ(result.err, "zdbs: " + message + "\n");
    }
};

TEST_F(Interruption, EndsTheRequestAtHandAndNamesIt) {
    PipedProgram program(command({"query", "deep", "--fragments", "/", "/e", "//e", "/e/e"}));
    // Nobody reads on: it is in the middle of the second document.
    ASSERT_TRUE(program.waitForOutput("matches=\"2000\""));
    program.signal(SIGINT);
    expectStopped(program, "Stopped: //e");
}

TEST_F(Interruption, OfTheWaitForRequestsIsThatOfAnyProgram) {
    PipedProgram program(command({"query", "deep"}));
    ASSERT_TRUE(program.send("/e\n"));
    ASSERT_TRUE(program.waitForOutput("1\n"));
    program.signal(SIGINT);
    const support::Ending ending = program.finish().ending;
    // Where it has not left the request before yet, it is that request's.
    EXPECT_TRUE(ending == support::killedBy(SIGINT) || ending == support::exited(130))
        << toString(ending);
}

TEST_F(Interruption, IsIgnoredWhereTheProgramIsMadeToIgnoreIt) {
    support::Command ignoring = command({"query", "deep"});
    ignoring.ignoredSignals = {SIGINT};
    PipedProgram program(ignoring);
    ASSERT_TRUE(program.send("/e\n"));
    ASSERT_TRUE(program.waitForOutput("1\n"));
    program.signal(SIGINT);
    ASSERT_TRUE(program.send("//e\n"));
    ASSERT_TRUE(program.waitForOutput("2000\n"));
    program.closeInput();
    EXPECT_EQ(program.finish().ending, support::exited(0));
}

TEST_F(Interruption, OfALoadStoresNothingAndSaysSo) {
    PipedProgram program(command({"load", "deep", "-", "--name", "other.xml"}));
    // More than a pipe holds: it has read some when all is sent.
    ASSERT_TRUE(program.send("<a>" + std::string(1000000, 'x')));
    program.signal(SIGINT);
    expectStopped(program, "Interrupted. Nothing was stored.");
    EXPECT_EQ(good({"query", "deep", "/a", "/e"}), "0\n1\n");
}

TEST_F(Interruption, OfALoadEndsItsWaitForAnother) {
    PipedProgram holder(command({"load", "deep", "-", "--name", "other.xml"}));
    ASSERT_TRUE(holder.send("<a>" + std::string(1000000, 'x')));
    PipedProgram program(command({"load", "deep", "-", "--name", "third.xml"}));
    ASSERT_TRUE(program.waitForError("waiting for another one"));
    program.signal(SIGINT);
    const support::ProgramResult result = program.finish();
    EXPECT_EQ(result.ending, support::exited(130));
    EXPECT_TRUE(result.err.ends_with("zdbs: Interrupted. Nothing was stored.\n")) << result.err;
    ASSERT_TRUE(holder.send("</a>"));
    EXPECT_EQ(holder.finish().ending, support::exited(0));
}

TEST_F(Interruption, EndsOtherCommandsAsAnyProgram) {
    PipedProgram program(command({"dump", "deep"}));
    ASSERT_TRUE(program.waitForOutput("<e><e>"));
    program.signal(SIGINT);
    const support::Ending ending = program.finish().ending;
    EXPECT_TRUE(ending == support::killedBy(SIGINT) || ending == support::exited(0))
        << toString(ending);
}

}  // namespace
}  // namespace zdbs
