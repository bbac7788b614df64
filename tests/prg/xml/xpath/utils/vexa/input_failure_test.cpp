/**
 * Input that cannot be read, that has nothing yet, or that does not fit into memory: never a
 * silent end.
 */
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::exited;
using support::PipedProgram;
using support::ProgramResult;
using ::testing::AnyOf;
using ::testing::EndsWith;
using ::testing::IsEmpty;

const std::string highlightOn = "XGET fragment highlighting enabled.\n";

std::string cannotRead(const std::string &what, const std::string &reason) {
    return "ERROR: Cannot read " + what + ": " + reason + "\n";
}

/** Both ends of something, which programs started later inherit. */
struct Ends {
    int near = -1;
    int far = -1;

    ~Ends() {
        closeNear();
        close(far);
    }
    void closeNear() {
        if (near >= 0) close(std::exchange(near, -1));
    }
    std::string redirection() const { return "<&" + std::to_string(far); }
};

class InputFailure : public VexaTest {
protected:
    ProgramResult runFrom(const support::Command &command, const std::string &redirection) const {
        return support::run(throughShell(command, redirection));
    }
    std::string folder() const { return "<'" + directory_.path().string() + "'"; }

    /** Until the program waits for something, or has ended. */
    void awaitWaiting(const PipedProgram &program) const {
        const std::string path = "/proc/" + std::to_string(program.pid()) + "/stat";
        std::string state = "R";
        while (state == "R" || state == "D") {
            std::ifstream stat(path);
            std::string word;
            stat >> word >> word >> state;
        }
    }
    /** Sends each part when the program has met the end of the ones before. */
    void sendInParts(const PipedProgram &program, Ends &ends,
                     const std::vector<std::string> &parts) const {
        for (const std::string &part : parts) {
            awaitWaiting(program);
            ASSERT_EQ(write(ends.near, part.data(), part.size()), std::ssize(part));
        }
        ends.closeNear();
    }
    /** A pipe whose reading does not block. */
    void makePipe(Ends &ends) const {
        int both[2];
        ASSERT_EQ(pipe(both), 0);
        ends.near = both[1];
        ends.far = both[0];
        ASSERT_EQ(fcntl(ends.near, F_SETFD, FD_CLOEXEC), 0);
        ASSERT_EQ(fcntl(ends.far, F_SETFL, O_NONBLOCK), 0);
    }
    /** A terminal whose other side is gone: once this text is read, reading fails. */
    void makeLostTerminal(Ends &ends, const std::string &text) const {
        ends.far = posix_openpt(O_RDWR | O_NOCTTY);
        ASSERT_GE(ends.far, 0);
        ASSERT_EQ(grantpt(ends.far) | unlockpt(ends.far), 0);
        ends.near = open(ptsname(ends.far), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios settings;
        ASSERT_EQ(tcgetattr(ends.near, &settings), 0);
        cfmakeraw(&settings);
        ASSERT_EQ(tcsetattr(ends.near, TCSANOW, &settings), 0);
        ASSERT_EQ(write(ends.near, text.data(), text.size()), std::ssize(text));
        ends.closeNear();
    }
};

// --- Standard input ---

TEST_F(InputFailure, ofAFolderOnStandardInputIsAMessageAndStatusOne) {
    const std::string message = cannotRead("standard input", "Is a directory");
    expectResult(runFrom(quietVexa(), folder()), banner + prompt, message, 1);
    expectResult(runFrom(quietVexa({"-i"}), folder()), banner, message, 1);
    EXPECT_THAT(kernelCalls("ZdbStopZarn"), ::testing::SizeIs(2));
}

TEST_F(InputFailure, ofClosedStandardInputIsAMessageAndStatusOne) {
    const std::string message = cannotRead("standard input", "Bad file descriptor");
    expectResult(runFrom(quietVexa(), "<&-"), banner + prompt, message, 1);
    expectResult(runFrom(quietVexa({"-i"}), "<&-"), banner, message, 1);
}

TEST_F(InputFailure, atTheQuestionsIsAMessageAndCancels) {
    const std::string message = cannotRead("standard input", "Is a directory");
    expectResult(runFrom(vexa({}), folder()), banner + "Username> \nPassword> \n" + usageText,
                 message + message, 1);
    EXPECT_THAT(kernelCalls(), IsEmpty());
}

TEST_F(InputFailure, inTheMiddleOfAStatementIsAMessageAndTheStatementIsNone) {
    for (const bool batch : {false, true}) {
        Ends ends;
        makeLostTerminal(ends, "HIGHLIGHT;\nXFIND\n//a;");
        const auto command = batch ? quietVexa({"-i"}) : quietVexa();
        expectResult(runFrom(command, ends.redirection()),
                     batch ? banner + highlightOn : session({highlightOn}) + "Vexa[02]> ",
                     cannotRead("standard input", "Input/output error"), 1);
        EXPECT_THAT(kernelCommands(), IsEmpty());
    }
}

TEST_F(InputFailure, isNotThatAPipeHasNothingYet) {
    Ends ends;
    makePipe(ends);
    PipedProgram program(throughShell(quietVexa(), ends.redirection()));
    ASSERT_TRUE(program.waitForOutput(prompt));
    sendInParts(program, ends, {"HIGH", "LIGHT", ";\nXFIND //", "a\n", ";\n"});
    expectResult(program.finish(), session({highlightOn, "Vexa[02]> <1>\t<1>\t//a\n"}), "");
}

TEST_F(InputFailure, isNotThatABatchHasNothingYet) {
    Ends ends;
    makePipe(ends);
    PipedProgram program(throughShell(quietVexa({"-i"}), ends.redirection()));
    sendInParts(program, ends, {"HIGH", "LIGHT;\n", "HELP", ";\n"});
    expectResult(program.finish(), banner + highlightOn + helpText, "");
}

TEST_F(InputFailure, isNotThatAnAnswerHasNotBeenTypedYet) {
    Ends ends;
    makePipe(ends);
    PipedProgram program(throughShell(vexa({"-q"}), ends.redirection()));
    ASSERT_TRUE(program.waitForOutput("Username> "));
    sendInParts(program, ends, {"an", "n\nsec", "ret\n", "BYE;\n"});
    expectResult(program.finish(), banner + "Username> \nPassword> \n" + prompt, "");
    EXPECT_THAT(kernelCalls("ZdbStartZarn"),
                ::testing::ElementsAre("ZdbStartZarn(\"ann\", \"secret\", 9, 4096) = 1"));
}

// --- Scripts ---

// The memory of a process: it can be opened, but there is nothing at its beginning.
const std::string unreadable = "/proc/self/mem";
const std::string unreadableMessage =
    cannotRead("input file \"" + unreadable + "\"", "Input/output error");

TEST_F(InputFailure, ofABatchScriptIsAMessageAndStatusTwo) {
    expectResult(support::run(quietVexa({"-i", unreadable}), "HELP;\n"), banner, unreadableMessage,
                 2);
    EXPECT_THAT(kernelCalls("ZdbStopZarn"), ::testing::ElementsAre("ZdbStopZarn(0) = 1"));
}

TEST_F(InputFailure, ofAScriptOfInputIsAMessageLeadsToTheTerminalAndIsNotForgotten) {
    expectResult(runStatements("INPUT " + unreadable + ";\nHELP;\nBYE;\n"), session({"", helpText}),
                 unreadableMessage, 1);
    const std::string batch = directory_.write("batch.txt", "INPUT " + unreadable + ";\nHELP;\n");
    expectResult(support::run(quietVexa({"-i", batch}), "HIGHLIGHT;\nBYE;\n"),
                 banner + prompt + highlightOn + prompt, unreadableMessage, 2);
}

TEST_F(InputFailure, ofAScriptOfInputThatIsAFolderIsTheMessageOfOneThatIsNotThere) {
    const std::string name = directory_.path().string();
    expectResult(runStatements("INPUT " + name + ";\nHELP;\nBYE;\n"), session({"", helpText}),
                 "Cannot read input file \"" + name + "\"\n");
}

// --- Memory ---

// Address checks reserve more than any of these limits.
#if !defined(__SANITIZE_ADDRESS__)

class MemoryLimit : public InputFailure, public ::testing::WithParamInterface<int> {
protected:
    ProgramResult runLimited(const support::Command &command, std::string_view input = {}) const {
        return support::run(throughShell(command, "", "ulimit -v " + std::to_string(GetParam())),
                            input);
    }
    /** Messages of these two kinds, so many. */
    void expectRefusals(const std::string &errors, size_t count) const {
        std::istringstream lines(errors);
        for (std::string line; std::getline(lines, line); --count) {
            EXPECT_THAT(line, AnyOf("Unknown exception occurred.",
                                    "ERROR: A statement does not fit into memory and is skipped."));
        }
        EXPECT_EQ(count, 0U);
    }

