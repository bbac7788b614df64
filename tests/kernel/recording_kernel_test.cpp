/** The recording kernel itself: every directive of its script, and its log. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>

#include "kernel/zdbs.h"
#include "tests/support/piped_program.h"
#include "tests/support/temporary_directory.h"

namespace {

using ::testing::HasSubstr;

class RecordingKernel : public ::testing::Test {
protected:
    RecordingKernel() {
        setenv("RECORDING_LOG", (directory_ / "log").c_str(), 1);
        unsetenv("RECORDING_SCRIPT");
        ZdbStartZarn("ann", "secret", 9, 4096);
    }
    ~RecordingKernel() override {
        unsetenv("RECORDING_LOG");
        unsetenv("RECORDING_SCRIPT");
    }

    /** Logs in anew with these answers; the status of the login. */
    int32_t answers(const std::string &script) const {
        setenv("RECORDING_SCRIPT", directory_.write("script", script).c_str(), 1);
        return ZdbStartZarn("ann", "secret", 9, 4096);
    }

    static bool executes(const char *command) { return (ZdbExecuteCcl(command, nullptr) & 1) != 0; }

    static std::string message(int32_t status) {
        std::array<char, 256> text{};
        int32_t length = text.size();
        ZdbMessage(status, text.data(), &length);
        return {text.data(), static_cast<size_t>(length)};
    }

    static std::string word(const std::string &symbol) {
        std::string text = symbol + std::string(13, ' ');
        int32_t length = 16;
        if ((ZdbShellSymbol(text.data(), &length) & 1) == 0) return "?";
        return text.substr(0, static_cast<size_t>(length));
    }

    static std::string mostRecentSet() {
        int32_t number = 0;
        int32_t records = 0;
        int32_t hits = 0;
        if ((ZdbGetSearch(&number, &records, &hits) & 1) == 0) return "none";
        return std::to_string(number) + " " + std::to_string(records) + " " + std::to_string(hits);
    }

    std::string log() const { return support::readFile(directory_ / "log"); }

    support::TemporaryDirectory directory_;
};

TEST_F(RecordingKernel, handsOutTheUsualWords) {
    const std::pair<const char *, const char *> words[] = {
        {"OPN", "BASE"},  {"DEL", "DELETE"}, {"SXX", "S"},    {"FIN", "FIND"},     {"ORX", "OR"},
        {"ANT", "AND.T"}, {"DEF", "DEFINE"}, {"HIL", "HITS"}, {"REN", "RENUMBER"}, {"MIN", "MIN"}};
    for (const auto &[symbol, expected] : words)
        EXPECT_EQ(word(symbol), expected);
    EXPECT_EQ(word("XYZ"), "?");
}

TEST_F(RecordingKernel, handsOutTheWordsOfTheScript) {
    answers("word FIN SUCHE\nsymbol-fails DEL\n");
    EXPECT_EQ(word("FIN"), "SUCHE");
    EXPECT_EQ(word("DEL"), "?");
    EXPECT_TRUE(executes("SUCHE N_ID=$"));
    EXPECT_FALSE(executes("FIND N_ID=$"));
}

TEST_F(RecordingKernel, padsWordsWithoutANul) {
    answers("words padded\n");
    std::string text = "FIN             !";
    int32_t length = 16;
    ZdbShellSymbol(text.data(), &length);
    EXPECT_EQ(text, "FIND            !");
    EXPECT_EQ(length, 4);
}

TEST_F(RecordingKernel, numbersSetsOneAboveTheHighestPresent) {
    EXPECT_EQ(mostRecentSet(), "none");
    EXPECT_TRUE(executes("FIND a"));
    EXPECT_TRUE(executes("FIND b"));
    EXPECT_EQ(mostRecentSet(), "2 1 1");
    EXPECT_TRUE(executes("DELETE S=1"));
    EXPECT_TRUE(executes("FIND c"));
    EXPECT_EQ(mostRecentSet(), "3 1 1");
    EXPECT_TRUE(executes("RENUMBER"));
    EXPECT_EQ(mostRecentSet(), "2 1 1");
    EXPECT_TRUE(executes("DELETE S=1, S = 2"));
    EXPECT_EQ(mostRecentSet(), "none");
}

