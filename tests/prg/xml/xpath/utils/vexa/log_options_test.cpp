/** The options -l and -f. */
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::exited;
using support::ProgramResult;
using support::readFile;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class LogOptions : public VexaTest {
protected:
    /** Runs one request that cannot be parsed: it is logged at the levels 2 and above. */
    ProgramResult runFailingRequest(std::vector<std::string> arguments) const {
        return support::run(quietVexa(std::move(arguments)), "XFIND a/;\n");
    }
    std::string cannotOpen(const std::string &name) const {
        return "ERROR: Cannot open log file \"" + name + "\" for writing.\n";
    }

    const std::string quietOutput_ = session({""});
    const std::string message_ = "EXCEPTION: syntax error\n";
    const std::string logged_ =
        "  ERROR] ZXProcessorMain::Query: XPath parsing error: syntax error\n";
    const std::string log_ = directory_ / "vexa.log";
};

TEST_F(LogOptions, logFileIsNotWhereALinkOfAnotherUserLeads) {
    if (::geteuid() != 0) GTEST_SKIP() << "links cannot be given away";
    const std::string target = directory_.write("target", "kept");
    ASSERT_EQ(::symlink(target.c_str(), log_.c_str()), 0);
    expectResult(runFailingRequest({"-l", "2", "-f", log_}), quietOutput_, message_);
    EXPECT_THAT(readFile(target), HasSubstr(logged_));
    ASSERT_EQ(::lchown(log_.c_str(), 65534, 65534), 0);
    directory_.write("target", "kept");
    const ProgramResult result = runFailingRequest({"-l", "2", "-f", log_});
    EXPECT_EQ(result.err, cannotOpen(log_));
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_EQ(readFile(target), "kept");
}

TEST_F(LogOptions, withoutThemNothingIsLogged) {
    expectResult(runFailingRequest({}), quietOutput_, message_);
}

TEST_F(LogOptions, levelAloneLogsToStandardOutput) {
    const ProgramResult result = runFailingRequest({"-l", "2"});
    EXPECT_THAT(result.out, HasSubstr(prompt + "["));
    EXPECT_THAT(result.out, HasSubstr(logged_));
    EXPECT_THAT(result.out, Not(HasSubstr("DEBUG")));
    EXPECT_EQ(result.err, message_);
    EXPECT_EQ(result.ending, exited(0));
}

TEST_F(LogOptions, levelsFromZeroToFiveCountAndAllOthersAreOff) {
    for (const char *level : {"0", "1", "6", "7", "-1", "x", "", "99999999999"}) {
        expectResult(runFailingRequest({"-l", level}), quietOutput_, message_);
    }
    for (const char *level : {"2", "3", "4", "5", "2x", " 2"}) {
        EXPECT_THAT(runFailingRequest({"-l", level}).out, HasSubstr(logged_)) << level;
    }
    EXPECT_THAT(runFailingRequest({"-l", "4"}).out, Not(HasSubstr("  DEBUG] ")));
    EXPECT_THAT(runFailingRequest({"-l", "5"}).out, HasSubstr("  DEBUG] "));
}

TEST_F(LogOptions, logFileTakesTheLogFromStandardOutput) {
    expectResult(runFailingRequest({"-l", "2", "-f", log_}), quietOutput_, message_);
    EXPECT_THAT(readFile(log_), HasSubstr(logged_));
}

TEST_F(LogOptions, logFileIsEmptiedFirst) {
    directory_.write("vexa.log", "old\n");
    expectResult(runFailingRequest({"-l", "1", "-f", log_}), quietOutput_, message_);
    EXPECT_EQ(readFile(log_), "");
}

TEST_F(LogOptions, logFileCannotBeOpenedWhileTheLevelIsStillOff) {
    expectResult(runFailingRequest({"-f", log_, "-l", "2"}), banner, cannotOpen(log_), 1);
    for (const char *off : {"7", "-1", "0", "x"}) {
        expectResult(runFailingRequest({"-l", off, "-f", log_}), banner, cannotOpen(log_), 1);
    }
    EXPECT_FALSE(std::filesystem::exists(log_));
    EXPECT_THAT(kernelCalls(), IsEmpty());
}

TEST_F(LogOptions, logFileThatCannotBeWrittenEndsWithStatusOne) {
    const std::string name = directory_ / "no/such/folder.log";
    expectResult(runFailingRequest({"-l", "2", "-f", name}), banner, cannotOpen(name), 1);
    EXPECT_THAT(kernelCalls(), IsEmpty());
}

TEST_F(LogOptions, levelGivenAfterTheLogFileCounts) {
    runFailingRequest({"-l", "1", "-f", log_, "-l", "2"});
    EXPECT_THAT(readFile(log_), HasSubstr(logged_));
}

TEST_F(LogOptions, logFileKeepsItsLevelWhenTheLevelIsSwitchedOffLater) {
    expectResult(runFailingRequest({"-l", "2", "-f", log_, "-l", "0"}), quietOutput_, message_);
    EXPECT_THAT(readFile(log_), HasSubstr(logged_));
}

TEST_F(LogOptions, secondLogFileAbandonsTheFirst) {
    const std::string first = directory_ / "first.log";
    expectResult(runFailingRequest({"-l", "2", "-f", first, "-f", log_}), quietOutput_, message_);
    EXPECT_TRUE(std::filesystem::exists(first));
    EXPECT_EQ(readFile(first), "");
    EXPECT_THAT(readFile(log_), HasSubstr(logged_));
}

TEST_F(LogOptions, logAtLevelFiveTellsTheConditionsOfTheSets) {
    support::run(quietVexa({"-l", "5", "-f", log_}), "XFIND play;\n");
    const std::string log = readFile(log_);
    EXPECT_THAT(log, HasSubstr("  DEBUG] ZXProcessorMain::Query: Entered\n"));
    EXPECT_THAT(log, HasSubstr("] SearchSet::SetCondition: (SS/01) Assigned CCL condition: "));
    EXPECT_THAT(log, HasSubstr("] SearchSet::Execute: (SS/01) Executing FIND "));
}

TEST_F(LogOptions, refusedLoginIsNotLogged) {
    kernelAnswers("login-fails 2 No.\n");
    expectResult(runFailingRequest({"-l", "5"}), banner + "Error #2: No.\n", "");
}

}  // namespace
