/** Positions among siblings, counted by path. */
#ifndef ZDBS_EMBEDDED_POSITIONS_PATH_POSITIONS_H
#define ZDBS_EMBEDDED_POSITIONS_PATH_POSITIONS_H

#include <optional>

#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/positions/position_test.h"

namespace zdbs {

/**
 * The nodes of a set whose position among the set's nodes with the same parent, at the top
 * of the same document, satisfies a test. So it is also the position on a child or
 * attribute step. Nothing when one of the paths is irregular. Any thread may call.
 * @param nodes the table that `table` belongs to, for its documents
 */
std::optional<PathNodes> selectSiblingPositions(const NodeTable &nodes, const PathTable &table,
                                                const PathNodes &set, PositionTest test);

}  // namespace zdbs

#endif
