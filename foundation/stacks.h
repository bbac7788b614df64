#ifndef FOUNDATION_STACKS_H
#define FOUNDATION_STACKS_H

#include <cstddef>
#include <cstdint>

#include "foundation/memory.h"

// The common shape of the two stacks below. The bottom of the stack is index 0.
//
// Ownership: the stack owns its array, never what its elements point to.
// Errors: none are reported. A request out of range answers with null or 0; that the array cannot
// grow is std::bad_alloc (ZfxOutOfMemory), and the stack is as it was.
// Threads: one at a time.
template <typename T>
class ZfxStack {
public:
    ZfxStack() = default;
    ~ZfxStack() { ZfxMemFree(m_ppStack); }
    ZfxStack(const ZfxStack &) = delete;
    ZfxStack &operator=(const ZfxStack &) = delete;

    // The number of elements.
    int size() const { return m_nLength; }

    // Puts `value` on top. The array grows by one element at a time, without slack.
    void push(T value) {
        if (m_nLength >= m_nMaxLen) growByOne();
        m_ppStack[m_nLength++] = value;
    }

    // The top value; null or 0 on an empty stack.
    T top() const { return peek(m_nLength - 1); }

    // The value at `index`, counted from the bottom; null or 0 when there is none.
    T peek(int index) const {
        return m_ppStack != nullptr && index >= 0 && index < m_nLength ? m_ppStack[index] : T{};
    }

    // Takes the top value off and returns it; null or 0 on an empty stack, which stays as it is.
    // The last value to go takes the array with it.
    T pop() {
        const T value = top();
        if (m_nLength > 0 && --m_nLength == 0) release();
        return value;
    }

    // Plain members, readable by callers; only the operations above write them.
    std::int32_t m_nMaxLen = 0;  // capacity in elements
    std::int32_t m_nLength = 0;  // number of elements
    T *m_ppStack = nullptr;      // null while the stack is empty

private:
    void growByOne() {
        if (m_nLength == INT32_MAX) ZfxOutOfMemory();
        const std::size_t bytes = (static_cast<std::size_t>(m_nLength) + 1) * sizeof(T);
        void *array = ZfxMemRealloc(m_ppStack, bytes);
        if (array == nullptr) ZfxOutOfMemory();
        m_ppStack = static_cast<T *>(array);
        m_nMaxLen = m_nLength + 1;
    }

    void release() {
        ZfxMemFree(m_ppStack);
        m_ppStack = nullptr;
        m_nMaxLen = 0;
    }
};

// A stack of untyped pointers.
class CPtrStack : public ZfxStack<void *> {};

// A stack of integers.
class CIntStack : public ZfxStack<std::int32_t> {};

#endif
