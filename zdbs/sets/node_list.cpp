#include "zdbs/sets/node_list.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace zdbs {
namespace {

std::size_t totalOf(const std::vector<NodeRun> &runs) {
    std::size_t total = 0;
    for (const NodeRun &run : runs)
        total += std::size_t{run.last} - run.first + 1;
    return total;
}

}  // namespace

NodeList::NodeList(NodeIds ascending) : size_(ascending.size()), ids_(std::move(ascending)) {
    assert(std::is_sorted(ids_.begin(), ids_.end()));
}

NodeList::NodeList(std::vector<NodeRun> ascending)
    : runs_(std::move(ascending)), size_(totalOf(runs_)) {}

NodeListPtr NodeList::everythingIn(const NodeTable &table) {
    std::vector<NodeRun> runs;
    for (const DocumentRange &document : table.documents()) {
        bool continues = !runs.empty() && runs.back().last + 1 == document.first;
        if (!continues) runs.push_back({document.first, document.last});
        runs.back().last = document.last;
    }
    return std::make_shared<NodeList>(std::move(runs));
}

std::span<const NodeId> NodeList::ids() const {
    if (ids_.size() == size_) return ids_;
    NodeIds ids;
    ids.reserve(size_);
    for (const NodeRun &run : runs_) {
        for (NodeId node = run.first; node <= run.last; ++node)
            ids.push_back(node);
    }
    ids_ = std::move(ids);
    return ids_;
}

bool NodeList::contains(NodeId node) const {
    if (runs_.empty()) return std::binary_search(ids_.begin(), ids_.end(), node);
    auto after = std::upper_bound(runs_.begin(), runs_.end(), node,
                                  [](NodeId n, const NodeRun &run) { return n < run.first; });
    return after != runs_.begin() && node <= std::prev(after)->last;
}

NodeId NodeList::at(std::size_t place) const {
    assert(place < size_);
    if (runs_.empty()) return ids_[place];
    for (const NodeRun &run : runs_) {
        std::size_t length = std::size_t{run.last} - run.first + 1;
        if (place < length) return run.first + static_cast<NodeId>(place);
        place -= length;
    }
    return noNode;
}

NodeListPtr makeList(NodeIds ascending) {
    return std::make_shared<NodeList>(std::move(ascending));
}

NodeIds intersected(std::span<const NodeId> a, std::span<const NodeId> b) {
    NodeIds result;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

NodeIds united(std::span<const NodeId> a, std::span<const NodeId> b) {
    NodeIds result;
    std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

NodeIds subtracted(std::span<const NodeId> a, std::span<const NodeId> b) {
    NodeIds result;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

}  // namespace zdbs
