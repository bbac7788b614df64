/** The nodes that are below others. */
#include <algorithm>
#include <limits>
#include <unordered_map>
#include <utility>

#include "zdbs/embedded/joins/column_cursor.h"
#include "zdbs/embedded/joins/vertical_join.h"
#include "zdbs/embedded/paths/path_numbers.h"
#include "zdbs/embedded/paths/row_collector.h"
#include "zdbs/embedded/paths/row_reader.h"
#include "zdbs/embedded/paths/row_sets.h"

namespace zdbs::embedded {
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
    /** @param lows about so many paths will be asked about */
    BelowJoin(const PathTable &table, const PathNodes &high, std::size_t lows, Depth depth,
              const JoinCosts &costs)
        : table_(table),
          summary_(table.summary()),
          depth_(depth),
          costs_(costs),
          high_(high),
          numbers_(summary_.size()),
          isNumbered_(high.size() > 1 && lows * placesUp >= high.size()),
          belowWhole_(summary_.size()) {
        if (!isNumbered_) return;
        for (std::uint32_t place = 0; place < high.size(); ++place)
            numbers_.set(high[place].path, place + 1);
    }

    /** The rows of `low` that are below; null for none. */
    RowSetPtr keep(const PathPart &low) {
        if (depth_ == Depth::direct) return keepChildren(low);
        if (isBelowWhole(low.path)) return low.rows;
        if (!hasPartial_) return nullptr;
        findAbove(low.path);
        return above_.empty() ? nullptr : keepRows(low);
    }

private:
    RowSetPtr keepChildren(const PathPart &low) {
        const PathId parent = parentOf(low.path);
        const PathPart *high = parent != noPath ? partOfHigh(parent) : nullptr;
        if (high == nullptr) return nullptr;
        if (isWhole(table_, *high)) return low.rows;
        above_.assign(1, parent);
        return keepRows(low);
    }

    /** Rows of a path that are in the set or below it. */
    struct Level {
        bool isKnown = false;
        bool isWhole = false;
        std::optional<RowBits> bits;  ///< none when there are no rows, or all
    };

    /** A path of so many levels or fewer is the usual one. */
    static constexpr std::size_t placesUp = 4;

    PathId parentOf(PathId path) const { return summary_[path].parent; }

    /** Whether all of the path is below: what is above it is known from other paths, mostly. */
    bool isBelowWhole(PathId path) {
        constexpr std::uint32_t no = 1;
        constexpr std::uint32_t yes = 2;
        climbed_.clear();
        std::uint32_t answer = no;
        for (PathId up = parentOf(path); up != noPath; up = parentOf(up)) {
            answer = belowWhole_[up];
            if (answer != 0) break;
            climbed_.push_back(up);
            const PathPart *part = partOfHigh(up);
            const bool isWholeThere = part != nullptr && isWhole(table_, *part);
            hasPartial_ = hasPartial_ || (part != nullptr && !isWholeThere);
            answer = isWholeThere ? yes : no;
            if (isWholeThere) break;
        }
        for (PathId up : climbed_)
            belowWhole_.set(up, answer);
        return answer == yes;
    }

    /** The part of the set above in a path, or null. */
    const PathPart *partOfHigh(PathId path) const {
        if (high_.size() == 1) return high_.front().path == path ? high_.data() : nullptr;
        if (!isNumbered_) return partOf(high_, path);
        const std::uint32_t number = numbers_[path];
        return number != 0 ? &high_[number - 1] : nullptr;
    }

    /** What a level is known to be; one that is not known when nobody asked for it yet. */
    Level &levelOf(PathId path) { return levels_[path]; }

    bool isKnown(PathId path) const {
        const auto level = levels_.find(path);
        return level != levels_.end() && level->second.isKnown;
    }

    /** Fills above_ with the paths of the set that are above, from the lowest up. */
    void findAbove(PathId path) {
        above_.clear();
        for (PathId up = parentOf(path); up != noPath; up = parentOf(up)) {
            if (partOfHigh(up) != nullptr) above_.push_back(up);
        }
    }

