#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "foundation/logger.h"
#include "tests/foundation/sleeping_thread.h"
#include "tests/support/temporary_directory.h"

namespace {

bool isOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) != -1;
}

class FileLogger : public testing::Test {
protected:
    // A logger without dates that writes to "log".
    void start(tagELogLevel level = LL_DEBUG) {
        logger_.SetLogLevel(level);
        logger_.ToggleDateUsage(false);
        ASSERT_TRUE(logger_.SetFile(file_.c_str(), "w"));
    }

    std::string content() const { return support::readFile(file_); }

    std::string printed(tagELogLevel level, const char *source, int number, const char *text) {
        EXPECT_TRUE(logger_.SetFile(file_.c_str(), "w"));
        logger_.PrintLog(level, source, number, text);
        return content();
    }

    support::TemporaryDirectory directory_;
    std::string file_ = directory_ / "log";
    ZfxFileLogger logger_;
};

TEST_F(FileLogger, EveryPartOfALineIsInItsPlace) {
    struct Fact {
        tagELogLevel level;
        const char *source;
        int number;
        const char *text, *line;
    };
    const Fact facts[] = {
        {LL_ERROR, "Query", 7, "x", "[[  ERROR] Query: #7 x\n"},
        {LL_FATAL, "Query", 7, "x", "[[  FATAL] Query: #7 x\n"},
        {LL_WARNING, "Query", 7, "x", "[[WARNING] Query: #7 x\n"},
        {LL_INFO, "Query", 7, "x", "[[   INFO] Query: x\n"},
        {LL_DEBUG, "Query", 7, "x", "[[  DEBUG] Query: x\n"},
        {LL_OFF, "Query", 7, "x", "[[       ] Query: #7 x\n"},
        {static_cast<tagELogLevel>(6), "Query", 7, "x", "[[       ] Query: x\n"},
        {LL_WARNING, "Query", 0, "x", "[[WARNING] Query: x\n"},
        {LL_ERROR, "Query", -3, "x", "[[  ERROR] Query: #-3 x\n"},
        {LL_ERROR, "", 7, "x", "[[  ERROR] #7 x\n"},
        {LL_ERROR, nullptr, 7, "x", "[[  ERROR] #7 x\n"},
        {LL_ERROR, nullptr, 0, "x", "[[  ERROR] x\n"},
        {LL_ERROR, nullptr, 0, "", "[[  ERROR] \n"},
        {LL_ERROR, nullptr, 0, nullptr, "[[  ERROR] \n"},
        {LL_ERROR, "Query", 7, "x\n", "[[  ERROR] Query: #7 x\n"},
        {LL_ERROR, "Query", 7, "x\n\n", "[[  ERROR] Query: #7 x\n\n"},
        {LL_ERROR, "Query", 7, "x\ny", "[[  ERROR] Query: #7 x\ny"},
        {LL_ERROR, "100%d", 7, "50%s", "[[  ERROR] 100%d: #7 50%s\n"},
    };
    start();
    for (const Fact &fact : facts) {
        EXPECT_EQ(printed(fact.level, fact.source, fact.number, fact.text), fact.line);
    }
}

TEST_F(FileLogger, AnErrorIsWrittenWithItsDate) {
    logger_.SetLogLevel(LL_ERROR);
    ASSERT_TRUE(logger_.SetFile(file_.c_str(), "w"));
    logger_.Error("Query", 7, "%s", "x");
    EXPECT_THAT(content(),
                testing::MatchesRegex("\\[[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 123][0-9] "
                                      "[0-2][0-9]:[0-5][0-9]:[0-6][0-9]   ERROR\\] Query: #7 x\n"));
}

TEST_F(FileLogger, TheDateIsTheLocalTimeWithoutTheYear) {
    logger_.SetLogLevel(LL_ERROR);
    ASSERT_TRUE(logger_.SetFile(file_.c_str(), "w"));
    std::vector<std::string> possible;
    const std::time_t before = std::time(nullptr);
    logger_.Error("", 0, "x");
    for (std::time_t time = before; time <= std::time(nullptr); ++time) {
        possible.push_back(std::string(std::ctime(&time)).substr(0, 19));
    }
    EXPECT_THAT(possible, testing::Contains(content().substr(1, 19)));
}

