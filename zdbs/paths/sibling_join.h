/** Joins of nodes with their siblings. */
#ifndef ZDBS_PATHS_SIBLING_JOIN_H
#define ZDBS_PATHS_SIBLING_JOIN_H

#include "zdbs/paths/path_nodes.h"

namespace zdbs {

/**
 * The nodes of `candidates` with one of `partners` among the siblings after them, or before
 * them. No attributes; no path is irregular.
 */
PathNodes besides(const NodeTable &nodes, const PathTable &table, const PathNodes &candidates,
                  const PathNodes &partners, bool after);

}  // namespace zdbs

#endif
