#include "zdbs/embedded/paths/path_table.h"

#include <algorithm>
#include <cassert>

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

}  // namespace zdbs::embedded
