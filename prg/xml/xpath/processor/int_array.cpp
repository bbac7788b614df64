#include "prg/xml/xpath/processor/int_array.h"

#include <algorithm>
#include <cstddef>

#include "foundation/memory.h"

namespace {

constexpr std::int64_t growth = 32;

std::size_t BytesFor(std::int32_t count) {
    return static_cast<std::size_t>(std::max(count, 1)) * sizeof(std::int32_t);
}

std::int32_t *AllocateValues(std::int32_t count) {
    void *block = ZfxMemAlloc(BytesFor(count));
    if (block == nullptr) ZfxOutOfMemory();
    return static_cast<std::int32_t *>(block);
}

}  // namespace

IntArray::IntArray(std::int32_t size, bool sorted, bool unique)
    : m_bSorted(sorted),
      m_bUnique(unique),
      m_nSize(std::max(size, 0)),
      m_nFill(0),
      m_pArray(AllocateValues(m_nSize)) {}

IntArray::~IntArray() {
    ZfxMemFree(m_pArray);
}

void IntArray::Add(std::int32_t value) {
    EnsureSize(m_nFill + 1);
    if (m_bSorted) {
        AddSorted(value);
    } else {
        m_pArray[m_nFill++] = value;
    }
}

void IntArray::Insert(std::int32_t index, std::int32_t value) {
    EnsureSize(m_nFill + 1);
    if (index >= m_nFill) {
        m_pArray[m_nFill++] = value;
        return;
    }
    std::int32_t *place = m_pArray + std::max(index, 0);
    std::copy_backward(place, m_pArray + m_nFill, m_pArray + m_nFill + 1);
    *place = value;
}

void IntArray::AddSorted(std::int32_t value) {
    for (std::int32_t i = 0; i < m_nFill; ++i) {
        if (m_bUnique && m_pArray[i] == value) return;
        if (m_pArray[i] > value) {
            Insert(i, value);
            return;
        }
    }
    Insert(m_nFill, value);
}

void IntArray::EnsureSize(std::int32_t size) {
    if (m_nSize >= size) return;
    const std::int64_t missing = std::int64_t{size} - m_nSize;
    const std::int64_t steps = (missing + growth - 1) / growth;
    const auto grown =
        static_cast<std::int32_t>(std::min<std::int64_t>(m_nSize + steps * growth, INT32_MAX));
    void *block = ZfxMemRealloc(m_pArray, BytesFor(grown));
    if (block == nullptr) ZfxOutOfMemory();
    m_pArray = static_cast<std::int32_t *>(block);
    m_nSize = grown;
}

std::int32_t *IntArray::Copy(std::int32_t *dest) const {
    if (dest == nullptr) dest = AllocateValues(m_nFill);
    std::copy_n(m_pArray, m_nFill, dest);
    return dest;
}
