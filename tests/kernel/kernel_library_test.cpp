/** What the linker made: names, exported symbols, and how the shell finds its kernel. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "tests/support/piped_program.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const std::set<std::string> entryPoints = {"ZdbBaseInfo",
                                           "ZdbCreateRecordControl",
                                           "ZdbDeleteRecordControl",
                                           "ZdbExecuteCcl",
                                           "ZdbExport",
                                           "ZdbGetNextHitWord",
                                           "ZdbGetRecordInSearchRis",
                                           "ZdbGetSearch",
                                           "ZdbLoadStatus",
                                           "ZdbMessage",
                                           "ZdbSaveStatus",
                                           "ZdbShellSymbol",
                                           "ZdbStartZarn",
                                           "ZdbStopZarn"};

std::string outputOf(const std::string &program, const std::vector<std::string> &arguments) {
    const support::ProgramResult result = support::run({program, arguments, {}, {}});
    EXPECT_EQ(result.ending, support::exited(0)) << result.err;
    return result.out;
}

std::string dynamicSection(const std::string &file) {
    return outputOf("readelf", {"-dW", file});
}

std::set<std::string> exportedSymbols(const std::string &file) {
    std::istringstream lines(outputOf("nm", {"-D", "--defined-only", "--format=posix", file}));
    std::set<std::string> names;
    for (std::string line; std::getline(lines, line);)
        names.insert(line.substr(0, line.find(' ')));
    return names;
}

TEST(KernelLibrary, exportsTheFourteenEntryPointsAndNothingElse) {
    EXPECT_EQ(exportedSymbols(RECORDING_KERNEL), entryPoints);
}

TEST(KernelLibrary, hasAPlainName) {
    EXPECT_THAT(dynamicSection(RECORDING_KERNEL), HasSubstr("Library soname: [libzdbs.so]"));
}

TEST(KernelLibrary, isAskedForByItsPlainName) {
    EXPECT_THAT(dynamicSection(VEXA_PROGRAM), HasSubstr("Shared library: [libzdbs.so]"));
}

TEST(KernelLibrary, isLookedForInTheFoldersOfTheEnvironmentBeforeTheShellsOwn) {
    const std::string section = dynamicSection(VEXA_PROGRAM);
    EXPECT_THAT(section, HasSubstr("(RUNPATH)"));
    EXPECT_THAT(section, Not(HasSubstr("(RPATH)")));
}

TEST(KernelLibrary, canBeSwappedUnderTheSameShell) {
    const support::ProgramResult result =
        support::run({"ldd", {VEXA_PROGRAM}, {{"LD_LIBRARY_PATH", RECORDING_KERNEL_DIR}}, {}});
    EXPECT_THAT(result.out, HasSubstr("libzdbs.so => " RECORDING_KERNEL));
}

}  // namespace
