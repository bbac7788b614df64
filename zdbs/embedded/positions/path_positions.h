/** Positions counted by path. */
#ifndef ZDBS_EMBEDDED_POSITIONS_PATH_POSITIONS_H
#define ZDBS_EMBEDDED_POSITIONS_PATH_POSITIONS_H

#include <optional>

#include "zdbs/base/axis.h"
#include "zdbs/embedded/joins/path_join.h"
#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/positions/position_test.h"

namespace zdbs::embedded {

/**
 * The nodes of a set whose position among the set's nodes with the same parent, at the top
 * of the same document, satisfies a test. So it is also the position on a child or
 * attribute step. Nothing when one of the paths is irregular. Any thread may call.
 * @param nodes the table that `table` belongs to, for its documents
 */
std::optional<PathNodes> selectSiblingPositions(const NodeTable &nodes, const PathTable &table,
                                                const PathNodes &set, PositionTest test);

/** A step from all of its contexts to all of its members. */
struct PositionStep {
    Axis axis;
    PathOperand contexts;
    const PathNodes &members;
};

/**
 * The members whose position on the axis satisfies a test for one of the contexts. Nothing
 * when that is not counted by path: on child, attribute, parent and self, which have easier ways;
 * among siblings of an irregular path. Any thread may call.
 */
std::optional<PathNodes> selectAxisPositions(const NodeTable &nodes, const PathTable &table,
                                             const PositionStep &step, PositionTest test);

}  // namespace zdbs::embedded

#endif
