/** What the tests of nodes by path share. */
#ifndef TESTS_ZDBS_EMBEDDED_PATHS_SOUND_SETS_H
#define TESTS_ZDBS_EMBEDDED_PATHS_SOUND_SETS_H

#include <random>
#include <vector>

#include "tests/zdbs/embedded/joins/naive_axes.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "zdbs/embedded/paths/path_nodes.h"

namespace zdbs::testing {

/** All nodes of a table. */
inline NodeIds allNodes(const NodeTable &table) {
    NodeIds result;
    for (Point point : nodesOf(table))
        result.push_back(point.node);
    return result;
}

/** Each node with a chance of one in `oneIn`. */
inline NodeIds someNodes(const NodeTable &table, std::mt19937 &random, unsigned oneIn) {
    NodeIds nodes = allNodes(table);
    std::erase_if(nodes, [&](NodeId) { return random() % oneIn != 0; });
    return nodes;
}

inline std::vector<PathId> allPaths(const PathTable &table) {
    std::vector<PathId> paths(table.summary().size());
    for (PathId path = 0; path < paths.size(); ++path)
        paths[path] = path;
    return paths;
}

/** What every set must hold to: paths ascend, no part is empty, whole parts are shared. */
inline bool isSound(const PathTable &table, const PathNodes &nodes) {
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const PathPart &part = nodes[i];
        const RowSetPtr &live = table.liveRows(part.path);
        const bool inOrder = i == 0 || nodes[i - 1].path < part.path;
        if (!inOrder || part.rows->isEmpty() || !part.rows->isSubset(*live)) return false;
        if (isWhole(table, part) != (*part.rows == *live)) return false;
    }
    return true;
}

}  // namespace zdbs::testing

#endif
