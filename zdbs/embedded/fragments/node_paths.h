/** Where a node stands in its document: its path, and the namespaces in scope there. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_NODE_PATHS_H
#define ZDBS_EMBEDDED_FRAGMENTS_NODE_PATHS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zdbs/embedded/fragments/sibling_positions.h"

namespace zdbs::embedded {

/** The declarations in scope at an element, nearest first, each prefix once. */
std::vector<NamespaceDeclaration> namespacesInScope(const NodeTable &nodes, NodeId element);

/**
 * Paths such as `/PLAY[1]/ACT[2]/text()[1]` and `/a[1]/@p:id`: names as they are
 * written, positions among the siblings of the same name.
 *
 * Keeps the way to the node asked last and what it counted on the way, so that the
 * paths of many nodes cost no more than counting the children of their ancestors
 * once or twice. What it keeps grows with the paths it has answered; beyond a bound
 * it forgets the parents that were not needed for longest. One thread at a time.
 */
class NodePaths {
public:
    /** `nodes` must outlive the object. */
    explicit NodePaths(const NodeTable &nodes) : nodes_(nodes), walk_(nodes) {}

    /** The path of a node; valid until the next call. */
    std::string_view of(NodeId node);

private:
    struct Open {
        NodeId node;
        std::size_t length;  ///< of the path up to and with the node
    };
    struct Counted {
        SiblingPositions positions;
        std::uint64_t lastUse;
    };

    void keepAncestorsOf(NodeId node);
    void append(NodeId node);
    std::uint32_t positionOf(NodeId node);
    void forgetOldest();

    const NodeTable &nodes_;
    AxisWalk walk_;
    std::string path_;
    std::vector<Open> open_;     ///< the way to the last node, outermost first
    std::vector<NodeId> ahead_;  ///< scratch: what is missing of the way to the next one
    std::unordered_map<NodeId, Counted> counted_;  ///< by first child; large families only
    std::uint64_t uses_ = 0;
    std::size_t maxCounted_ = 8192;  ///< parents with counts, before the oldest are dropped
};

}  // namespace zdbs::embedded

#endif
