/** Joins of nodes with their siblings. */
#ifndef ZDBS_EMBEDDED_JOINS_SIBLING_JOIN_H
#define ZDBS_EMBEDDED_JOINS_SIBLING_JOIN_H

#include "zdbs/embedded/paths/path_nodes.h"

namespace zdbs::embedded {

/**
 * The nodes of `candidates` with one of `partners` among the siblings after them, or before
 * them. No attributes; no path is irregular.
 */
PathNodes besides(const NodeTable &nodes, const PathTable &table, const PathNodes &candidates,
                  const PathNodes &partners, bool after);

}  // namespace zdbs::embedded

#endif
