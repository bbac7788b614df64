/** Numbers of nodes, and of the parts that they are in. */
#ifndef ZDBS_EMBEDDED_TREE_NODE_ID_H
#define ZDBS_EMBEDDED_TREE_NODE_ID_H

#include <cstdint>
#include <vector>

#include "zdbs/base/node.h"

namespace zdbs::embedded {

/** Number of a node in its part: 1 … 2 147 483 647; 0 is no node. */
using NodeId = std::uint32_t;

constexpr NodeId noNode = 0;
constexpr NodeId lastNodeId = 2147483647;

/** Behind all nodes, in answers about what comes next. */
constexpr NodeId noMoreNodes = 0xffffffff;

/** Ascending, without duplicates, unless something else is said. */
using NodeIds = std::vector<NodeId>;

/**
 * Number of a part of a database, from 0: whole documents in the order of loading, together no
 * more nodes than have numbers. Nodes have numbers, and joins and positions nodes, of one part.
 */
using PartNumber = std::uint32_t;

/** The record that a node of a part is: records ascend part by part. */
constexpr RecordId recordOf(PartNumber part, NodeId node) {
    return RecordId{part} << 32U | node;
}
constexpr PartNumber partOf(RecordId record) {
    return static_cast<PartNumber>(record >> 32U);
}
constexpr NodeId nodeOf(RecordId record) {
    return static_cast<NodeId>(record);
}

}  // namespace zdbs::embedded

#endif
