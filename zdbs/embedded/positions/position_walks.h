/**
 * Positions on the axes where each context has a whole way of its own: its ancestors,
 * and what precedes it. Walked pair by pair, deep documents would take the square of
 * their nodes. Here one pass over contexts and members, in document order, keeps the
 * members above the present context on a stack, as the stack-tree join does (Al-Khalifa
 * et al.: "Structural Joins", ICDE 2002), and each context costs a logarithm at most.
 */
#ifndef ZDBS_EMBEDDED_POSITIONS_POSITION_WALKS_H
#define ZDBS_EMBEDDED_POSITIONS_POSITION_WALKS_H

#include <span>

#include "zdbs/base/axis.h"
#include "zdbs/embedded/joins/join.h"
#include "zdbs/embedded/positions/position_test.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

/** Whether the functions below know an axis: ancestor, ancestor-or-self, preceding. */
bool isWalked(Axis axis);

/** Ascending nodes, and of each the last node below it. */
struct SpannedNodes {
    NodeIds nodes;
    NodeIds last;
};

/** The nodes of a list that can be on an axis, looked up one by one. */
SpannedNodes spannedNodes(const NodeTable &table, Axis axis, std::span<const NodeId> list);

/**
 * The nodes of `members` whose position on the axis satisfies a test for one of the
 * contexts. Both lists ascending. REQUIRES isWalked(axis), and no attributes among what
 * precedes.
 */
NodeIds selectOnWalk(const NodeTable &table, Axis axis, std::span<const NodeId> contexts,
                     const SpannedNodes &members, PositionTest test);

}  // namespace zdbs::embedded

#endif
