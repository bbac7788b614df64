#include "foundation/pointer_list.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

char objects[64];

// The elements as letters, "." for null: 'a' is objects[0].
std::string lettersOf(const ZfxPtrList &list) {
    std::string letters;
    for (int i = 0; i < list.size(); ++i) {
        const auto *element = static_cast<const char *>(list.get(i));
        letters += element == nullptr ? '.' : static_cast<char>('a' + (element - objects));
    }
    return letters;
}

void append(ZfxPtrList &list, const std::string &letters) {
    for (const char letter : letters)
        list.append(objects + (letter - 'a'));
}

TEST(PointerList, ANewListHasNoArray) {
    const ZfxPtrList list;
    EXPECT_EQ(list.m_nMaxLen, 0);
    EXPECT_EQ(list.m_nLength, 0);
    EXPECT_EQ(list.m_ppList, nullptr);
    EXPECT_EQ(list.size(), 0);
}

TEST(PointerList, AnIndexOutOfRangeGivesNull) {
    ZfxPtrList list;
    EXPECT_EQ(list.get(0), nullptr);
    append(list, "ab");
    EXPECT_EQ(list.get(-1), nullptr);
    EXPECT_EQ(list.get(list.size()), nullptr);
    EXPECT_EQ(list.get(INT_MAX), nullptr);
    EXPECT_EQ(list.get(INT_MIN), nullptr);
    EXPECT_EQ(list.get(1), objects + 1);
}

TEST(PointerList, AppendingGrowsAFullArrayToTheNewLengthAndTen) {
    ZfxPtrList list;
    for (int length = 1; length <= 40; ++length) {
        list.append(objects);
        EXPECT_EQ(list.size(), length);
        EXPECT_EQ(list.m_nMaxLen, (length + 10) / 11 * 11) << length;
    }
}

TEST(PointerList, TheFirstElementGivesCapacity11AndTheTwelfth22) {
    ZfxPtrList list;
    append(list, "a");
    EXPECT_EQ(list.m_nMaxLen, 11);
    append(list, "bcdefghijk");
    EXPECT_EQ(list.m_nMaxLen, 11);
    append(list, "l");
    EXPECT_EQ(list.m_nMaxLen, 22);
    EXPECT_EQ(lettersOf(list), "abcdefghijkl");
}

TEST(PointerList, NullIsAnElementLikeAnyOther) {
    ZfxPtrList list;
    list.append(nullptr);
    append(list, "a");
    EXPECT_EQ(lettersOf(list), ".a");
}

TEST(PointerList, InsertingIntoAnEmptyListGivesCapacity10AndOneElement) {
    ZfxPtrList list;
    list.insert(0, objects);
    EXPECT_EQ(list.m_nMaxLen, 10);
    EXPECT_EQ(lettersOf(list), "a");
}

TEST(PointerList, InsertingMovesTheElementsAboveUp) {
    ZfxPtrList list;
    append(list, "abc");
    list.insert(0, objects + 3);
    EXPECT_EQ(lettersOf(list), "dabc");
    list.insert(2, objects + 4);
    EXPECT_EQ(lettersOf(list), "daebc");
    list.insert(5, objects + 5);
    EXPECT_EQ(lettersOf(list), "daebcf");
}

TEST(PointerList, InsertingGrowsToTheLengthOrTheIndexAndTen) {
    struct Fact {
        int length, index, capacity;
    };
    const Fact facts[] = {
        {0, 0, 10}, {1, 0, 11}, {1, 1, 11}, {2, 0, 12}, {11, 0, 21}, {11, 11, 21}, {0, 3, 13},
    };
    for (const Fact &fact : facts) {
        ZfxPtrList list;
        for (int i = 0; i < fact.length; ++i)
            list.append(objects);
        list.insert(fact.index, objects);
        EXPECT_EQ(list.m_nMaxLen, fact.capacity) << fact.length << ' ' << fact.index;
    }
}

TEST(PointerList, InsertingBeyondTheLengthLeavesNullSlotsAndCountsOneElement) {
    ZfxPtrList list;
    append(list, "a");
    list.insert(3, objects + 1);
    EXPECT_EQ(list.size(), 2);
    EXPECT_EQ(list.m_ppList[3], objects + 1);
    EXPECT_EQ(lettersOf(list), "a.");
    list.insert(1, objects + 2);  // moves what lies beyond the length, too
    EXPECT_EQ(lettersOf(list), "ac.");
    EXPECT_EQ(list.m_ppList[4], objects + 1);
}

TEST(PointerList, SlotsOfAGrownArrayAreNull) {
    ZfxPtrList list;
    append(list, "abcdefghijk");
    list.insert(20, objects);
    EXPECT_EQ(list.size(), 12);
    EXPECT_EQ(list.get(11), nullptr);
    EXPECT_EQ(list.m_ppList[19], nullptr);
    EXPECT_EQ(list.m_ppList[20], objects);
}

TEST(PointerList, InsertingAtANegativeIndexIsIgnored) {
    ZfxPtrList list;
    append(list, "a");
    list.insert(-1, objects + 1);
    EXPECT_EQ(lettersOf(list), "a");
}

TEST(PointerList, RemovingMovesTheElementsAboveDownAndClearsTheFreedSlot) {
    ZfxPtrList list;
    append(list, "abcd");
    list.remove(1);
    EXPECT_EQ(lettersOf(list), "acd");
    EXPECT_EQ(list.m_ppList[3], nullptr);
    EXPECT_EQ(list.m_nMaxLen, 11);
    list.remove(0);
    list.remove(1);
    EXPECT_EQ(lettersOf(list), "c");
    list.remove(0);
    EXPECT_EQ(list.size(), 0);
}

TEST(PointerList, RemovingOutOfRangeChangesNothing) {
    ZfxPtrList list;
    list.remove(0);
    append(list, "ab");
    list.remove(list.size());
    list.remove(-1);
    EXPECT_EQ(lettersOf(list), "ab");
}

TEST(PointerList, RandomOperationsAgreeWithAVector) {
    std::mt19937 random(20);
    ZfxPtrList list;
    std::vector<void *> expected;
    for (int step = 0; step < 5000; ++step) {
        const auto size = expected.size();
        void *object = objects + random() % 64;
        const auto index = static_cast<std::ptrdiff_t>(random() % (size + 1));
        switch (random() % 4) {
            case 0:
                list.append(object);
                expected.push_back(object);
                break;
            case 1:
                list.insert(static_cast<int>(index), object);
                expected.insert(expected.begin() + index, object);
                break;
            default:
                list.remove(static_cast<int>(index));
                if (index < static_cast<std::ptrdiff_t>(size)) {
                    expected.erase(expected.begin() + index);
                }
        }
        ASSERT_EQ(list.size(), static_cast<int>(expected.size()));
        for (int i = 0; i < list.size(); ++i) {
            ASSERT_EQ(list.get(i), expected[static_cast<std::size_t>(i)]);
        }
    }
}

TEST(PointerList, AnIndexThatNoArrayCanHoldIsAnExceptionAndChangesNothing) {
    ZfxPtrList list;
    list.append(objects);
    EXPECT_THROW(list.insert(INT_MAX, objects), std::bad_alloc);
    EXPECT_EQ(list.size(), 1);
    EXPECT_EQ(list.get(0), objects);
}

}  // namespace
