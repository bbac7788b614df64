/** Joins of irregular nodes with what is above them, node by node. */
#ifndef ZDBS_EMBEDDED_JOINS_IRREGULAR_JOIN_H
#define ZDBS_EMBEDDED_JOINS_IRREGULAR_JOIN_H

#include <unordered_map>

#include "zdbs/embedded/joins/path_join.h"
#include "zdbs/embedded/joins/vertical_join.h"

namespace zdbs::embedded {

/**
 * Goes from each irregular node up to its ancestors, to none twice: each costs a look-up or
 * two. For sets of few irregular nodes. For one thread.
 */
class IrregularJoin {
public:
    IrregularJoin(const NodeTable &nodes, const PathTable &table) : nodes_(nodes), table_(table) {}

    /** The nodes of `low`, all irregular, that are below a node or a root of `high`. */
    PathNodes below(const PathOperand &high, const PathNodes &low, Depth depth);

    /** What of `high` is above a node of `low`, all irregular. */
    PathSelection above(const PathOperand &high, const PathNodes &low, Depth depth);

private:
    bool isBelow(const PathOperand &high, NodeId node, Depth depth);
    bool isRootOf(const PathOperand &high, NodeId node) const;

    const NodeTable &nodes_;
    const PathTable &table_;
    std::unordered_map<NodeId, bool> isIn_;  ///< whether a node is in the set above or below it
    std::vector<NodeId> way_;
};

}  // namespace zdbs::embedded

#endif
