#include "zdbs/embedded/paths/path_table.h"

#include <algorithm>
#include <cassert>

#include "zdbs/embedded/paths/row_reader.h"

namespace zdbs::embedded {

const PathRun &PathTable::runOf(PathRow row) const {
    const auto all = runs(row.path);
    const auto behind =
        std::upper_bound(all.begin(), all.end(), row.row,
                         [](RowId number, const PathRun &run) { return number < run.firstRow; });
    assert(behind != all.begin());
    return *(behind - 1);
}

void PathTable::readPaths(NodeId node, PathWindow &window) const {
    window.first = node;
    window.count = 1;
    window.paths[0] = locate(node).path;
}

RowId PathTable::rowCount(PathId path) const {
    const auto all = runs(path);
    return all.empty() ? 0 : all.back().endRow();
}

RowId PathTable::lowerBound(PathId path, NodeId node) const {
    const auto all = runs(path);
    const auto behind =
        std::lower_bound(all.begin(), all.end(), node,
                         [](const PathRun &run, NodeId number) { return run.firstNode < number; });
    if (behind == all.begin()) return 0;
    const PathRun &run = *(behind - 1);
    return run.firstRow + run.nodes.lowerBound(node - run.firstNode);
}

bool PathTable::hasRowsOfParent(PathId path, std::uint64_t rows) const {
    const RowId count = rowCount(path);
    if (count != rowCount(summary()[path].parent)) return false;
    constexpr RowId few = 64;  // sooner looked at than remembered
    if (count <= few) return findsRowsOfParent(path);
    {
        const std::lock_guard lock(mutex_);
        const auto known = rowsOfParent_.find(path);
        if (known != rowsOfParent_.end()) return known->second;
    }
    constexpr std::uint64_t aPart = 4;
    if (rows * aPart < count) return false;
    const bool found = findsRowsOfParent(path);
    const std::lock_guard lock(mutex_);
    return rowsOfParent_[path] = found;
}

bool PathTable::findsRowsOfParent(PathId path) const {
    std::array<RowId, RowReader::batchSize> parents;
    RowReader reader(*this, path, RowRange{0, rowCount(path)});
    for (RowBatch batch; reader.next(batch);) {
        readParents(batch, parents);
        if (!std::equal(batch.rows.begin(), batch.rows.end(), parents.begin())) return false;
    }
    return true;
}

}  // namespace zdbs::embedded
