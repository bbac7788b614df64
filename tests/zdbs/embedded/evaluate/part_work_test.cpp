#include "zdbs/embedded/part_work.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"

namespace zdbs::embedded {
namespace {

class HelpedStop : public Stop {
public:
    bool allowsHelp() const noexcept override { return true; }
};

TEST(PartWork, IsDoneOnceForEachPart) {
    HelpedStop helped;
    Stop alone;
    for (const Stop *stop : {static_cast<const Stop *>(&helped), static_cast<const Stop *>(&alone)})
        for (const std::size_t count : {0U, 1U, 2U, 3U, 100U}) {
            const StopScope scope(*stop);
            std::vector<std::atomic<int>> done(count);
            forEachPart(count, [&](std::size_t part) { ++done[part]; });
            for (const auto &each : done)
                EXPECT_EQ(each, 1) << count;
        }
}

TEST(PartWork, IsDoneOnSeveralCores) {
    if (std::thread::hardware_concurrency() < 2) GTEST_SKIP() << "there is one core";
    std::latch both(2);
    forEachPart(2, [&](std::size_t) { both.arrive_and_wait(); });
}

TEST(PartWork, StaysOnTheThreadOfAStopThatCountsIt) {
    const Stop stop;
    const StopScope scope(stop);
    std::set<std::thread::id> threads;
    forEachPart(50, [&](std::size_t) { threads.insert(std::this_thread::get_id()); });
    EXPECT_EQ(threads, std::set{std::this_thread::get_id()});
}

TEST(PartWork, FailsWithWhatWasThrownFirst) {
    std::atomic<int> begun = 0;
    const auto work = [&](std::size_t part) {
        ++begun;
        if (part == 0) throw std::runtime_error("part 0");
        // Others run until the failure stops them.
        for (;;)
            heedStop();
    };
    try {
        forEachPart(1000, work);
        FAIL() << "it did not fail";
    } catch (const std::runtime_error &error) {
        EXPECT_EQ(error.what(), std::string("part 0"));
    }
    EXPECT_LE(begun, static_cast<int>(std::thread::hardware_concurrency()));
    EXPECT_EQ(stopOfThread(), nullptr);
}

TEST(PartWork, HeedsTheStopOfItsThreadOnAll) {
    HelpedStop stop;
    const StopScope scope(stop);
    const auto work = [&](std::size_t) {
        stop.request();
        for (;;)
            heedStop();
    };
    try {
        forEachPart(1000, work);
        FAIL() << "it did not stop";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), Status::stopped);
    }
    EXPECT_EQ(stopOfThread(), &stop);
}

TEST(PartWork, AsksTheStopOfItsThreadOnThatOnly) {
    class OwnStop : public HelpedStop {
    public:
        bool isRequested() const noexcept override {
            EXPECT_EQ(std::this_thread::get_id(), owner_);
            return false;
        }

    private:
        std::thread::id owner_ = std::this_thread::get_id();
    };
    const OwnStop stop;
    const StopScope scope(stop);
    forEachPart(100, [](std::size_t) { heedStop(); });
}

}  // namespace
}  // namespace zdbs::embedded
