// Many readers while one writes, and readers that die.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/robustness/generations.h"
#include "tests/robustness/home_fixture.h"
#include "tests/robustness/sample_xml.h"

namespace robustness {
namespace {

constexpr std::int32_t lastGeneration = 150;
static_assert(lastGeneration < generationLimit);

constexpr std::int32_t generationsBetweenMeetings = 10;

class ConcurrentTest : public HomeTest {
protected:
    ConcurrentTest() {
        makeHome();
        writer_ = std::make_unique<support::PipedProgram>(
            support::Command{WORKER_PROGRAM, {"serve", home_.native()}, {}, {}});
    }

    ~ConcurrentTest() override {
        const auto result = writer_->finish();
        EXPECT_EQ(result.ending, support::exited(0)) << result.err;
    }

    ConcurrentTest(const ConcurrentTest &) = delete;
    ConcurrentTest &operator=(const ConcurrentTest &) = delete;

    bool make(std::int32_t generation) const {
        const std::string number = std::to_string(generation) + "\n";
        return writer_->send("generation " + number) && writer_->waitForOutput("done " + number);
    }

    /** Commits that many more generations. */
    void makeMore(std::int32_t count) {
        for (std::int32_t i = 0; i < count; ++i)
            ASSERT_TRUE(make(next_++ % generationLimit));
    }

    std::uintmax_t sizeOnDisk() const {
        std::uintmax_t size = 0;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(home_)) {
            if (entry.is_regular_file()) size += entry.file_size();
        }
        return size;
    }

    std::unique_ptr<support::PipedProgram> writer_;
    std::int32_t next_ = 0;
};

TEST_F(ConcurrentTest, EightReadersSeeOnlyCommittedStatesAndNeverAnOlderOneAfterANewer) {
    ASSERT_TRUE(make(0));
    std::vector<std::unique_ptr<support::PipedProgram>> readers;
    for (int i = 0; i < 8; ++i) {
        readers.push_back(std::make_unique<support::PipedProgram>(
            reader({"follow", std::to_string(lastGeneration)})));
        ASSERT_TRUE(readers.back()->waitForOutput("at 0\n"));
    }
    // The writer runs ahead of the readers for a while and then waits for them, so that each of
    // them meets many states.
    for (std::int32_t generation = 1; generation <= lastGeneration; ++generation) {
        ASSERT_TRUE(make(generation));
        if (generation % 4 == 1) zdbs(home_, {"load", "db", "-", "--name", "extra.xml"}, "<x/>");
        if (generation % 4 == 1) zdbs(home_, {"remove", "db", "extra.xml"});
        if (generation % 4 == 3) zdbs(home_, {"compact", "db"});
        if (generation % generationsBetweenMeetings != 0) continue;
        for (const auto &each : readers)
            ASSERT_TRUE(each->waitForOutput("at " + std::to_string(generation) + "\n"))
                << each->finish().err;
    }
    for (const auto &each : readers) {
        const auto result = each->finish();
        EXPECT_EQ(result.ending, support::exited(0)) << result.err;
    }
    expectSound(home_, "at the end");
}

TEST_F(ConcurrentTest, ASessionKeepsItsStateUntilItAsksForANewerOne) {
    ASSERT_TRUE(make(0));
    support::PipedProgram held(reader({"hold"}));
    ASSERT_TRUE(held.waitForOutput("ready"));
    makeMore(20);
    zdbs(home_, {"remove", "db", "left.xml"});
    ASSERT_TRUE(held.send("\n"));
    EXPECT_EQ(held.finish().out, "ready\n" + std::to_string(elementsOf(0)) + "\n");
}

TEST_F(ConcurrentTest, AReaderThatWasKilledDoesNotKeepOldPagesForLong) {
    constexpr std::int32_t many = 60;
    ASSERT_TRUE(make(0));
    auto held = std::make_unique<support::PipedProgram>(reader({"hold"}));
    ASSERT_TRUE(held->waitForOutput("ready"));
    makeMore(many);
    const auto withReader = sizeOnDisk();
    held->signal(SIGKILL);
    held.reset();
    makeMore(many);
    const auto atFirst = sizeOnDisk();
    makeMore(3 * many);
    EXPECT_LE(sizeOnDisk(), atFirst + atFirst / 4) << "while it was there: " << withReader;
    expectSound(home_, "after a killed reader");
}

}  // namespace
}  // namespace robustness