TEST_F(FileLogger, WithoutDatesALineBeginsWithTwoBrackets) {
    logger_.SetLogLevel(LL_INFO);
    ASSERT_TRUE(logger_.SetFile(file_.c_str(), "w"));
    logger_.ToggleDateUsage(false);
    logger_.Information("main", "started");
    EXPECT_EQ(content(), "[[   INFO] main: started\n");
    logger_.ToggleDateUsage(true);
    logger_.Information("main", "again");
    EXPECT_THAT(content(), testing::MatchesRegex("\\[\\[   INFO\\] main: started\n"
                                                 "\\[[A-Z][^]]+   INFO\\] main: again\n"));
}

TEST_F(FileLogger, OnlyMessagesUpToTheLevelAreWritten) {
    start(LL_WARNING);
    logger_.Warning("w", 0, "%d", 1);
    logger_.Information("i", "%d", 2);
    logger_.FatalError("f", 3, "%d", 3);
    EXPECT_EQ(content(), "[[WARNING] w: 1\n[[  FATAL] f: #3 3\n");
}

TEST_F(FileLogger, EveryLineIsFlushed) {
    start();
    logger_.Debug("d", "one");
    EXPECT_EQ(content(), "[[  DEBUG] d: one\n");
    logger_.Debug("d", "two");
    EXPECT_EQ(content(), "[[  DEBUG] d: one\n[[  DEBUG] d: two\n");
}

TEST_F(FileLogger, AnOverlongMessageIsCutAndStillEndsItsLine) {
    start();
    logger_.Debug("d", "%s\n", std::string(9000, 'x').c_str());
    EXPECT_EQ(content(), "[[  DEBUG] d: " + std::string(8191, 'x') + "\n");
}

TEST_F(FileLogger, WithoutAStreamMessagesAreDropped) {
    logger_.SetLogLevel(LL_DEBUG);
    logger_.Error("e", 1, "nowhere");
    logger_.SetFile(nullptr);
    logger_.Error("e", 1, "nowhere");
    EXPECT_EQ(content(), "");
}

TEST_F(FileLogger, WhileTheLevelIsOffNoFileIsOpened) {
    EXPECT_FALSE(logger_.SetFile(file_.c_str(), "w"));
    char dir[] = "/nonexistent";
    EXPECT_FALSE(logger_.CompleteFile(dir, "vexa", "log", "w", false, false));
    EXPECT_FALSE(std::filesystem::exists(file_));
}

TEST_F(FileLogger, WhileTheLevelIsOffTheCurrentStreamStays) {
    start();
    logger_.SetLogLevel(LL_OFF);
    EXPECT_FALSE(logger_.SetFile((directory_ / "other").c_str(), "w"));
    logger_.SetLogLevel(LL_DEBUG);
    logger_.Debug("d", "x");
    EXPECT_EQ(content(), "[[  DEBUG] d: x\n");
}

TEST_F(FileLogger, AStreamMayBeSetWhileTheLevelIsOff) {
    logger_.SetFile(std::fopen(file_.c_str(), "w"));
    logger_.SetLogLevel(LL_INFO);
    logger_.ToggleDateUsage(false);
    logger_.Information("i", "x");
    EXPECT_EQ(content(), "[[   INFO] i: x\n");
}

TEST_F(FileLogger, TheModeDecidesWhetherAFileIsEmptied) {
    start();
    logger_.Debug("d", "one");
    ASSERT_TRUE(logger_.SetFile(file_.c_str(), "a"));
    logger_.Debug("d", "two");
    EXPECT_EQ(content(), "[[  DEBUG] d: one\n[[  DEBUG] d: two\n");
    ASSERT_TRUE(logger_.SetFile(file_.c_str(), "w"));
    EXPECT_EQ(content(), "");
}

TEST_F(FileLogger, AFailedOpenLeavesTheLoggerWithoutAStream) {
    start();
    logger_.Debug("d", "one");
    EXPECT_FALSE(logger_.SetFile((directory_ / "no/such/directory").c_str(), "w"));
    logger_.Debug("d", "two");
    EXPECT_EQ(content(), "[[  DEBUG] d: one\n");
    EXPECT_FALSE(logger_.SetFile(nullptr, "w"));
}

