/** Sets of nodes by path: whole paths without copying, others as compressed bitmaps of rows. */
#ifndef ZDBS_EMBEDDED_PATHS_PATH_NODES_H
#define ZDBS_EMBEDDED_PATHS_PATH_NODES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "zdbs/embedded/paths/path_table.h"

namespace zdbs::embedded {

/** The nodes of a set that are in one path. Never empty, never a row that is not live. */
struct PathPart {
    PathId path;
    RowSetPtr rows;  ///< the object of PathTable::liveRows() when it is the whole path
};

/** Parts in order of path, no path twice. A value; copying shares the rows. */
using PathNodes = std::vector<PathPart>;

/** Rows of a path as the rows of a part: liveRows() when they are all of them; null for none. */
RowSetPtr sharedRows(const PathTable &table, PathId path, RowSet &&rows);

/** The part of a path, or null; it points into `nodes`. */
const PathPart *partOf(const PathNodes &nodes, PathId path);

/** Every node of these paths. `paths` ascending. */
PathNodes wholePaths(const PathTable &table, std::span<const PathId> paths);

/** Whether a part is all live rows of its path. */
bool isWhole(const PathTable &table, const PathPart &part);

std::uint64_t sizeOf(const PathNodes &nodes);

PathNodes intersected(const PathNodes &a, const PathNodes &b);
PathNodes united(const PathTable &table, PathNodes a, const PathNodes &b);
PathNodes subtracted(const PathNodes &a, const PathNodes &b);

/** The numbers of the nodes, ascending. */
std::vector<NodeId> nodeIdsOf(const PathTable &table, const PathNodes &nodes);

/**
 * The same in stretches: the first is short, so that who wants a few numbers has them soon, and the
 * longest takes a few megabytes. Table and nodes must outlive it.
 */
class NumberStretches {
public:
    NumberStretches(const PathTable &table, const PathNodes &nodes);

    /** The next numbers; none at the end. */
    std::vector<NodeId> next();

private:
    /** What is left of a part. */
    struct Left {
        const PathPart *part;
        RowId firstRow;
        std::uint64_t told;  ///< rows before that
    };

    RowId rowBehind(const PathPart &part, std::uint64_t end) const;

    const PathTable &table_;
    std::vector<Left> left_;
    std::uint64_t first_ = 0;  ///< number with which the next stretch begins
    std::uint64_t last_ = 0;
    std::uint64_t width_ = 0;
};

/** Nodes by path. `nodes` ascending, all present. */
PathNodes byPath(const PathTable &table, std::span<const NodeId> nodes);

/** The same of nodes that are all among others. */
PathNodes byPathAmong(const PathTable &table, std::span<const NodeId> nodes,
                      const PathNodes &others);

/** The number at a place in document order, from 0. REQUIRES place < sizeOf(). */
NodeId nodeAtPlace(const PathTable &table, const PathNodes &nodes, std::uint64_t place);

/** Whether a node is in a set. REQUIRES that it is present. */
bool contains(const PathTable &table, const PathNodes &nodes, NodeId node);

}  // namespace zdbs::embedded

#endif
