#ifndef PRG_XML_XPATH_PROCESSOR_INT_ARRAY_H
#define PRG_XML_XPATH_PROCESSOR_INT_ARRAY_H

#include <cstdint>

// A growable array of integers that can keep itself sorted and free of duplicates; it collects the
// hits of a record.
//
// Ownership: the array owns its block; a copy made by Copy() belongs to the caller.
// Errors: std::bad_alloc when the block cannot grow (ZfxOutOfMemory); the array is as it was.
// Threads: one at a time.
class IntArray {
public:
    // size: capacity to begin with. sorted: Add() keeps ascending order. unique: a sorted array
    // takes no value twice.
    IntArray(std::int32_t size, bool sorted, bool unique);
    virtual ~IntArray();
    IntArray(const IntArray &) = delete;
    IntArray &operator=(const IntArray &) = delete;

    // Adds `value`: at its place when the array is sorted, else at the end.
    void Add(std::int32_t value);

    // Puts `value` at `index` and moves what was there and above up by one. The count stays, so
    // that the last value drops out of it: kept, the hit lists in the logs have always been so. At
    // the count or beyond, `value` is appended and counted. A negative index counts as 0.
    void Insert(std::int32_t index, std::int32_t value);

    // Adds `value` before the first greater one. REQUIRES: the values are in ascending order.
    void AddSorted(std::int32_t value);

    // Makes room for `size` values, in steps of 32.
    void EnsureSize(std::int32_t size);

    // The number of values. The name has always been spelled so.
    std::int32_t GetLengh() const { return m_nFill; }

    // Copies the values to `dest`, which must hold GetLengh() of them, or, when it is null, to a
    // new block that the caller releases with ZfxMemFree. Returns where they are.
    std::int32_t *Copy(std::int32_t *dest) const;

private:
    bool m_bSorted;
    bool m_bUnique;
    std::int32_t m_nSize;    // capacity
    std::int32_t m_nFill;    // values counted
    std::int32_t *m_pArray;  // owned, of the foundation's memory functions
};

#endif
