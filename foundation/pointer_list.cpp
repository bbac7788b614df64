#include "foundation/pointer_list.h"

#include <algorithm>
#include <cstddef>

#include "foundation/memory.h"

namespace {

constexpr std::int64_t slack = 10;

}  // namespace

ZfxPtrList::~ZfxPtrList() {
    ZfxMemFree(m_ppList);
}

void *ZfxPtrList::get(int index) const {
    if (m_ppList == nullptr || index < 0 || index >= m_nLength) return nullptr;
    return m_ppList[index];
}

void ZfxPtrList::append(void *p) {
    const std::int64_t length = std::int64_t{m_nLength} + 1;
    if (length > m_nMaxLen) grow(length + slack);
    m_ppList[m_nLength++] = p;
}

void ZfxPtrList::insert(int index, void *p) {
    if (index < 0) return;
    const std::int64_t needed = std::int64_t{std::max(m_nLength, index)} + slack;
    if (needed > m_nMaxLen) grow(needed);
    // The whole capacity moves, since elements inserted beyond the length live there.
    void **const slot = m_ppList + index;
    std::copy_backward(slot, m_ppList + m_nMaxLen - 1, m_ppList + m_nMaxLen);
    *slot = p;
    ++m_nLength;
}

void ZfxPtrList::remove(int index) {
    if (index < 0 || index >= m_nLength) return;
    void **const slot = m_ppList + index;
    std::copy(slot + 1, m_ppList + m_nLength, slot);
    m_ppList[--m_nLength] = nullptr;
}

void ZfxPtrList::grow(std::int64_t capacity) {
    const std::size_t bytes = static_cast<std::size_t>(capacity) * sizeof(void *);
    void *array = capacity > INT32_MAX ? nullptr : ZfxMemRealloc(m_ppList, bytes);
    if (array == nullptr) ZfxOutOfMemory();
    m_ppList = static_cast<void **>(array);
    std::fill(m_ppList + m_nMaxLen, m_ppList + capacity, nullptr);
    m_nMaxLen = static_cast<std::int32_t>(capacity);
}