    RowSetPtr keepRows(const PathPart &low) {
        const std::uint64_t size = low.rows->cardinality();
        const std::uint64_t byRanges = costOfRanges();
        const bool isDirect = parentOf(low.path) == above_.back();
        const std::uint64_t byPass = size * costs_.pass + (isDirect ? 0 : costOfLevels(low.path));
        const std::uint64_t byClimbing = size * levelsUp(low.path) * costs_.stepUp;
        if (byRanges <= byPass && byRanges <= byClimbing) return keepInRanges(low);
        if (isDirect) return keepByParent(low, *partOfHigh(above_.back()), size);
        return byClimbing < byPass ? keepByClimbing(low, size) : keepByLevel(low);
    }

    std::uint64_t levelsUp(PathId path) const {
        return summary_[path].level - summary_[above_.back()].level;
    }

    std::uint64_t costOfRanges() {
        std::uint64_t count = 0;
        for (PathId path : above_) {
            const std::optional<RowRanges> &ranges = rangesOfHigh(path);
            if (!ranges) return std::numeric_limits<std::uint64_t>::max();
            count += ranges->size();
        }
        return count * 2 * costs_.search;
    }

    /** The part of the set above in a path as ranges; none when they are many. */
    const std::optional<RowRanges> &rangesOfHigh(PathId path) {
        const auto [entry, isNew] = ranges_.try_emplace(path);
        if (isNew) entry->second = rangesOf(*partOfHigh(path)->rows, mostRanges);
        return entry->second;
    }

    /** Of the passes through the levels above a path that are not known yet. */
    std::uint64_t costOfLevels(PathId path) const {
        std::uint64_t rows = 0;
        for (PathId up = parentOf(path); up != above_.back(); up = parentOf(up)) {
            if (isKnown(up)) break;
            rows += table_.rowCount(up);
        }
        return rows * costs_.pass;
    }

    RowSetPtr keepInRanges(const PathPart &low) {
        RowRanges all;
        for (PathId path : above_) {
            const RowRanges ranges = rangesBelow(table_, low.path, path, *rangesOfHigh(path));
            all.insert(all.end(), ranges.begin(), ranges.end());
        }
        return partInRanges(table_, low, std::move(all));
    }

    RowSetPtr keepByParent(const PathPart &low, const PathPart &high, std::uint64_t size) const {
        if (table_.hasRowsOfParent(low.path, size)) return keepSameRows(low, *high.rows);
        const RowMembers members(table_.rowCount(high.path), *high.rows, size);
        return keepWithParent(low, members);
    }

    RowSetPtr keepSameRows(const PathPart &low, const RowSet &parents) const {
        RowSet rows = *low.rows & parents;
        if (rows.cardinality() == low.rows->cardinality()) return low.rows;
        return sharedRows(table_, low.path, std::move(rows));
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
            const PathPart *high = partOfHigh(path);
            if (high != nullptr) markMembers(*high, places, isKept);
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
        const Level &level = levelOf(parent);
        if (level.isWhole) return low.rows;
        return level.bits ? keepWithParent(low, *level.bits) : nullptr;
    }

    /** Makes a level known, with all above it. */
    void learnLevels(PathId path) {
        std::vector<PathId> unknown;
        for (PathId up = path; up != noPath && !isKnown(up); up = parentOf(up))
            unknown.push_back(up);
        for (auto up = unknown.rbegin(); up != unknown.rend(); ++up)
            learnLevel(*up);
    }

    /** REQUIRES that the level above is known. */
    void learnLevel(PathId path) {
        Level &level = levelOf(path);
        level.isKnown = true;
        const PathPart *own = partOfHigh(path);
        const PathId parent = parentOf(path);
        const bool isBelowWhole = parent != noPath && levelOf(parent).isWhole;
        level.isWhole = isBelowWhole || (own != nullptr && isWhole(table_, *own));
        const bool hasAbove = parent != noPath && levelOf(parent).bits;
        if (level.isWhole || (own == nullptr && !hasAbove)) return;
        RowBits &bits = level.bits.emplace(table_.rowCount(path));
        if (own != nullptr) bits.add(*own->rows);
        if (!hasAbove) return;
        forRowsWithParent(table_, path, *table_.liveRows(path), *levelOf(parent).bits,
                          [&](std::span<const RowId> rows) {
                              for (RowId row : rows)
                                  bits.add(row);
                          });
        level.isWhole = bits.count() == table_.liveRows(path)->cardinality();
        if (level.isWhole) level.bits.reset();
    }

