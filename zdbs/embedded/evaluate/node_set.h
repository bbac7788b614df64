/** Result sets of the embedded engine. */
#ifndef ZDBS_EMBEDDED_EVALUATE_NODE_SET_H
#define ZDBS_EMBEDDED_EVALUATE_NODE_SET_H

#include <memory>
#include <vector>

#include "zdbs/base/axis.h"
#include "zdbs/embedded/positions/pairs.h"
#include "zdbs/embedded/sets/node_list.h"
#include "zdbs/embedded/values/value_test.h"

namespace zdbs::embedded {

class NodeSet;
using NodeSetPtr = std::shared_ptr<const NodeSet>;

/** The last step of a chain: the nodes of a set were reached from `from` on `axis`. */
struct ChainLink {
    NodeSetPtr from;
    Axis axis;
};
using ChainLinkPtr = std::shared_ptr<ChainLink>;

/** Value conditions of one conjunction, and the nodes that satisfied it. */
struct ValueLeaf {
    std::vector<ValueTest> tests;
    NodeListPtr nodes;
};
using ValueLeafPtr = std::shared_ptr<const ValueLeaf>;

/** What a set is made of. */
struct NodeSetParts {
    NodeListPtr nodes;
    ChainLinkPtr chain;                ///< null: not made by steps downwards
    PairSourcePtr pairs;               ///< null: counted among siblings
    std::vector<ValueLeafPtr> leaves;  ///< value conditions that its nodes were matched by
};

/**
 * An immutable set of nodes with what it remembers of its making. Chains hold sets and
 * name them by their addresses; steps name them by identity(). Chains may grow long; they are
 * released without recursion.
 */
class NodeSet {
public:
    explicit NodeSet(NodeSetParts parts) : parts_(std::move(parts)) {}
    ~NodeSet();
    NodeSet(const NodeSet &) = delete;
    NodeSet &operator=(const NodeSet &) = delete;

    std::size_t size() const { return parts_.nodes->size(); }
    std::span<const NodeId> ids() const { return parts_.nodes->ids(); }
    const NodeListPtr &nodes() const { return parts_.nodes; }
    const ChainLinkPtr &chain() const { return parts_.chain; }
    const PairSourcePtr &pairs() const { return parts_.pairs; }
    const std::vector<ValueLeafPtr> &leaves() const { return parts_.leaves; }

    /**
     * Stands for this set among others, and for no other as long as somebody holds it, which
     * does not keep the set itself.
     */
    const std::shared_ptr<const void> &identity() const;

private:
    NodeSetParts parts_;
    mutable std::shared_ptr<const void> identity_;
};

NodeSetPtr makeSet(NodeSetParts parts);

/** A set of these nodes with nothing behind it. */
NodeSetPtr plainSet(NodeIds ascending);

}  // namespace zdbs::embedded

#endif
