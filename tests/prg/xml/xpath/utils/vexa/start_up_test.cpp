/** Options, the banner, the login and exit statuses. */
#include <string>
#include <vector>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::ProgramResult;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class StartUp : public VexaTest {};

TEST_F(StartUp, bannerIsTwoLinesAndAnEmptyOne) {
    EXPECT_THAT(banner, StartsWith("ZARNxml Interactive XPath [server-side]\nVersion "));
    EXPECT_THAT(run({"-?"}).out, StartsWith(banner));
}

TEST_F(StartUp, helpOptionsPrintUsageAndEndWithStatusZero) {
    for (const char *option : {"-?", "--help", "--HELP", "--Help"}) {
        expectResult(run({option}), banner + usageText, "", 0);
    }
}

TEST_F(StartUp, helpEndsTheProgramAtOnceWhateverFollows) {
    expectResult(run({"-u", "ann", "-?", "--nonsense"}), banner + usageText, "", 0);
    EXPECT_THAT(kernelCalls(), IsEmpty());
}

TEST_F(StartUp, unknownOptionPrintsUsageAndEndsWithStatusOne) {
    for (const char *option : {"-x", "--version", "stray", "", "-", "-uann", "--helpme"}) {
        expectResult(run({option}), banner + usageText, "", 1);
    }
    expectResult(run({"-u", "ann", "--nonsense", "-?"}), banner + usageText, "", 1);
    EXPECT_THAT(kernelCalls(), IsEmpty());
}

TEST_F(StartUp, loginPassesUserPasswordAndTwoConstants) {
    expectResult(run({"-u", "ann", "-p", "secret"}), banner + welcome + prompt, "");
    EXPECT_THAT(kernelCalls("ZdbStartZarn"),
                ElementsAre("ZdbStartZarn(\"ann\", \"secret\", 9, 4096) = 1"));
}

TEST_F(StartUp, namesOfOptionsAreComparedWithoutRegardToCase) {
    expectResult(run({"-U", "ann", "-P", "secret", "-H", "host", "-Q", "-E", "-L", "0", "-I"}),
                 banner, "");
    EXPECT_THAT(kernelCalls("ZdbStartZarn"),
                ElementsAre("ZdbStartZarn(\"ann\", \"secret\", 9, 4096) = 1"));
}

TEST_F(StartUp, laterOccurrenceOfAnOptionOverridesAnEarlierOne) {
    run({"-u", "ann", "-p", "one", "-u", "bob", "-p", "two"});
    EXPECT_THAT(kernelCalls("ZdbStartZarn"),
                ElementsAre("ZdbStartZarn(\"bob\", \"two\", 9, 4096) = 1"));
}

TEST_F(StartUp, optionThatNeedsAnArgumentButStandsLastIsIgnored) {
    for (const char *option : {"-h", "-u", "-p", "-f", "-l"}) {
        expectResult(run({"-u", "ann", "-p", "secret", option}), banner + welcome + prompt, "");
    }
}

TEST_F(StartUp, argumentOfAnOptionMayLookLikeAnOption) {
    run({"-u", "-q", "-p", "-?"});
    EXPECT_THAT(kernelCalls("ZdbStartZarn"),
                ElementsAre("ZdbStartZarn(\"-q\", \"-?\", 9, 4096) = 1"));
}

TEST_F(StartUp, emptyUserAndPasswordOnTheCommandLineArePassedOn) {
    expectResult(run({"-u", "", "-p", ""}), banner + welcome + prompt, "");
    EXPECT_THAT(kernelCalls("ZdbStartZarn"), ElementsAre("ZdbStartZarn(\"\", \"\", 9, 4096) = 1"));
}

TEST_F(StartUp, quietModePrintsTheBannerOnly) {
    expectResult(run({"-u", "ann", "-p", "secret", "-h", "db1", "-q"}), banner + prompt, "");
}

TEST_F(StartUp, hostNameIsNoticedAndIgnored) {
    expectResult(run({"-u", "ann", "-p", "secret", "-h", "db1"}),
                 banner + "Hostname argument ignored - only usable with client-side version.\n" +
                     welcome + prompt,
                 "");
}

TEST_F(StartUp, longHostNameIsCut) {
    const ProgramResult result =
        run({"-u", "ann", "-p", "secret", "-q", "-h", std::string(100000, 'h')});
    expectResult(result, banner + prompt, "");
}

TEST_F(StartUp, sessionIsClosedExactlyOnce) {
    run({"-u", "ann", "-p", "secret"}, "BYE;\n");
    EXPECT_THAT(kernelCalls(), ElementsAre("ZdbStartZarn(\"ann\", \"secret\", 9, 4096) = 1",
                                           "ZdbStopZarn(0) = 1"));
}

TEST_F(StartUp, refusedLoginPrintsTheKernelsMessageAndReadsNothing) {
    kernelAnswers("login-fails 4660 Unknown user or wrong password.\n");
    expectResult(run({"-u", "ann", "-p", "secret"}, "HELP;\n"),
                 banner + "Error #4660: Unknown user or wrong password.\n", "", 0);
    EXPECT_THAT(kernelCalls(),
                ElementsAre("ZdbStartZarn(\"ann\", \"secret\", 9, 4096) = 4660",
                            "ZdbMessage(4660, 256) = 1 \"Unknown user or wrong password.\""));
}

