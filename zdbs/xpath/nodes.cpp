#include "zdbs/xpath/nodes.h"

#include <algorithm>
#include <utility>

namespace zdbs::xpath {

bool isAscending(std::span<const Node> nodes) {
    return std::adjacent_find(nodes.begin(), nodes.end(), [](Node a, Node b) { return a >= b; }) ==
           nodes.end();
}

void sortNodes(Nodes &nodes) {
    if (isAscending(nodes)) return;
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
}

std::size_t placeIn(std::span<const Node> ascending, Node node) {
    return static_cast<std::size_t>(std::lower_bound(ascending.begin(), ascending.end(), node) -
                                    ascending.begin());
}

void Groups::closeSorted() {
    const auto first =
        nodes_.begin() + static_cast<std::ptrdiff_t>(ends_.empty() ? 0 : ends_.back());
    if (!isAscending({first, nodes_.end()})) {
        std::sort(first, nodes_.end());
        nodes_.erase(std::unique(first, nodes_.end()), nodes_.end());
    }
    close();
}

void Groups::append(const Groups &more) {
    const std::size_t base = nodes_.size();
    add(more.nodes());
    for (const std::size_t end : more.ends_)
        ends_.push_back(base + end);
}

void Groups::reserve(std::size_t groups, std::size_t nodes) {
    ends_.reserve(groups);
    nodes_.reserve(nodes);
}

Groups Groups::ofEach(std::span<const Node> nodes) {
    Groups groups;
    groups.reserve(nodes.size(), nodes.size());
    for (const Node node : nodes) {
        groups.add(node);
        groups.close();
    }
    return groups;
}

Groups Groups::joined(const Groups &outer, Groups inner) {
    std::vector<std::size_t> ends;
    ends.reserve(outer.size());
    for (const std::size_t end : outer.ends_)
        ends.push_back(end == 0 ? 0 : inner.ends_[end - 1]);
    inner.ends_ = std::move(ends);
    return inner;
}

Groups Groups::ofOne(Nodes nodes) {
    const std::size_t end = nodes.size();
    return {std::move(nodes), {end}};
}

Nodes distinctNodes(const Groups &groups) {
    Nodes nodes(groups.nodes().begin(), groups.nodes().end());
    sortNodes(nodes);
    return nodes;
}

}  // namespace zdbs::xpath
