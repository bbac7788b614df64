/** The nodes that are below others. */
#include <algorithm>
#include <limits>
#include <utility>

#include "zdbs/paths/column_cursor.h"
#include "zdbs/paths/row_collector.h"
#include "zdbs/paths/row_reader.h"
#include "zdbs/paths/row_sets.h"
#include "zdbs/paths/vertical_join.h"

namespace zdbs {
namespace {

/** Sets of more ranges than this are not looked at range by range. */
constexpr std::size_t mostRanges = 4096;

/** Parents of rows asked for in ascending order, the same row more than once. */
class ParentFinder {
public:
    ParentFinder(const PathTable &table, PathId path) : runs_(table.runs(path)) {}

    RowId parentOf(RowId row) {
        if (row == row_) return parent_;
        if (!runs_.empty() && runs_.front().endRow() <= row) {
            const auto run =
                std::partition_point(runs_.begin(), runs_.end(),
                                     [row](const PathRun &other) { return other.endRow() <= row; });
            runs_ = {run, runs_.end()};
        }
        row_ = row;
        // Only in damaged files a row is beyond all runs; no set has it.
        parent_ = runs_.empty() ? noRow : runs_.front().parentAt(row);
        return parent_;
    }

private:
    static constexpr RowId noRow = std::numeric_limits<RowId>::max();

    std::span<const PathRun> runs_;
    RowId row_ = noRow;
    RowId parent_ = noRow;
};

/** Passes through the parents of rows; calls `take` with the rows that have one of `members`. */
template <typename Members, typename Take>
void forRowsWithParent(const PathTable &table, PathId path, const RowSet &among,
                       const Members &members, Take take) {
    RowReader reader(table, path, among);
    std::array<RowId, RowReader::batchSize> parents;
    std::array<RowId, RowReader::batchSize> rows;
    for (RowBatch batch; reader.next(batch);) {
        readParents(batch, parents);
        std::size_t count = 0;
        for (std::size_t i = 0; i < batch.rows.size(); ++i) {
            rows[count] = batch.rows[i];
            count += members.has(parents[i]) ? 1 : 0;
        }
        take(std::span<const RowId>(rows).first(count));
    }
}

/** The rows whose parent is in one of `parents`. */
RowRanges childRanges(const PathTable &table, PathId path, std::span<const RowRange> parents) {
    RowRanges result;
    ParentCursor cursor(table, path);
    for (const RowRange &range : parents) {
        const RowId first = cursor.find(range.first);
        result.push_back({first, cursor.find(range.end)});
    }
    return result;
}

/** The rows of `path` below the rows of `above` in `ranges`: those of a range lie together. */
RowRanges rangesBelow(const PathTable &table, PathId path, PathId above,
                      std::span<const RowRange> ranges) {
    if (table.summary()[path].parent == above) return childRanges(table, path, ranges);
    RowRanges result;
    NodeCursor cursor(table, path);
    for (const RowRange &range : ranges) {
        const RowId first = cursor.find(table.nodeAt({above, range.first}));
        result.push_back({first, cursor.find(table.lastBelow({above, range.end - 1}) + 1)});
    }
    return result;
}

/**
 * Finds what is below one set. Ways for a path: all of it, when a whole path is above;
 * the rows of each range of ancestors, when those are few; each row's way up, when the
 * rows are few; else a pass down, level by level, whose levels serve all paths below.
 */
class BelowJoin {
public:
    BelowJoin(const PathTable &table, const PathNodes &high, Depth depth, const JoinCosts &costs)
        : table_(table),
          depth_(depth),
          costs_(costs),
          high_(table.summary().size()),
          levels_(high_.size()) {
        for (const PathPart &part : high)
            high_[part.path].part = &part;
    }

    /** The rows of `low` that are below; null for none. */
    RowSetPtr keep(const PathPart &low) {
        findAbove(low.path);
        if (above_.empty()) return nullptr;
        const bool hasWhole = std::any_of(above_.begin(), above_.end(), [this](PathId path) {
            return isWhole(table_, *high_[path].part);
        });
        if (hasWhole) return low.rows;
        return keepRows(low);
    }

private:
    /** A part of the set above. */
    struct High {
        const PathPart *part = nullptr;
        bool isMeasured = false;
        std::optional<RowRanges> ranges;
    };

    /** Rows of a path that are in the set or below it. */
    struct Level {
        bool isKnown = false;
        bool isWhole = false;
        std::optional<RowBits> bits;  ///< none when there are no rows, or all
    };

    PathId parentOf(PathId path) const { return table_.summary()[path].parent; }

    /** Fills above_ with the paths of the set that are above, from the lowest up. */
    void findAbove(PathId path) {
        above_.clear();
        for (PathId up = parentOf(path); up != noPath; up = parentOf(up)) {
            if (high_[up].part != nullptr) above_.push_back(up);
            if (depth_ == Depth::direct) break;
        }
    }

    RowSetPtr keepRows(const PathPart &low) {
        const std::uint64_t size = low.rows->cardinality();
        const std::uint64_t byRanges = costOfRanges();
        const bool isDirect = parentOf(low.path) == above_.back();
        const std::uint64_t byPass = size * costs_.pass + (isDirect ? 0 : costOfLevels(low.path));
        const std::uint64_t byClimbing = size * levelsUp(low.path) * costs_.stepUp;
        if (byRanges <= byPass && byRanges <= byClimbing) return keepInRanges(low);
        if (isDirect) return keepByParent(low, *high_[above_.back()].part, size);
        return byClimbing < byPass ? keepByClimbing(low, size) : keepByLevel(low);
    }

