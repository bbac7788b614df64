#include "zdbs/sets/universe.h"

#include <numeric>

namespace zdbs {

Universe::Universe(const NodeTable &table)
    : table_(table), set_(makeSet({NodeList::everythingIn(table), nullptr, nullptr, {}})) {}

const ContextList &Universe::contexts() const {
    if (contexts_.nodes) return contexts_;
    NodeIds nodes;
    for (NodeId node : set_->ids()) {
        if (table_.kind(node) != NodeKind::attribute) nodes.push_back(node);
    }
    auto roots = std::make_shared<DocumentIndexes>(table_.documents().size());
    std::iota(roots->begin(), roots->end(), 0);
    contexts_ = {makeList(std::move(nodes)), std::move(roots)};
    return contexts_;
}

ContextList Universe::contextsOf(const NodeSetPtr &set) const {
    return set == set_ ? contexts() : ContextList{set->nodes(), nullptr};
}

}  // namespace zdbs
