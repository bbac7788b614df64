// What a power cut leaves: of what was written and not synced anything may be lost, in any order.
// The home opens, is sound, and holds what it did before the command or what it does after it;
// after the end of the command the latter. VEXA_CUTS says how many cuts of all commands together,
// VEXA_SEED which ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <optional>
#include <random>

#include "tests/robustness/commands.h"
#include "tests/robustness/interrupt.h"
#include "tests/robustness/journal.h"

namespace robustness {
namespace {

constexpr long fewCuts = 120;

long cutsOfEach() {
    const auto commands = static_cast<long>(writingCommands().size());
    return (numberIn("VEXA_CUTS", fewCuts) + commands - 1) / commands;
}

/** Without the table of readers, which is mapped and of no meaning after a start. */
Tree withoutReaders(Tree tree) {
    std::erase_if(tree, [](const auto &entry) { return entry.first.ends_with("/lock.mdb"); });
    return tree;
}

class PowerCut : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        const fs::path home = copiedHome();
        const Tree before = withoutReaders(readTree(home));
        support::Command recorded = command(home);
        recorded.environment[logFileVariable] = directory_ / "journal";
        const auto result = support::run(recorded, GetParam().input);
        ASSERT_EQ(result.ending, support::exited(0)) << result.err;
        events_ = readJournal(directory_ / "journal", home);
        replay_.emplace(before, home, events_);
        after_ = withoutReaders(readTree(home));
        recorded_ = contentOf(home);
    }

    std::vector<FileEvent> events_;
    std::optional<Replay> replay_;
    Tree after_;
    Content recorded_;  ///< by the command that was recorded
};

TEST_P(PowerCut, IsRecordedWhole) {
    const Tree replayed = withoutReaders(replay_->whole());
    for (const auto &[name, bytes] : after_)
        EXPECT_TRUE(replayed.contains(name) && replayed.at(name) == bytes) << name;
    EXPECT_EQ(replayed.size(), after_.size());
}

TEST_P(PowerCut, LeavesTheStateBeforeOrTheOneBehind) {
    std::mt19937 random(static_cast<unsigned>(numberIn("VEXA_SEED", 1)));
    const fs::path home = directory_.path() / "cut";
    int old = 0;
    int fresh = 0;
    for (long i = 0; i < cutsOfEach() && !HasFailure(); ++i) {
        const bool isOver = i % 8 == 7;
        const std::size_t at = isOver ? events_.size() : random() % (events_.size() + 1);
        const Tree tree = replay_->cut(at, random);
        writeTree(tree, home);
        const Content left = contentOf(home);
        EXPECT_TRUE(left == recorded_ || (left == old_ && !isOver))
            << "cut " << i << " behind " << at << " of " << events_.size()
            << " events: " << left.list << left.segments << left.home;
        old += left == old_ ? 1 : 0;
        fresh += left == recorded_ ? 1 : 0;
    }
    std::cout << events_.size() << " events, " << old << " cuts left the state before, " << fresh
              << " the one behind\n";
    EXPECT_GT(old + fresh, 0);
}

INSTANTIATE_TEST_SUITE_P(Commands, PowerCut, testing::ValuesIn(writingCommands()), nameOfCommand);

}  // namespace
}  // namespace robustness
