/** Nodes of several paths in one order, and chosen by their places in it. */
#ifndef ZDBS_EMBEDDED_POSITIONS_MERGED_PARTS_H
#define ZDBS_EMBEDDED_POSITIONS_MERGED_PARTS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "foundation/bit_count.h"
#include "zdbs/embedded/joins/join.h"
#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/paths/row_collector.h"

namespace zdbs::embedded {

/** Places first … end - 1 among nodes. */
struct PlaceRange {
    std::uint64_t first;
    std::uint64_t end;
};

/** Collects slices of an ascending list of rows, which may be a range. */
class SliceCollector {
public:
    explicit SliceCollector(const RowSet &rows);

    /** Adds the rows at places first … end - 1. */
    void add(std::uint64_t first, std::uint64_t end) {
        if (end - first > shortSlice) return addLong(first, end);
        if (count_ + shortSlice > buffer_.size()) flush();
        for (std::uint64_t place = first; place < end; ++place)
            buffer_[count_++] = rowAt(place);
    }

    void addOne(std::uint64_t place) {
        if (count_ == buffer_.size()) flush();
        buffer_[count_++] = rowAt(place);
    }

    RowSetPtr finish(const PathTable &table, const PathPart &part);

private:
    static constexpr std::uint64_t shortSlice = 16;  ///< more rows are added as a range

    RowId rowAt(std::uint64_t place) const {
        return list_.empty() ? first_ + static_cast<RowId>(place) : list_[place];
    }

    void addLong(std::uint64_t first, std::uint64_t end);
    void flush();

    RowId first_;
    std::vector<RowId> list_;  ///< empty for a range
    std::array<RowId, 1024> buffer_;
    std::size_t count_ = 0;
    RowCollector kept_;
};

/** Collects numbers at places of an ascending list, which must outlive it. */
class NumberCollector {
public:
    explicit NumberCollector(const NodeIds &list) : list_(list) {}

    void add(std::uint64_t first, std::uint64_t end) {
        for (std::uint64_t place = first; place < end; ++place)
            addOne(place);
    }

    void addOne(std::uint64_t place) { chosen_.push_back(list_[place]); }

    const NodeIds &chosen() const { return chosen_; }

private:
    const NodeIds &list_;
    NodeIds chosen_;
};

/** Where numbers stand in an ascending list. The list must outlive it and is not empty. */
class NumberIndex {
public:
    explicit NumberIndex(std::span<const NodeId> ascending);

    bool contains(NodeId node) const {
        const NodeId offset = node - first_;  // wraps around before the first
        if (words_.empty()) return std::binary_search(list_.begin(), list_.end(), node);
        return offset < width_ && (words_[offset / 64] >> (offset % 64) & 1U) != 0;
    }

    /** The place of the first that is not less than `number`, or how many there are. */
    std::size_t placeOf(NodeId number) const {
        if (number <= first_) return 0;
        const NodeId offset = number - first_;
        if (offset >= width_) return list_.size();
        if (words_.empty()) return search(number);
        const std::uint64_t before = words_[offset / 64] & ((std::uint64_t{1} << offset % 64) - 1);
        return before_[offset / 64] + bitCount(before);
    }

private:
    static constexpr NodeId thin = 1024;  ///< numbers a node that are not worth their bits

    std::size_t search(NodeId number) const;

    std::span<const NodeId> list_;
    NodeId first_;
    NodeId width_;
    std::vector<std::uint64_t> words_;   ///< a bit for each number; empty where they are too many
    std::vector<std::uint32_t> before_;  ///< numbers in the words before each
};

/**
 * Parts of a set, each of another path. A place is that of a node in the order of the numbers
 * among the nodes of all parts, from 0. For one thread.
 */
class MergedParts {
public:
    /** What is given must outlive it. */
    explicit MergedParts(const PathTable &table, PathNodes parts = {})
        : table_(table), parts_(std::move(parts)) {}

    /** REQUIRES that the path is not among the parts, and that no number was asked for. */
    void add(const PathPart &part) { parts_.push_back(part); }

    const PathNodes &parts() const { return parts_; }

    /** The numbers of all nodes, ascending; made when they are asked for. */
    const NodeIds &numbers() const {
        if (!numbers_) numbers_ = nodeIdsOf(table_, parts_);
        return *numbers_;
    }

    /**
     * Adds the nodes at some places to a set. `choose` is called with what takes them, as a
     * SliceCollector does: ascending, no place twice.
     */
    template <typename Choose>
    void select(Choose choose, PathNodes &result) const {
        if (parts_.empty()) return;
        if (parts_.size() > 1) return selectMerged(choose, result);
        SliceCollector kept(*parts_.front().rows);
        choose(kept);
        addRows(parts_.front().path, kept.finish(table_, parts_.front()), result);
    }

    /** Adds rows of a part to a set. */
    void addRowsOf(const PathPart &part, RowCollector &rows, PathNodes &result) const {
        addRows(part.path, rows.finishPart(table_, part.path, part.rows), result);
    }

    /** Adds those of the nodes that are in a list, which is ascending. */
    void addChosen(const NodeIds &chosen, PathNodes &result) const;

protected:
    const PathTable &table() const { return table_; }

private:
    template <typename Choose>
    void selectMerged(Choose choose, PathNodes &result) const {
        NumberCollector kept(numbers());
        choose(kept);
        addChosen(kept.chosen(), result);
    }

    static void addRows(PathId path, RowSetPtr rows, PathNodes &result) {
        if (rows) result.push_back({path, std::move(rows)});
    }

    const PathTable &table_;
    PathNodes parts_;
    mutable std::optional<NodeIds> numbers_;
};

}  // namespace zdbs::embedded

#endif
