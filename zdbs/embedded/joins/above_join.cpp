/** The nodes that are above others. */
#include <algorithm>
#include <utility>

#include "zdbs/embedded/joins/column_cursor.h"
#include "zdbs/embedded/joins/vertical_join.h"
#include "zdbs/embedded/paths/path_numbers.h"
#include "zdbs/embedded/paths/row_reader.h"
#include "zdbs/embedded/paths/row_sets.h"

namespace zdbs::embedded {
namespace {

/** Whether one row of a set is in a range. */
bool hasRowIn(const RowSet &rows, RowRange range) {
    if (range.first >= range.end) return false;
    roaring_uint32_iterator_t place;
    roaring_init_iterator(&rows.roaring, &place);
    return roaring_move_uint32_iterator_equalorlarger(&place, range.first) &&
           place.current_value < range.end;
}

/** Adds the parents of rows. */
void addParents(RowReader &reader, RowSum &sum) {
    std::array<RowId, RowReader::batchSize> parents;
    for (RowBatch batch; reader.next(batch);) {
        const auto all = std::span(parents).first(batch.rows.size());
        readParents(batch, all);
        std::size_t count = 1;
        for (std::size_t i = 1; i < all.size(); ++i) {
            const RowId parent = all[i];
            count += parent != parents[count - 1] ? 1 : 0;
            parents[count - 1] = parent;
        }
        sum.add(all.first(count));
    }
}

/** The same for all rows of a path, of which each parent has very many. */
void addParentsBySearch(const PathTable &table, PathId path, RowSum &sum) {
    ParentCursor cursor(table, path);
    const RowId end = table.rowCount(path);
    for (RowId row = 0; row < end;) {
        const RowId parent = table.runOf({path, row}).parentAt(row);
        sum.add(std::span(&parent, 1));
        const RowId next = cursor.find(parent + 1);
        if (next <= row) break;  // in damaged files only
        row = next;
    }
}

/** The rows of `path` below one row of `above`. */
class RowsBelow {
public:
    RowsBelow(const PathTable &table, const PathPart &low, PathId above)
        : table_(table),
          low_(low),
          isChild_(table.summary()[low.path].parent == above),
          isWhole_(isWhole(table, low)),
          parents_(table, low.path),
          nodes_(table, low.path) {}

    /** Whether some are in the set. Rows must not fall from call to call. */
    bool exist(PathRow above) {
        const RowRange range = isChild_ ? children(above.row) : descendants(above);
        return isWhole_ ? range.first < range.end : hasRowIn(*low_.rows, range);
    }

private:
    RowRange children(RowId parent) {
        const RowId first = parents_.find(parent);
        return {first, parents_.find(parent + 1)};
    }

    RowRange descendants(PathRow above) {
        const RowId first = nodes_.find(table_.nodeAt(above));
        return {first, nodes_.find(table_.lastBelow(above) + 1)};
    }

    const PathTable &table_;
    const PathPart &low_;
    bool isChild_;
    bool isWhole_;
    ParentCursor parents_;
    NodeCursor nodes_;
};

/**
 * Finds what is above one set. Few rows are looked at one by one; for many the parents
 * of the set are collected, their parents, and so on up, in one pass for all paths.
 */
class AboveJoin {
public:
    AboveJoin(const PathTable &table, const PathNodes &high, const PathNodes &low, Depth depth,
              const JoinCosts &costs)
        : table_(table), depth_(depth), costs_(costs), numbers_(table.summary().size()) {
        for (const PathPart &part : low)
            visit(part);
        std::sort(visited_.begin(), visited_.end());
        findHigh(high);
        findBelow(low);
    }

