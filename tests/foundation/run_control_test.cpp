#include "foundation/run_control.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "tests/support/temporary_directory.h"

namespace {

constexpr const char *variable = "VEXA_TEST_SETTING";

class RunControl : public testing::Test {
protected:
    void SetUp() override {
        unsetenv(variable);
        ASSERT_EQ(ZfxCreateTLS(&key_, tlsRCSDealloc), 0);
        ZfxOpenTlsRCS(key_);
    }

    void TearDown() override {
        ZfxCloseTlsRCS(key_);
        ZfxDeleteTLS(key_);
        unsetenv(variable);
    }

    // Reads a setting from the two files, the first one before the second.
    std::optional<std::string> read(const char *name) {
        const std::string first = directory_ / "zdbs.conf";
        const std::string second = directory_ / "rcs";
        const std::array<const char *, 2> paths = {first.c_str(), second.c_str()};
        char *value = ZfxReadTlsRCSFrom(key_, name, paths);
        if (value == nullptr) return std::nullopt;
        std::string text = value;
        ZfxFreeRCS(value);
        return text;
    }

    std::optional<std::string> readInNewThread(const char *name) {
        std::optional<std::string> value;
        std::thread([&] { value = read(name); }).join();
        return value;
    }

    void writeSettings(std::string_view content) { directory_.write("zdbs.conf", content); }

