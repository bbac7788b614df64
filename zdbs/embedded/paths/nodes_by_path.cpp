/** Nodes sorted by path. */
#include <array>
#include <utility>

#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/paths/row_collector.h"
#include "zdbs/embedded/paths/row_reader.h"
#include "zdbs/embedded/paths/row_sets.h"

namespace zdbs::embedded {
namespace {

using Nodes = std::span<const NodeId>;

/** Looking up one node costs as much as passing so many rows. */
constexpr std::uint64_t rowsOfLookUp = 100;

/** So many numbers a node are not worth a bit each. */
constexpr NodeId thin = 1024;

bool isPassCheaper(const PathTable &table, Nodes nodes) {
    if ((nodes.back() - nodes.front()) / thin > nodes.size()) return false;
    const std::uint64_t most = nodes.size() * rowsOfLookUp;
    std::uint64_t rows = 0;
    for (PathId path = 0; path < table.summary().size() && rows < most; ++path)
        rows += table.rowCount(path);
    return rows < most;
}

void addPart(const PathTable &table, PathId path, RowCollector &rows, PathNodes &result) {
    RowSetPtr part = rows.finishPart(table, path, table.liveRows(path));
    if (part) result.push_back({path, std::move(part)});
}

/** The rows of a path whose nodes are among the marked ones, which begin at `first`. */
void collectMarked(const PathTable &table, PathId path, RowReader &reader, NodeId first,
                   const RowBits &marks, PathNodes &result) {
    RowCollector kept;
    std::array<NodeId, RowReader::batchSize> numbers;
    std::array<RowId, RowReader::batchSize> rows;
    for (RowBatch batch; reader.next(batch);) {
        readNodes(batch, numbers);
        std::size_t count = 0;
        for (std::size_t i = 0; i < batch.rows.size(); ++i) {
            rows[count] = batch.rows[i];
            count += marks.has(numbers[i] - first) ? 1 : 0;
        }
        kept.add(std::span(rows).first(count));
    }
    addPart(table, path, kept, result);
}

PathNodes byPass(const PathTable &table, Nodes nodes) {
    const NodeId first = nodes.front();
    RowBits marks(nodes.back() - first + 1);
    for (NodeId node : nodes)
        marks.add(node - first);
    PathNodes result;
    for (PathId path = 0; path < table.summary().size(); ++path) {
        RowReader reader(
            table, path,
            RowRange{table.lowerBound(path, first), table.lowerBound(path, nodes.back() + 1)});
        collectMarked(table, path, reader, first, marks, result);
    }
    return result;
}

PathNodes byLookUps(const PathTable &table, Nodes nodes) {
    std::vector<std::vector<RowId>> rows(table.summary().size());
    for (NodeId node : nodes) {
        const PathRow place = table.locate(node);
        rows[place.path].push_back(place.row);
    }
    PathNodes result;
    RowCollector collector;
    for (PathId path = 0; path < rows.size(); ++path) {
        if (rows[path].empty()) continue;
        collector.add(rows[path]);
        addPart(table, path, collector, result);
    }
    return result;
}

}  // namespace

PathNodes byPath(const PathTable &table, std::span<const NodeId> nodes) {
    if (nodes.empty()) return {};
    return isPassCheaper(table, nodes) ? byPass(table, nodes) : byLookUps(table, nodes);
}

}  // namespace zdbs::embedded
