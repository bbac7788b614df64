// Construction, capacities, setting, appending and lending.
#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <type_traits>

#include "foundation/memory.h"
#include "foundation/string_buffer.h"
#include "tests/foundation/buffer_text.h"

namespace {

static_assert(std::has_virtual_destructor_v<CStringBuffer>);

std::string times(int n, char c = 'x') {
    return std::string(static_cast<std::size_t>(n), c);
}

char *mallocText(const char *text, std::size_t size) {
    auto *block = static_cast<char *>(std::malloc(size));
    std::memset(block, '#', size);
    return std::strcpy(block, text);
}

TEST(StringBufferSet, AnEmptyBufferHasABlockOf4092Bytes) {
    CStringBuffer buffer;
    EXPECT_EQ(buffer.length(), 0);
    EXPECT_EQ(buffer.bufLength(), 4092);
    EXPECT_STREQ(buffer, "");
}

TEST(StringBufferSet, ANullTextGivesAnEmptyBufferWithCapacity4092) {
    const char *none = nullptr;
    CStringBuffer buffer(none);
    EXPECT_EQ(buffer.length(), 0);
    EXPECT_EQ(buffer.bufLength(), 4092);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(CStringBuffer(nullptr).bufLength(), 4092);
}

TEST(StringBufferSet, AnIncrementIsTheFirstCapacityAndAtLeastOne) {
    for (const int increment : {1, 2, 3, 256, 4092, 10000}) {
        CStringBuffer buffer(increment);
        EXPECT_EQ(buffer.bufLength(), increment);
        EXPECT_STREQ(buffer, "");
    }
    EXPECT_EQ(CStringBuffer(0).bufLength(), 1);
    EXPECT_EQ(CStringBuffer(-7).bufLength(), 1);
}

TEST(StringBufferSet, TheCopyOfAnEmptyBufferHasNoBlockUntilItIsAppendedTo) {
    const CStringBuffer empty;
    CStringBuffer copy(empty);
    EXPECT_EQ(static_cast<char *>(copy), nullptr);
    EXPECT_EQ(copy.bufLength(), 0);
    EXPECT_EQ(copy.length(), 0);
    copy.append("abc");
    EXPECT_STREQ(copy, "abc");
    EXPECT_EQ(copy.bufLength(), 4092);
}

TEST(StringBufferSet, ABufferWithoutABlockAnswersLikeAnEmptyOne) {
    const CStringBuffer empty;
    CStringBuffer copy(empty);
    char target[4] = "xyz";
    EXPECT_EQ(copy.find("a"), -1);
    EXPECT_EQ(copy.find('a'), -1);
    EXPECT_EQ(copy.findReverse('a'), -1);
    EXPECT_TRUE(copy.endsWith(""));
    EXPECT_FALSE(copy.endsWith("a"));
    EXPECT_EQ(copy.compareNoCase(""), 0);
    EXPECT_LT(copy.compareNoCase("a"), 0);
    EXPECT_TRUE(copy == empty);
    EXPECT_EQ(copy.copyTo(target, 4), 0);
    EXPECT_STREQ(target, "");
    copy.trim();
    copy.toUpperCase().toLowerCase();
    copy.convertLinebreaks();
    copy.replace("a", "b");
    copy.print(stdout);
    EXPECT_EQ(static_cast<char *>(copy), nullptr);
    CStringBuffer copyOfCopy(copy);
    EXPECT_EQ(copyOfCopy.detach(), nullptr);
    EXPECT_STREQ(copyOfCopy, "");
    copy.clear();
    EXPECT_STREQ(copy, "");
    EXPECT_EQ(copy.bufLength(), 4092);
}

TEST(StringBufferSet, ACopyTakesTheTextButNotTheIncrement) {
    CStringBuffer small(8);
    small.set("abc");
    const CStringBuffer copy(small);
    EXPECT_EQ(textOf(copy), "abc");
    EXPECT_EQ(copy.bufLength(), 4092);
}

TEST(StringBufferSet, SetSizesTheBlockByWholeIncrements) {
    struct Fact {
        int increment, length, capacity;
    };
    const Fact facts[] = {
        {4092, 0, 4092},     {4092, 4091, 4092}, {4092, 4092, 8184}, {4092, 8183, 8184},
        {4092, 8184, 12276}, {256, 255, 256},    {256, 256, 512},    {1, 1, 2},
        {1, 10, 11},         {3, 2, 3},          {3, 3, 6},          {3, 100, 102},
    };
    for (const Fact &fact : facts) {
        CStringBuffer buffer(fact.increment);
        buffer.set(times(fact.length).c_str());
        EXPECT_EQ(buffer.bufLength(), fact.capacity) << fact.increment << ' ' << fact.length;
        EXPECT_EQ(textOf(buffer), times(fact.length));
        EXPECT_STREQ(buffer, times(fact.length).c_str());
    }
}

TEST(StringBufferSet, AShorterTextKeepsTheBlock) {
    CStringBuffer buffer(4);
    buffer.set("abcdefghij");
    const char *block = buffer;
    EXPECT_EQ(buffer.bufLength(), 12);
    buffer.set("z");
    EXPECT_EQ(static_cast<char *>(buffer), block);
    EXPECT_EQ(buffer.bufLength(), 12);
    EXPECT_STREQ(buffer, "z");
}

TEST(StringBufferSet, AppendSizesTheBlockByItsOwnRule) {
    struct Fact {
        int increment, length, appended, capacity;
    };
    const Fact facts[] = {
        {4092, 1, 4090, 4092},      // fits
        {4092, 1, 4091, 8184},      // needs a new block
        {4092, 4000, 4183, 12276},  // set() would take 8184
        {4, 3, 1, 8},
        {4, 3, 4, 12},  // set() of 7 bytes would take 8
        {1, 1, 1, 4},   // set() of 2 bytes would take 3
        {256, 255, 256, 768},
    };
    for (const Fact &fact : facts) {
        CStringBuffer buffer(fact.increment);
        buffer.set(times(fact.length).c_str());
        buffer.append(times(fact.appended, 'y').c_str());
        EXPECT_EQ(buffer.bufLength(), fact.capacity)
            << fact.increment << ' ' << fact.length << ' ' << fact.appended;
        EXPECT_EQ(textOf(buffer), times(fact.length) + times(fact.appended, 'y'));
        EXPECT_EQ(std::strlen(buffer), static_cast<std::size_t>(buffer.length()));
    }
}

TEST(StringBufferSet, AppendingToAnEmptyBufferIsSetting) {
    CStringBuffer buffer(4);
    buffer.append("abcdefg");
    EXPECT_EQ(buffer.bufLength(), 8);
}

TEST(StringBufferSet, ALengthLimitsTheTextAndANegativeOneMeansAllOfIt) {
    CStringBuffer buffer;
    EXPECT_STREQ(buffer.set("abc", 2), "ab");
    EXPECT_STREQ(buffer.set("abc", -1), "abc");
    EXPECT_STREQ(buffer.append("def", 1), "abcd");
    EXPECT_STREQ(buffer.append("ef", -1), "abcdef");
    EXPECT_STREQ(buffer.append("x", 0), "abcdef");
    EXPECT_STREQ(buffer.set("abc", 0), "");
}

TEST(StringBufferSet, NulBytesCountWithAnExplicitLength) {
    CStringBuffer buffer;
    buffer.set("a\0b", 3).append("\0c", 2);
    EXPECT_EQ(textOf(buffer), std::string("a\0b\0c", 5));
}

TEST(StringBufferSet, ANullTextCountsAsEmptyWithoutALength) {
    const char *none = nullptr;
    CStringBuffer buffer("abc");
    EXPECT_STREQ(buffer.append(none), "abc");
    EXPECT_STREQ(buffer << none, "abc");
    EXPECT_STREQ(buffer.set(none), "");
    EXPECT_STREQ(buffer.append(none), "");
}

TEST(StringBufferSet, ANullTextWithALengthCopiesNothingButCounts) {
    const char *none = nullptr;
    CStringBuffer buffer(4);
    buffer.set(none, 6);
    EXPECT_EQ(textOf(buffer), times(6, '\0'));
    buffer.set("ab").append(none, 2);
    EXPECT_EQ(buffer.length(), 4);
    EXPECT_EQ(textOf(buffer).substr(0, 2), "ab");
    buffer.set("abc").set(none, 2);
    EXPECT_EQ(buffer.length(), 2);
    EXPECT_STREQ(buffer, "");
}

TEST(StringBufferSet, SettingFromAnotherBufferDoesNothingWhenTheTextsAreEqual) {
    CStringBuffer source("abc");
    CStringBuffer target(16);
    target.set("abc");
    target.set(source);
    EXPECT_EQ(target.bufLength(), 16);
    const CStringBuffer empty;
    CStringBuffer copy(empty);
    copy = empty;
    EXPECT_EQ(static_cast<char *>(copy), nullptr);
    copy = source;
    EXPECT_STREQ(copy, "abc");
    copy = "def";
    EXPECT_STREQ(copy, "def");
}

TEST(StringBufferSet, ABufferMayBeSetToAndAppendedToItself) {
    CStringBuffer buffer(4);
    buffer.set("abc");
    buffer += buffer;
    EXPECT_STREQ(buffer, "abcabc");
    buffer += buffer;
    EXPECT_STREQ(buffer, "abcabcabcabc");
    buffer = *&buffer;
    buffer.set(buffer.getBufferPointer() + 9);
    EXPECT_STREQ(buffer, "abc");
    buffer.append(buffer.getBufferPointer() + 1, 2);
    EXPECT_STREQ(buffer, "abcbc");
    CStringBuffer exact(1);
    exact.set("ab");
    exact.append(static_cast<char *>(exact)).append(static_cast<char *>(exact));
    EXPECT_STREQ(exact, "abababab");
}

TEST(StringBufferSet, IntegersAreSetAndAppendedInDecimal) {
    CStringBuffer buffer;
    EXPECT_STREQ(buffer.set(-42), "-42");
    EXPECT_STREQ(buffer.append(7).append(0), "-4270");
    EXPECT_STREQ(buffer.set(INT_MIN), "-2147483648");
    EXPECT_EQ(buffer.length(), 11);
    EXPECT_STREQ(buffer.append(INT_MAX), "-21474836482147483647");
}

TEST(StringBufferSet, AnIntegerFitsABufferOfAnyIncrement) {
    for (int increment = 1; increment < 16; ++increment) {
        CStringBuffer buffer(increment);
        EXPECT_STREQ(buffer.set(INT_MIN), "-2147483648");
        EXPECT_GT(buffer.bufLength(), 11);
    }
}

TEST(StringBufferSet, ClearingKeepsTheBlockAndAppendsFromTheStart) {
    CStringBuffer buffer(4);
    buffer.set("abcdefg");
    const char *block = buffer;
    buffer.clear();
    buffer.clear();
    EXPECT_EQ(buffer.length(), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(buffer.bufLength(), 8);
    buffer.append("x");
    EXPECT_EQ(static_cast<char *>(buffer), block);
    EXPECT_STREQ(buffer, "x");
}

TEST(StringBufferSet, TheOperatorsAppend) {
    CStringBuffer buffer("a");
    const CStringBuffer other("b");
    buffer += other;
    buffer << "c"
           << "d";
    EXPECT_STREQ(buffer, "abcd");
}

TEST(StringBufferSet, BytesAreReadAndWrittenByIndex) {
    CStringBuffer buffer("abc");
    buffer[1] = 'x';
    const CStringBuffer &constant = buffer;
    EXPECT_EQ(constant[1], 'x');
    EXPECT_EQ(constant[2], 'c');
    EXPECT_EQ(constant.getBufferPointer(), buffer.getBufferPointer());
}

TEST(StringBufferSet, PrintWritesTheText) {
    std::FILE *file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    CStringBuffer buffer("100% of %s");
    buffer.print(file);
    std::rewind(file);
    char line[32] = "";
    EXPECT_STREQ(std::fgets(line, sizeof line, file), "100% of %s");
    std::fclose(file);
}

TEST(StringBufferSet, AnAttachedBlockIsOwnedAndCapacitiesAreTakenOver) {
    CStringBuffer buffer;
    char *block = mallocText("abc", 10);
    buffer.attach(block, 3, 10);
    EXPECT_EQ(static_cast<char *>(buffer), block);
    EXPECT_EQ(buffer.length(), 3);
    EXPECT_EQ(buffer.bufLength(), 10);
    buffer.append("defghi");
    EXPECT_EQ(static_cast<char *>(buffer), block);
    EXPECT_STREQ(buffer, "abcdefghi");
    buffer.append("j");
    EXPECT_EQ(buffer.bufLength(), 4092);
    EXPECT_STREQ(buffer, "abcdefghij");
}

TEST(StringBufferSet, AttachMeasuresTheTextAndTheBlockWhenNotTold) {
    CStringBuffer buffer;
    buffer.attach(mallocText("abc", 4));
    EXPECT_EQ(buffer.length(), 3);
    EXPECT_EQ(buffer.bufLength(), 4);
    buffer.attach(mallocText("abcdef", 7), 2, 0);
    EXPECT_EQ(buffer.length(), 2);
    EXPECT_EQ(buffer.bufLength(), 3);
    EXPECT_STREQ(buffer, "ab");
}

TEST(StringBufferSet, AttachWritesTwoNulsAndNothingElse) {
    CStringBuffer buffer;
    buffer.attach(mallocText("abcdefghi", 10), 3, 8);
    EXPECT_EQ(std::string(buffer.getBufferPointer(), 10), std::string("abc\0efg\0i\0", 10));
}

TEST(StringBufferSet, AttachingNullClears) {
    CStringBuffer buffer("abc");
    const char *block = buffer;
    buffer.attach(nullptr);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(static_cast<char *>(buffer), block);
}

TEST(StringBufferSet, AttachingTheOwnBlockKeepsIt) {
    CStringBuffer buffer("abc");
    buffer.attach(buffer.getBufferPointer(), 2, 4092);
    EXPECT_STREQ(buffer, "ab");
    buffer.attach(std::strcpy(buffer.getBufferSetLength(8), "lent"), 4, 8);
    EXPECT_STREQ(buffer, "lent");
    buffer.releaseBuffer(true, 2);  // nothing is lent any more
    EXPECT_STREQ(buffer, "lent");
}

TEST(StringBufferSet, ADetachedBlockIsTheCallersAndTheBufferStartsAgain) {
    CStringBuffer buffer(16);
    buffer.set("abc");
    char *block = buffer.detach();
    EXPECT_STREQ(block, "abc");
    EXPECT_NE(static_cast<char *>(buffer), block);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(buffer.length(), 0);
    EXPECT_EQ(buffer.bufLength(), 16);
    std::free(block);
    buffer.append("def");
    EXPECT_STREQ(buffer, "def");
}

TEST(StringBufferSet, DetachingLetsTheLentBlockGo) {
    CStringBuffer buffer("abc");
    char *lent = buffer.getBufferSetLength(8);
    ZfxMemFree(buffer.detach());
    EXPECT_STREQ(lent, "abc");
    buffer.releaseBuffer();
    EXPECT_STREQ(buffer, "");
    ZfxMemFree(lent);
}

TEST(StringBufferSet, ALentBlockHoldsWhatFitsOfTheText) {
    struct Fact {
        int n;
        const char *held;
    };
    const Fact facts[] = {{1, ""}, {2, "a"}, {6, "abcde"}, {7, "abcdef"}, {100, "abcdef"}};
    for (const Fact &fact : facts) {
        CStringBuffer buffer("abcdef");
        EXPECT_STREQ(buffer.getBufferSetLength(fact.n), fact.held) << fact.n;
        EXPECT_STREQ(buffer, "abcdef");
    }
}

TEST(StringBufferSet, WithoutASizeTheLentBlockHasTheIncrement) {
    CStringBuffer buffer(4);
    buffer.set("abcdef");
    char *lent = buffer.getBufferSetLength(0);
    EXPECT_STREQ(lent, "abc");
    std::memcpy(lent, "wxyz", 4);
    buffer.releaseBuffer();
    EXPECT_STREQ(buffer, "wxyz");
    EXPECT_STREQ(buffer.getBufferSetLength(-1), "wxy");
}

TEST(StringBufferSet, ReleasingKeepsWhatWasWrittenOrNot) {
    CStringBuffer buffer("abc");
    std::strcpy(buffer.getBufferSetLength(8), "written");
    buffer.releaseBuffer(false);
    EXPECT_STREQ(buffer, "abc");
    std::strcpy(buffer.getBufferSetLength(8), "written");
    buffer.releaseBuffer(true, 4);
    EXPECT_STREQ(buffer, "writ");
    std::strcpy(buffer.getBufferSetLength(8), "written");
    buffer.releaseBuffer(true);
    EXPECT_STREQ(buffer, "written");
    buffer.releaseBuffer(true, 2);
    EXPECT_STREQ(buffer, "written");
}

TEST(StringBufferSet, ReleasingReadsNoMoreThanWasLent) {
    CStringBuffer buffer;
    std::memset(buffer.getBufferSetLength(8), 'x', 8);
    buffer.releaseBuffer();
    EXPECT_STREQ(buffer, "xxxxxxxx");
    std::memset(buffer.getBufferSetLength(4), 'y', 4);
    buffer.releaseBuffer(true, INT_MAX);
    EXPECT_STREQ(buffer, "yyyy");
}

TEST(StringBufferSet, LendingAgainReleasesTheEarlierBlock) {
    CStringBuffer buffer("abc");
    std::strcpy(buffer.getBufferSetLength(8), "first");
    EXPECT_STREQ(buffer.getBufferSetLength(8), "abc");
}

TEST(StringBufferSet, FormatPrintsIntoTheBuffer) {
    CStringBuffer buffer("before");
    buffer.format("%d %s %c", 7, "seven", '!');
    EXPECT_STREQ(buffer, "7 seven !");
    EXPECT_EQ(buffer.length(), 9);
    buffer.format("%s", "");
    EXPECT_STREQ(buffer, "");
}

void printInto(CStringBuffer &buffer, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    buffer.vformat(format, args);
    va_end(args);
}

TEST(StringBufferSet, VformatPrintsAnArgumentList) {
    CStringBuffer buffer;
    printInto(buffer, "%s=%d", "x", 3);
    EXPECT_STREQ(buffer, "x=3");
}

TEST(StringBufferSet, FormatCutsAt16383Bytes) {
    for (const int length : {16382, 16383, 16384, 16385, 100000}) {
        CStringBuffer buffer;
        buffer.format("%s", times(length).c_str());
        EXPECT_EQ(textOf(buffer), times(std::min(length, 16383))) << length;
        EXPECT_STREQ(buffer, times(std::min(length, 16383)).c_str());
    }
}

TEST(StringBufferSet, ABufferIsDeletedThroughAPointerToIt) {
    struct Derived : CStringBuffer {
        explicit Derived(bool *flag) : gone(flag) {}
        ~Derived() override { *gone = true; }
        bool *gone;
    };
    bool gone = false;
    std::unique_ptr<CStringBuffer> buffer = std::make_unique<Derived>(&gone);
    buffer.reset();
    EXPECT_TRUE(gone);
}

TEST(StringBufferSet, ATextOf2GigabytesIsAnExceptionAndChangesNothing) {
    CStringBuffer buffer("ab");
    EXPECT_THROW(buffer.set("ab", INT_MAX), std::bad_alloc);
    EXPECT_THROW(buffer.append("ab", INT_MAX), std::bad_alloc);
    EXPECT_THROW(buffer.append("ab", INT_MAX - 2), std::bad_alloc);
    EXPECT_STREQ(buffer.getBufferPointer(), "ab");
}

}  // namespace
