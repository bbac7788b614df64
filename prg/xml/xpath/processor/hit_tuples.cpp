// Collecting and logging the hits of a set.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>

#include "foundation/memory.h"
#include "prg/xml/xpath/processor/int_array.h"
#include "prg/xml/xpath/processor/search_set.h"

namespace {

constexpr std::int32_t initialTupleCapacity = 64;
constexpr std::int32_t initialHitCapacity = 32;
constexpr std::int32_t loggedRecords = 5;
constexpr std::size_t databaseNameSize = 64;

struct BlockRelease {
    void operator()(std::int32_t *block) const { ZfxMemFree(block); }
};
using IntBlock = std::unique_ptr<std::int32_t[], BlockRelease>;

// A cursor over records, released with this object.
class RecordControl {
public:
    RecordControl() { ZdbCreateRecordControl(&m_handle); }
    ~RecordControl() { ZdbDeleteRecordControl(&m_handle); }
    RecordControl(const RecordControl &) = delete;
    RecordControl &operator=(const RecordControl &) = delete;

    ZdbHandle Get() const { return m_handle; }

private:
    ZdbHandle m_handle = nullptr;
};

// The growing array of tuples: their count, then pairs.
class TupleArray {
public:
    TupleArray() {
        Reallocate();
        m_block[0] = 0;
    }

    std::int32_t GetCount() const { return m_block[0]; }
    std::int32_t *Release() { return m_block.release(); }

    // False, and nothing added, when the array would outgrow its count.
    bool Append(std::int32_t recordId, const std::int32_t *values, std::int32_t count) {
        if (!MakeRoom(count)) return false;
        for (std::int32_t i = 0; i < count; ++i) {
            const std::int32_t place = 2 * m_block[0] + 1;
            m_block[place] = recordId;
            m_block[place + 1] = values[i];
            ++m_block[0];
        }
        return true;
    }

private:
    bool MakeRoom(std::int32_t count) {
        const std::int64_t used = 2 * std::int64_t{GetCount()};
        const std::int64_t wanted = 2 * std::int64_t{count};
        if (count < 1 || wanted + used < m_capacity) return true;
        const std::int64_t grown = m_capacity + wanted + 1;
        if (grown >= INT32_MAX) return false;
        m_capacity = static_cast<std::int32_t>(grown);
        Reallocate();
        return true;
    }

    void Reallocate() {
        const std::size_t bytes = (static_cast<std::size_t>(m_capacity) + 1) * sizeof(std::int32_t);
        void *block = m_block ? ZfxMemRealloc(m_block.get(), bytes) : ZfxMemAlloc(bytes);
        if (block == nullptr) throw std::bad_alloc();
        static_cast<void>(m_block.release());
        m_block.reset(static_cast<std::int32_t *>(block));
    }

    std::int32_t m_capacity = initialTupleCapacity;
    IntBlock m_block;
};

}  // namespace

std::int32_t SearchSet::GetHitTuples(std::int32_t **tuples, std::int32_t maxRecords) {
    if (m_nSearchNumber == 0) Execute();
    TupleArray collected;
    const std::int32_t last =
        maxRecords > 0 ? std::min(maxRecords, m_nRecordCount) : m_nRecordCount;
    for (std::int32_t r = 0; r < last;) {
        ++r;
        const RecordControl control;
        std::int32_t recordId = 0;
        char database[databaseNameSize] = {};
        const std::int32_t status =
            ZdbGetRecordInSearchRis(control.Get(), &m_nSearchNumber, r, &recordId, database);
        if ((status & 1) == 0) continue;
        std::int32_t *values = nullptr;
        const std::int32_t count = GetHitTuplesFromRecord(control.Get(), &values);
        const IntBlock release(values);
        if (!collected.Append(recordId, values, count)) break;
    }
    const std::int32_t count = collected.GetCount();
    *tuples = collected.Release();
    return count;
}

std::int32_t SearchSet::GetHitTuplesFromRecord(ZdbHandle recordControl, std::int32_t **values) {
    IntArray hits(initialHitCapacity, true, true);
    while (true) {
        std::int32_t part = 0, field = 0, paragraph = 0, item = 0, wordPosition = 0, length = 0;
        const std::int32_t status = ZdbGetNextHitWord(recordControl, &part, &field, &paragraph,
                                                      &item, &wordPosition, &length);
        if ((status & 1) == 0) break;
        hits.Add(part > 0 ? part : item);
    }
    *values = hits.Copy(nullptr);
    return hits.GetLengh();
}

void SearchSet::LogHitTuples() {
    // Without a number there is nothing to collect from: collecting would execute the set once
    // more.
    if (!IsLoggedAtDebug() || m_nSearchNumber == 0) return;
    std::int32_t *tuples = nullptr;
    const std::int32_t count = GetHitTuples(&tuples, loggedRecords);
    const IntBlock release(tuples);
    for (std::int32_t t = 0; t < count; ++t) {
        char line[96];
        std::snprintf(line, sizeof line, "(SS/%02d) Tuples in R%d [ %d ]", static_cast<int>(m_nId),
                      static_cast<int>(tuples[2 * t + 1]), static_cast<int>(tuples[2 * t + 2]));
        m_pLogger->Debug("SearchSet::Execute", line);  // nothing but digits for it to interpret
    }
}
