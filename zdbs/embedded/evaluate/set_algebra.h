/**
 * The operations of conditions on sets. Each makes a new set and settles what the
 * set remembers: its chain, the pairs behind it, and the value conditions. How its
 * nodes were found is noted in a plan, where one is given.
 */
#ifndef ZDBS_EMBEDDED_EVALUATE_SET_ALGEBRA_H
#define ZDBS_EMBEDDED_EVALUATE_SET_ALGEBRA_H

#include <optional>
#include <span>

#include "zdbs/base/axis.h"
#include "zdbs/embedded/evaluate/node_set.h"
#include "zdbs/embedded/evaluate/universe.h"
#include "zdbs/embedded/sets/plan.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

/** Which side of a join is answered. */
enum class Direction { first = 1, second = 2 };

/** What nodes are on the second side of a join on `child`. */
enum class SecondSide { none, attributes, others };

/** Of the side that join() asks whether it has attributes only. */
SecondSide secondSideOf(const NodeTable &table, const NodeSetPtr &a, const NodeSetPtr &b,
                        Direction direction);

/** Keeps the chain of `a`, the pairs that both have, the value conditions of both. */
NodeSetPtr intersect(const NodeSetPtr &a, const NodeSetPtr &b);

/** Keeps chain, pairs and value conditions of `a`. */
NodeSetPtr subtract(const NodeSetPtr &a, const NodeSetPtr &b);

/** The nodes of `a` that `nodes` are, a part of them: nothing is added to what `a` remembers. */
NodeSetPtr restrict(const NodeSetPtr &a, NodeListPtr nodes);

/** Keeps a chain and the pairs when all have the same; the value conditions of all. */
NodeSetPtr unite(std::span<const NodeSetPtr> sets);

/** The nodes of `set` whose position satisfies a test; keeps chain and value conditions. */
NodeSetPtr selectPositions(const NodeTable &table, const NodeSetPtr &set, PositionTest test,
                           Plan *plan = nullptr);

/**
 * XPATH(axis,a,b,direction).
 *
 * Direction::second remembers the chain that the nodes came down. Where b is such a
 * set and the direction is `first`, the pair is tested against the first step of
 * b's chain, restricted to the nodes from which b was reached: the request [b/c]
 * asks for a child b of a, not for a child c. Where a is itself a set of the chain,
 * the pair is tested directly: b was counted from a then.
 *
 * A second side of attributes only makes `child` relate elements to attributes.
 * @param attributesOnly whether it is one; nothing: it is found out
 */
NodeSetPtr join(const NodeTable &table, const Universe &universe, Axis axis, const NodeSetPtr &a,
                const NodeSetPtr &b, Direction direction, Plan *plan = nullptr,
                std::optional<bool> attributesOnly = std::nullopt);

}  // namespace zdbs::embedded

#endif
