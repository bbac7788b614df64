/** Sets of rows in the forms that joins work with: ranges, bits, sums of many batches. */
#ifndef ZDBS_EMBEDDED_PATHS_ROW_SETS_H
#define ZDBS_EMBEDDED_PATHS_ROW_SETS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "zdbs/embedded/paths/path_nodes.h"

namespace zdbs::embedded {

/** Rows first … end - 1. */
struct RowRange {
    RowId first;
    RowId end;
};

using RowRanges = std::vector<RowRange>;

/** A set as its ranges of neighbouring rows; nothing when they are more than `most`. */
std::optional<RowRanges> rangesOf(const RowSet &rows, std::size_t most);

/** Puts ranges in order and joins those that touch. */
void normalize(RowRanges &ranges);

/** The rows of a part that are in ranges of live rows, in any order; null for none. */
RowSetPtr partInRanges(const PathTable &table, const PathPart &part, RowRanges ranges);

/** Calls `take` with the rows of a set, ascending, some at a time. */
template <typename Take>
void forRows(const RowSet &rows, Take take) {
    constexpr std::uint32_t count = 1024;
    RowId buffer[count];
    roaring_uint32_iterator_t place;
    roaring_init_iterator(&rows.roaring, &place);
    while (const std::uint32_t found = roaring_read_uint32_iterator(&place, buffer, count))
        take(std::span<const RowId>(buffer, found));
}

/** One bit a row. Rows beyond the size, which only damaged files have, are never in it. */
class RowBits {
public:
    explicit RowBits(RowId size) : size_(size), words_(size / 64U + 1) {}
    RowBits(RowId size, const RowSet &rows);

    void add(RowId row) {
        if (row < size_) words_[row / 64] |= std::uint64_t{1} << (row % 64);
    }

    bool has(RowId row) const { return row < size_ && (words_[row / 64] >> (row % 64) & 1U) != 0; }

    std::span<const std::uint64_t> words() const { return words_; }
    std::uint64_t count() const;

    void add(const RowSet &rows);

private:
    void addRange(RowId first, RowId end);

    RowId size_;
    std::vector<std::uint64_t> words_;
};

/** "Is this row in that set?" for so many questions as expected. The set must outlive it. */
class RowMembers {
public:
    RowMembers(RowId rowCount, const RowSet &rows, std::uint64_t questions);

    bool has(RowId row) const { return bits_ ? bits_->has(row) : rows_.contains(row); }

private:
    const RowSet &rows_;
    std::optional<RowBits> bits_;
};

/** Takes rows in any order, the same more than once. */
class RowSum {
public:
    explicit RowSum(RowId rowCount) : rowCount_(rowCount) {}

    void add(std::span<const RowId> rows);

    void add(const RowSet &rows);

    bool isEmpty() const { return !bits_ && few_.empty(); }

    /** All that were added: as bits, or null when they are few. */
    const RowBits *bits() const { return bits_ ? &*bits_ : nullptr; }

    /** All that were added, ascending, when they are few. */
    std::span<const RowId> few();

    /** All that were added. */
    RowSet rows();

private:
    RowId rowCount_;
    std::vector<RowId> few_;  ///< until they are many
    bool isSorted_ = true;
    std::optional<RowBits> bits_;
};

}  // namespace zdbs::embedded

#endif
