/** Numbers of nodes. */
#ifndef ZDBS_EMBEDDED_TREE_NODE_ID_H
#define ZDBS_EMBEDDED_TREE_NODE_ID_H

#include <cstdint>
#include <vector>

namespace zdbs::embedded {

/** Record number of a node: 1 … 2 147 483 647; 0 is no node. */
using NodeId = std::uint32_t;

constexpr NodeId noNode = 0;
constexpr NodeId lastNodeId = 2147483647;

/** Behind all nodes, in answers about what comes next. */
constexpr NodeId noMoreNodes = 0xffffffff;

/** Ascending, without duplicates, unless something else is said. */
using NodeIds = std::vector<NodeId>;

}  // namespace zdbs::embedded

#endif