    support::TemporaryDirectory directory_;
    ZfxTLSKey key_{};
};

TEST_F(RunControl, ALineGivesItsNameAValue) {
    struct Fact {
        const char *content, *name;
        std::optional<std::string> value;
    };
    const Fact facts[] = {
        {"ZDBS_LOG=/data/logs # main\n", "ZDBS_LOG", "/data/logs"},
        {"A=b", "A", "b"},
        {"A=b\n", "A", "b"},
        {"A=b\r\n", "A", "b"},
        {"A=b \t\n", "A", "b"},
        {"A= b\n", "A", " b"},
        {"A =b\n", "A", std::nullopt},
        {"A =b\n", "A ", "b"},
        {" A=b\n", "A", std::nullopt},
        {" A=b\n", " A", "b"},
        {"a=b\n", "A", "b"},
        {"Abc=b\n", "aBC", "b"},
        {"A=\n", "A", ""},
        {"A\n", "A", std::nullopt},
        {"A=b=c\n", "A", "b=c"},
        {"=b\n", "", "b"},
        {"A=1\nA=2\n", "A", "1"},
        {"B=1\n\nA=2\n", "A", "2"},
        {"AB=1\nA=2\n", "A", "2"},
        {"A=b#c\n", "A", "b"},
        {"A=b # c # d\n", "A", "b"},
        {"A=b\t #c\n", "A", "b"},
        {"A=#c\n", "A", ""},
        {"A=  # c\n", "A", ""},
        {"#A=b\n", "A", std::nullopt},
        {"A#=b\n", "A#", "b"},
        {"", "A", std::nullopt},
        {"\n", "A", std::nullopt},
    };
    for (const Fact &fact : facts) {
        writeSettings(fact.content);
        ZfxCloseTlsRCS(key_);
        EXPECT_EQ(read(fact.name), fact.value) << fact.content << ' ' << fact.name;
    }
}

TEST_F(RunControl, TheEnvironmentWinsOverTheFile) {
    writeSettings(std::string(variable) + "=file\n");
    EXPECT_EQ(read(variable), "file");
    setenv(variable, "environment # with it all ", 1);
    EXPECT_EQ(read(variable), "environment # with it all ");
    setenv(variable, "", 1);
    EXPECT_EQ(read(variable), "");
}

TEST_F(RunControl, NamesOfTheEnvironmentAreCaseSensitive) {
    writeSettings("vexa_test_setting=file\n");
    setenv(variable, "environment", 1);
    EXPECT_EQ(read("vexa_test_setting"), "file");
}

TEST_F(RunControl, WithoutAFileOnlyTheEnvironmentCounts) {
    EXPECT_EQ(read(variable), std::nullopt);
    setenv(variable, "environment", 1);
    EXPECT_EQ(read(variable), "environment");
}

TEST_F(RunControl, TheSecondFileIsReadOnlyWithoutTheFirst) {
    directory_.write("rcs", "A=second\nB=second\n");
    EXPECT_EQ(read("A"), "second");
    ZfxCloseTlsRCS(key_);
    writeSettings("A=first\n");
    EXPECT_EQ(read("A"), "first");
    EXPECT_EQ(read("B"), std::nullopt);
}

TEST_F(RunControl, AFileThatAppearsLaterIsFound) {
    EXPECT_EQ(read("A"), std::nullopt);
    writeSettings("A=1\n");
    EXPECT_EQ(read("A"), "1");
}

TEST_F(RunControl, TheFileIsReadOnceAThread) {
    writeSettings("A=1\n");
    EXPECT_EQ(read("A"), "1");
    writeSettings("A=2\n");
    EXPECT_EQ(read("A"), "1");
    EXPECT_EQ(readInNewThread("A"), "2");
    EXPECT_EQ(read("A"), "1");
    std::filesystem::remove(directory_ / "zdbs.conf");
    EXPECT_EQ(read("A"), "1");
    EXPECT_EQ(readInNewThread("A"), std::nullopt);
}

TEST_F(RunControl, AnEmptyFileCountsAsRead) {
    writeSettings("");
    EXPECT_EQ(read("A"), std::nullopt);
    writeSettings("A=1\n");
    EXPECT_EQ(read("A"), std::nullopt);
}

TEST_F(RunControl, ClosingReleasesTheLinesOfTheCallingThreadOnly) {
    writeSettings("A=1\n");
    EXPECT_EQ(read("A"), "1");
    std::thread([this] {
        EXPECT_EQ(read("A"), "1");
        ZfxCloseTlsRCS(key_);
        EXPECT_EQ(ZfxGetTLSValue(key_), nullptr);
    }).join();
    writeSettings("A=2\n");
    EXPECT_EQ(read("A"), "1");
    ZfxCloseTlsRCS(key_);
    ZfxCloseTlsRCS(key_);
    EXPECT_EQ(read("A"), "2");
}

TEST_F(RunControl, LinesAreKeptInFileOrderEmptyOnesToo) {
    writeSettings("first=1  \n\nsecond\n");
    read("first");
    const auto *entry = static_cast<const ZfxRCSEntry *>(ZfxGetTLSValue(key_));
    for (const char *line : {"first=1", "", "second"}) {
        ASSERT_NE(entry, nullptr);
        EXPECT_STREQ(entry->line, line);
        entry = entry->next;
    }
    EXPECT_EQ(entry, nullptr);
}

TEST_F(RunControl, ALineOfMoreThan510BytesGoesOnAsALineOfItsOwn) {
    const std::string exact(508, 'x');
    writeSettings("A=" + exact + "B=1\nC=2\n");
    EXPECT_EQ(read("A"), exact);
    EXPECT_EQ(read("B"), "1");
    EXPECT_EQ(read("C"), "2");
}

TEST_F(RunControl, WithoutANameThereIsNoValue) {
    writeSettings("=b\n");
    EXPECT_EQ(read(nullptr), std::nullopt);
}

TEST_F(RunControl, DeallocReleasesAListAndTakesNull) {
    writeSettings("A=1\nB=2\n");
    EXPECT_EQ(read("B"), "2");
    tlsRCSDealloc(ZfxGetTLSValue(key_));
    ZfxOpenTlsRCS(key_);
    tlsRCSDealloc(nullptr);
    EXPECT_EQ(read("B"), "2");
}

TEST_F(RunControl, ADeletedKeyKeepsNoLinesAndTheEnvironmentStillCounts) {
    writeSettings("A=1\n");
    setenv(variable, "environment", 1);
    ZfxTLSKey deleted{};
    ASSERT_EQ(ZfxCreateTLS(&deleted, tlsRCSDealloc), 0);
    ZfxDeleteTLS(deleted);
    std::swap(key_, deleted);
    EXPECT_EQ(read("A"), std::nullopt);
    EXPECT_EQ(read(variable), "environment");
    std::swap(key_, deleted);
}

TEST_F(RunControl, FreeingNoValueDoesNothing) {
    ZfxFreeRCS(nullptr);
}

TEST_F(RunControl, TheProcessWideReaderAnswersFromTheEnvironmentAndCanBeClosedAndUsedAgain) {
    for (int round = 0; round < 2; ++round) {
        setenv(variable, "environment", 1);
        char *value = ZfxReadRCS(variable, 100);
        EXPECT_STREQ(value, "environment");
        ZfxFreeRCS(value);
        unsetenv(variable);
        EXPECT_EQ(ZfxReadRCS(variable), nullptr);
        ZfxCloseRCS();
        ZfxCloseRCS();
    }
}

TEST_F(RunControl, TheReaderOfAKeyAnswersFromTheEnvironment) {
    setenv(variable, "environment", 1);
    char *value = ZfxReadTlsRCS(key_, variable, 0);
    EXPECT_STREQ(value, "environment");
    ZfxFreeRCS(value);
}

}  // namespace
