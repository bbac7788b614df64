// A change of a database that is killed at any moment has happened or it has not. The moments:
// before, within and after a change of a file, spread over the whole of the operation; and kills
// from outside after random times. VEXA_KILLS says at how many moments of all operations together,
// VEXA_SEED which ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/robustness/commands.h"
#include "tests/robustness/interrupt.h"

namespace robustness {
namespace {

constexpr long fewMoments = 290;

/** At how many moments each operation is killed in each of two ways. */
std::size_t momentsOfEach() {
    const auto ways = static_cast<long>(2 * writingCommands().size());
    return static_cast<std::size_t>((numberIn("VEXA_KILLS", fewMoments) + ways - 1) / ways);
}

unsigned seed() {
    return static_cast<unsigned>(numberIn("VEXA_SEED", 1));
}

/** A moment of an operation: within its n-th change of a file, or before or after it. */
struct Moment {
    long change;
    std::string when;
};

/** All moments of an operation with that many changes, or as many as asked for, ends included. */
std::vector<Moment> spreadMoments(long changes, std::size_t count, std::mt19937 &random) {
    std::vector<Moment> all;
    for (long change = 1; change <= changes; ++change) {
        for (const char *when : {"before", "within", "after"})
            all.push_back({change, when});
    }
    if (all.size() <= count) return all;
    std::shuffle(all.begin() + 1, all.end() - 1, random);
    std::swap(all[1], all.back());
    all.resize(count);
    return all;
}

std::size_t fileCount(const fs::path &directory) {
    return static_cast<std::size_t>(std::distance(fs::recursive_directory_iterator(directory), {}));
}

class KilledTest : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        runUndisturbed();
    }

    support::ProgramResult runOn(const fs::path &home) const {
        return support::run(command(home), GetParam().input);
    }

    /** Finds out what the operation does, and in how many changes of files. */
    void runUndisturbed() {
        const fs::path home = copiedHome();
        support::Command counted = command(home);
        const std::string countFile = directory_ / "count";
        counted.environment[countFileVariable] = countFile;
        const auto result = support::run(counted, GetParam().input);
        EXPECT_EQ(result.ending, support::exited(0)) << result.err;
        changes_ = std::atol(support::readFile(countFile).c_str());
        files_ = fileCount(home);
    }

    /** The shortest of three times: a single one can be long by chance, and all kills too late. */
    double secondsUndisturbed() const {
        auto shortest = support::Clock::duration::max();
        for (int i = 0; i < 3; ++i) {
            const fs::path home = copiedHome();
            const auto begin = support::Clock::now();
            EXPECT_EQ(runOn(home).ending, support::exited(0));
            shortest = std::min(shortest, support::Clock::duration(support::Clock::now() - begin));
        }
        return std::chrono::duration<double>(shortest).count();
    }

    /** Looks at what a killed operation left; false when it is neither the one nor the other. */
    bool inspect(const fs::path &home, const std::string &moment) {
        const Content left = contentOf(home);
        EXPECT_TRUE(left == old_ || left == new_) << moment << ": " << left.list << left.segments;
        oldStates_ += left == old_;
        newStates_ += left == new_;
        return left == old_ ? tryAgain(home, moment) : left == new_;
    }

    bool tryAgain(const fs::path &home, const std::string &moment) {
        const auto again = runOn(home);
        EXPECT_EQ(again.ending, support::exited(0)) << moment << ": " << again.err;
        const Content content = contentOf(home);
        EXPECT_EQ(content.documents, new_.documents) << moment;
        EXPECT_EQ(content.home, new_.home) << moment;
        EXPECT_EQ(fileCount(home), files_) << moment << ": something is left behind";
        return content.documents == new_.documents;
    }

    long changes_ = 0;
    std::size_t files_ = 0;
    int oldStates_ = 0;
    int newStates_ = 0;
};

TEST_P(KilledTest, InTheMidstOfItsChangesItHasHappenedOrNot) {
    std::mt19937 random(seed());
    ASSERT_GT(changes_, 2);
    int killed = 0;
    for (const Moment &moment : spreadMoments(changes_, momentsOfEach(), random)) {
        const fs::path home = copiedHome();
        support::Command interrupted = command(home);
        interrupted.environment[killAtVariable] = std::to_string(moment.change);
        interrupted.environment[killWhenVariable] = moment.when;
        killed += support::run(interrupted, GetParam().input).ending == support::killedBy(SIGKILL);
        ASSERT_TRUE(inspect(home, moment.when + " change " + std::to_string(moment.change)));
    }
    EXPECT_EQ(killed, oldStates_ + newStates_) << "some were not killed";
    EXPECT_GT(oldStates_, 0);
    EXPECT_GT(newStates_, 0);
    RecordProperty("changes", static_cast<int>(changes_));
    RecordProperty("killed", killed);
    RecordProperty("old", oldStates_);
    RecordProperty("new", newStates_);
}

TEST_P(KilledTest, AfterAnyTimeItHasHappenedOrNot) {
    std::mt19937 random(seed() + 1);
    std::uniform_real_distribution<double> delay(0.0005, secondsUndisturbed() * 1.1);
    int killed = 0;
    for (std::size_t i = 0; i < momentsOfEach(); ++i) {
        const fs::path home = copiedHome();
        const std::string after = std::to_string(delay(random));
        const support::Command whole = command(home);
        support::Command limited = {
            "timeout", {"-s", "KILL", after, whole.program}, whole.environment, {}};
        limited.arguments.insert(limited.arguments.end(), whole.arguments.begin(),
                                 whole.arguments.end());
        killed += support::run(limited, GetParam().input).ending != support::exited(0);
        ASSERT_TRUE(inspect(home, "after " + after + " s"));
    }
    RecordProperty("killed", killed);
    RecordProperty("old", oldStates_);
    RecordProperty("new", newStates_);
}

INSTANTIATE_TEST_SUITE_P(Operations, KilledTest, testing::ValuesIn(writingCommands()),
                         nameOfCommand);

}  // namespace
}  // namespace robustness