    /** In one line, or in many. */
    static std::string literal(const std::string &end) {
        std::string text;
        while (text.size() < 30'000'000)
            text += std::string(998, 'x') + end;
        return "'" + text + "'";
    }
    static std::string requests(const std::string &value) {
        return "XFIND //a[b=" + value + "];\nXGET //a[b=" + value +
               "] /;\nNOEXECUTE;\nXFIND //a[b/text()=" + value + "];\nEXECUTE;\n";
    }
    const std::string parsing_ = "XPath expressions will be be parsed, but not executed.\n";
    const std::string executing_ = "XPath expressions will be parsed and executed.\n";
};

TEST_P(MemoryLimit, refusesStatementsThatAreOneLongLineAndTheSessionLives) {
    const ProgramResult result = runLimited(quietVexa(), requests(literal("")) + "HELP;\n");
    expectRefusals(result.err, 3);
    EXPECT_EQ(result.out, session({"", "", parsing_, "", executing_, helpText}));
    EXPECT_THAT(result.ending, AnyOf(exited(0), exited(1)));
    EXPECT_EQ(kernelCalls().back(), "ZdbStopZarn(0) = 1");
}

TEST_P(MemoryLimit, refusesStatementsOfManyLinesAndTheSessionLives) {
    const std::string batch = directory_.write("batch.txt", requests(literal("\n")) + "HELP;\n");
    const ProgramResult result = runLimited(quietVexa({"-i", batch}));
    expectRefusals(result.err, 3);
    EXPECT_EQ(result.out, banner + parsing_ + executing_ + helpText);
    EXPECT_THAT(result.ending, AnyOf(exited(0), exited(2)));
}

INSTANTIATE_TEST_SUITE_P(KiB, MemoryLimit, ::testing::Values(150'000, 200'000, 250'000, 300'000));

#endif

}  // namespace
