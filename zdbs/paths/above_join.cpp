/** The nodes that are above others. */
#include <algorithm>
#include <utility>

#include "zdbs/paths/column_cursor.h"
#include "zdbs/paths/row_reader.h"
#include "zdbs/paths/row_sets.h"
#include "zdbs/paths/vertical_join.h"

namespace zdbs {
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
        : table_(table),
          depth_(depth),
          costs_(costs),
          high_(high),
          low_(low),
          paths_(table.summary().size()) {
        for (const PathPart &part : low) {
            paths_[part.path].low = &part;
            paths_[part.path].lowSize = part.rows->cardinality();
        }
    }

    PathNodes result() {
        findLow();
        bool hasPass = false;
        for (const PathPart &part : high_) {
            PathState &state = paths_[part.path];
            state.isPassed = !state.below.empty() && isPassCheaper(part, state);
            hasPass = hasPass || state.isPassed;
        }
        if (hasPass) passUp();
        PathNodes kept;
        for (const PathPart &part : high_) {
            PathState &state = paths_[part.path];
            if (!state.isPassed) state.kept = rowsBySearch(part, state.below);
            if (state.kept) kept.push_back({part.path, std::move(state.kept)});
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

    void findLow() {
        for (const PathPart &part : high_)
            paths_[part.path].high = &part;
        for (const PathPart &part : low_) {
            for (PathId up = parentOf(part.path); up != noPath; up = parentOf(up)) {
                if (paths_[up].high != nullptr) paths_[up].below.push_back(&part);
                if (depth_ == Depth::direct) break;
            }
        }
    }

    bool isPassCheaper(const PathPart &high, const PathState &state) const {
        std::uint64_t rows = 0;
        for (const PathPart *part : state.below)
            rows += paths_[part->path].lowSize;
        const std::uint64_t searches = high.rows->cardinality() * state.below.size() * 2;
        return rows * costs_.pass < searches * costs_.search;
    }

    /** Collects the rows with something below for all paths where the pass is to tell. */
    void passUp() {
        const PathSummary &summary = table_.summary();
        for (PathId path = 0; path < summary.size(); ++path)
            paths_[path].isWanted = paths_[path].isPassed || isWantedFromAbove(path);
        for (auto path = static_cast<PathId>(summary.size()); path-- > 0;) {
            // All below the path has been passed; its own nodes are not added yet.
            if (paths_[path].isPassed) keepPassed(*paths_[path].high);
            const PathId parent = parentOf(path);
            if (parent != noPath && paths_[parent].isWanted) passUpFrom(path, parent);
        }
    }

    /** Whether a path above needs what is below this one. A whole path has all of it. */
    bool isWantedFromAbove(PathId path) const {
        const PathId parent = parentOf(path);
        if (depth_ == Depth::direct || parent == noPath || !paths_[parent].isWanted) return false;
        const PathPart *low = paths_[path].low;
        return low == nullptr || !isWhole(table_, *low);
    }

    void passUpFrom(PathId path, PathId parent) {
        PathState &state = paths_[path];
        const bool hasSum = depth_ == Depth::any && state.sum && !state.sum->isEmpty();
        if (state.low == nullptr && !hasSum) return;
        std::unique_ptr<RowSum> &above = paths_[parent].sum;
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
        if (size == table_.rowCount(low.path) && size * costs_.pass > parents * 2 * costs_.search) {
            addParentsBySearch(table_, low.path, sum);
        } else {
            RowReader reader(table_, low.path, *low.rows);
            addParents(reader, sum);
        }
    }

    void addSum(PathId path, RowSum &rows, RowSum &sum) const {
        if (rows.bits() != nullptr) {
            RowReader reader(table_, path, *rows.bits());
            addParents(reader, sum);
        } else {
            RowReader reader(table_, path, rows.few());
            addParents(reader, sum);
        }
    }

    /** What the pass says of a path of the set above. */
    void keepPassed(const PathPart &high) {
        PathState &state = paths_[high.path];
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
    const PathNodes &high_;
    const PathNodes &low_;
    std::vector<PathState> paths_;
};

}  // namespace

PathNodes nodesAbove(const PathTable &table, const PathNodes &high, const PathNodes &low,
                     Depth depth, const JoinCosts &costs) {
    if (high.empty() || low.empty()) return {};
    return AboveJoin(table, high, low, depth, costs).result();
}

RowSet parentsOf(const PathTable &table, PathId path, const RowSet &rows) {
    RowSum sum(table.rowCount(table.summary()[path].parent));
    RowReader reader(table, path, rows);
    addParents(reader, sum);
    return sum.rows();
}

}  // namespace zdbs
