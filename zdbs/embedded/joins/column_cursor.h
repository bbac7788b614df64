/** Finds rows by node or by parent, quickly when asked in ascending order. */
#ifndef ZDBS_EMBEDDED_JOINS_COLUMN_CURSOR_H
#define ZDBS_EMBEDDED_JOINS_COLUMN_CURSOR_H

#include <algorithm>
#include <cstdint>
#include <span>

#include "zdbs/embedded/paths/path_table.h"

namespace zdbs::embedded {

/** The column of node numbers. */
struct NodeColumn {
    static const PackedColumn &of(const PathRun &run) { return run.nodes; }
    static NodeId last(const PathRun &run) { return run.nodeAt(run.endRow() - 1); }
    static std::uint32_t stored(const PathRun &run, NodeId node) {
        return node > run.firstNode ? node - run.firstNode : 0;
    }
};

/** The column of the parents' rows; of regular paths below the top. */
struct ParentColumn {
    static const PackedColumn &of(const PathRun &run) { return run.parents; }
    static RowId last(const PathRun &run) { return run.parentAt(run.endRow() - 1); }
    static std::uint32_t stored(const PathRun &run, RowId parent) {
        return parent + 1 > run.parentBase ? parent + 1 - run.parentBase : 0;
    }
};

/** A search that goes on where the last one ended. For one thread. */
template <typename Column>
class ColumnCursor {
public:
    ColumnCursor(const PathTable &table, PathId path) : runs_(table.runs(path)) {
        if (!runs_.empty()) end_ = runs_.back().endRow();
    }

    /** The first row with not less than `number`, or the row count. Numbers must not fall. */
    RowId find(std::uint32_t number) {
        if (!runs_.empty() && Column::last(runs_.front()) < number) skipRuns(number);
        if (runs_.empty()) return end_;
        const PathRun &run = runs_.front();
        from_ = Column::of(run).lowerBound(Column::stored(run, number), from_);
        return run.firstRow + from_;
    }

private:
    void skipRuns(std::uint32_t number) {
        const auto next = std::partition_point(
            runs_.begin(), runs_.end(),
            [number](const PathRun &run) { return Column::last(run) < number; });
        runs_ = {next, runs_.end()};
        from_ = 0;
    }

    std::span<const PathRun> runs_;
    std::uint32_t from_ = 0;  ///< in the first of runs_
    RowId end_ = 0;
};

using NodeCursor = ColumnCursor<NodeColumn>;
using ParentCursor = ColumnCursor<ParentColumn>;

}  // namespace zdbs::embedded

#endif