    std::uint64_t levelsUp(PathId path) const {
        const PathSummary &summary = table_.summary();
        return summary[path].level - summary[above_.back()].level;
    }

    std::uint64_t costOfRanges() {
        std::uint64_t count = 0;
        for (PathId path : above_) {
            High &high = high_[path];
            if (!high.isMeasured) high.ranges = rangesOf(*high.part->rows, mostRanges);
            high.isMeasured = true;
            if (!high.ranges) return std::numeric_limits<std::uint64_t>::max();
            count += high.ranges->size();
        }
        return count * 2 * costs_.search;
    }

    /** Of the passes through the levels above a path that are not known yet. */
    std::uint64_t costOfLevels(PathId path) const {
        std::uint64_t rows = 0;
        for (PathId up = parentOf(path); up != above_.back(); up = parentOf(up)) {
            if (levels_[up].isKnown) break;
            rows += table_.rowCount(up);
        }
        return rows * costs_.pass;
    }

    RowSetPtr keepInRanges(const PathPart &low) {
        RowRanges all;
        for (PathId path : above_) {
            const RowRanges ranges = rangesBelow(table_, low.path, path, *high_[path].ranges);
            all.insert(all.end(), ranges.begin(), ranges.end());
        }
        return partInRanges(table_, low, std::move(all));
    }

    RowSetPtr keepByParent(const PathPart &low, const PathPart &high, std::uint64_t size) const {
        const RowMembers members(table_.rowCount(high.path), *high.rows, size);
        return keepWithParent(low, members);
    }

    template <typename Members>
    RowSetPtr keepWithParent(const PathPart &low, const Members &members) const {
        RowCollector kept;
        forRowsWithParent(table_, low.path, *low.rows, members,
                          [&](std::span<const RowId> rows) { kept.add(rows); });
        return kept.finishPart(table_, low.path, low.rows);
    }

    RowSetPtr keepByClimbing(const PathPart &low, std::uint64_t size) const {
        std::vector<bool> isKept(size);
        std::vector<RowId> rows;
        rows.reserve(size);
        forRows(*low.rows, [&](std::span<const RowId> batch) {
            rows.insert(rows.end(), batch.begin(), batch.end());
        });
        std::vector<RowId> places = rows;
        for (PathId path = low.path; path != above_.back();) {
            ParentFinder finder(table_, path);
            for (RowId &place : places)
                place = finder.parentOf(place);
            path = parentOf(path);
            if (high_[path].part != nullptr) markMembers(*high_[path].part, places, isKept);
        }
        RowCollector kept;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (isKept[i]) kept.add(rows[i]);
        }
        return kept.finishPart(table_, low.path, low.rows);
    }

    void markMembers(const PathPart &high, std::span<const RowId> places,
                     std::vector<bool> &isKept) const {
        const RowMembers members(table_.rowCount(high.path), *high.rows, places.size());
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (members.has(places[i])) isKept[i] = true;
        }
    }

    RowSetPtr keepByLevel(const PathPart &low) {
        const PathId parent = parentOf(low.path);
        learnLevels(parent);
        const Level &level = levels_[parent];
        if (level.isWhole) return low.rows;
        return level.bits ? keepWithParent(low, *level.bits) : nullptr;
    }

    /** Makes a level known, with all above it. */
    void learnLevels(PathId path) {
        std::vector<PathId> unknown;
        for (PathId up = path; up != noPath && !levels_[up].isKnown; up = parentOf(up))
            unknown.push_back(up);
        for (auto up = unknown.rbegin(); up != unknown.rend(); ++up)
            learnLevel(*up);
    }

    /** REQUIRES that the level above is known. */
    void learnLevel(PathId path) {
        Level &level = levels_[path];
        level.isKnown = true;
        const PathPart *own = high_[path].part;
        const PathId parent = parentOf(path);
        const bool isBelowWhole = parent != noPath && levels_[parent].isWhole;
        level.isWhole = isBelowWhole || (own != nullptr && isWhole(table_, *own));
        const bool hasAbove = parent != noPath && levels_[parent].bits;
        if (level.isWhole || (own == nullptr && !hasAbove)) return;
        RowBits &bits = level.bits.emplace(table_.rowCount(path));
        if (own != nullptr) bits.add(*own->rows);
        if (!hasAbove) return;
        forRowsWithParent(table_, path, *table_.liveRows(path), *levels_[parent].bits,
                          [&](std::span<const RowId> rows) {
                              for (RowId row : rows)
                                  bits.add(row);
                          });
        level.isWhole = bits.count() == table_.liveRows(path)->cardinality();
        if (level.isWhole) level.bits.reset();
    }

    const PathTable &table_;
    Depth depth_;
    JoinCosts costs_;
    std::vector<High> high_;     ///< by path
    std::vector<Level> levels_;  ///< by path
    std::vector<PathId> above_;
};

}  // namespace

PathNodes nodesBelow(const PathTable &table, const PathNodes &high, const PathNodes &low,
                     Depth depth, const JoinCosts &costs) {
    PathNodes result;
    if (high.empty()) return result;
    BelowJoin join(table, high, depth, costs);
    for (const PathPart &part : low) {
        if (RowSetPtr rows = join.keep(part)) result.push_back({part.path, std::move(rows)});
    }
    return result;
}

RowSetPtr childrenOf(const PathTable &table, PathId path, const RowSet &parents,
                     const RowSetPtr &among) {
    const PathId parent = table.summary()[path].parent;
    if (parents.isEmpty()) return nullptr;
    const PathNodes high{{parent, std::make_shared<const RowSet>(parents)}};
    return BelowJoin(table, high, Depth::direct, {}).keep({path, among});
}

}  // namespace zdbs