TEST_F(RecordingKernel, baseDropsTheSetsOfTheDatabaseBefore) {
    executes("FIND a");
    executes("FIND b");
    EXPECT_TRUE(executes("BASE plays"));
    EXPECT_EQ(mostRecentSet(), "1 1 1");
}

TEST_F(RecordingKernel, refusesSetsThatAreNotThereAndCommandsItDoesNotKnow) {
    for (const char *command : {"DELETE S=1", "DELETE S=0", "DELETE", "DELETE S", "DELETE X=1",
                                "FINDING a", "find a", "", "NONSENSE"}) {
        EXPECT_FALSE(executes(command)) << command;
    }
    EXPECT_TRUE(executes("DEFINE HITS"));
}

TEST_F(RecordingKernel, countsTheSetsOfTheScript) {
    answers("set 2 42 99\n");
    executes("FIND a");
    EXPECT_EQ(mostRecentSet(), "1 1 1");
    executes("FIND b");
    EXPECT_EQ(mostRecentSet(), "2 42 99");
}

TEST_F(RecordingKernel, failsTheCommandsOfTheScript) {
    answers("command-fails FIND *x* => No x.\nnth-command-fails 3 Third.\n");
    EXPECT_TRUE(executes("FIND a"));
    EXPECT_EQ(message(ZdbExecuteCcl("FIND axb", nullptr)), "No x.");
    EXPECT_EQ(message(ZdbExecuteCcl("FIND a", nullptr)), "Third.");
    EXPECT_TRUE(executes("FIND a"));
}

TEST_F(RecordingKernel, failsTheLoginOfTheScript) {
    EXPECT_EQ(answers("login-fails 46 Go away.\n"), 46);
    EXPECT_EQ(message(46), "Go away.");
}

TEST_F(RecordingKernel, leavesMessagesUnterminatedWhenTheScriptWantsIt) {
    answers("messages unterminated\n");
    const int32_t status = ZdbExecuteCcl("NONSENSE", nullptr);
    std::string text(40, '.');
    int32_t length = 32;
    ZdbMessage(status, text.data(), &length);
    EXPECT_EQ(length, 25);
    EXPECT_EQ(text, "Unknown command: NONSENSE~~~~~~~........");
}

TEST_F(RecordingKernel, failsWhatElseTheScriptWants) {
    answers("get-search-fails 2\nsave-status-fails\nload-status-fails\nrecord-control-fails\n");
    executes("FIND a");
    EXPECT_EQ(mostRecentSet(), "1 1 1");
    EXPECT_EQ(mostRecentSet(), "none");
    EXPECT_EQ(mostRecentSet(), "1 1 1");
    EXPECT_EQ(ZdbSaveStatus() & 1, 0);
    EXPECT_EQ(ZdbLoadStatus(1) & 1, 0);
    ZdbHandle control = nullptr;
    EXPECT_EQ(ZdbCreateRecordControl(&control) & 1, 0);
    EXPECT_EQ(control, nullptr);
}

TEST_F(RecordingKernel, tellsAboutDatabasesWhatTheScriptSays) {
    answers("database texts 0\ndatabase odd 7 2\ndatabase-fails lost\n");
    int32_t result = 5;
    EXPECT_EQ(ZdbBaseInfo("plays", 1, nullptr, &result), 1);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(ZdbBaseInfo("texts", 1, nullptr, &result), 1);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ZdbBaseInfo("odd", 1, nullptr, &result), 2);
    EXPECT_EQ(result, 7);
    EXPECT_EQ(ZdbBaseInfo("lost", 1, nullptr, &result), 2);
    EXPECT_EQ(result, 7);
}

