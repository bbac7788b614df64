/**
 * The structural joins: which nodes of two lists stand on an axis to each other.
 *
 * A join is a semijoin: it answers the nodes of one side that have a partner on the
 * other, never the pairs. Each axis takes a pass or two over both lists, after the
 * pruning idea of the staircase join (Grust, van Keulen, Teubner: "Staircase Join",
 * VLDB 2003): of the nodes on one side only the few that reach furthest matter.
 * Sorting parents and finding documents add a logarithmic factor.
 *
 * Everything here depends on the node table alone. Lists are ascending, without
 * duplicates, and hold nodes of the table. Any thread may call.
 */
#ifndef ZDBS_EMBEDDED_JOINS_JOIN_H
#define ZDBS_EMBEDDED_JOINS_JOIN_H

#include <span>
#include <vector>

#include "zdbs/base/axis.h"
#include "zdbs/embedded/tree/documents.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

using DocumentIndexes = std::vector<DocumentIndex>;

/** One side of a join: nodes, and the documents whose root belongs to it too. */
struct Operand {
    std::span<const NodeId> nodes;
    std::span<const DocumentIndex> roots;
};

/** What a join keeps of one side. */
struct Selection {
    NodeIds nodes;
    DocumentIndexes roots;

    Operand operand() const { return {nodes, roots}; }
};

/** How a join goes from the first side to the second. */
struct Step {
    Axis axis;
    bool attributesAreChildren = false;  ///< `child` relates an element to its attributes too
};

/** The members x of `first` for which some y of `second` is on the axis of x. */
Selection keepFirst(const NodeTable &table, Step step, Operand first, Operand second);

/** The nodes y of `second` that are on the axis of some x of `first`. */
NodeIds keepSecond(const NodeTable &table, Step step, Operand first,
                   std::span<const NodeId> second);

/** Whether a list has nodes, all of them attributes. */
bool allAttributes(const NodeTable &table, std::span<const NodeId> nodes);

}  // namespace zdbs::embedded

#endif
