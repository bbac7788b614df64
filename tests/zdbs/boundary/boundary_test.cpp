/** Runs the tests that are written in C, each in a home of its own. */
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/piped_program.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/test_locale.h"

namespace {

std::vector<std::string> testsInC() {
    std::istringstream lines(support::run({BOUNDARY_PROGRAM, {}, {}, {}}).out);
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line);)
        names.push_back(line);
    return names;
}

const std::set<std::string> &knownTests() {
    static const std::set<std::string> names{"CallsWithoutASessionFail",
                                             "LoginsAreChecked",
                                             "AMissingHomeIsAMessage",
                                             "MessagesFitTheirBuffers",
                                             "SymbolsStandForWords",
                                             "BaseInfoKnowsWhatIsGranted",
                                             "CommandsMakeAndDropSets",
                                             "SettingsAreSavedAndRestored",
                                             "RecordControlsYieldHitWords",
                                             "HandlesAreChecked",
                                             "ExportsHandOutADocument",
                                             "FailedExportsSayWhy",
                                             "LongFailuresAreCut",
                                             "CommandsAreInTheCharacterSetOfTheProcess",
                                             "KeywordsAreTheSameInEveryLocale",
                                             "CommandsAreTakenAsUtf8InTheLocaleC",
                                             "HeldInterruptsStopWhatIsDone",
                                             "InterruptsHeldLaterStopWhatIsDoneSoon",
                                             "ListsAreOfferedToWhoeverIsTyping"};
    return names;
}

class Boundary : public ::testing::TestWithParam<std::string> {};

TEST_P(Boundary, InC) {
    support::TemporaryDirectory directory;
    std::string home = directory / "home";
    support::ProgramResult prepared = support::run({PREPARE_HOME, {home}, {}, {}});
    ASSERT_EQ(prepared.ending, support::exited(0)) << prepared.err;

    std::map<std::string, std::string> environment{{"LC_ALL", "C"}};
    if (GetParam() == "CommandsAreInTheCharacterSetOfTheProcess") {
        environment = support::makeLocale(directory, "en_US", "ISO-8859-1");
    }
    environment["ZDBS_HOME"] = home;
    support::ProgramResult result = support::run({BOUNDARY_PROGRAM, {GetParam()}, environment, {}});
    EXPECT_EQ(result.ending, support::exited(0));
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

TEST(BoundaryLocale, ADotlessILeavesKeywordsWhatTheyAre) {
    for (const auto &[locale, characterSet] :
         {std::pair("tr_TR", "UTF-8"), {"tr_TR", "ISO-8859-9"}, {"az_AZ", "UTF-8"}}) {
        support::TemporaryDirectory directory;
        auto environment = support::makeLocale(directory, locale, characterSet);
        environment["ZDBS_HOME"] = directory / "home";
        support::run({PREPARE_HOME, {directory / "home"}, {}, {}});
        const support::ProgramResult result =
            support::run({BOUNDARY_PROGRAM, {"KeywordsAreTheSameInEveryLocale"}, environment, {}});
        EXPECT_EQ(result.out + result.err, "") << locale << characterSet;
        EXPECT_EQ(result.ending, support::exited(0));
    }
}

INSTANTIATE_TEST_SUITE_P(TestsInC, Boundary, ::testing::ValuesIn(knownTests()),
                         [](const auto &test) { return test.param; });

TEST(BoundaryProgram, HasTheTestsThatAreRun) {
    std::vector<std::string> names = testsInC();
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), knownTests());
}

TEST(Library, ExportsTheFourteenEntryPointsAndNothingElse) {
    support::ProgramResult result =
        support::run({"nm", {"-D", "--defined-only", "--format=posix", LIBZDBS}, {}, {}});
    ASSERT_EQ(result.ending, support::exited(0)) << result.err;
    std::istringstream lines(result.out);
    std::set<std::string> symbols;
    for (std::string line; std::getline(lines, line);) {
        symbols.insert(line.substr(0, line.find(' ')));
    }
    EXPECT_EQ(symbols, (std::set<std::string>{
                           "ZdbBaseInfo", "ZdbCreateRecordControl", "ZdbDeleteRecordControl",
                           "ZdbExecuteCcl", "ZdbExport", "ZdbGetNextHitWord",
                           "ZdbGetRecordInSearchRis", "ZdbGetSearch", "ZdbLoadStatus", "ZdbMessage",
                           "ZdbSaveStatus", "ZdbShellSymbol", "ZdbStartZarn", "ZdbStopZarn"}));
}

TEST(Library, HasAPlainNameAndNoVersions) {
    std::string section = support::run({"readelf", {"-dW", LIBZDBS}, {}, {}}).out;
    EXPECT_NE(section.find("Library soname: [libzdbs.so]"), std::string::npos) << section;
    EXPECT_EQ(section.find("(VERDEF)"), std::string::npos) << section;
}

}  // namespace
