/** Of each sibling group of a family the node at a position near one of its ends. */
#ifndef ZDBS_EMBEDDED_POSITIONS_GROUP_EDGES_H
#define ZDBS_EMBEDDED_POSITIONS_GROUP_EDGES_H

#include <cstdint>

#include "zdbs/embedded/positions/sibling_families.h"

namespace zdbs::embedded {

/**
 * Whether selectEdge() is the way for a family and a position: that of the first or last where the
 * nodes of a group lie together, but are too few for a search; a near one of several paths, where
 * they do not, and where groups are not mostly empty.
 */
bool hasEdge(const SiblingFamily &family, std::int64_t position);

/**
 * Adds of each group the node at a position, from 1, or from its end, from -1, to a set. One pass
 * over the rows of each path. Of several paths it keeps of each group the few nodes that are
 * nearest to the end, 16 bytes each, so that the nodes are never brought into one order.
 *
 * REQUIRES hasEdge(). Throws Failure: stopped.
 */
void selectEdge(const SiblingFamily &family, std::int64_t position, PathNodes &result);

}  // namespace zdbs::embedded

#endif
