#include "prg/xml/xpath/processor/int_array.h"

#include <gtest/gtest.h>

#include <vector>

#include "foundation/memory.h"

namespace {

std::vector<std::int32_t> valuesOf(const IntArray &array) {
    std::vector<std::int32_t> values(static_cast<std::size_t>(array.GetLengh()));
    if (!values.empty()) array.Copy(values.data());
    return values;
}

using Values = std::vector<std::int32_t>;

TEST(IntArray, StartsEmpty) {
    const IntArray array(32, true, true);
    EXPECT_EQ(array.GetLengh(), 0);
}

TEST(IntArray, KeepsTheOrderOfAddingWhenItIsNotSorted) {
    IntArray array(2, false, true);
    for (const std::int32_t value : {5, 3, 5, 9})
        array.Add(value);
    EXPECT_EQ(valuesOf(array), (Values{5, 3, 5, 9}));
}

TEST(IntArray, ASortedArrayOfFiveThenThreeCountsTheThreeAlone) {
    IntArray array(32, true, true);
    array.AddSorted(5);
    array.AddSorted(3);
    EXPECT_EQ(valuesOf(array), (Values{3}));
}

TEST(IntArray, AddingASmallerValueDropsTheLastOne) {
    IntArray array(32, true, true);
    for (const std::int32_t value : {10, 20, 30, 15})
        array.Add(value);
    EXPECT_EQ(valuesOf(array), (Values{10, 15, 20}));
}

TEST(IntArray, AUniqueArrayTakesAValueOnce) {
    IntArray array(32, true, true);
    for (const std::int32_t value : {1, 1, 2, 2, 1})
        array.Add(value);
    EXPECT_EQ(valuesOf(array), (Values{1, 2}));
}

TEST(IntArray, ASortedArrayThatIsNotUniqueTakesAValueTwice) {
    IntArray array(32, true, false);
    for (const std::int32_t value : {1, 1, 2})
        array.Add(value);
    EXPECT_EQ(valuesOf(array), (Values{1, 1, 2}));
}

TEST(IntArray, InsertWithinMovesUpAndKeepsTheCount) {
    IntArray array(32, false, false);
    for (const std::int32_t value : {1, 2, 3})
        array.Add(value);
    array.Insert(1, 9);
    EXPECT_EQ(valuesOf(array), (Values{1, 9, 2}));
}

TEST(IntArray, InsertAtTheCountOrBeyondAppends) {
    IntArray array(32, false, false);
    array.Insert(0, 1);
    array.Insert(7, 2);
    EXPECT_EQ(valuesOf(array), (Values{1, 2}));
}

TEST(IntArray, InsertAtANegativeIndexGoesToTheFront) {
    IntArray array(32, false, false);
    for (const std::int32_t value : {1, 2})
        array.Add(value);
    array.Insert(-4, 9);
    EXPECT_EQ(valuesOf(array), (Values{9, 1}));
}

TEST(IntArray, GrowsBeyondItsFirstSize) {
    for (const std::int32_t size : {-1, 0, 1, 31, 32, 33}) {
        IntArray array(size, true, true);
        for (std::int32_t value = 0; value < 1000; ++value)
            array.Add(value);
        EXPECT_EQ(array.GetLengh(), 1000) << size;
        EXPECT_EQ(valuesOf(array).back(), 999) << size;
    }
}

TEST(IntArray, EnsureSizeKeepsTheValues) {
    IntArray array(1, false, false);
    array.Add(7);
    array.EnsureSize(5000);
    array.EnsureSize(-3);
    EXPECT_EQ(valuesOf(array), (Values{7}));
}

TEST(IntArray, CopyWithoutADestinationMakesABlockForTheCaller) {
    IntArray array(4, false, false);
    array.Add(7);
    array.Add(8);
    std::int32_t *block = array.Copy(nullptr);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[0], 7);
    EXPECT_EQ(block[1], 8);
    ZfxMemFree(block);
}

TEST(IntArray, CopyReturnsItsDestination) {
    IntArray array(4, false, false);
    array.Add(7);
    std::int32_t destination[1] = {0};
    EXPECT_EQ(array.Copy(destination), destination);
    EXPECT_EQ(destination[0], 7);
}

TEST(IntArray, AnEmptyArrayCanBeCopied) {
    const IntArray array(0, true, true);
    ZfxMemFree(array.Copy(nullptr));
    EXPECT_EQ(valuesOf(array), Values{});
}

}  // namespace
