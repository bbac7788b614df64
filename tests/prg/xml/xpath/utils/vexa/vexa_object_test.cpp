/** The application object by itself: its session and its input. */
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "prg/xml/xpath/utils/vexa/vexa.h"
#include "tests/support/temporary_directory.h"

namespace {

class VexaObject : public ::testing::Test {
protected:
    VexaObject() {
        setenv("RECORDING_LOG", (directory_ / "kernel.log").c_str(), 1);
        unsetenv("RECORDING_SCRIPT");
        vexa_ = std::make_unique<Vexa>("ann", "secret", false, "host", nullptr);
    }
    ~VexaObject() override { unsetenv("RECORDING_LOG"); }

    std::string kernelLog() const { return support::readFile(directory_ / "kernel.log"); }

    support::TemporaryDirectory directory_;
    std::unique_ptr<Vexa> vexa_;
};

const std::string login = "ZdbStartZarn(\"ann\", \"secret\", 9, 4096) = 1\n";
const std::string logout = "ZdbStopZarn(0) = 1\n";

TEST_F(VexaObject, logsInWhenItIsMade) {
    EXPECT_TRUE(vexa_->isConnected());
    EXPECT_EQ(kernelLog(), login);
}

TEST_F(VexaObject, logsOutWhenItGoes) {
    vexa_.reset();
    EXPECT_EQ(kernelLog(), login + logout);
}

TEST_F(VexaObject, logsOutOnlyOnce) {
    vexa_->close();
    EXPECT_FALSE(vexa_->isConnected());
    vexa_->close();
    vexa_.reset();
    EXPECT_EQ(kernelLog(), login + logout);
}

TEST_F(VexaObject, readsNoStatementsWhenItIsNotConnected) {
    ASSERT_TRUE(vexa_->setUseInput(true, directory_.write("a.txt", "HELP;\n").c_str(), false));
    vexa_->close();
    CStringBuffer statement;
    EXPECT_FALSE(vexa_->readStatement(statement));
}

TEST_F(VexaObject, readsTheStatementsOfAScriptAndCountsItsLines) {
    ASSERT_TRUE(
        vexa_->setUseInput(true, directory_.write("a.txt", "a\n\nb;\nc\ngo\n").c_str(), false));
    CStringBuffer statement;
    EXPECT_EQ(vexa_->getScriptLine(), 0);
    ASSERT_TRUE(vexa_->readStatement(statement));
    EXPECT_STREQ(statement.getBufferPointer(), "a\nb");
    EXPECT_EQ(vexa_->getScriptLine(), 3);
    ASSERT_TRUE(vexa_->readStatement(statement));
    EXPECT_STREQ(statement.getBufferPointer(), "c\n");
    EXPECT_EQ(vexa_->getScriptLine(), 5);
    EXPECT_FALSE(vexa_->readStatement(statement));
}

TEST_F(VexaObject, startsTheCountAnewWithEveryInput) {
    const std::string script = directory_.write("a.txt", "a;\nb;\n");
    CStringBuffer statement;
    ASSERT_TRUE(vexa_->setUseInput(true, script.c_str(), false));
    ASSERT_TRUE(vexa_->readStatement(statement));
    ASSERT_TRUE(vexa_->readStatement(statement));
    ASSERT_TRUE(vexa_->setUseInput(true, script.c_str(), false));
    EXPECT_EQ(vexa_->getScriptLine(), 0);
    ASSERT_TRUE(vexa_->readStatement(statement));
    EXPECT_STREQ(statement.getBufferPointer(), "a");
    vexa_->resetInput();
    EXPECT_EQ(vexa_->getScriptLine(), 0);
}

TEST_F(VexaObject, readsAtMostSizeMinusTwoBytesOfAScriptLine) {
    ASSERT_TRUE(vexa_->setUseInput(true, directory_.write("a.txt", "abcdef\n").c_str(), false));
    char buffer[5] = "....";
    EXPECT_STREQ(vexa_->getLine(buffer, sizeof buffer), "abc");
    EXPECT_STREQ(vexa_->getLine(buffer, sizeof buffer), "def");
    EXPECT_STREQ(vexa_->getLine(buffer, sizeof buffer), "\n");
    EXPECT_EQ(vexa_->getLine(buffer, sizeof buffer), nullptr);
}

TEST_F(VexaObject, echoesNothingUnlessAskedToAndReadingAScript) {
    ::testing::internal::CaptureStdout();
    vexa_->setEcho(true);
    vexa_->echo("abc", -1);
    vexa_->setEcho(false);
    vexa_->setUseInput(true, nullptr, false);
    vexa_->echo("abc", -1);
    vexa_->setEcho(true);
    vexa_->echo("abc", -1);
    vexa_->echo("abc", 2);
    vexa_->echo("abc", 0);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "in[000]> abc\nin[000]> ab\nin[000]> \n");
}

// --- What BASE answers ---

TEST_F(VexaObject, answersTheStatusOfTheCommandThatOpensADatabase) {
    directory_.write("kernel.script", "command-fails BASE locked => Locked.\ndatabase none 0\n");
    setenv("RECORDING_SCRIPT", (directory_ / "kernel.script").c_str(), 1);
    Vexa vexa("ann", "secret", false, "host", nullptr);
    unsetenv("RECORDING_SCRIPT");
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(vexa.openDatabase("plays"), 1);
    EXPECT_EQ(vexa.openDatabase("locked"), 1002);
    EXPECT_EQ(vexa.openDatabase("none"), 0);
    EXPECT_EQ(vexa.openDatabase(std::string(600, 'n').c_str()), 0);
    ::testing::internal::GetCapturedStdout();
    ::testing::internal::GetCapturedStderr();
}

// --- Descriptors ---

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST_F(VexaObject, closesAScriptForAnotherForTheTerminalAndWhenItGoes) {
    const std::string script = directory_.write("a.txt", "a;\n");
    const std::ptrdiff_t before = openDescriptors();
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(vexa_->setUseInput(true, script.c_str(), true));
        EXPECT_EQ(openDescriptors(), before + 1);
    }
    vexa_->resetInput();
    EXPECT_EQ(openDescriptors(), before);
    ASSERT_TRUE(vexa_->setUseInput(true, script.c_str(), true));
    vexa_.reset();
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
