#include "zdbs/xpath/families.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace zdbs::xpath {

Families::Families(const Collection &collection, std::span<const Node> contexts,
                   const AxisTraits &axis, const NodeSet &set)
    : contexts_(contexts), areAfter_(axis.region == Region::siblingsAfter) {
    const NodeSet all = collection.setOf(contexts);
    parentsOfContexts_ = collection.parents(contexts, all);
    lonely_ = collection.nodesOf(collection.attributesAmong(all));
    const Nodes nodes = collection.nodesOf(set);
    const Nodes parents = collection.parents(nodes, set);
    std::vector<std::pair<Node, Node>> pairs;
    pairs.reserve(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i)
        pairs.emplace_back(parents[i], nodes[i]);
    std::sort(pairs.begin(), pairs.end());
    parents_.reserve(pairs.size());
    nodes_.reserve(pairs.size());
    for (const auto &[parent, node] : pairs) {
        parents_.push_back(parent);
        nodes_.push_back(node);
    }
}

std::span<const Node> Families::of(std::size_t context) const {
    const Node node = contexts_[context];
    if (isRoot(node) || std::binary_search(lonely_.begin(), lonely_.end(), node)) return {};
    const auto [first, last] =
        std::equal_range(parents_.begin(), parents_.end(), parentsOfContexts_[context]);
    const auto family = std::span(nodes_).subspan(
        static_cast<std::size_t>(first - parents_.begin()), static_cast<std::size_t>(last - first));
    if (!areAfter_) return family.first(placeIn(family, node));
    const auto behind = std::upper_bound(family.begin(), family.end(), node) - family.begin();
    return family.subspan(static_cast<std::size_t>(behind));
}

}  // namespace zdbs::xpath
