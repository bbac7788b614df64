/** Reads the columns of the rows of a set, in batches. */
#ifndef ZDBS_EMBEDDED_PATHS_ROW_READER_H
#define ZDBS_EMBEDDED_PATHS_ROW_READER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "zdbs/embedded/paths/row_sets.h"

namespace zdbs::embedded {

/** Some rows of one run, ascending; never none. */
struct RowBatch {
    const PathRun *run = nullptr;
    std::span<const RowId> rows;

    /** Whether no row is left out between the first and the last. */
    bool isRange() const { return rows.back() - rows.front() + 1 == rows.size(); }
};

/** Goes through a set of rows of one path, run by run. For one thread. */
class RowReader {
public:
    static constexpr std::size_t batchSize = 1024;

    /** What is read must outlive it. */
    RowReader(const PathTable &table, PathId path, const RowSet &rows);
    RowReader(const PathTable &table, PathId path, const RowBits &rows);

    /** Those of a set within a range. */
    RowReader(const PathTable &table, PathId path, const RowSet &rows, RowRange within);
    RowReader(const PathTable &table, PathId path, RowRange rows);

    /** @param rows ascending */
    RowReader(const PathTable &table, PathId path, std::span<const RowId> rows);

    RowReader(const RowReader &) = delete;
    RowReader &operator=(const RowReader &) = delete;

    /** The next batch, valid until the next call; false at the end. */
    bool next(RowBatch &batch);

private:
    enum class Source { set, range, bits, list };

    bool fill();
    void fillFromSet();
    void fillFromRange();
    void fillFromBits();

    std::span<const PathRun> runs_;
    Source source_;
    roaring_uint32_iterator_t place_;       ///< of a set
    RowId nextRow_ = 0;                     ///< of a range; of bits: row of the first word
    RowId endRow_ = 0;                      ///< of a range and of a set
    std::span<const std::uint64_t> words_;  ///< of bits: those not looked at
    std::uint64_t word_ = 0;                ///< of bits: what is left of the word before
    std::array<RowId, batchSize> buffer_;
    std::span<const RowId> left_;
};

/**
 * Reads column values of rows; `base` is the row of the column's first. At most
 * RowReader::batchSize rows, into as much of `out`.
 */
void gather(const PackedColumn &column, RowId base, std::span<const RowId> rows,
            std::span<std::uint32_t> out);

/** The numbers of the nodes of a batch. */
void readNodes(const RowBatch &batch, std::span<NodeId> out);

/** The rows of their parents in the parent's path. */
void readParents(const RowBatch &batch, std::span<RowId> out);

}  // namespace zdbs::embedded

#endif
