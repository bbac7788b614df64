// Changes of files that fail, one after the other, with whatever the system can say, or that come
// half as far: the command has happened, or it says that it has not, or what of it has.
// VEXA_FAILURES says how many of all commands together, VEXA_SEED which ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>
#include <random>

#include "tests/robustness/commands.h"
#include "tests/robustness/interrupt.h"

namespace robustness {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr long fewFailures = 12;
#else
constexpr long fewFailures = 168;
#endif

/** 0: it comes half as far. */
constexpr int errors[] = {EIO, ENOSPC, EDQUOT, EMFILE, EACCES, EINTR, 0};

class FailingFiles : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        support::Command counted = command(copiedHome());
        counted.environment[countFileVariable] = directory_ / "count";
        support::run(counted, GetParam().input);
        changes_ = std::atol(support::readFile(directory_ / "count").c_str());
    }

    static long failuresOfEach() {
        const auto commands = static_cast<long>(writingCommands().size());
        return (numberIn("VEXA_FAILURES", fewFailures) + commands - 1) / commands;
    }

    /** Whether it failed. */
    bool failsAt(long change, int error) {
        const fs::path home = copiedHome();
        support::Command failing = command(home);
        failing.environment[killAtVariable] = std::to_string(change);
        failing.environment[killWhenVariable] = error != 0 ? "fails" : "short";
        failing.environment[errorVariable] = std::to_string(error);
        const auto result = support::run(failing, GetParam().input);
        const bool isDone = result.ending == support::exited(0);
        const std::string place = "change " + std::to_string(change) + " with error " +
                                  std::to_string(error) + ": " + result.err;
        EXPECT_TRUE(isDone || result.ending == support::exited(1))
            << toString(result.ending) << " " << place;
        EXPECT_TRUE(isDone || !result.err.empty()) << place;
        const Content left = contentOf(home);
        const bool isSaid = result.err.find("may not outlast") != std::string::npos ||
                            result.err.find("The documents are loaded") != std::string::npos;
        EXPECT_TRUE(left == (isDone || isSaid ? new_ : old_))
            << left.list << left.segments << left.home << place;
        return !isDone;
    }

    long changes_ = 0;
};

TEST_P(FailingFiles, AreAMessageOrOfNoConsequence) {
    std::mt19937 random(static_cast<unsigned>(numberIn("VEXA_SEED", 1)));
    ASSERT_GT(changes_, 1);
    long failed = 0;
    for (long i = 0; i < failuresOfEach() && !HasFailure(); ++i) {
        const long change = 1 + static_cast<long>(random() % static_cast<unsigned long>(changes_));
        failed += failsAt(change, errors[static_cast<std::size_t>(i) % std::size(errors)]);
    }
    // Some changes are of no consequence: of a few that fail, none may be told.
    if (failuresOfEach() > 4) {
        EXPECT_GT(failed, 0);
    }
    std::cout << changes_ << " changes of files, " << failuresOfEach() << " failed, " << failed
              << " of these told\n";
}

INSTANTIATE_TEST_SUITE_P(Commands, FailingFiles, testing::ValuesIn(writingCommands()),
                         nameOfCommand);

}  // namespace
}  // namespace robustness
