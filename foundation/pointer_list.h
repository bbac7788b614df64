#ifndef FOUNDATION_POINTER_LIST_H
#define FOUNDATION_POINTER_LIST_H

#include <cstdint>

// A growable list of untyped pointers.
//
// Ownership: the list owns its array, never the objects that its elements point to.
// Errors: none are reported. A request out of range answers with null or is ignored; that
// the array cannot grow is std::bad_alloc (ZfxOutOfMemory), and the list is as it was.
// Threads: one at a time.
class ZfxPtrList {
public:
    ZfxPtrList() = default;
    ~ZfxPtrList();
    ZfxPtrList(const ZfxPtrList &) = delete;
    ZfxPtrList &operator=(const ZfxPtrList &) = delete;

    // The number of elements.
    int size() const { return m_nLength; }

    // The element at `index`, counted from 0; null when there is none.
    void *get(int index) const;

    // Adds `p` at the end. A full array grows to the new length + 10.
    void append(void *p);

    // Puts `p` at `index` and moves what was there and above up by one; the length grows by one.
    // An index beyond the length is kept as it is: the slots in between stay null, and get()
    // answers null for `index` until the length has reached it. Callers insert at 0 to size().
    // A negative index is ignored.
    void insert(int index, void *p);

    // Takes the element at `index` out and moves those above down by one.
    void remove(int index);

    // Plain members, readable by callers; only the operations above write them.
    std::int32_t m_nMaxLen = 0;  // capacity in elements
    std::int32_t m_nLength = 0;  // number of elements
    void **m_ppList = nullptr;   // null until the first growth; slots without an element are null

private:
    void grow(std::int64_t capacity);
};

#endif
