/** Batches and scripts of INPUT: when they end, and what comes then. */
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using ::testing::ElementsAre;

const std::string highlightOn = "XGET fragment highlighting enabled.\n";
const std::string document = "<result matches=\"1\"><fragment>text</fragment></result>\n";
const std::string syntaxError = "EXCEPTION: syntax error\n";

std::string found(int number, const std::string &request) {
    return "<" + std::to_string(number) + ">\t<1>\t" + request + "\n";
}

std::string scriptError(int line) {
    return "Script error at line #" + std::to_string(line) + "\n";
}

// --- Batches ---

class Batch : public VexaTest {};

TEST_F(Batch, endsAtTheEndOfItsScript) {
    expectResult(runBatch("HIGHLIGHT;\n"), banner + highlightOn, "");
}

TEST_F(Batch, showsNoPromptsOnStandardInput) {
    expectResult(support::run(quietVexa({"-i"}), "HIGHLIGHT\n;\nHIGHLIGHT;\n"),
                 banner + highlightOn + highlightOn, "");
}

TEST_F(Batch, emptyScriptPrintsNothing) {
    expectResult(runBatch(""), banner, "");
}

TEST_F(Batch, endsAtAnXfindThatSucceeds) {
    expectResult(runBatch("HIGHLIGHT;\nXFIND //a;\nHELP;\n"),
                 banner + highlightOn + found(1, "//a"), "");
    EXPECT_THAT(kernelCalls("ZdbStopZarn"), ElementsAre("ZdbStopZarn(0) = 1"));
}

TEST_F(Batch, goesOnAfterAnXfindThatFails) {
    expectResult(runBatch("XFIND a/;\nHIGHLIGHT;\n"), banner + highlightOn, syntaxError);
}

TEST_F(Batch, endsAtAnXfindThatIsParsedOnly) {
    expectResult(runBatch("NOEXECUTE;\nXFIND a/;\nXFIND a;\nHELP;\n"),
                 banner + "XPath expressions will be be parsed, but not executed.\n",
                 "ERROR: syntax error\nchild::a\n");
}

TEST_F(Batch, goesOnAfterAnXgetThatSucceeds) {
    expectResult(runBatch("XGET //a /;\nHIGHLIGHT;\n"), banner + document + highlightOn, "");
}

TEST_F(Batch, endsAtAnXgetThatFails) {
    kernelAnswers("export-fails No database is open.\n");
    expectResult(runBatch("XGET //a /;\nHELP;\n"), banner, "ERROR: No database is open.\n");
}

TEST_F(Batch, goesOnAfterAnXgetWithoutFragmentSpec) {
    expectResult(runBatch("XGET //a;\nHIGHLIGHT;\n"),
                 banner + "ERROR: Missing fragment spec.\n" + highlightOn, "");
}

TEST_F(Batch, goesOnAfterInvalidCommandsAndMissingDatabases) {
    kernelAnswers("database none 0\n");
    expectResult(runBatch("NONSENSE;\nBASE none;\nHIGHLIGHT;\n"),
                 banner + "Invalid command.\n" + highlightOn,
                 "Database none does not exist or is not XML enabled.\n");
}

TEST_F(Batch, withInputGoesOnWithThatScriptAndThenWithTheTerminal) {
    const std::string script = directory_.write("input.txt", "HIGHLIGHT;\n");
    const std::string batch = directory_.write("batch.txt", "INPUT " + script + ";\nHELP;\n");
    expectResult(support::run(quietVexa({"-i", batch}), "HIGHLIGHT;\nBYE;\n"),
                 banner + highlightOn + prompt + highlightOn + prompt, "");
}

TEST_F(Batch, isStillABatchAfterInput) {
    const std::string script = directory_.write("input.txt", "XFIND //a;\nHELP;\n");
    expectResult(runBatch("INPUT " + script + ";\n"), banner + found(1, "//a"), "");
}

// --- Scripts of INPUT ---

class Script : public VexaTest {
protected:
    /** Runs a script from the prompt and then these statements. */
    support::ProgramResult runInput(const std::string &script, const std::string &afterwards) {
        directory_.write("input.txt", script);
        return runStatements("INPUT " + (directory_ / "input.txt") + ";\n" + afterwards);
    }
};

TEST_F(Script, runsWithoutPromptsAndReturnsToTheTerminal) {
    expectResult(runInput("HIGHLIGHT\n;\n\nHIGHLIGHT;\n", "HELP;\nBYE;\n"),
                 banner + prompt + highlightOn + highlightOn + prompt + helpText + prompt, "");
}

