/** Joins of nodes with what is below or above them. */
#ifndef ZDBS_EMBEDDED_JOINS_VERTICAL_JOIN_H
#define ZDBS_EMBEDDED_JOINS_VERTICAL_JOIN_H

#include "zdbs/embedded/paths/path_nodes.h"

namespace zdbs::embedded {

/** How far below: directly, or any number of levels. */
enum class Depth { direct, any };

/**
 * What the ways to join cost, in nanoseconds. Roughly: what matters is which of them is the
 * cheapest for a path. The answer is the same by all.
 */
struct JoinCosts {
    std::uint64_t search = 120;  ///< of a row by its node or its parent
    std::uint64_t stepUp = 6;    ///< of a row, from level to level
    std::uint64_t pass = 2;      ///< of a row, through its column of parents
};

/** Which nodes of the lower side take part. */
enum class LowKinds { all, attributes, others };

constexpr bool isTaken(NodeKind kind, LowKinds kinds) {
    return kinds == LowKinds::all ||
           (kind == NodeKind::attribute) == (kinds == LowKinds::attributes);
}

/** The nodes of `low`, of some kinds, that are below one of `high`. `low` has no irregular path. */
PathNodes nodesBelow(const PathTable &table, const PathNodes &high, const PathNodes &low,
                     Depth depth, const JoinCosts &costs = {}, LowKinds kinds = LowKinds::all);

/** The nodes of `high` that are above one of `low`. `low` has no irregular path. */
PathNodes nodesAbove(const PathTable &table, const PathNodes &high, const PathNodes &low,
                     Depth depth, const JoinCosts &costs = {});

/** The rows of `among` in `path` whose parent is one of `parents`. Regular, below the top. */
RowSetPtr childrenOf(const PathTable &table, PathId path, const RowSet &parents,
                     const RowSetPtr &among);

/** The rows of the parents of `rows`, in the path above. Regular, below the top. */
RowSet parentsOf(const PathTable &table, PathId path, const RowSet &rows);

}  // namespace zdbs::embedded

#endif
