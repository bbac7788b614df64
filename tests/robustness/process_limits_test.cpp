// Limits that the system sets a process: whatever they cut short ends with a message and leaves
// what was there, and no program is ended by a signal.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/robustness/home_fixture.h"
#include "tests/robustness/sample_xml.h"

namespace robustness {
namespace {

using support::exited;
using support::ProgramResult;
using testing::HasSubstr;

class ProcessLimits : public HomeTest {
protected:
    ProcessLimits() {
        makeHome();
        zdbs(home_, {"load", "db", "--name", "a", "-"}, sampleXml(1, 50));
        large_ = directory_.write("large.xml", sampleXml(2, 3000));
    }

    ProgramResult runLimited(const std::string &limit, const Words &words,
                             const std::string &input = "") const {
        return support::run(support::throughShell(zdbsCommand(home_, words), "", "ulimit " + limit),
                            input);
    }

    /** It ends by itself, with a message when it fails; whether it did what it was to do. */
    bool succeeds(const std::string &limit, const Words &words) const {
        const ProgramResult result = runLimited(limit, words);
        const bool isDone = result.ending == exited(0);
        EXPECT_TRUE(isDone || result.ending == exited(1) || result.ending == exited(127))
            << words[0] << " under " << limit << ": " << toString(result.ending);
        EXPECT_EQ(result.err.empty(), isDone) << words[0] << " under " << limit;
        return isDone;
    }

    bool hasDatabase(const std::string &name) const {
        return std::filesystem::exists(home_ / "databases" / name);
    }

    bool hasUser(const std::string &name) const {
        return zdbs(home_, {"user", "list"}).find(name) != std::string::npos;
    }

    support::Command shell(const std::string &limit) const {
        return support::throughShell({VEXA_PROGRAM,
                                      {"-u", "reader", "-p", "secret", "-q"},
                                      {{"ZDBS_HOME", home_.native()}, {"LC_ALL", "C.UTF-8"}},
                                      {}},
                                     "", "ulimit " + limit);
    }

    std::string large_;
};

TEST_F(ProcessLimits, OfFilesAreAMessageAndTakeNothingAway) {
    const Content before = contentOf(home_);
    for (const char *blocks : {"-f 0", "-f 1", "-f 16", "-f 100"}) {
        const ProgramResult loaded = runLimited(blocks, {"load", "db", large_});
        EXPECT_EQ(loaded.ending, exited(1)) << blocks << ": " << toString(loaded.ending);
        EXPECT_THAT(loaded.err, HasSubstr("File too large")) << blocks;
        EXPECT_EQ(contentOf(home_), before) << blocks;
    }
    expectSound(home_, "after files that were too large");
}

TEST_F(ProcessLimits, OfDescriptorsSayWhatHappened) {
    for (int descriptors = 4; descriptors < 24; ++descriptors) {
        const std::string limit = "-n " + std::to_string(descriptors);
        if (!hasDatabase("other")) zdbs(home_, {"create", "other"});
        const bool isDropped = succeeds(limit, {"drop", "other"});
        EXPECT_NE(hasDatabase("other"), isDropped) << limit;
        if (!isDropped) zdbs(home_, {"drop", "other"});
        const bool isMade = succeeds(limit, {"create", "other"});
        EXPECT_EQ(hasDatabase("other"), isMade) << limit;
        const bool isRemoved = succeeds(limit, {"user", "remove", "reader"});
        EXPECT_NE(hasUser("reader"), isRemoved) << limit;
        if (isRemoved) zdbs(home_, {"user", "add", "reader", "--password-stdin"}, "secret\n");
        const std::string name = "d" + std::to_string(descriptors);
        const bool isLoaded = succeeds(limit, {"load", "db", "--name", name, large_});
        EXPECT_EQ(contentOf(home_).documents.contains(name), isLoaded) << limit;
    }
    expectSound(home_, "after few descriptors");
}

#if !defined(__SANITIZE_ADDRESS__)  // which wants more of both by itself

TEST_F(ProcessLimits, OfStacksAndAddressSpaceAreNoSignal) {
    std::string deep = "BASE db;\nXFIND //a";
    for (int i = 0; i < 400; ++i)
        deep += "[b";
    deep += std::string(400, ']') + ";\nXFIND //a[" + std::string(400, '(') + "b='x'" +
            std::string(400, ')') + "];\n";
    std::vector<std::string> limits = {"-s 64", "-s 80", "-s 96", "-s 128", "-s 512"};
    for (int megabytes = 30; megabytes <= 150; megabytes += 4)
        limits.push_back("-v " + std::to_string(megabytes * 1000));
    for (const std::string &limit : limits) {
        succeeds(limit, {"query", "db", "//item[contains(.,'a')]"});
        succeeds(limit, {"dump", "db", "a"});
        const ProgramResult result = support::run(shell(limit), deep);
        EXPECT_TRUE(result.ending.status) << limit << ": " << toString(result.ending);
        EXPECT_EQ((result.out + result.err).find("assword"), std::string::npos) << result.err;
    }
}

#endif

}  // namespace
}  // namespace robustness
