/** XFIND: execution, parsing only, and what goes wrong. */
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::ProgramResult;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string executeOff = "XPath expressions will be be parsed, but not executed.\n";
const std::string executeOn = "XPath expressions will be parsed and executed.\n";

class Xfind : public VexaTest {
protected:
    /** XFIND with execution switched off: what appears on standard error. */
    std::string parsed(const std::string &request) const {
        const ProgramResult result = runStatements("NOEXECUTE;\nXFIND " + request + ";\n");
        EXPECT_EQ(result.out, session({executeOff, ""}));
        EXPECT_EQ(result.ending, support::exited(0));
        return result.err;
    }
};

TEST_F(Xfind, printsNumberRecordsAndTheRequest) {
    kernelAnswers("set 1 42 99\n");
    expectResult(runStatements("XFIND play;\n"), session({"<1>\t<42>\tplay\n"}), "");
    EXPECT_THAT(kernelCommands(), ElementsAre("DEFINE HITS", "DEFINE FIND MIN=0",
                                              R"(FIND N_TYPE=ELEMENT AND.T N_NAME=\"play\")"));
}

TEST_F(Xfind, statusOfTheKernelIsSavedAndRestored) {
    runStatements("XFIND play;\n");
    EXPECT_THAT(kernelCalls("ZdbSaveStatus"), ElementsAre("ZdbSaveStatus() = 1"));
    EXPECT_THAT(kernelCalls("ZdbLoadStatus"), ElementsAre("ZdbLoadStatus(1) = 1"));
}

TEST_F(Xfind, onlyTheLastSetOfEachRequestStays) {
    expectResult(runStatements("XFIND a/b;\nXFIND c;\nXFIND d/e;\n"),
                 session({"<1>\t<1>\ta/b\n", "<2>\t<1>\tc\n", "<3>\t<1>\td/e\n"}), "");
}

TEST_F(Xfind, requestIsPrintedAsItWasTyped) {
    expectResult(runStatements("xfind   a [ b = 'x  %s%n y' ]  ;\n"),
                 session({"<1>\t<1>\ta [ b = 'x  %s%n y' ]\n"}), "");
}

TEST_F(Xfind, parseErrorIsAnException) {
    expectResult(runStatements("XFIND a/;\nXFIND chld::a;\nXFIND foo();\n"), session({"", "", ""}),
                 "EXCEPTION: syntax error\nEXCEPTION: Invalid axis \"chld\"\n"
                 "EXCEPTION: Invalid node type \"foo\"\n");
    EXPECT_THAT(kernelCalls("ZdbLoadStatus").size(), 3U);
}

TEST_F(Xfind, failedSearchIsAnExceptionWithTheKernelsMessage) {
    kernelAnswers("command-fails FIND * => Unknown field N_FOO at column 6.\n");
    expectResult(runStatements("XFIND a;\nHELP;\n"), session({"", helpText}),
                 "EXCEPTION: Unknown field N_FOO at column 6.\n");
    EXPECT_THAT(kernelCalls("ZdbLoadStatus"), ElementsAre("ZdbLoadStatus(1) = 1"));
}

TEST_F(Xfind, laterFailureOfARequestLeavesTheShellWorking) {
    kernelAnswers("nth-command-fails 5 Broken.\n");
    expectResult(runStatements("XFIND a/b;\nXFIND c;\n"), session({"", "<1>\t<1>\tc\n"}),
                 "EXCEPTION: Broken.\n");
}

TEST_F(Xfind, longMessageOfAnExceptionIsCutAt255Bytes) {
    kernelAnswers("command-fails FIND * => " + std::string(300, 'm') + "\n");
    expectResult(runStatements("XFIND a;\n"), session({""}),
                 "EXCEPTION: " + std::string(255, 'm') + "\n");
    EXPECT_EQ(runStatements("XFIND " + std::string(400, 'x') + "::a;\n").err,
              "EXCEPTION: " + ("Invalid axis \"" + std::string(400, 'x')).substr(0, 255) + "\n");
}

TEST_F(Xfind, withoutTheStatusSavedNothingIsTidiedUp) {
    kernelAnswers("save-status-fails\n");
    expectResult(runStatements("XFIND a;\n"), session({"<1>\t<1>\ta\n"}), "");
    EXPECT_THAT(kernelCommands(),
                ElementsAre("DEFINE FIND MIN=0", R"(FIND N_TYPE=ELEMENT AND.T N_NAME=\"a\")"));
    EXPECT_THAT(kernelCalls("ZdbLoadStatus"), IsEmpty());
}

TEST_F(Xfind, parsingOnlyPrintsTheParsedFormOnStandardErrorAndAsksNoDatabase) {
    EXPECT_EQ(parsed("//a"), "/descendant-or-self::node()/child::a\n");
    EXPECT_THAT(kernelCalls(), ElementsAre("ZdbStartZarn(\"ann\", \"secret\", 9, 4096) = 1",
                                           "ZdbStopZarn(0) = 1"));
}

TEST_F(Xfind, parsingOnlyPrintsPathsAndTheQuotesOfLiterals) {
    EXPECT_EQ(parsed("a[contains(b,'x')]"), "child::a[child::contains(child::b,\"x\")]\n");
}

TEST_F(Xfind, parsingOnlyPrintsErrorsOfTheRequest) {
    EXPECT_EQ(parsed("a/"), "ERROR: syntax error\n");
    EXPECT_EQ(parsed(""), "ERROR: syntax error\n");
    EXPECT_EQ(parsed("chld::a"), "ERROR: Invalid axis \"chld\"\n");
    EXPECT_EQ(parsed(std::string(400, 'x') + "::a"),
              "ERROR: Invalid axis \"" + std::string(400, 'x') + "\"\n");
}

TEST_F(Xfind, parsingOnlyPrintsWhatLooksLikeAFormatAsItIs) {
    EXPECT_THAT(parsed("a[b='%s%n']"), ::testing::HasSubstr("\"%s%n\""));
}

TEST_F(Xfind, parsingOnlyPrintsLongRequestsWhole) {
    const std::string name(20000, 'n');
    EXPECT_EQ(parsed(name), "child::" + name + "\n");
}

TEST_F(Xfind, executionCanBeSwitchedOnAgain) {
    expectResult(runStatements("NOEXECUTE;\nXFIND a;\nEXECUTE;\nXFIND a;\n"),
                 session({executeOff, "", executeOn, "<1>\t<1>\ta\n"}), "child::a\n");
}

TEST_F(Xfind, parsedFormStandsInOrderAmongTheResults) {
    const ProgramResult result =
        support::run(quietVexa(), "XFIND a;\nNOEXECUTE;\nXFIND b;\nEXECUTE;\nXFIND c;\n",
                     support::PipedProgram::Errors::merged);
    EXPECT_EQ(result.out,
              session({"<1>\t<1>\ta\n", executeOff, "child::b\n", executeOn, "<2>\t<1>\tc\n"}));
}

TEST_F(Xfind, manyRequestsRunInOneProcess) {
    std::string input;
    for (int i = 0; i < 300; ++i)
        input += "XFIND a[b='" + std::to_string(i) + "'];\n";
    const ProgramResult result = runStatements(input);
    EXPECT_NE(result.out.find("<300>\t<1>\ta[b='299']\n" + prompt), std::string::npos);
    EXPECT_EQ(result.ending, support::exited(0));
}

}  // namespace
