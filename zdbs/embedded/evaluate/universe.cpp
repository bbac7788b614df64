#include "zdbs/embedded/evaluate/universe.h"

#include <numeric>

namespace zdbs::embedded {

Universe::Universe(const NodeTable &table)
    : table_(table), set_(makeSet({NodeList::everythingIn(table), nullptr, nullptr, {}})) {}

const ContextList &Universe::contexts() const {
    if (contexts_.nodes) return contexts_;
    auto roots = std::make_shared<DocumentIndexes>(table_.documents().size());
    std::iota(roots->begin(), roots->end(), 0);
    contexts_ = {withoutAttributes(), std::move(roots)};
    return contexts_;
}

NodeListPtr Universe::withoutAttributes() const {
    if (const PathTable *paths = table_.paths()) {
        return NodeList::withoutAttributes(*paths, set_->nodes());
    }
    NodeIds nodes;
    for (NodeId node : set_->ids()) {
        if (table_.kind(node) != NodeKind::attribute) nodes.push_back(node);
    }
    return makeList(std::move(nodes));
}

ContextList Universe::contextsOf(const NodeSetPtr &set) const {
    if (set == set_) return contexts();
    return {set->nodes(), nullptr, set->identity()};
}

/** Every node but the attributes is below a root, and a node of set 0 as first set itself. */
NodeListPtr Universe::reachedByStep(Step step, const NodeListPtr &list) const {
    const PathTable *paths = table_.paths();
    if (paths == nullptr || list->table() == nullptr) return nullptr;
    const AxisTraits &axis = traitsOf(step.axis);
    if (axis.toAttributes) return NodeList::attributesOf(*paths, list);
    if (step.attributesAreChildren) return list;
    const bool isSelf = axis.region == Region::none && axis.withSelf;
    if (axis.region != Region::below && !isSelf) return nullptr;
    return NodeList::withoutAttributes(*paths, list);
}

}  // namespace zdbs::embedded