TEST_F(RecordingKernel, yieldsTheHitWordsOfARecord) {
    answers("hit 2 1 2 3 4 5 6\nhit 2 7 0 0 8 0 0\nrecord 2 4711\nrecord-fails 3\n");
    ZdbHandle control = nullptr;
    int32_t set = 1;
    int32_t record = 0;
    std::array<int32_t, 6> hit{};
    const auto next = [&] {
        return ZdbGetNextHitWord(control, &hit[0], &hit[1], &hit[2], &hit[3], &hit[4], &hit[5]);
    };
    ZdbCreateRecordControl(&control);
    EXPECT_EQ(ZdbGetRecordInSearchRis(control, &set, 3, &record, nullptr) & 1, 0);
    EXPECT_EQ(ZdbGetRecordInSearchRis(control, &set, 1, &record, nullptr), 1);
    EXPECT_EQ(record, 1);
    EXPECT_EQ(next() & 1, 0);
    EXPECT_EQ(ZdbGetRecordInSearchRis(control, &set, 2, &record, nullptr), 1);
    EXPECT_EQ(record, 4711);
    EXPECT_EQ(next(), 1);
    EXPECT_EQ(hit, (std::array<int32_t, 6>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(next(), 1);
    EXPECT_EQ(hit, (std::array<int32_t, 6>{7, 0, 0, 8, 0, 0}));
    EXPECT_EQ(next() & 1, 0);
    EXPECT_EQ(ZdbDeleteRecordControl(&control), 1);
}

TEST_F(RecordingKernel, exportsTheDocumentOfTheScript) {
    answers("export-document <a>\\x00\\\\</a>\nexport-repeat 2\n");
    FilterData data = {};
    EXPECT_EQ(ZdbExport(&data), 1);
    EXPECT_EQ(std::string(data.buffer, static_cast<size_t>(data.buffer_length)),
              std::string("<a>\0\\</a><a>\0\\</a>", 18));
    std::free(data.buffer);
}

TEST_F(RecordingKernel, exportFailsAsTheScriptWants) {
    answers("export-fails Told.\n");
    FilterData told = {};
    EXPECT_EQ(ZdbExport(&told) & 1, 0);
    EXPECT_STREQ(told.errortext, "Told.");
    answers("export-fails-silently Asked.\n");
    FilterData asked = {};
    EXPECT_EQ(message(ZdbExport(&asked)), "Asked.");
    EXPECT_STREQ(asked.errortext, "");
    answers("export-null\n");
    FilterData none = {};
    EXPECT_EQ(ZdbExport(&none), 1);
    EXPECT_EQ(none.buffer, nullptr);
}

TEST_F(RecordingKernel, logsEveryCallWithItsArgumentsAndResult) {
    ZdbExecuteCcl("FIND \"\\\xe9\n", nullptr);
    ZdbStopZarn(0);
    EXPECT_EQ(log(),
              "ZdbStartZarn(\"ann\", \"secret\", 9, 4096) = 1\n"
              "ZdbExecuteCcl(\"FIND \\\"\\\\\\xe9\\x0a\") = 1\n"
              "ZdbStopZarn(0) = 1\n");
}

TEST_F(RecordingKernel, endsTheProcessAtADirectiveThatIsNotUnderstood) {
    for (const char *line : {"nonsense", "set 1 2", "set 1 2 x", "set 1 2 3 4",
                             "command-fails FIND", "export-null 1", "hit 1 2 3"}) {
        EXPECT_DEATH(answers(std::string("# comment\n\n") + line + "\n"), "not understood: ");
    }
    setenv("RECORDING_SCRIPT", (directory_ / "none").c_str(), 1);
    EXPECT_DEATH(ZdbStartZarn("ann", "secret", 9, 4096), "cannot be read");
}

TEST_F(RecordingKernel, survivesNullArguments) {
    int32_t length = 4;
    EXPECT_EQ(ZdbMessage(1, nullptr, &length) & 1, 0);
    EXPECT_EQ(ZdbShellSymbol(nullptr, &length) & 1, 0);
    EXPECT_EQ(ZdbExecuteCcl(nullptr, nullptr) & 1, 0);
    EXPECT_EQ(ZdbExport(nullptr) & 1, 0);
    EXPECT_EQ(ZdbCreateRecordControl(nullptr) & 1, 0);
    EXPECT_EQ(ZdbDeleteRecordControl(nullptr) & 1, 0);
    EXPECT_EQ(ZdbGetRecordInSearchRis(nullptr, nullptr, 1, nullptr, nullptr) & 1, 0);
    EXPECT_EQ(ZdbGetNextHitWord(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) & 1,
              0);
    EXPECT_EQ(ZdbGetSearch(nullptr, nullptr, nullptr) & 1, 0);
    EXPECT_EQ(ZdbBaseInfo(nullptr, 1, nullptr, nullptr), 1);
    EXPECT_EQ(ZdbStartZarn(nullptr, nullptr, 0, 0), 1);
}

}  // namespace