TEST_F(StartUp, statusOfARefusedLoginIsASignedNumber) {
    kernelAnswers("login-fails -2 No.\n");
    expectResult(run({"-u", "ann", "-p", "secret"}), banner + "Error #-2: No.\n", "", 0);
}

TEST_F(StartUp, onlyBitZeroOfTheLoginStatusCounts) {
    kernelAnswers("login-fails 4661 Not a failure.\n");
    expectResult(run({"-u", "ann", "-p", "secret", "-q"}), banner + prompt, "");
}

TEST_F(StartUp, longMessageOfARefusedLoginIsCut) {
    kernelAnswers("login-fails 2 " + std::string(1000, 'm') + "\n");
    expectResult(run({"-u", "ann", "-p", "secret"}),
                 banner + "Error #2: " + std::string(256, 'm') + "\n", "", 0);
}

TEST_F(StartUp, messageOfARefusedLoginEndsWhereTheKernelSaysSo) {
    kernelAnswers("messages unterminated\nlogin-fails 2 No.\n");
    expectResult(run({"-u", "ann", "-p", "secret"}), banner + "Error #2: No.\n", "", 0);
}

TEST_F(StartUp, messageThatTheKernelDoesNotWriteIsEmpty) {
    kernelAnswers("message-fails\nlogin-fails 2 No.\n");
    expectResult(run({"-u", "ann", "-p", "secret"}), banner + "Error #2: \n", "", 0);
}

TEST_F(StartUp, lengthOfAMessageOutsideTheBufferIsNotBelieved) {
    kernelAnswers("message-length 100000000\nlogin-fails 2 No.\n");
    expectResult(run({"-u", "ann", "-p", "secret"}), banner + "Error #2: No.\n", "", 0);
    kernelAnswers("message-length -100000000\nlogin-fails 2 No.\n");
    expectResult(run({"-u", "ann", "-p", "secret"}), banner + "Error #2: \n", "", 0);
}

TEST_F(StartUp, batchScriptIsTheNextArgumentUnlessThatIsAnOption) {
    const std::string script = directory_.write("script.txt", "HIGHLIGHT;\n");
    expectResult(support::run(quietVexa({"-i", script}), "HELP;\n"),
                 banner + "XGET fragment highlighting enabled.\n", "");
    expectResult(support::run(quietVexa({"-i", "-e"}), "HIGHLIGHT;\n"),
                 banner + "in[001]> HIGHLIGHT\nXGET fragment highlighting enabled.\n", "");
    expectResult(support::run(quietVexa({"-i"}), "HIGHLIGHT;\n"),
                 banner + "XGET fragment highlighting enabled.\n", "");
}

TEST_F(StartUp, unreadableBatchScriptEndsWithStatusTwo) {
    expectResult(support::run(quietVexa({"-i", directory_ / "none"}), "HELP;\n"), banner,
                 "Cannot read input file \"" + (directory_ / "none") + "\"\n", 2);
    EXPECT_THAT(kernelCalls("ZdbStopZarn"), ElementsAre("ZdbStopZarn(0) = 1"));
}

TEST_F(StartUp, batchScriptWithAnEmptyNameOrOfAFolderCannotBeRead) {
    expectResult(support::run(quietVexa({"-i", ""})), banner, "Cannot read input file \"\"\n", 2);
    const std::string folder = directory_.path().string();
    expectResult(support::run(quietVexa({"-i", folder})), banner,
                 "Cannot read input file \"" + folder + "\"\n", 2);
}

TEST_F(StartUp, unreadableBatchScriptCountsEvenWhenTheLoginWasRefused) {
    kernelAnswers("login-fails 2 No.\n");
    expectResult(support::run(quietVexa({"-i", directory_ / "none"})), banner + "Error #2: No.\n",
                 "Cannot read input file \"" + (directory_ / "none") + "\"\n", 2);
    EXPECT_THAT(kernelCalls("ZdbStopZarn"), IsEmpty());
}

TEST_F(StartUp, noticeAndWelcomeAppearBeforeTheFirstPrompt) {
    const ProgramResult result = run({"-u", "ann", "-p", "secret", "-h", "x"}, "HELP;\n");
    EXPECT_THAT(result.out, EndsWith(welcome + prompt + helpText + prompt));
}

TEST_F(StartUp, errorsStandBehindWhatWasPrintedBefore) {
    const auto merged = support::PipedProgram::Errors::merged;
    const std::string none = directory_ / "none";
    EXPECT_EQ(support::run(vexa({"-u", "ann", "-p", "x", "-i", none}), "", merged).out,
              banner + welcome + "Cannot read input file \"" + none + "\"\n");
    EXPECT_EQ(support::run(vexa({"-f", none}), "", merged).out,
              banner + "ERROR: Cannot open log file \"" + none + "\" for writing.\n");
}

TEST_F(StartUp, runningProgramDoesNotShowThePasswordAmongItsArguments) {
    support::PipedProgram program(vexa({"-u", "ann", "-p", "geheim"}));
    ASSERT_TRUE(program.waitForOutput(prompt));
    const std::string arguments =
        support::readFile("/proc/" + std::to_string(program.pid()) + "/cmdline");
    EXPECT_NE(arguments.find("ann"), std::string::npos);
    EXPECT_EQ(arguments.find("geheim"), std::string::npos);
    EXPECT_EQ(program.finish().ending, support::exited(0));
}

}  // namespace
