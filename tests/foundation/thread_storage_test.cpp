#include "foundation/thread_storage.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

std::atomic<void *> destroyed{nullptr};

void remember(void *value) {
    destroyed = value;
}

TEST(ThreadStorage, EveryThreadHasItsOwnValue) {
    ZfxTLSKey key{};
    ASSERT_EQ(ZfxCreateTLS(&key), 0);
    int mine = 0;
    int theirs = 0;
    EXPECT_EQ(ZfxGetTLSValue(key), nullptr);
    EXPECT_EQ(ZfxSetTLSValue(key, &mine), 0);
    std::thread([&] {
        EXPECT_EQ(ZfxGetTLSValue(key), nullptr);
        ZfxSetTLSValue(key, &theirs);
        EXPECT_EQ(ZfxGetTLSValue(key), &theirs);
    }).join();
    EXPECT_EQ(ZfxGetTLSValue(key), &mine);
    EXPECT_EQ(ZfxDeleteTLS(key), 0);
}

TEST(ThreadStorage, TheDestructorGetsTheValueOfAThreadThatEnds) {
    ZfxTLSKey key{};
    ASSERT_EQ(ZfxCreateTLS(&key, remember), 0);
    int value = 0;
    destroyed = nullptr;
    std::thread([&] { ZfxSetTLSValue(key, &value); }).join();
    EXPECT_EQ(destroyed, &value);
    ZfxDeleteTLS(key);
}

TEST(ThreadStorage, WithoutADestructorTheValueIsLeftAlone) {
    ZfxTLSKey key{};
    ASSERT_EQ(ZfxCreateTLS(&key), 0);
    int value = 42;
    std::thread([&] { ZfxSetTLSValue(key, &value); }).join();
    ZfxGlobalTLSDestructor(&value);
    EXPECT_EQ(value, 42);
    ZfxDeleteTLS(key);
}

TEST(ThreadStorage, ADeletedKeyTakesNoValues) {
    ZfxTLSKey key{};
    ASSERT_EQ(ZfxCreateTLS(&key), 0);
    ZfxDeleteTLS(key);
    int value = 0;
    EXPECT_NE(ZfxSetTLSValue(key, &value), 0);
    EXPECT_EQ(ZfxGetTLSValue(key), nullptr);
}

}  // namespace
