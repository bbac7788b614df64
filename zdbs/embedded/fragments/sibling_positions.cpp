#include "zdbs/embedded/fragments/sibling_positions.h"

#include <algorithm>
#include <functional>

namespace zdbs::embedded {

PathName pathName(const NodeTable &nodes, NodeId node) {
    switch (nodes.kind(node)) {
        case NodeKind::text:
            return {{}, "text()"};
        case NodeKind::comment:
            return {{}, "comment()"};
        case NodeKind::processingInstruction:
            return {{}, "processing-instruction()"};
        case NodeKind::element:
        case NodeKind::attribute:
            break;
    }
    const NodeName name = nodes.name(node);
    return {name.prefix, name.local};
}

std::size_t SiblingPositions::Hash::operator()(const PathName &name) const {
    const std::hash<std::string_view> hash;
    return hash(name.local) * 31 + hash(name.prefix);
}

std::uint32_t SiblingPositions::of(const NodeTable &nodes, AxisWalk &walk, NodeId child) {
    if (next_ != noNode && child >= next_) countTo(nodes, walk, child);
    if (const Known *const found = known(child)) return found->position;
    rememberAll_ = true;
    next_ = first_;
    known_.clear();
    counts_.clear();
    countTo(nodes, walk, child);
    return known(child)->position;
}

const SiblingPositions::Known *SiblingPositions::known(NodeId child) const {
    const auto place =
        std::lower_bound(known_.begin(), known_.end(), child,
                         [](const Known &one, NodeId wanted) { return one.child < wanted; });
    return place != known_.end() && place->child == child ? &*place : nullptr;
}

void SiblingPositions::countTo(const NodeTable &nodes, AxisWalk &walk, NodeId child) {
    while (next_ != noNode && next_ <= child) {
        const std::uint32_t position = ++counts_[pathName(nodes, next_)];
        if (rememberAll_ || next_ == child) known_.push_back({next_, position});
        next_ = walk.next(Axis::followingSibling, next_, next_);
    }
}

}  // namespace zdbs::embedded