    const PathTable &table_;
    const PathSummary &summary_;
    Depth depth_;
    JoinCosts costs_;
    const PathNodes &high_;
    PathNumbers numbers_;  ///< of a path of high_: its place there, from 1
    bool isNumbered_;      ///< whether numbers_ is filled; for few questions it is not worth it
    std::unordered_map<PathId, std::optional<RowRanges>> ranges_;  ///< of parts of high_
    std::unordered_map<PathId, Level> levels_;
    std::vector<PathId> above_;
    PathNumbers belowWhole_;   ///< of a path: whether it or one above it is whole in the set above
    bool hasPartial_ = false;  ///< whether a path was met of which the set has some rows only
    std::vector<PathId> climbed_;
};

}  // namespace

namespace {

/** Looking a path up in a set costs about as much as looking at so many of its parts. */
constexpr std::size_t partsPerLookup = 8;

/** The parts of `low` whose paths are children of those of `high`; nothing when all are worth a
 *  look. */
std::optional<std::vector<const PathPart *>> childParts(const PathSummary &summary,
                                                        const PathNodes &high,
                                                        const PathNodes &low) {
    std::size_t children = 0;
    for (const PathPart &part : high) {
        children += summary.children(part.path).size();
        if (children * partsPerLookup >= low.size()) return std::nullopt;
    }
    std::vector<const PathPart *> result;
    for (const PathPart &part : high) {
        for (PathId child : summary.children(part.path)) {
            const PathPart *found = partOf(low, child);
            if (found != nullptr) result.push_back(found);
        }
    }
    // Addresses in one array: in order of path.
    std::sort(result.begin(), result.end());
    return result;
}

/**
 * The nodes of `low` that are below whole paths, in one pass through the summary: a path comes
 * behind its parent, and is below them where that is, or is one of them.
 */
PathNodes nodesBelowWhole(const PathSummary &summary, const PathNodes &high, const PathNodes &low,
                          LowKinds kinds) {
    std::vector<std::uint8_t> isAbove(summary.size());
    for (const PathPart &part : high)
        isAbove[part.path] = 1;
    PathNodes result;
    result.reserve(low.size());
    PathId each = 0;
    for (const PathPart &part : low) {
        bool isBelow = false;
        for (; each <= part.path; ++each) {
            const PathId parent = summary[each].parent;
            isBelow = parent != noPath && isAbove[parent] != 0;
            if (isBelow) isAbove[each] = 1;
        }
        if (isBelow && isTaken(summary[part.path].kind, kinds)) result.push_back(part);
    }
    return result;
}

/** Whether most paths are asked about, and only whole ones are above. */
bool isBelowWhole(const PathTable &table, const PathNodes &high, const PathNodes &low) {
    return low.size() >= table.summary().size() / 2 &&
           std::all_of(high.begin(), high.end(),
                       [&](const PathPart &part) { return isWhole(table, part); });
}

}  // namespace

PathNodes nodesBelow(const PathTable &table, const PathNodes &high, const PathNodes &low,
                     Depth depth, const JoinCosts &costs, LowKinds kinds) {
    PathNodes result;
    if (high.empty()) return result;
    const PathSummary &summary = table.summary();
    if (depth == Depth::any && isBelowWhole(table, high, low)) {
        return nodesBelowWhole(summary, high, low, kinds);
    }
    const auto keep = [&](BelowJoin &join, const PathPart &part) {
        if (!isTaken(summary[part.path].kind, kinds)) return;
        if (RowSetPtr rows = join.keep(part)) result.push_back({part.path, std::move(rows)});
    };
    if (depth == Depth::direct) {
        if (const auto children = childParts(summary, high, low)) {
            BelowJoin join(table, high, children->size(), depth, costs);
            for (const PathPart *part : *children)
                keep(join, *part);
            return result;
        }
    }
    BelowJoin join(table, high, low.size(), depth, costs);
    for (const PathPart &part : low)
        keep(join, part);
    return result;
}

RowSetPtr childrenOf(const PathTable &table, PathId path, const RowSet &parents,
                     const RowSetPtr &among) {
    const PathId parent = table.summary()[path].parent;
    if (parents.isEmpty()) return nullptr;
    const PathNodes high{{parent, std::make_shared<const RowSet>(parents)}};
    return BelowJoin(table, high, 1, Depth::direct, {}).keep({path, among});
}

}  // namespace zdbs::embedded
