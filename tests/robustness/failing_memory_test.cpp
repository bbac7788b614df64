// Memory that runs out anywhere: whatever a program was doing ends with a message and a status, and
// has happened or has not; what it printed without a message is all of it. VEXA_ALLOCATIONS says at
// how many places of each command it runs out; all of them when there are not as many.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/robustness/commands.h"
#include "tests/robustness/home_fixture.h"
#include "tests/robustness/memory_order.h"

namespace robustness {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr long fewPlaces = 2;  // of these operator new only
#else
constexpr long fewPlaces = 10;
#endif

class FailingMemory : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        const std::string countFile = directory_ / "allocations";
        const fs::path home = copiedHome();
        support::Command counted = command(home);
        counted.environment[allocationCountFileVariable] = countFile;
        undisturbed_ = support::run(counted, GetParam().input);
        EXPECT_EQ(undisturbed_.ending, support::exited(0)) << undisturbed_.err;
        count_ = std::atol(support::readFile(countFile).c_str());
    }

    /** How many of the allocations are to fail. */
    long wanted() const { return std::min(count_, numberIn("VEXA_ALLOCATIONS", fewPlaces)); }

    /** Runs it with that many allocations; whether it failed. */
    bool failsAt(long number, bool isBack) {
        const fs::path home = GetParam().changes ? copiedHome() : home_;
        support::Command failing = command(home);
        failing.environment[allocationVariable] = std::to_string(number);
        if (isBack) failing.environment[memoryIsBackVariable] = "1";
        const auto result = support::run(failing, GetParam().input);
        const std::string place =
            " at " + std::to_string(number) + (isBack ? ", once" : "") + ": " + result.err;
        EXPECT_TRUE(result.ending == support::exited(0) || result.ending == support::exited(1) ||
                    result.ending == support::exited(2) ||  // of the shell, without its script
                    result.ending == support::exited(127))  // of the loader of libraries
            << toString(result.ending) << place;
        // The shell tells of a login that was refused where it tells everything.
        const bool isTold = !result.err.empty() || result.out.find("Error #") != std::string::npos;
        if (!isTold) {
            EXPECT_EQ(result.ending, support::exited(0)) << place;
            EXPECT_TRUE(answersOf(result.out) == answersOf(undisturbed_.out) ||
                        !GetParam().printsTheSame)
                << result.out << place;
        }
        if (GetParam().changes) inspect(home, result.ending == support::exited(0), place);
        return result.ending != support::exited(0) || isTold;
    }

    /** Sets that nothing could take away again leave the shell's last one a higher number. */
    static std::string answersOf(const std::string &out) {
        std::istringstream lines(out);
        std::string answers;
        for (std::string line; std::getline(lines, line); answers += line + '\n') {
            const std::size_t end = line.find(">\t<");
            if (line.starts_with('<') && end != std::string::npos) line.erase(0, end);
        }
        return answers;
    }

    void inspect(const fs::path &home, bool isDone, const std::string &place) {
        const Content left = contentOf(home);
        // The notes of a folder come behind the load, which is over by then.
        const bool mayBeBoth = std::string(GetParam().name) == "Sync";
        EXPECT_TRUE(left == (isDone ? new_ : old_) || (mayBeBoth && left == new_))
            << left.list << left.segments << place;
    }

    support::ProgramResult undisturbed_;
    long count_ = 0;
};

TEST_P(FailingMemory, IsAMessageAndNothingIsHalfDone) {
    std::mt19937 random(1);
    const long places = wanted();
    ASSERT_GT(places, 0);
    long failed = 0;
    for (long place = 0; place < places && !HasFailure(); ++place) {
        const long begin = count_ * place / places;
        const long width = count_ * (place + 1) / places - begin;
        failed += failsAt(begin + static_cast<long>(random() % static_cast<unsigned long>(width)),
                          place % 2 == 1);
    }
    EXPECT_GT(failed, places / 3);
    std::cout << count_ << " allocations, " << places << " failed, " << failed
              << " of these told\n";
}

INSTANTIATE_TEST_SUITE_P(Commands, FailingMemory, testing::ValuesIn(everyCommand()), nameOfCommand);

}  // namespace
}  // namespace robustness
