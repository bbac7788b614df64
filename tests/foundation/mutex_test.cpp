#include "foundation/mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "tests/foundation/sleeping_thread.h"

namespace {

struct MutexDeleter {
    void operator()(ZfxMutex *mutex) const { ZfxDestroyMutex(mutex); }
};
using Mutex = std::unique_ptr<ZfxMutex, MutexDeleter>;

TEST(Mutex, ANewOneIsNotHeld) {
    const Mutex mutex(ZfxCreateMutex());
    ASSERT_NE(mutex, nullptr);
    EXPECT_EQ(mutex->held, 0);
}

TEST(Mutex, NullIsNotLockedAndOtherwiseIgnored) {
    EXPECT_EQ(ZfxLockMutex(nullptr, 0), -1);
    EXPECT_EQ(ZfxLockMutex(nullptr, 1), -1);
    ZfxUnlockMutex(nullptr);
    ZfxDestroyMutex(nullptr);
}

TEST(Mutex, TheFirstTryGivesZeroAndABlockingLockOne) {
    struct Fact {
        int wait, result, held;
    };
    for (const Fact &fact : {Fact{0, 0, 0}, Fact{1, 1, 1}, Fact{-1, 1, 1}}) {
        const Mutex mutex(ZfxCreateMutex());
        EXPECT_EQ(ZfxLockMutex(mutex.get(), fact.wait), fact.result);
        EXPECT_EQ(mutex->held, fact.held);
        ZfxUnlockMutex(mutex.get());
        EXPECT_EQ(mutex->held, 0);
        EXPECT_EQ(ZfxLockMutex(mutex.get(), 0), 0);
        ZfxUnlockMutex(mutex.get());
    }
}

TEST(Mutex, ATryThatFailsBlocksUntilTheMutexIsFreeAndGivesOne) {
    const Mutex mutex(ZfxCreateMutex());
    std::atomic<long> id{0};
    int result = -2;
    ZfxLockMutex(mutex.get(), 1);
    std::thread other([&] {
        id = kernelThreadId();
        result = ZfxLockMutex(mutex.get(), 0);
        ZfxUnlockMutex(mutex.get());
    });
    awaitSleep(id);
    ZfxUnlockMutex(mutex.get());
    other.join();
    EXPECT_EQ(result, 1);
}

TEST(Mutex, OneThreadAtATimeHoldsIt) {
    const Mutex mutex(ZfxCreateMutex());
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, wait = i % 2] {
            for (int n = 0; n < 5000; ++n) {
                ZfxLockMutex(mutex.get(), wait);
                ++counter;
                ZfxUnlockMutex(mutex.get());
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(counter, 20000);
}

}  // namespace
