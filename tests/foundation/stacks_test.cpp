#include "foundation/stacks.h"

#include <gtest/gtest.h>

namespace {

int objects[3];

TEST(Stacks, ANewStackHasNoArray) {
    const CPtrStack pointers;
    EXPECT_EQ(pointers.m_nMaxLen, 0);
    EXPECT_EQ(pointers.m_nLength, 0);
    EXPECT_EQ(pointers.m_ppStack, nullptr);
    const CIntStack integers;
    EXPECT_EQ(integers.m_nMaxLen, 0);
    EXPECT_EQ(integers.m_nLength, 0);
    EXPECT_EQ(integers.m_ppStack, nullptr);
}

TEST(Stacks, TheArrayGrowsByOneElementAtATime) {
    CPtrStack pointers;
    CIntStack integers;
    for (int length = 1; length <= 30; ++length) {
        pointers.push(objects);
        integers.push(length);
        EXPECT_EQ(pointers.m_nMaxLen, length);
        EXPECT_EQ(integers.m_nMaxLen, length);
    }
}

TEST(Stacks, ThePointerStackKeepsItsCapacityUntilItIsEmpty) {
    CPtrStack stack;
    for (int &object : objects)
        stack.push(&object);
    EXPECT_EQ(stack.m_nMaxLen, 3);
    EXPECT_EQ(stack.pop(), objects + 2);
    EXPECT_EQ(stack.pop(), objects + 1);
    EXPECT_EQ(stack.m_nMaxLen, 3);
    EXPECT_EQ(stack.size(), 1);
    EXPECT_EQ(stack.pop(), objects);
    EXPECT_EQ(stack.m_nMaxLen, 0);
    EXPECT_EQ(stack.m_ppStack, nullptr);
    stack.push(objects);
    EXPECT_EQ(stack.m_nMaxLen, 1);
}

TEST(Stacks, TheIntegerStackKeepsItsCapacityUntilItIsEmpty) {
    CIntStack stack;
    for (int value = 7; value < 10; ++value)
        stack.push(value);
    EXPECT_EQ(stack.m_nMaxLen, 3);
    EXPECT_EQ(stack.pop(), 9);
    EXPECT_EQ(stack.pop(), 8);
    EXPECT_EQ(stack.m_nMaxLen, 3);
    EXPECT_EQ(stack.pop(), 7);
    EXPECT_EQ(stack.m_nMaxLen, 0);
    EXPECT_EQ(stack.m_ppStack, nullptr);
}

TEST(Stacks, PushingAfterAPopUsesTheArrayThatIsThere) {
    CIntStack stack;
    stack.push(1);
    stack.push(2);
    stack.pop();
    stack.push(3);
    EXPECT_EQ(stack.m_nMaxLen, 2);
    EXPECT_EQ(stack.top(), 3);
}

TEST(Stacks, AnEmptyStackAnswersWithNullOrZeroAndStaysAsItIs) {
    CPtrStack pointers;
    EXPECT_EQ(pointers.pop(), nullptr);
    EXPECT_EQ(pointers.top(), nullptr);
    EXPECT_EQ(pointers.peek(0), nullptr);
    EXPECT_EQ(pointers.size(), 0);
    EXPECT_EQ(pointers.m_nMaxLen, 0);
    CIntStack integers;
    EXPECT_EQ(integers.pop(), 0);
    EXPECT_EQ(integers.top(), 0);
    EXPECT_EQ(integers.peek(0), 0);
    EXPECT_EQ(integers.size(), 0);
    EXPECT_EQ(integers.m_nMaxLen, 0);
}

TEST(Stacks, PeekCountsFromTheBottom) {
    CIntStack stack;
    for (int value = 7; value < 10; ++value)
        stack.push(value);
    EXPECT_EQ(stack.peek(0), 7);
    EXPECT_EQ(stack.peek(2), 9);
    EXPECT_EQ(stack.peek(3), 0);
    EXPECT_EQ(stack.peek(-1), 0);
    stack.pop();
    EXPECT_EQ(stack.peek(2), 0);
    EXPECT_EQ(stack.top(), 8);
}

}  // namespace
