#include "zdbs/embedded/evaluate/node_set.h"

#include <utility>

namespace zdbs::embedded {

/** A chain is as long as requests made it, so its sets go one after another, not within each other.
 */
NodeSet::~NodeSet() {
    ChainLinkPtr link = std::move(parts_.chain);
    while (link && link.use_count() == 1) {
        NodeSetPtr from = std::move(link->from);
        if (from.use_count() != 1) break;
        link = std::move(const_cast<NodeSet &>(*from).parts_.chain);
    }
}

const std::shared_ptr<const void> &NodeSet::identity() const {
    if (!identity_) identity_ = std::make_shared<char>();
    return identity_;
}

NodeSetPtr makeSet(NodeSetParts parts) {
    return std::make_shared<NodeSet>(std::move(parts));
}

NodeSetPtr plainSet(NodeIds ascending) {
    return makeSet({makeList(std::move(ascending)), nullptr, nullptr, {}});
}

}  // namespace zdbs::embedded
