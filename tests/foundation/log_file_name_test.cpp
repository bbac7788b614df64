#include "foundation/log_file_name.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

#include "foundation/memory.h"
#include "tests/foundation/opened_files.h"
#include "tests/support/temporary_directory.h"

namespace {

std::string pid() {
    return std::to_string(getpid());
}

std::string threadNumber() {
    return std::to_string(static_cast<unsigned>(pthread_self()));
}

class LogFileName : public testing::Test {
protected:
    void SetUp() override { unsetenv("ZDBS_LOG"); }
    void TearDown() override { unsetenv("ZDBS_LOG"); }

    // The name for a directory given as text.
    static std::string name(std::string dir, const char *base, const char *ext, int withPid = 0,
                            int withThread = 0) {
        char buffer[zfxLogFileNameSize];
        EXPECT_EQ(getLogFileName(buffer, dir.data(), base, ext, withPid, withThread), buffer);
        return buffer;
    }

private:
    // The settings files of the machine do not count.
    support::TemporaryDirectory root_;
    OpenedFiles files_{root_.path().string()};
};

TEST_F(LogFileName, DirectoryBaseAndExtensionMakeTheName) {
    struct Fact {
        const char *dir, *base, *ext, *name;
    };
    const Fact facts[] = {
        {"/var/log/", "vexa", ".out", "/var/log/vexa.out"},
        {"/var/log", "vexa", "out", "/var/log/vexa.out"},
        {"/var/log//", "vexa", "out", "/var/log//vexa.out"},
        {"logs\\", "vexa", "out", "logs/vexa.out"},
        {"/", "vexa", "out", "vexa.out"},
        {"\\", "vexa", "out", "vexa.out"},
        {".", "vexa", nullptr, "./vexa.log"},
        {"d", "", nullptr, "d/.log"},
        {"d", nullptr, nullptr, "d/.log"},
        {"d", "vexa", "", "d/vexa."},
        {"d", "vexa", ".", "d/vexa."},
        {"d", "vexa", "..x", "d/vexa..x"},
    };
    for (const Fact &fact : facts)
        EXPECT_EQ(name(fact.dir, fact.base, fact.ext), fact.name);
}

TEST_F(LogFileName, TheSeparatorIsRemovedFromTheCallersText) {
    char buffer[zfxLogFileNameSize];
    char dir[] = "/var/log/";
    getLogFileName(buffer, dir, "vexa", "out", 0, 0);
    EXPECT_STREQ(dir, "/var/log");
}

TEST_F(LogFileName, WithoutADirectoryOrASettingItIsInTmp) {
    char buffer[zfxLogFileNameSize];
    EXPECT_STREQ(getLogFileName(buffer, nullptr, "vexa", "out", 0, 0), "/tmp/vexa.out");
    EXPECT_EQ(name("", "vexa", "out"), "/tmp/vexa.out");
    EXPECT_EQ(name("", "", nullptr, 1), "/tmp/_" + pid() + ".log");
}

TEST_F(LogFileName, ADirectoryOfTheEnvironmentIsUsedWhenNoneIsGiven) {
    setenv("ZDBS_LOG", "/data/logs/", 1);
    char buffer[zfxLogFileNameSize];
    EXPECT_STREQ(getLogFileName(buffer, nullptr, "vexa", "out", 0, 0), "/data/logs/vexa.out");
    EXPECT_EQ(name("", "vexa", "out"), "/data/logs/vexa.out");
    EXPECT_EQ(name("here", "vexa", "out"), "here/vexa.out");
    EXPECT_STREQ(std::getenv("ZDBS_LOG"), "/data/logs/");
}

TEST_F(LogFileName, AnEmptySettingCountsAsMissing) {
    setenv("ZDBS_LOG", "", 1);
    EXPECT_EQ(name("", "vexa", "out"), "/tmp/vexa.out");
    EXPECT_EQ(name("", "", nullptr, 1), "/tmp/_" + pid() + ".log");
    EXPECT_EQ(ZfxDefaultLogDirectory(nullptr), "/tmp");
    EXPECT_EQ(ZfxDefaultLogDirectory(""), "/tmp");
    EXPECT_EQ(ZfxDefaultLogDirectory("/data"), "/data");
}

TEST_F(LogFileName, TheSuffixesStandInTheirOrder) {
    EXPECT_EQ(name("/d", "vexa", "out", 1, 0), "/d/vexa_" + pid() + ".out");
    EXPECT_EQ(name("/d", "vexa", "out", 0, 1), "/d/vexa_" + threadNumber() + ".out");
    EXPECT_EQ(name("/d", "vexa", "out", 7, -1), "/d/vexa_" + pid() + "_" + threadNumber() + ".out");
}

TEST_F(LogFileName, TheThreadSuffixIsThatOfTheCallingThread) {
    std::string theirs;
    std::string expected;
    std::thread([&] {
        theirs = name("/d", "vexa", "out", 0, 1);
        expected = "/d/vexa_" + threadNumber() + ".out";
    }).join();
    EXPECT_EQ(theirs, expected);
    EXPECT_NE(theirs, name("/d", "vexa", "out", 0, 1));
}

TEST_F(LogFileName, TheTimeSuffixHasSeventeenDigits) {
    char buffer[zfxLogFileNameSize];
    char dir[] = "/d";
    EXPECT_THAT(getLogFileNameEx(buffer, dir, "vexa", "out", 0, 0, 1),
                testing::MatchesRegex("/d/vexa_2[0-9]{3}[01][0-9][0-3][0-9][0-2][0-9][0-5][0-9]"
                                      "[0-6][0-9][0-9]{3}\\.out"));
    EXPECT_THAT(
        getLogFileNameEx(buffer, dir, "vexa", "out", 1, 1, 1),
        testing::MatchesRegex("/d/vexa_" + pid() + "_" + threadNumber() + "_[0-9]{17}\\.out"));
}

TEST_F(LogFileName, TheTimeIsTheLocalTimeOfTheCall) {
    setenv("TZ", "XYZ-5:30", 1);
    tzset();
    // Not std::time(), whose clock may be a few milliseconds behind the one of file names.
    const auto stamp = [] {
        const std::time_t time =
            std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
        char text[32];
        std::strftime(text, sizeof text, "%Y%m%d%H%M%S", std::localtime(&time));
        return std::string(text);
    };
    char buffer[zfxLogFileNameSize];
    char dir[] = "/d";
    const std::string before = stamp();
    getLogFileNameEx(buffer, dir, "", "out", 0, 0, 1);
    const std::string after = stamp();
    const std::string used = std::string(buffer).substr(4, 14);
    EXPECT_LE(before, used);
    EXPECT_LE(used, after);
    unsetenv("TZ");
    tzset();
}

TEST_F(LogFileName, WithoutABufferTheNameIsInABlockOfItsOwn) {
    char dir[] = "/d";
    char *own = getLogFileNameEx(nullptr, dir, "vexa", "out", 0, 0, 0);
    EXPECT_STREQ(own, "/d/vexa.out");
    ZfxMemFree(own);
    own = getLogFileName(nullptr, dir, "vexa", nullptr, 0, 0);
    EXPECT_STREQ(own, "/d/vexa.log");
    ZfxMemFree(own);
}

TEST_F(LogFileName, ATooLongNameIsCut) {
    const std::string base(3000, 'x');
    EXPECT_EQ(name("/d", base.c_str(), "out"), "/d/" + base.substr(0, 1020));
}

}  // namespace
