// Where the settings are read from: the two files, below a root of the test's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "foundation/log_file_name.h"
#include "foundation/run_control.h"
#include "tests/foundation/opened_files.h"
#include "tests/support/temporary_directory.h"

namespace {

using ::testing::ElementsAre;

constexpr const char *first = "/usr/local/zarn/sys/conf/zdbs.conf";
constexpr const char *second = "/.ZARNrcs";

class SettingsFiles : public testing::Test {
protected:
    void SetUp() override {
        unsetenv("ZDBS_LOG");
        ZfxCloseRCS();
    }
    void TearDown() override { ZfxCloseRCS(); }

    void write(const std::string &path, std::string_view content) {
        std::filesystem::create_directories((root_.path() / path.substr(1)).parent_path());
        root_.write(path.substr(1), content);
        ZfxCloseRCS();
        files_.forget();
    }

    static std::optional<std::string> read(const char *name) {
        char *value = ZfxReadRCS(name);
        if (value == nullptr) return std::nullopt;
        const std::string text = value;
        ZfxFreeRCS(value);
        return text;
    }

    static std::string nameWithoutDirectory() {
        char name[zfxLogFileNameSize];
        return getLogFileName(name, nullptr, "vexa", "out", 0, 0);
    }

    support::TemporaryDirectory root_;
    OpenedFiles files_{root_.path().string()};
};

TEST_F(SettingsFiles, WithoutTheFirstTheSecondIsLookedFor) {
    EXPECT_EQ(read("A"), std::nullopt);
    EXPECT_THAT(files_.paths(), ElementsAre(first, second));
    write(second, "A=second\n");
    EXPECT_EQ(read("A"), "second");
    EXPECT_THAT(files_.paths(), ElementsAre(first, second));
}

TEST_F(SettingsFiles, WithTheFirstTheSecondIsNotOpened) {
    write(second, "A=second\nB=second\n");
    write(first, "A=first\n");
    EXPECT_EQ(read("A"), "first");
    EXPECT_EQ(read("B"), std::nullopt);
    EXPECT_THAT(files_.paths(), ElementsAre(first));
}

TEST_F(SettingsFiles, ThePageNamesBothInTheirOrder) {
    const std::string page = support::readFile(SETTINGS_PAGE);
    const std::size_t place = page.find(std::string(".I ") + first + "\n");
    ASSERT_NE(place, std::string::npos);
    EXPECT_NE(page.find(std::string(".I ") + second + "\n", place), std::string::npos);
}

TEST_F(SettingsFiles, TheReaderOfAKeyReadsTheSameFiles) {
    ZfxTLSKey key{};
    ASSERT_EQ(ZfxCreateTLS(&key, tlsRCSDealloc), 0);
    ZfxOpenTlsRCS(key);
    EXPECT_EQ(ZfxReadTlsRCS(key, "A"), nullptr);
    EXPECT_THAT(files_.paths(), ElementsAre(first, second));
    ZfxCloseTlsRCS(key);
    ZfxDeleteTLS(key);
}

TEST_F(SettingsFiles, ADirectoryOfTheSettingsIsUsedWhenNoneIsGiven) {
    write(second, "zdbs_log=/second\n");
    EXPECT_EQ(nameWithoutDirectory(), "/second/vexa.out");
    write(first, "ZDBS_LOG=/data/logs/ # main\n");
    EXPECT_EQ(nameWithoutDirectory(), "/data/logs/vexa.out");
    write(first, "ZDBS_LOG=\n");
    EXPECT_EQ(nameWithoutDirectory(), "/tmp/vexa.out");
    setenv("ZDBS_LOG", "/environment", 1);
    EXPECT_EQ(nameWithoutDirectory(), "/environment/vexa.out");
    unsetenv("ZDBS_LOG");
}

}  // namespace
