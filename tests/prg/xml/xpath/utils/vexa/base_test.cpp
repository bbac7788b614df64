/** BASE: what is sent to the kernel and printed. */
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::ProgramResult;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Base : public VexaTest {};

TEST_F(Base, opensTheDatabaseAndDropsTheSetOfAllItsNodes) {
    kernelAnswers("set 1 180523 0\n");
    expectResult(runStatements("BASE plays;\n"), session({"<1>\t<180523>\tBASE plays\n"}), "");
    EXPECT_THAT(kernelCalls(),
                ElementsAre("ZdbStartZarn(\"ann\", \"secret\", 9, 4096) = 1",
                            "ZdbBaseInfo(\"plays\", 1) = 1 result=1",
                            "ZdbShellSymbol(\"OPN             \", 16) = 1 \"BASE\"",
                            "ZdbExecuteCcl(\"BASE plays\") = 1",
                            "ZdbGetSearch() = 1 number=1 records=180523 hits=0",
                            "ZdbShellSymbol(\"DEL             \", 16) = 1 \"DELETE\"",
                            "ZdbShellSymbol(\"SXX             \", 16) = 1 \"S\"",
                            "ZdbExecuteCcl(\"DELETE S=1\") = 1", "ZdbStopZarn(0) = 1"));
}

TEST_F(Base, withoutXmlIsRefusedAndSendsNoCommand) {
    kernelAnswers("database texts 0\n");
    expectResult(runStatements("BASE texts;\n"), session({""}),
                 "Database texts does not exist or is not XML enabled.\n");
    EXPECT_THAT(kernelCommands(), IsEmpty());
}

TEST_F(Base, statusOfTheQuestionForXmlIsIgnored) {
    kernelAnswers("database plays 1 2\ndatabase texts 0 1\n");
    expectResult(runStatements("BASE plays;\nBASE texts;\n"),
                 session({"<1>\t<1>\tBASE plays\n", ""}),
                 "Database texts does not exist or is not XML enabled.\n");
}

TEST_F(Base, withoutAnAnswerToTheQuestionForXmlIsRefused) {
    kernelAnswers("database-fails lost\n");
    expectResult(runStatements("BASE lost;\n"), session({""}),
                 "Database lost does not exist or is not XML enabled.\n");
}

TEST_F(Base, anyResultButZeroMeansXml) {
    kernelAnswers("database plays -1\n");
    expectResult(runStatements("BASE plays;\n"), session({"<1>\t<1>\tBASE plays\n"}), "");
}

TEST_F(Base, lengthOfAWordOutsideTheBufferIsNotBelieved) {
    kernelAnswers("symbol-length 100000000\n");
    expectResult(runStatements("BASE plays;\n"), session({"<1>\t<1>\tBASE plays\n"}), "");
    kernelAnswers("symbol-length -100000000\n");
    runStatements("BASE plays;\n");
    EXPECT_EQ(kernelCommands()[2], " plays") << "no word at all";
}

TEST_F(Base, failureIsPrintedOnBothStreams) {
    kernelAnswers("command-fails BASE * => The database is locked.\n");
    expectResult(runStatements("BASE plays;\n"), session({"<0>\t<0>\tThe database is locked.\n"}),
                 "ERROR: The database is locked.\n");
    EXPECT_THAT(kernelCommands(), ElementsAre("BASE plays", "DELETE S=0"));
    EXPECT_THAT(kernelCalls("ZdbMessage"),
                ElementsAre("ZdbMessage(1002, 512) = 1 \"The database is locked.\""));
}

TEST_F(Base, failureAfterARequestShowsTheSetThatIsStillThereAndDropsIt) {
    kernelAnswers("command-fails BASE poems => The database is locked.\nset 2 7 7\n");
    expectResult(
        runStatements("BASE plays;\nXFIND a;\nBASE poems;\n"),
        session({"<1>\t<1>\tBASE plays\n", "<1>\t<7>\ta\n", "<1>\t<7>\tThe database is locked.\n"}),
        "ERROR: The database is locked.\n");
    EXPECT_EQ(kernelCommands().back(), "DELETE S=1");
}

