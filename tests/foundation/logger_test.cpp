// The level operations, seen by a logger that remembers what is printed.
#include "foundation/logger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

class RememberingLogger : public IZfxLogger {
public:
    void PrintLog(tagELogLevel level, const char *source, int number, const char *text) override {
        lines.push_back(std::to_string(level) + ' ' + (source != nullptr ? source : "(null)") +
                        " #" + std::to_string(number) + ' ' + text);
    }
    std::vector<std::string> lines;
};

void logAll(IZfxLogger &logger) {
    logger.FatalError("f", 1, "%s %d", "fatal", 10);
    logger.Error("e", 2, "%s %d", "error", 20);
    logger.Warning("w", 3, "%s %d", "warning", 30);
    logger.Information("i", "%s %d", "information", 40);
    logger.Debug("d", "%s %d", "debug", 50);
}

TEST(Logger, TheLevelsAreNumberedFromOffToDebug) {
    EXPECT_EQ(LL_OFF, 0);
    EXPECT_EQ(LL_FATAL, 1);
    EXPECT_EQ(LL_ERROR, 2);
    EXPECT_EQ(LL_WARNING, 3);
    EXPECT_EQ(LL_INFO, 4);
    EXPECT_EQ(LL_DEBUG, 5);
}

TEST(Logger, ANewOneIsOff) {
    RememberingLogger logger;
    EXPECT_EQ(logger.GetLogLevel(), LL_OFF);
    logAll(logger);
    EXPECT_TRUE(logger.lines.empty());
}

TEST(Logger, MessagesUpToTheLevelArePrinted) {
    const std::vector<std::string> all = {
        "1 f #1 fatal 10",       "2 e #2 error 20", "3 w #3 warning 30",
        "4 i #0 information 40", "5 d #0 debug 50",
    };
    for (int level = LL_OFF; level <= LL_DEBUG; ++level) {
        RememberingLogger logger;
        logger.SetLogLevel(static_cast<tagELogLevel>(level));
        EXPECT_EQ(logger.GetLogLevel(), level);
        logAll(logger);
        EXPECT_EQ(logger.lines, std::vector<std::string>(all.begin(), all.begin() + level));
    }
}

TEST(Logger, LongTextsAreCutTo8191Bytes) {
    for (const std::size_t length : {std::size_t{8190}, std::size_t{8191}, std::size_t{20000}}) {
        const std::string text(length, 'x');
        const std::string cut(std::min(length, std::size_t{8191}), 'x');
        RememberingLogger logger;
        logger.SetLogLevel(LL_DEBUG);
        logger.FatalError("s", 1, "%s", text.c_str());
        logger.Error("s", 1, "%s", text.c_str());
        logger.Warning("s", 1, "%s", text.c_str());
        logger.Information("s", "%s", text.c_str());
        logger.Debug("s", "%s", text.c_str());
        ASSERT_EQ(logger.lines.size(), 5U);
        for (const std::string &line : logger.lines) {
            EXPECT_EQ(line.substr(line.rfind(' ') + 1), cut);
        }
    }
}

TEST(Logger, AFormatMayBeMadeAtRunTime) {
    const std::string format = std::string("%d") + "%%";
    RememberingLogger logger;
    logger.SetLogLevel(LL_DEBUG);
    logger.Debug("s", format.c_str(), 5);
    EXPECT_EQ(logger.lines, std::vector<std::string>{"5 s #0 5%"});
}

}  // namespace