    PathNodes result() {
        bool hasPass = false;
        for (PathId path : visited_) {
            PathState &state = stateOf(path);
            state.isPassed = !state.below.empty() && isPassCheaper(*state.high, state);
            hasPass = hasPass || state.isPassed;
        }
        if (hasPass) passUp();
        PathNodes kept;
        for (PathId path : visited_) {
            PathState &state = stateOf(path);
            if (state.high == nullptr) continue;
            if (!state.isPassed) state.kept = rowsBySearch(*state.high, state.below);
            if (state.kept) kept.push_back({path, std::move(state.kept)});
        }
        return kept;
    }

private:
    struct PathState {
        const PathPart *low = nullptr;
        std::uint64_t lowSize = 0;
        const PathPart *high = nullptr;
        std::vector<const PathPart *> below;  ///< of a path of the set above: what is below it
        bool isPassed = false;                ///< whether the pass up answers it
        bool isWanted = false;                ///< whether the pass has to know what is above
        std::unique_ptr<RowSum> sum;          ///< rows with something below
        RowSetPtr kept;                       ///< of the set above: the answer
    };

    PathId parentOf(PathId path) const { return table_.summary()[path].parent; }

    /** REQUIRES that the path was visited. */
    PathState &stateOf(PathId path) { return states_[numbers_[path] - 1]; }
    const PathState &stateOf(PathId path) const { return states_[numbers_[path] - 1]; }

    /** False when it was already. */
    bool visit(PathId path) {
        if (numbers_[path] != 0) return false;
        states_.emplace_back();
        numbers_.set(path, static_cast<std::uint32_t>(states_.size()));
        visited_.push_back(path);
        return true;
    }

    /** Notes a part of the set below, and the paths above it. */
    void visit(const PathPart &low) {
        visit(low.path);
        PathState &state = stateOf(low.path);
        state.low = &low;
        state.lowSize = low.rows->cardinality();
        for (PathId up = parentOf(low.path); up != noPath && visit(up); up = parentOf(up)) {
            if (depth_ == Depth::direct) break;
        }
    }

    /** Both are in order of path: one is gone through, and looked up in the other. */
    void findHigh(const PathNodes &high) {
        if (visited_.size() * 8 < high.size()) {
            for (PathId path : visited_)
                stateOf(path).high = partOf(high, path);
            return;
        }
        for (const PathPart &part : high) {
            if (numbers_[part.path] != 0) stateOf(part.path).high = &part;
        }
    }

    void findBelow(const PathNodes &low) {
        for (const PathPart &part : low) {
            for (PathId up = parentOf(part.path); up != noPath; up = parentOf(up)) {
                PathState &state = stateOf(up);
                if (state.high != nullptr) state.below.push_back(&part);
                if (depth_ == Depth::direct) break;
            }
        }
    }

    bool isPassCheaper(const PathPart &high, const PathState &state) const {
        std::uint64_t rows = 0;
        for (const PathPart *part : state.below)
            rows += stateOf(part->path).lowSize;
        const std::uint64_t searches = high.rows->cardinality() * state.below.size() * 2;
        return rows * costs_.pass < searches * costs_.search;
    }

    /** Collects the rows with something below for all paths where the pass is to tell. */
    void passUp() {
        for (PathId path : visited_) {
            PathState &state = stateOf(path);
            state.isWanted = state.isPassed || isWantedFromAbove(path);
        }
        for (auto path = visited_.rbegin(); path != visited_.rend(); ++path) {
            // All below the path has been passed; its own nodes are not added yet.
            PathState &state = stateOf(*path);
            if (state.isPassed) keepPassed(*state.high, state);
            const PathId parent = parentOf(*path);
            if (isVisited(parent) && stateOf(parent).isWanted) passUpFrom(*path, parent);
        }
    }

    bool isVisited(PathId path) const { return path != noPath && numbers_[path] != 0; }

    /** Whether a path above needs what is below this one. A whole path has all of it. */
    bool isWantedFromAbove(PathId path) const {
        const PathId parent = parentOf(path);
        if (depth_ == Depth::direct || !isVisited(parent) || !stateOf(parent).isWanted)
            return false;
        const PathPart *low = stateOf(path).low;
        return low == nullptr || !isWhole(table_, *low);
    }