TEST_F(Base, failureToDropTheSetIsIgnored) {
    kernelAnswers("command-fails DELETE * => No.\n");
    expectResult(runStatements("BASE plays;\nHELP;\n"),
                 session({"<1>\t<1>\tBASE plays\n", helpText}), "");
}

TEST_F(Base, countsAreZeroWhenTheKernelDoesNotTellThem) {
    kernelAnswers("get-search-fails 1\n");
    expectResult(runStatements("BASE plays;\n"), session({"<0>\t<0>\tBASE plays\n"}), "");
    EXPECT_THAT(kernelCommands(), ElementsAre("BASE plays", "DELETE S=0"));
}

TEST_F(Base, wordsComeFromTheKernel) {
    kernelAnswers("word OPN ABRE\nword DEL BORRA\nword SXX B\n");
    expectResult(runStatements("BASE plays;\n"), session({"<1>\t<1>\tABRE plays\n"}), "");
    EXPECT_THAT(kernelCommands(), ElementsAre("ABRE plays", "BORRA B=1"));
}

TEST_F(Base, paddedWordsAreCutForOpeningAndUsedUncutForDropping) {
    kernelAnswers("words padded\n");
    expectResult(runStatements("BASE plays;\n"), session({"<1>\t<1>\tBASE plays\n"}), "");
    EXPECT_THAT(kernelCommands(), ElementsAre("BASE plays", "DELETE           S               =1"));
}

TEST_F(Base, wordsOfSixteenBytesAreUsedWhole) {
    kernelAnswers("word OPN ABCDEFGHIJKLMNOP\nword DEL abcdefghijklmnop\n");
    runStatements("BASE plays;\n");
    EXPECT_THAT(kernelCommands(), ElementsAre("ABCDEFGHIJKLMNOP plays", "abcdefghijklmnop S=1"));
}

TEST_F(Base, symbolThatTheKernelDoesNotKnowIsSentAsItIs) {
    kernelAnswers("symbol-fails OPN\n");
    const ProgramResult result = runStatements("BASE plays;\n");
    EXPECT_THAT(kernelCommands(), Contains("OPN              plays"));
    EXPECT_EQ(result.ending, support::exited(0));
}

TEST_F(Base, namesMayHoldBlanksAndPercentSigns) {
    expectResult(runStatements("BASE my %s%n db;\n"), session({"<1>\t<1>\tBASE my %s%n db\n"}), "");
    EXPECT_THAT(kernelCommands(), ElementsAre("BASE my %s%n db", "DELETE S=1"));
    kernelAnswers("database %s%n 0\n");
    expectResult(runStatements("BASE %s%n;\n"), session({""}),
                 "Database %s%n does not exist or is not XML enabled.\n");
}

TEST_F(Base, longestNameFillsTheCommandAndALongerOneIsRefused) {
    const std::string longest(511 - 5, 'd');
    expectResult(runStatements("BASE " + longest + ";\n"),
                 session({"<1>\t<1>\tBASE " + longest + "\n"}), "");
    expectResult(runStatements("BASE " + longest + "d;\n"), session({""}),
                 "ERROR: The database name is too long.\n");
    expectResult(runStatements("BASE " + std::string(100000, 'd') + ";\n"), session({""}),
                 "ERROR: The database name is too long.\n");
    EXPECT_EQ(kernelCommands().size(), 2U);
}

TEST_F(Base, longMessageIsCut) {
    kernelAnswers("command-fails BASE * => " + std::string(1000, 'm') + "\n");
    const std::string cut(512, 'm');
    expectResult(runStatements("BASE plays;\n"), session({"<0>\t<0>\t" + cut + "\n"}),
                 "ERROR: " + cut + "\n");
}

TEST_F(Base, messagesStandInOrderAmongTheResults) {
    kernelAnswers("command-fails BASE x => Locked.\n");
    const ProgramResult result = support::run(quietVexa(), "HIGHLIGHT;\nBASE x;\nBASE plays;\n",
                                              support::PipedProgram::Errors::merged);
    EXPECT_EQ(result.out,
              session({"XGET fragment highlighting enabled.\n",
                       "ERROR: Locked.\n<0>\t<0>\tLocked.\n", "<1>\t<1>\tBASE plays\n"}));
}

}  // namespace
