/** Positions on the axes on which a context reaches a range of the document. */
#ifndef ZDBS_EMBEDDED_POSITIONS_RANGE_POSITIONS_H
#define ZDBS_EMBEDDED_POSITIONS_RANGE_POSITIONS_H

#include <optional>

#include "zdbs/embedded/positions/path_positions.h"

namespace zdbs::embedded {

/** Whether an axis is one of these: descendant, descendant-or-self, following, preceding. */
bool reachesRange(Axis axis);

/**
 * As selectAxisPositions(), for these axes. A context reaches a range of the members in the
 * order of the document, and a position selects a range of it or two; how many ranges a member
 * is in comes from their ends in one pass. Nothing when that is not so: where a member can be
 * above a context and does not precede it.
 */
std::optional<PathNodes> selectRangePositions(const NodeTable &nodes, const PathTable &table,
                                              const PositionStep &step, PositionTest test);

}  // namespace zdbs::embedded

#endif
