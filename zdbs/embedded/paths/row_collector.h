/** Builds sets of rows from rows in ascending order. */
#ifndef ZDBS_EMBEDDED_PATHS_ROW_COLLECTOR_H
#define ZDBS_EMBEDDED_PATHS_ROW_COLLECTOR_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "zdbs/embedded/paths/path_table.h"

namespace zdbs::embedded {

/**
 * Collects ascending rows and makes the compressed bitmap of them at the end. Rows are
 * put together chunk by chunk of 65536 and written in the portable format of Roaring
 * bitmaps, which is read back as it is: several times as fast as adding them one by one.
 */
class RowCollector {
public:
    /** REQUIRES that `row` is beyond all rows before. */
    void add(RowId row);

    /** The same for many, ascending. */
    void add(std::span<const RowId> rows);

    /** Adds first … end - 1; nothing when first >= end. */
    void addRange(RowId first, RowId end);

    /** Adds row i where bit i is set. REQUIRES that nothing was added. */
    void addBits(std::span<const std::uint64_t> words);

    std::uint64_t size() const { return rowCount_ + inChunk_; }

    /** The rows; the collector is empty again. */
    RowSet finish();

    /**
     * The rows as the rows of a part that was chosen from `among`: that object when they are
     * all of it, the path's live rows when they are those; null for none.
     */
    RowSetPtr finishPart(const PathTable &table, PathId path, const RowSetPtr &among);

private:
    static constexpr std::uint32_t chunkSize = 65536;
    static constexpr std::uint32_t largestArray = 4096;

    using Low = std::uint16_t;  ///< place of a row in its chunk

    RowSetPtr forget(const RowSetPtr &rows);
    void openChunk(std::uint32_t chunk);
    void closeChunk();
    void addFew(std::span<const std::uint64_t> words);
    void makeRoomFor(std::uint32_t count);
    void setBits(std::uint32_t first, std::uint32_t end);

    std::uint32_t chunk_ = 0;  ///< the open one
    std::uint32_t inChunk_ = 0;
    bool isBits_ = false;                ///< whether its rows are in words_, not in low_
    std::array<Low, largestArray> low_;  ///< rows of the open chunk while they are few
    std::array<std::uint64_t, chunkSize / 64> words_;

    std::uint64_t rowCount_ = 0;  ///< in closed chunks
    bool hasRanges_ = false;      ///< whether storing runs is worth a try
    std::string keys_;            ///< of closed chunks: number, count - 1
    std::string offsets_;         ///< where each begins in chunks_
    std::string chunks_;
};

}  // namespace zdbs::embedded

#endif
