#include "zdbs/embedded/paths/row_sets.h"

#include <algorithm>

#include "foundation/bit_count.h"
#include "zdbs/embedded/paths/row_collector.h"

namespace zdbs::embedded {
namespace {

/** Sets with at least one row in so many are held as bits. */
constexpr std::uint64_t rowsPerBit = 32;

/** A look into a compressed bitmap costs as much as setting so many bits. */
constexpr std::uint64_t bitsPerQuestion = 8;

bool isRange(std::span<const RowId> rows) {
    return rows.back() - rows.front() + 1 == rows.size();
}

}  // namespace

std::optional<RowRanges> rangesOf(const RowSet &rows, std::size_t most) {
    RowRanges ranges;
    RowId buffer[1024];
    roaring_uint32_iterator_t place;
    roaring_init_iterator(&rows.roaring, &place);
    const auto extend = [&](RowId first, RowId end) {
        if (!ranges.empty() && ranges.back().end == first) {
            ranges.back().end = end;
        } else {
            ranges.push_back({first, end});
        }
    };
    while (const std::uint32_t found = roaring_read_uint32_iterator(&place, buffer, 1024)) {
        const std::span<const RowId> batch(buffer, found);
        if (isRange(batch)) {
            extend(batch.front(), batch.back() + 1);
        } else {
            for (RowId row : batch)
                extend(row, row + 1);
        }
        if (ranges.size() > most) return std::nullopt;
    }
    return ranges;
}

void normalize(RowRanges &ranges) {
    std::sort(ranges.begin(), ranges.end(),
              [](const RowRange &a, const RowRange &b) { return a.first < b.first; });
    std::size_t kept = 0;
    for (const RowRange &range : ranges) {
        if (range.first >= range.end) continue;
        if (kept != 0 && range.first <= ranges[kept - 1].end) {
            ranges[kept - 1].end = std::max(ranges[kept - 1].end, range.end);
        } else {
            ranges[kept++] = range;
        }
    }
    ranges.resize(kept);
}

RowSetPtr partInRanges(const PathTable &table, const PathPart &part, RowRanges ranges) {
    normalize(ranges);
    RowCollector collector;
    for (const RowRange &range : ranges)
        collector.addRange(range.first, range.end);
    if (isWhole(table, part)) return collector.finishPart(table, part.path, part.rows);
    RowSet rows = collector.finish();
    rows &= *part.rows;
    if (rows.cardinality() == part.rows->cardinality()) return part.rows;
    return sharedRows(table, part.path, std::move(rows));
}

RowBits::RowBits(RowId size, const RowSet &rows) : RowBits(size) {
    add(rows);
}

std::uint64_t RowBits::count() const {
    std::uint64_t count = 0;
    for (std::uint64_t word : words_)
        count += bitCount(word);
    return count;
}

void RowBits::add(const RowSet &rows) {
    forRows(rows, [this](std::span<const RowId> batch) {
        if (isRange(batch)) return addRange(batch.front(), batch.back() + 1);
        for (RowId row : batch)
            add(row);
    });
}

void RowBits::addRange(RowId first, RowId end) {
    for (; first < end && first % 64 != 0; ++first)
        add(first);
    for (; first + 64 <= std::min(end, size_); first += 64)
        words_[first / 64] = ~std::uint64_t{0};
    for (; first < end; ++first)
        add(first);
}

RowMembers::RowMembers(RowId rowCount, const RowSet &rows, std::uint64_t questions) : rows_(rows) {
    const std::uint64_t costOfBits = rows.cardinality() + rowCount / rowsPerBit;
    if (questions * bitsPerQuestion > costOfBits) bits_.emplace(rowCount, rows);
}

void RowSum::add(std::span<const RowId> rows) {
    if (!bits_ && (few_.size() + rows.size()) * rowsPerBit > rowCount_) {
        bits_.emplace(rowCount_);
        for (RowId row : few_)
            bits_->add(row);
        few_ = {};
    }
    if (!bits_) {
        few_.insert(few_.end(), rows.begin(), rows.end());
        isSorted_ = false;
        return;
    }
    for (RowId row : rows)
        bits_->add(row);
}

void RowSum::add(const RowSet &rows) {
    if (bits_) return bits_->add(rows);
    forRows(rows, [this](std::span<const RowId> batch) { add(batch); });
}

std::span<const RowId> RowSum::few() {
    if (!isSorted_) {
        std::sort(few_.begin(), few_.end());
        few_.erase(std::unique(few_.begin(), few_.end()), few_.end());
    }
    isSorted_ = true;
    return few_;
}

RowSet RowSum::rows() {
    RowCollector collector;
    if (bits_) {
        collector.addBits(bits_->words());
    } else {
        collector.add(few());
    }
    return collector.finish();
}

}  // namespace zdbs::embedded