    void passUpFrom(PathId path, PathId parent) {
        PathState &state = stateOf(path);
        const bool hasSum = depth_ == Depth::any && state.sum && !state.sum->isEmpty();
        if (state.low == nullptr && !hasSum) return;
        std::unique_ptr<RowSum> &above = stateOf(parent).sum;
        if (!above) above = std::make_unique<RowSum>(table_.rowCount(parent));
        if (!hasSum || (state.low != nullptr && isWhole(table_, *state.low))) {
            addPart(*state.low, *above);
        } else {
            if (state.low != nullptr) state.sum->add(*state.low->rows);
            addSum(path, *state.sum, *above);
        }
    }

    void addPart(const PathPart &low, RowSum &sum) const {
        const std::uint64_t size = low.rows->cardinality();
        const std::uint64_t parents = table_.rowCount(parentOf(low.path));
        if (table_.hasRowsOfParent(low.path, size)) {
            sum.add(*low.rows);
        } else if (size == table_.rowCount(low.path) &&
                   size * costs_.pass > parents * 2 * costs_.search) {
            addParentsBySearch(table_, low.path, sum);
        } else {
            RowReader reader(table_, low.path, *low.rows);
            addParents(reader, sum);
        }
    }

    void addSum(PathId path, RowSum &rows, RowSum &sum) const {
        constexpr std::uint64_t known = 0;  // nobody looks for so few
        if (table_.hasRowsOfParent(path, known)) {
            sum.add(rows.rows());
        } else if (rows.bits() != nullptr) {
            RowReader reader(table_, path, *rows.bits());
            addParents(reader, sum);
        } else {
            RowReader reader(table_, path, rows.few());
            addParents(reader, sum);
        }
    }

    /** What the pass says of a path of the set above. */
    void keepPassed(const PathPart &high, PathState &state) const {
        if (!state.sum) return;
        RowSet rows = state.sum->rows();
        rows &= *high.rows;
        const bool isAll = rows.cardinality() == high.rows->cardinality();
        state.kept = isAll ? high.rows : sharedRows(table_, high.path, std::move(rows));
    }

    RowSetPtr rowsBySearch(const PathPart &high, std::span<const PathPart *const> low) const {
        if (low.empty()) return nullptr;
        std::vector<RowsBelow> below;
        for (const PathPart *part : low)
            below.emplace_back(table_, *part, high.path);
        std::vector<RowId> kept;
        forRows(*high.rows, [&](std::span<const RowId> rows) {
            for (RowId row : rows) {
                const bool isAbove = std::any_of(below.begin(), below.end(), [&](RowsBelow &each) {
                    return each.exist({high.path, row});
                });
                if (isAbove) kept.push_back(row);
            }
        });
        if (kept.size() == high.rows->cardinality()) return high.rows;
        return sharedRows(table_, high.path, RowSet(kept.size(), kept.data()));
    }

    const PathTable &table_;
    Depth depth_;
    JoinCosts costs_;
    std::vector<PathId> visited_;  ///< paths of the set below and what is above them, ascending
    std::vector<PathState> states_;
    PathNumbers numbers_;  ///< of a visited path: its place in states_, from 1
};

}  // namespace

PathNodes nodesAbove(const PathTable &table, const PathNodes &high, const PathNodes &low,
                     Depth depth, const JoinCosts &costs) {
    if (high.empty() || low.empty()) return {};
    return AboveJoin(table, high, low, depth, costs).result();
}

RowSet parentsOf(const PathTable &table, PathId path, const RowSet &rows) {
    if (table.hasRowsOfParent(path, rows.cardinality())) return rows;
    RowSum sum(table.rowCount(table.summary()[path].parent));
    RowReader reader(table, path, rows);
    addParents(reader, sum);
    return sum.rows();
}

}  // namespace zdbs::embedded