TEST_F(Script, emptyScriptReturnsToTheTerminal) {
    expectResult(runInput("", "BYE;\n"), banner + prompt + prompt, "");
    expectResult(runInput("\n\n", "BYE;\n"), banner + prompt + prompt, "");
}

TEST_F(Script, thatCannotBeReadLeavesTheReaderOnTheTerminal) {
    const std::string none = directory_ / "none";
    expectResult(runStatements("INPUT " + none + ";\nXFIND //a;\nBYE;\n"),
                 session({"", found(1, "//a")}), "Cannot read input file \"" + none + "\"\n");
}

TEST_F(Script, endsAtAnXfindThatSucceeds) {
    expectResult(runInput("HIGHLIGHT;\n\nXFIND //a;\nHELP;\n", "HIGHLIGHT;\nBYE;\n"),
                 banner + prompt + highlightOn + found(1, "//a") + scriptError(3) + prompt +
                     highlightOn + prompt,
                 "");
}

TEST_F(Script, goesOnAfterAnXfindThatFails) {
    expectResult(runInput("XFIND a/;\nHIGHLIGHT;\n", "BYE;\n"),
                 banner + prompt + highlightOn + prompt, syntaxError);
}

TEST_F(Script, endsAtAnXgetThatFails) {
    kernelAnswers("export-fails No database is open.\n");
    expectResult(runInput("HIGHLIGHT;\nXGET\n//a /\n;\nXGET //a /;\nHELP;\n", "BYE;\n"),
                 banner + prompt + highlightOn + "Invalid command.\n" + scriptError(5) + prompt,
                 "ERROR: No database is open.\n");
}

TEST_F(Script, goesOnAfterAnXgetThatSucceeds) {
    expectResult(runInput("XGET //a /;\nHIGHLIGHT;\n", "BYE;\n"),
                 banner + prompt + document + highlightOn + prompt, "");
}

TEST_F(Script, thatHasReachedItsEndIsStillBlamedOnce) {
    expectResult(runInput("HIGHLIGHT;\n", "XFIND //a;\nXFIND //b;\nBYE;\n"),
                 banner + prompt + highlightOn + prompt + found(1, "//a") + scriptError(1) +
                     prompt + found(2, "//b") + prompt,
                 "");
}

TEST_F(Script, isNotBlamedForFailuresBeforeIt) {
    expectResult(runStatements("XFIND //a;\nBYE;\n"), session({found(1, "//a")}), "");
}

TEST_F(Script, thatCannotBeReadClearsTheBlame) {
    expectResult(runInput("", "INPUT " + (directory_ / "none") + ";\nXFIND //a;\nBYE;\n"),
                 banner + prompt + prompt + prompt + found(1, "//a") + prompt,
                 "Cannot read input file \"" + (directory_ / "none") + "\"\n");
}

TEST_F(Script, withInputIsReplacedByTheOtherScript) {
    const std::string other = directory_.write("other.txt", "HIGHLIGHT;\n");
    expectResult(runInput("INPUT " + other + ";\nHELP;\n", "BYE;\n"),
                 banner + prompt + highlightOn + prompt, "");
}

TEST_F(Script, mayInputItself) {
    directory_.write("input.txt", "XFIND //a;\n");
    expectResult(runInput("HIGHLIGHT;\nINPUT " + (directory_ / "none") + ";\n", "BYE;\n"),
                 banner + prompt + highlightOn + prompt,
                 "Cannot read input file \"" + (directory_ / "none") + "\"\n");
}

TEST_F(Script, lineNumbersRunOnThroughTheFile) {
    expectResult(
        runInput("HIGHLIGHT\n;\n\nHIGHLIGHT\ngo\nXFIND\n//a\n;\n", "BYE;\n"),
        banner + prompt + highlightOn + highlightOn + found(1, "//a") + scriptError(8) + prompt,
        "");
}

TEST_F(Script, settingsMadeInAScriptStay) {
    expectResult(runInput("NOEXECUTE;\n", "XFIND //a;\nBYE;\n"),
                 banner + prompt + "XPath expressions will be be parsed, but not executed.\n" +
                     prompt + scriptError(1) + prompt,
                 "/descendant-or-self::node()/child::a\n");
}

TEST_F(Script, statementCutOffAtItsEndIsCompletedOnTheTerminal) {
    expectResult(runInput("XFIND\n//a\n", "/b;\nBYE;\n"),
                 banner + prompt + prompt + found(1, "//a\n/b") + scriptError(1) + prompt, "");
}

}  // namespace