TEST_F(FileLogger, SettingAStreamClosesTheOneBefore) {
    std::FILE *first = std::fopen(file_.c_str(), "w");
    const int descriptor = fileno(first);
    logger_.SetFile(first);
    logger_.SetFile(first);  // the same one stays open
    EXPECT_TRUE(isOpen(descriptor));
    logger_.SetFile(nullptr);
    EXPECT_FALSE(isOpen(descriptor));
}

TEST_F(FileLogger, TheLoggerClosesItsStreamWhenItGoes) {
    std::FILE *stream = std::fopen(file_.c_str(), "w");
    const int descriptor = fileno(stream);
    {
        ZfxFileLogger logger;
        logger.SetFile(stream);
    }
    EXPECT_FALSE(isOpen(descriptor));
}

TEST_F(FileLogger, ALoggerThatGoesLeavesStandardStreamsOpen) {
    for (std::FILE *stream : {stdout, stderr}) {
        ZfxFileLogger logger;
        logger.SetFile(stream);
    }
    EXPECT_TRUE(isOpen(STDOUT_FILENO));
    EXPECT_TRUE(isOpen(STDERR_FILENO));
}

TEST_F(FileLogger, SettingAStreamClosesAStandardStreamAsAnyOther) {
    for (std::FILE *stream : {stdout, stderr}) {
        const int descriptor = fileno(stream);
        const auto replaceStream = [&] {
            logger_.SetFile(stream);
            logger_.SetFile(nullptr);
            std::_Exit(isOpen(descriptor) ? 1 : 0);
        };
        EXPECT_EXIT(replaceStream(), testing::ExitedWithCode(0), "");
    }
}

TEST_F(FileLogger, CompleteFileBuildsTheName) {
    logger_.SetLogLevel(LL_DEBUG);
    std::string dir = directory_.path().string() + "/";
    EXPECT_TRUE(logger_.CompleteFile(dir.data(), "vexa", ".out", "w", false, false));
    EXPECT_TRUE(std::filesystem::exists(directory_ / "vexa.out"));
    EXPECT_STREQ(dir.c_str(), directory_.path().c_str());
    EXPECT_TRUE(logger_.CompleteFile(dir.data(), "vexa", nullptr, "w", true, false));
    EXPECT_TRUE(
        std::filesystem::exists(directory_ / ("vexa_" + std::to_string(getpid()) + ".log")));
    EXPECT_TRUE(logger_.CompleteFile(dir.data(), "vexa", nullptr, "w", false, true));
    EXPECT_TRUE(std::filesystem::exists(
        directory_ / ("vexa_" + std::to_string(static_cast<unsigned>(pthread_self())) + ".log")));
    logger_.Debug("d", "x");
}

TEST_F(FileLogger, CompleteFileReportsAFailedOpen) {
    logger_.SetLogLevel(LL_DEBUG);
    char dir[] = "/nonexistent/";
    EXPECT_FALSE(logger_.CompleteFile(dir, "vexa", "log", "w", false, false));
}

TEST_F(FileLogger, LinesOfSeveralThreadsDoNotMix) {
    start();
    std::vector<std::string> expected;
    std::vector<std::thread> threads;
    for (int id = 0; id < 4; ++id) {
        for (int n = 0; n < 200; ++n) {
            expected.push_back("[[  DEBUG] t: " + std::to_string(id) + ' ' + std::to_string(n));
        }
        threads.emplace_back([this, id] {
            for (int n = 0; n < 200; ++n)
                logger_.Debug("t", "%d %d", id, n);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    std::vector<std::string> lines;
    std::istringstream text(content());
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    EXPECT_THAT(lines, testing::UnorderedElementsAreArray(expected));
}

TEST_F(FileLogger, LockHoldsUpOtherThreads) {
    start();
    logger_.Lock();
    std::atomic<long> id{0};
    std::thread other([&] {
        id = kernelThreadId();
        logger_.Debug("d", "x");
    });
    awaitSleep(id);
    EXPECT_EQ(content(), "");
    logger_.Unlock();
    other.join();
    EXPECT_EQ(content(), "[[  DEBUG] d: x\n");
}

}  // namespace
