/**
 * Where input ends and the shell goes on asking. It may neither end by itself nor flood its
 * output; the tests see both without a clock: a file grows, and lines are counted.
 */
#include <csignal>
#include <fstream>
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::killedBy;
using support::PipedProgram;
using support::ProgramResult;
using ::testing::HasSubstr;

/**
 * At one try a second after the first few, a test that takes as long as its patience lets pass
 * sees some 70 of them; a shell that does not wait makes that many in a millisecond.
 */
constexpr size_t mostTries = 200;

size_t count(const std::string &text, const std::string &part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

class EndOfInput : public VexaTest {
protected:
    void append(const std::string &path, const std::string &text) const {
        std::ofstream(path, std::ios::app) << text << std::flush;
    }
};

TEST_F(EndOfInput, onTheTerminalEndsTheProgram) {
    expectResult(runStatements(""), banner + prompt, "");
    expectResult(runStatements("HELP;\n"), session({helpText}), "");
}

TEST_F(EndOfInput, ofABatchBetweenStatementsEndsTheProgram) {
    expectResult(runBatch("HIGHLIGHT;\n\n  \n"), banner + "XGET fragment highlighting enabled.\n",
                 "");
}

TEST_F(EndOfInput, inTheMiddleOfABatchStatementWaitsForMoreLines) {
    const std::string batch = directory_.write("batch.txt", "XFIND //a\n");
    PipedProgram program(quietVexa({"-e", "-i", batch}));
    ASSERT_TRUE(program.waitForOutput("in[001]> XFIND //a\n"));
    append(batch, "/b\n;\n");
    ASSERT_TRUE(program.waitForOutput("<1>\t<1>\t//a\n/b\n"));
    EXPECT_EQ(program.finish().ending, support::exited(0));
}

TEST_F(EndOfInput, triesOfABatchAreCountedAsLinesAndAreFew) {
    const std::string batch = directory_.write("batch.txt", "HELP\n");
    PipedProgram program(quietVexa({"-e", "-i", batch}));
    ASSERT_TRUE(program.waitForOutput("in[001]> HELP\n"));
    append(batch, "GO\n");
    const ProgramResult result = program.finish();
    const size_t at = result.out.find("in[", result.out.find("in[001]") + 1);
    ASSERT_NE(at, std::string::npos);
    EXPECT_LT(std::stoul(result.out.substr(at + 3)), mostTries);
    EXPECT_EQ(result.ending, support::exited(0));
}

TEST_F(EndOfInput, inTheMiddleOfABatchFromAPipeIsEndedByASignal) {
    PipedProgram program(quietVexa({"-e", "-i"}));
    ASSERT_TRUE(program.send("XFIND //a\n"));
    ASSERT_TRUE(program.waitForOutput("in[001]> XFIND //a\n"));
    program.closeInput();
    program.signal(SIGTERM);
    const ProgramResult result = program.finish();
    EXPECT_EQ(result.ending, killedBy(SIGTERM));
    EXPECT_EQ(result.out, banner + "in[001]> XFIND //a\n");
}

TEST_F(EndOfInput, inTheMiddleOfAStatementOnTheTerminalGoesOnAsking) {
    PipedProgram program(quietVexa());
    ASSERT_TRUE(program.send("XFIND //a\n"));
    program.closeInput();
    ASSERT_TRUE(program.waitForOutput("Vexa[02]> Vexa[03]> Vexa[04]> Vexa[05]> "));
    program.signal(SIGTERM);
    const ProgramResult result = program.finish();
    EXPECT_EQ(result.ending, killedBy(SIGTERM));
    EXPECT_LT(count(result.out, "Vexa["), mostTries);
}

TEST_F(EndOfInput, afterAScriptHasEndedNoLongerEndsTheProgram) {
    const std::string script = directory_.write("input.txt", "HIGHLIGHT;\n");
    PipedProgram program(quietVexa());
    ASSERT_TRUE(program.send("INPUT " + script + ";\n"));
    program.closeInput();
    const std::string on = "XGET fragment highlighting enabled.\n";
    ASSERT_TRUE(program.waitForOutput(on + prompt + prompt + prompt + prompt));
    program.signal(SIGTERM);
    const ProgramResult result = program.finish();
    EXPECT_EQ(result.ending, killedBy(SIGTERM));
    EXPECT_THAT(result.out, HasSubstr(banner + prompt + on + prompt));
    EXPECT_LT(count(result.out, "Vexa["), mostTries);
}

TEST_F(EndOfInput, ofAScriptInTheMiddleOfAStatementCountsLinesOnTheTerminal) {
    const std::string script = directory_.write("input.txt", "XFIND //a\n");
    PipedProgram program(quietVexa());
    ASSERT_TRUE(program.send("INPUT " + script + ";\n"));
    program.closeInput();
    // Each end of input starts the count again: the reader returns to the terminal every time.
    ASSERT_TRUE(program.waitForOutput(prompt + prompt + prompt));
    program.signal(SIGTERM);
    EXPECT_EQ(program.finish().ending, killedBy(SIGTERM));
}

TEST_F(EndOfInput, ofAFileThatGrowsOnStandardInputIsTriedAgain) {
    const std::string script = directory_.write("input.txt", "");
    const std::string input = directory_.write("stdin.txt", "INPUT " + script + ";\n");
    PipedProgram program(throughShell(quietVexa(), "<'" + input + "'"));
    ASSERT_TRUE(program.waitForOutput(prompt + prompt + prompt));
    append(input, "HELP;\nBYE;\n");
    const ProgramResult result = program.finish();
    EXPECT_THAT(result.out, HasSubstr(prompt + helpText + prompt));
    EXPECT_EQ(result.ending, support::exited(0));
}

}  // namespace
