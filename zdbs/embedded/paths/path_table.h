/**
 * The nodes of a database by path: what the fast ways of the engine read. A node table
 * may have one (NodeTable::paths()).
 *
 * The nodes of one path are its rows, numbered from 0 in document order over the whole
 * database. Rows are stored in runs, one for each segment of the store that has nodes of
 * the path. In a regular path all nodes have the same level, so the parents of its rows
 * ascend too: the parent's row of row r is never less than that of r - 1.
 *
 * Rows of removed documents stay until the database is compacted; liveRows() are those
 * that count. Rows mean the same as long as the table lives. Any thread may read.
 */
#ifndef ZDBS_EMBEDDED_PATHS_PATH_TABLE_H
#define ZDBS_EMBEDDED_PATHS_PATH_TABLE_H

#include <roaring/roaring.hh>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "zdbs/embedded/columns/packed_column.h"
#include "zdbs/embedded/columns/value_column.h"
#include "zdbs/embedded/columns/value_paths.h"
#include "zdbs/embedded/paths/path_summary.h"

namespace zdbs::embedded {

/** Row of a node among the nodes of its path. */
using RowId = std::uint32_t;

using RowSet = ::Roaring;
using RowSetPtr = std::shared_ptr<const RowSet>;

/** Where a node is. */
struct PathRow {
    PathId path;
    RowId row;
};

/** The rows of one path in one segment: firstRow … firstRow + count - 1; at least one. */
struct PathRun {
    RowId firstRow = 0;
    std::uint32_t count = 0;

    NodeId firstNode = noNode;  ///< what the numbers of `nodes` count from
    PackedColumn nodes;         ///< ascending: node - firstNode

    /**
     * Of regular paths below the top: ascending, 0 the parent that was open when the segment
     * began, the last row of its path before parentBase; n > 0 the row parentBase + n - 1.
     */
    PackedColumn parents;
    RowId parentBase = 0;

    PackedColumn below;  ///< of elements: how many nodes are below; see PathTable::lastBelow()
    PackedColumn names;  ///< of irregular paths of named kinds: number of the name
    PackedColumn parentDistances;  ///< of irregular paths: node - parent, 0 at the top
    ValueColumn values;            ///< of all but elements

    const ValuePaths *valuePaths = nullptr;  ///< of the segment; null: it has no such index,
    std::uint32_t localPath = 0;             ///< in which the path has this number

    /** Whether a value here can have that key. */
    bool mayHold(ValueKey key) const { return !valuePaths || valuePaths->has(key, localPath); }

    NodeId nodeAt(RowId row) const { return firstNode + nodes.at(row - firstRow); }
    RowId parentAt(RowId row) const { return parentBase + parents.at(row - firstRow) - 1; }
    RowId endRow() const { return firstRow + count; }
};

/** The paths of neighbouring nodes: of `first` and those that follow it, up to `count`. */
struct PathWindow {
    static constexpr std::size_t maxCount = 64;

    NodeId first = noNode;
    std::uint32_t count = 0;
    std::array<PathId, maxCount> paths;
};

class PathTable {
public:
    virtual ~PathTable() = default;

    virtual const PathSummary &summary() const = 0;

    /** Name by its number, REQUIRES that a path or node has it. */
    virtual const NodeName &nameOf(std::uint32_t number) const = 0;

    /** The runs of a path, ascending; without gaps from row 0 to its last. */
    virtual std::span<const PathRun> runs(PathId path) const = 0;

    /** Rows of nodes of present documents; the same object for as long as the table lives, and no
     *  longer. */
    virtual const RowSetPtr &liveRows(PathId path) const = 0;

    /**
     * Ascending, each path with a row, present or not, whose value has that key, and perhaps some
     * others. Nothing when the table has no index of values.
     */
    virtual std::optional<std::vector<PathId>> pathsWithKey(ValueKey /*key*/) const {
        return std::nullopt;
    }

    /** Where a node is. REQUIRES that it is present. */
    virtual PathRow locate(NodeId node) const = 0;

    /**
     * Reads the path of a node and of as many around it as can be read together. Numbers of
     * removed documents may be among them. REQUIRES that `node` is present.
     */
    virtual void readPaths(NodeId node, PathWindow &window) const;

    /** Last node below the row of an element path; the node itself when nothing is below. */
    virtual NodeId lastBelow(PathRow row) const = 0;

    /** The run that a row is in. */
    const PathRun &runOf(PathRow row) const;

    NodeId nodeAt(PathRow row) const { return runOf(row).nodeAt(row.row); }

    /** Number of rows, those of removed documents included. */
    RowId rowCount(PathId path) const;

    /** The first row whose node is not less than `node`, or rowCount(). */
    RowId lowerBound(PathId path, NodeId node) const;

    /**
     * Whether each row of the path above has one below it, which has the same number: what is
     * above or below some rows then are the same rows. It takes a look at all parents, once;
     * where so few rows are asked about that it does not pay, the answer is false.
     * REQUIRES a regular path below the top.
     */
    bool hasRowsOfParent(PathId path, std::uint64_t rows) const;

private:
    bool findsRowsOfParent(PathId path) const;

    mutable std::mutex mutex_;
    mutable std::unordered_map<PathId, bool> rowsOfParent_;  ///< what was found
};

}  // namespace zdbs::embedded

#endif
