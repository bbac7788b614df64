#include "foundation/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

namespace {

TEST(Memory, ABlockIsZeroFilledUpToTheNextMultipleOfFour) {
    for (const std::size_t size : {1U, 3U, 4U, 5U, 4093U}) {
        const std::size_t rounded = (size + 3) / 4 * 4;
        auto *block = static_cast<char *>(ZfxMemAlloc(size));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(std::count(block, block + rounded, '\0'), static_cast<std::ptrdiff_t>(rounded));
        ZfxMemFree(block);
    }
}

TEST(Memory, AReallocationKeepsTheBytes) {
    auto *block = static_cast<char *>(ZfxMemAlloc(4));
    std::memcpy(block, "abc", 4);
    block = static_cast<char *>(ZfxMemRealloc(block, 10000));
    EXPECT_STREQ(block, "abc");
    ZfxMemFree(block);
}

TEST(Memory, AReallocationOfNullGivesAZeroFilledBlock) {
    auto *block = static_cast<char *>(ZfxMemRealloc(nullptr, 6));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(block, 8), std::string(8, '\0'));
    ZfxMemFree(block);
}

TEST(Memory, AReallocationToNothingKeepsABlock) {
    void *block = ZfxMemRealloc(ZfxMemAlloc(8), 0);
    EXPECT_NE(block, nullptr);
    ZfxMemFree(block);
}

TEST(Memory, BlocksAndThoseOfTheCLibraryAreInterchangeable) {
    std::free(ZfxMemAlloc(8));
    ZfxMemFree(std::malloc(8));
    ZfxMemFree(ZfxMemRealloc(std::malloc(8), 16));
}

TEST(Memory, FreeingNullDoesNothing) {
    ZfxMemFree(nullptr);
}

TEST(Memory, CopyGivesTheDestinationInEveryCase) {
    char target[4] = "xyz";
    EXPECT_EQ(ZfxMemCopy(target, "ab", 2), target);
    EXPECT_STREQ(target, "abz");
    EXPECT_EQ(ZfxMemCopy(target, nullptr, 2), target);
    EXPECT_STREQ(target, "abz");
    EXPECT_EQ(ZfxMemCopy(nullptr, "ab", 2), nullptr);
}

TEST(Memory, CopyTakesOverlappingRanges) {
    char text[] = "abcdef";
    ZfxMemCopy(text + 1, text, 5);
    EXPECT_STREQ(text, "aabcde");
}

TEST(Memory, DuplicatesAreIndependentCopies) {
    EXPECT_EQ(ZfxStrDup(nullptr), nullptr);
    for (const char *text : {"", "a", "four", "a longer text"}) {
        char *copy = ZfxStrDup(text);
        EXPECT_STREQ(copy, text);
        EXPECT_NE(copy, text);
        ZfxMemFree(copy);
    }
}

TEST(Memory, APointerIsReadableAndWriteableExactlyWhenItIsNotNull) {
    char byte = 'x';
    for (const std::size_t n : {std::size_t{0}, std::size_t{1}, SIZE_MAX}) {
        EXPECT_TRUE(ZfxMemReadable(&byte, n));
        EXPECT_TRUE(ZfxMemWriteable(&byte, n));
        EXPECT_FALSE(ZfxMemReadable(nullptr, n));
        EXPECT_FALSE(ZfxMemWriteable(nullptr, n));
    }
}

TEST(Memory, RunningOutOfItIsAnException) {
    EXPECT_THROW(ZfxOutOfMemory(), std::bad_alloc);
}

}  // namespace
