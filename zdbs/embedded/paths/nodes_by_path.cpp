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

bool areThin(Nodes nodes) {
    return (nodes.back() - nodes.front()) / thin > nodes.size();
}

bool isPassCheaper(const PathTable &table, Nodes nodes) {
    if (areThin(nodes)) return false;
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

/** Marks of numbers from the first to the last one. */
struct Marks {
    explicit Marks(Nodes nodes) : first(nodes.front()), bits(nodes.back() - first + 1) {
        for (const NodeId node : nodes)
            bits.add(node - first);
    }

    NodeId first;
    RowBits bits;
};

/** The rows of a path whose nodes are among the marked ones. REQUIRES that none is outside. */
void collectMarked(const PathTable &table, PathId path, RowReader &reader, const Marks &marks,
                   PathNodes &result) {
    RowCollector kept;
    std::array<NodeId, RowReader::batchSize> numbers;
    std::array<RowId, RowReader::batchSize> rows;
    for (RowBatch batch; reader.next(batch);) {
        readNodes(batch, numbers);
        std::size_t count = 0;
        for (std::size_t i = 0; i < batch.rows.size(); ++i) {
            rows[count] = batch.rows[i];
            count += marks.bits.has(numbers[i] - marks.first) ? 1 : 0;
        }
        kept.add(std::span(rows).first(count));
    }
    addPart(table, path, kept, result);
}

/** The rows of a path from the first node to the last. */
RowRange rowsAround(const PathTable &table, PathId path, Nodes nodes) {
    return {table.lowerBound(path, nodes.front()), table.lowerBound(path, nodes.back() + 1)};
}

PathNodes byPass(const PathTable &table, Nodes nodes) {
    const Marks marks(nodes);
    PathNodes result;
    for (PathId path = 0; path < table.summary().size(); ++path) {
        RowReader reader(table, path, rowsAround(table, path, nodes));
        collectMarked(table, path, reader, marks, result);
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

PathNodes byPathAmong(const PathTable &table, std::span<const NodeId> nodes,
                      const PathNodes &others) {
    if (nodes.empty() || areThin(nodes) || sizeOf(others) > nodes.size() * rowsOfLookUp)
        return byPath(table, nodes);
    const Marks marks(nodes);
    PathNodes result;
    for (const PathPart &part : others) {
        RowReader reader(table, part.path, *part.rows, rowsAround(table, part.path, nodes));
        collectMarked(table, part.path, reader, marks, result);
    }
    return result;
}

}  // namespace zdbs::embedded
