/** How lines become statements, and the echo of scripts. */
#include <string>
#include <string_view>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::ProgramResult;
using ::testing::HasSubstr;

const std::string invalid = "Invalid command.\n";

/** What XFIND prints for a request on the recording kernel: the sets are numbered from 1. */
std::string found(int number, const std::string &request) {
    return "<" + std::to_string(number) + ">\t<1>\t" + request + "\n";
}

class StatementReader : public VexaTest {
protected:
    /** The same text on standard input, from a script of INPUT, and as a batch. */
    void expectFromEverySource(std::string_view statement, const std::string &output) {
        const std::string text(statement);
        EXPECT_EQ(runBatch(text).out, banner + output) << "batch";
        const std::string script = directory_.write("input.txt", text);
        EXPECT_THAT(runStatements("INPUT " + script + ";\nBYE;\n").out, HasSubstr("> " + output))
            << "script";
    }
};

TEST_F(StatementReader, semicolonAtTheEndOfALineEndsAStatement) {
    expectResult(runStatements("HELP;\n"), session({helpText}), "");
}

TEST_F(StatementReader, blanksBehindTheSemicolonDoNotMatter) {
    expectResult(runStatements("HELP; \t \n  HELP ;\t\r\n"), session({helpText, helpText}), "");
}

TEST_F(StatementReader, semicolonInsideALineDoesNotEndAStatement) {
    expectResult(runStatements("HELP; HELP;\nXFIND a[b=';c'];\n"),
                 session({invalid, found(1, "a[b=';c']")}), "");
}

TEST_F(StatementReader, onlyTheLastSemicolonIsTakenAway) {
    expectResult(runStatements("HELP;;\n"), session({invalid}), "");
}

TEST_F(StatementReader, goOnALineOfItsOwnEndsAStatement) {
    expectResult(runStatements("XFIND //a\nGO\n"),
                 banner + prompt + "Vexa[02]> " + found(1, "//a") + prompt, "");
}

TEST_F(StatementReader, goIsKnownInAnyCaseAndBetweenBlanks) {
    for (const char *go : {"go", "Go", "gO", "  go\t"}) {
        expectResult(runStatements("HELP\n" + std::string(go) + "\n"),
                     banner + prompt + "Vexa[02]> " + helpText + prompt, "");
    }
}

TEST_F(StatementReader, goWithASemicolonIsAStatementAndAnInvalidCommand) {
    expectResult(runStatements("GO;\n"), session({invalid}), "");
    expectResult(runStatements("HELP\nGO;\n"), banner + prompt + "Vexa[02]> " + invalid + prompt,
                 "");
}

TEST_F(StatementReader, goAsPartOfALineIsText) {
    expectResult(runStatements("GO ON\nGOOD;\n"), banner + prompt + "Vexa[02]> " + invalid + prompt,
                 "");
}

TEST_F(StatementReader, emptyStatementsAreInvalidCommands) {
    expectResult(runStatements(";\nGO\n  ;\n"), session({invalid, invalid, invalid}), "");
}

TEST_F(StatementReader, linesOfAStatementAreJoinedByLineFeeds) {
    expectResult(runStatements("XFIND\n  //a  \n\t/b\n;\n"),
                 banner + prompt + "Vexa[02]> Vexa[03]> Vexa[04]> " + found(1, "//a\n/b") + prompt,
                 "");
}

TEST_F(StatementReader, lineFeedBeforeGoIsTrimmedAway) {
    expectResult(runStatements("BASE plays\nGO\n"),
                 banner + prompt + "Vexa[02]> <1>\t<1>\tBASE plays\n" + prompt, "");
}

TEST_F(StatementReader, emptyLinesAreSkippedButCounted) {
    expectResult(runStatements("\n   \nHELP\n\n;\n"),
                 banner + prompt + "Vexa[02]> Vexa[03]> Vexa[04]> Vexa[05]> " + helpText + prompt,
                 "");
}

TEST_F(StatementReader, lineNumbersOfPromptsStartAnewWithEveryStatement) {
    expectResult(
        runStatements("HELP\n;\nHELP\n;\n"),
        banner + prompt + "Vexa[02]> " + helpText + prompt + "Vexa[02]> " + helpText + prompt, "");
}

TEST_F(StatementReader, lineNumbersGrowBeyondTwoDigits) {
    const ProgramResult result = runStatements(std::string(120, '\n') + "HELP;\n");
    EXPECT_THAT(result.out, HasSubstr("Vexa[99]> Vexa[100]> Vexa[101]> "));
}

