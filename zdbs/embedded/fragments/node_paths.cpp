#include "zdbs/embedded/fragments/node_paths.h"

#include <algorithm>
#include <set>

namespace zdbs::embedded {
namespace {

/** Positions up to here are found by looking at the siblings each time. */
constexpr std::uint32_t fewSiblings = 32;

/** Position among the like-named children, or 0 when there are many children before it. */
std::uint32_t positionAmongFew(const NodeTable &nodes, AxisWalk &walk, NodeId first, NodeId node) {
    const PathName name = pathName(nodes, node);
    std::uint32_t position = 1;
    std::uint32_t passed = 0;
    for (NodeId sibling = first; sibling != node;
         sibling = walk.next(Axis::followingSibling, sibling, sibling)) {
        if (++passed > fewSiblings) return 0;
        if (pathName(nodes, sibling) == name) ++position;
    }
    return position;
}

}  // namespace

std::vector<NamespaceDeclaration> namespacesInScope(const NodeTable &nodes, NodeId element) {
    std::vector<NamespaceDeclaration> result;
    std::set<std::string_view> seen;
    for (NodeId node = element; node != noNode; node = nodes.parent(node)) {
        for (const NamespaceDeclaration &declaration : nodes.namespaces(node)) {
            if (seen.insert(declaration.prefix).second) result.push_back(declaration);
        }
    }
    return result;
}

std::string_view NodePaths::of(NodeId node) {
    keepAncestorsOf(node);
    for (NodeId up = node; up != noNode && (open_.empty() || up != open_.back().node);
         up = nodes_.parent(up))
        ahead_.push_back(up);
    while (!ahead_.empty()) {
        append(ahead_.back());
        ahead_.pop_back();
    }
    return path_;
}

/** Cuts the way to what it shares with the way to `node`. */
void NodePaths::keepAncestorsOf(NodeId node) {
    const auto leadsToIt = [&](NodeId open) {
        return open <= node && nodes_.lastBelow(open) >= node;
    };
    while (!open_.empty() && !leadsToIt(open_.back().node))
        open_.pop_back();
    path_.resize(open_.empty() ? 0 : open_.back().length);
}

void NodePaths::append(NodeId node) {
    const bool isAttribute = nodes_.kind(node) == NodeKind::attribute;
    const PathName name = pathName(nodes_, node);
    path_ += isAttribute ? "/@" : "/";
    if (!name.prefix.empty()) path_.append(name.prefix) += ':';
    path_.append(name.local);
    if (!isAttribute) path_ += '[' + std::to_string(positionOf(node)) + ']';
    open_.push_back({node, path_.size()});
}

std::uint32_t NodePaths::positionOf(NodeId node) {
    const NodeId parent = nodes_.parent(node);
    const NodeId first =
        parent == noNode ? walk_.documentOf(node).first : walk_.first(Axis::child, parent);
    const std::uint32_t position = positionAmongFew(nodes_, walk_, first, node);
    if (position > 0) return position;

    if (counted_.size() >= maxCounted_) forgetOldest();
    Counted &counted =
        counted_.try_emplace(first, Counted{SiblingPositions(first), 0}).first->second;
    counted.lastUse = ++uses_;
    return counted.positions.of(nodes_, walk_, node);
}

/** Drops about half: those not used for longest. The parents on the way count as used. */
void NodePaths::forgetOldest() {
    ++uses_;
    for (const Open &open : open_) {
        const auto place = counted_.find(walk_.first(Axis::child, open.node));
        if (place != counted_.end()) place->second.lastUse = uses_;
    }
    std::vector<std::uint64_t> uses;
    uses.reserve(counted_.size());
    for (const auto &entry : counted_)
        uses.push_back(entry.second.lastUse);
    const auto middle = uses.begin() + static_cast<std::ptrdiff_t>(uses.size() / 2);
    std::nth_element(uses.begin(), middle, uses.end());
    std::erase_if(counted_,
                  [limit = *middle](const auto &entry) { return entry.second.lastUse < limit; });
    // A deep way can need more than the bound; then look again when there are twice as many.
    maxCounted_ = std::max(maxCounted_, 2 * counted_.size());
}

}  // namespace zdbs::embedded
