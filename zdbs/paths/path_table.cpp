#include "zdbs/paths/path_table.h"

#include <algorithm>
#include <cassert>

namespace zdbs {

const PathRun &PathTable::runOf(PathRow row) const {
    const auto all = runs(row.path);
    const auto behind =
        std::upper_bound(all.begin(), all.end(), row.row,
                         [](RowId number, const PathRun &run) { return number < run.firstRow; });
    assert(behind != all.begin());
    return *(behind - 1);
}

RowId PathTable::rowCount(PathId path) const {
    const auto all = runs(path);
    return all.empty() ? 0 : all.back().endRow();
}

RowId PathTable::lowerBound(PathId path, NodeId node) const {
    for (const PathRun &run : runs(path)) {
        if (node <= run.firstNode) return run.firstRow;
        const std::uint32_t place = run.nodes.lowerBound(node - run.firstNode);
        if (place < run.count) return run.firstRow + place;
    }
    return rowCount(path);
}

}  // namespace zdbs