TEST_F(StatementReader, echoPrintsEveryLineOfAScriptWithItsNumber) {
    expectResult(runBatch("HIGHLIGHT;\n\n  noHIGHLIGHT\nGo\n", {"-e"}),
                 banner +
                     "in[001]> HIGHLIGHT\nXGET fragment highlighting enabled.\n"
                     "in[003]> noHIGHLIGHT\n"
                     "in[004]> \nXGET fragment highlighting disabled.\n",
                 "");
}

TEST_F(StatementReader, echoOfALoneSemicolonIsEmpty) {
    expectResult(runBatch(";\n", {"-e"}), banner + "in[001]> \n" + invalid, "");
}

TEST_F(StatementReader, echoWorksForStandardInputInBatchMode) {
    expectResult(support::run(quietVexa({"-i", "-e"}), "EXECUTE;\n"),
                 banner + "in[001]> EXECUTE\nXPath expressions will be parsed and executed.\n", "");
}

TEST_F(StatementReader, echoWorksForScriptsOfInputOnly) {
    const std::string script = directory_.write("input.txt", "HIGHLIGHT;\n");
    expectResult(
        support::run(quietVexa({"-e"}), "INPUT " + script + ";\nBYE;\n"),
        banner + prompt + "in[001]> HIGHLIGHT\nXGET fragment highlighting enabled.\n" + prompt, "");
}

TEST_F(StatementReader, withoutEchoScriptLinesAreNotPrinted) {
    expectResult(runBatch("HIGHLIGHT;\n"), banner + "XGET fragment highlighting enabled.\n", "");
}

TEST_F(StatementReader, linesOfScriptsAreReadInPiecesOf1022Bytes) {
    const std::string request = "a[@b='" + std::string(1022 - 12, 'b');
    ASSERT_EQ(("XFIND " + request).size(), 1022U);
    // As long as a piece with its line feed; without it; then the line feed is one more piece.
    for (const size_t length : {1021, 1022, 1023}) {
        const std::string name(length - 7, 'n');
        expectFromEverySource("XFIND " + name + ";\n", found(1, name));
    }
    expectFromEverySource("XFIND " + request + "c'];\n", found(1, request + "\nc']"));
    expectFromEverySource("XFIND " + request + std::string(1022, 'c') + "d'];\n",
                          found(1, request + "\n" + std::string(1022, 'c') + "\nd']"));
}

TEST_F(StatementReader, pieceOfALineThatEndsInASemicolonEndsTheStatement) {
    const std::string request(1022 - 7, 'a');
    const std::string script = directory_.write("input.txt", "XFIND " + request + ";HELP;\n");
    expectResult(runStatements("INPUT " + script + ";\nBYE;\n"),
                 banner + prompt + found(1, request) + "Script error at line #1\n" + prompt, "");
}

TEST_F(StatementReader, piecesOfALineAreCountedAsLines) {
    const std::string first = "XFIND a[@b='" + std::string(1010, 'b');
    expectResult(
        runBatch(first + "c'];\n", {"-e"}),
        banner + "in[001]> " + first + "\nin[002]> c']\n" + found(1, first.substr(6) + "\nc']"),
        "");
}

TEST_F(StatementReader, linesOfTheTerminalAreReadWhole) {
    for (const size_t length : {1016, 1017, 1018, 1023, 1024, 1025, 5000, 300000}) {
        const std::string request(length, 'a');
        expectResult(runStatements("XFIND " + request + ";\n"), session({found(1, request)}), "");
    }
}

TEST_F(StatementReader, lineEndsOfOtherSystemsDoNoHarm) {
    expectFromEverySource("XFIND //a\r\n\r\ngo\r\n", found(1, "//a"));
    expectResult(runStatements("XFIND //a\r\ngo\r\n"),
                 banner + prompt + "Vexa[02]> " + found(1, "//a") + prompt, "");
}

TEST_F(StatementReader, nulByteHidesTheRestOfItsLineOnly) {
    const std::string_view text("XFIND //a\0;junk\n;\n", 18);
    expectFromEverySource(text, found(1, "//a"));
    expectResult(runStatements(text), banner + prompt + "Vexa[02]> " + found(1, "//a") + prompt,
                 "");
}

TEST_F(StatementReader, lastLineNeedsNoLineEnd) {
    expectFromEverySource("XFIND //a;", found(1, "//a"));
    expectResult(runStatements("HELP;"), session({helpText}), "");
}

TEST_F(StatementReader, otherWhiteSpaceIsTrimmedToo) {
    expectResult(runStatements("\v\f HELP\v\f;\f\v\n"), session({helpText}), "");
}

}  // namespace
