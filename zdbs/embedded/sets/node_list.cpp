#include "zdbs/embedded/sets/node_list.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <numeric>
#include <utility>

#include "zdbs/embedded/tree/ascending_numbers.h"

namespace zdbs::embedded {
namespace {

/** Somebody who looks up more places goes through all of them, most likely. */
constexpr unsigned lookupsWithoutNumbers = 16;
constexpr std::size_t mostNumbersForLookups = 16000000;

std::size_t totalOf(const std::vector<NodeRun> &runs) {
    std::size_t total = 0;
    for (const NodeRun &run : runs)
        total += std::size_t{run.last} - run.first + 1;
    return total;
}

std::vector<NodeRun> runsOf(const NodeTable &table) {
    std::vector<NodeRun> runs;
    for (const DocumentRange &document : table.documents()) {
        bool continues = !runs.empty() && runs.back().last + 1 == document.first;
        if (!continues) runs.push_back({document.first, document.last});
        runs.back().last = document.last;
    }
    return runs;
}

/** Every node by path; paths that have no node any more are left out. */
PathNodes allPathsOf(const PathTable &table) {
    std::vector<PathId> paths(table.summary().size());
    std::iota(paths.begin(), paths.end(), PathId{0});
    std::erase_if(paths, [&](PathId path) { return table.liveRows(path)->isEmpty(); });
    return wholePaths(table, paths);
}

std::vector<PathId> pathsOf(const PathNodes &nodes) {
    std::vector<PathId> paths;
    paths.reserve(nodes.size());
    for (const PathPart &part : nodes)
        paths.push_back(part.path);
    return paths;
}

const PathTable *tableOf(const NodeListPtr &a, const NodeListPtr &b) {
    return a->table() != nullptr ? a->table() : b->table();
}

NodeIds unitedNumbers(std::span<const NodeListPtr> lists) {
    NodeIds all;
    for (const NodeListPtr &list : lists)
        all.insert(all.end(), list->ids().begin(), list->ids().end());
    sortUnique(all);
    return all;
}

}  // namespace

NodeList::NodeList(NodeIds ascending) : size_(ascending.size()), ids_(std::move(ascending)) {
    assert(std::is_sorted(ids_->begin(), ids_->end()));
}

NodeList::NodeList(std::vector<NodeRun> ascending)
    : runs_(std::move(ascending)), size_(totalOf(runs_)) {}

NodeList::NodeList(const PathTable &table, PathNodes nodes)
    : table_(&table), parts_(std::move(nodes)) {}

NodeList::NodeList(const PathTable &table, PendingNodes nodes)
    : table_(&table), pending_(std::move(nodes)) {}

NodeListPtr NodeList::everythingIn(const NodeTable &table) {
    auto everything = std::make_shared<NodeList>(runsOf(table));
    if (const PathTable *paths = table.paths()) {
        everything->table_ = paths;
        everything->parts_ = allPathsOf(*paths);
    }
    return everything;
}

/** Looks at the values that are still to be looked at. */
void NodeList::settle() const {
    if (!pending_) return;
    parts_ = pending_->all();
    hits_ = pending_->count().hits;
    pending_.reset();
}

/** Values that need not be looked at for their number stay pending. */
void NodeList::countPending() const {
    const PendingNodes::Counts counts = pending_->count();
    size_ = static_cast<std::size_t>(counts.nodes);
    hits_ = counts.hits;
    if (counts.isDecided) settle();
}

std::optional<std::uint64_t> NodeList::hits() const {
    if (pending_ && !size_) countPending();
    return hits_;
}

std::size_t NodeList::size() const {
    if (pending_ && !size_) countPending();
    if (!size_) size_ = static_cast<std::size_t>(sizeOf(*parts_));
    return *size_;
}

bool NodeList::empty() const {
    if (size_) return *size_ == 0;
    return pending_ ? pending_->empty() : parts_->empty();
}

std::span<const NodeId> NodeList::ids() const {
    if (!ids_) ids_ = numbers();
    return *ids_;
}

NodeIds NodeList::numbers() const {
    settle();
    if (ids_) return *ids_;
    if (runs_.empty() && parts_) return nodeIdsOf(*table_, *parts_);
    NodeIds ids;
    ids.reserve(size());
    for (const NodeRun &run : runs_) {
        for (NodeId node = run.first; node <= run.last; ++node)
            ids.push_back(node);
    }
    return ids;
}

bool NodeList::contains(NodeId node) const {
    settle();
    if (ids_) return std::binary_search(ids_->begin(), ids_->end(), node);
    if (runs_.empty() && parts_) return embedded::contains(*table_, *parts_, node);
    auto after = std::upper_bound(runs_.begin(), runs_.end(), node,
                                  [](NodeId n, const NodeRun &run) { return n < run.first; });
    return after != runs_.begin() && node <= std::prev(after)->last;
}

NodeId NodeList::at(std::size_t place) const {
    settle();
    assert(place < size());
    const bool isByPath = !ids_ && runs_.empty();
    if (isByPath && ++lookups_ > lookupsWithoutNumbers && size() <= mostNumbersForLookups) ids();
    if (ids_) return (*ids_)[place];
    if (runs_.empty()) return nodeAtPlace(*table_, *parts_, place);
    for (const NodeRun &run : runs_) {
        std::size_t length = std::size_t{run.last} - run.first + 1;
        if (place < length) return run.first + static_cast<NodeId>(place);
        place -= length;
    }
    return noNode;
}

const PathNodes &NodeList::byPath(const PathTable &table) const {
    settle();
    if (!parts_) parts_ = embedded::byPath(table, ids());
    return *parts_;
}

std::vector<PathId> NodeList::pathsIn(const PathTable &table) const {
    return pending_ ? pending_->paths() : pathsOf(byPath(table));
}

PathNodes NodeList::nodesIn(const PathTable &table, std::span<const PathId> paths) const {
    return pending_ ? pending_->in(paths) : partsIn(byPath(table), paths);
}

void NodeList::settleIfFew(std::size_t mostPaths) const {
    if (pending_ && pending_->pathCount() <= mostPaths) settle();
}

std::size_t NodeList::pathCount() const {
    if (pending_) return pending_->pathCount();
    return parts_ ? parts_->size() : 0;
}

NodeList::Attributes NodeList::attributes(const PathTable &table) const {
    if (attributes_) return *attributes_;
    std::size_t all = 0;
    std::size_t attributes = 0;
    const auto look = [&](PathId path) {
        ++all;
        attributes += table.summary()[path].kind == NodeKind::attribute ? 1 : 0;
    };
    if (pending_) {
        for (PathId path : pending_->paths())
            look(path);
    } else {
        for (const PathPart &part : byPath(table))
            look(part.path);
    }
    Attributes result = attributes == 0 ? Attributes::none : Attributes::some;
    if (attributes == all && all != 0) result = Attributes::all;
    if (!pending_) attributes_ = result;
    return result;
}

NodeListPtr NodeList::restricted(const PathTable &table, const NodeListPtr &list,
                                 bool areAttributes) {
    const Attributes present = list->attributes(table);
    if (present == (areAttributes ? Attributes::all : Attributes::none)) return list;
    const auto isKept = [&table, areAttributes](PathId path) {
        return (table.summary()[path].kind == NodeKind::attribute) == areAttributes;
    };
    if (list->pending_) {
        std::vector<PathId> paths = list->pending_->paths();
        std::erase_if(paths, [&isKept](PathId path) { return !isKept(path); });
        return std::make_shared<NodeList>(table, list->pending_->restrictedTo(paths));
    }
    PathNodes kept;
    const PathNodes &parts = list->byPath(table);
    std::copy_if(parts.begin(), parts.end(), std::back_inserter(kept),
                 [&isKept](const PathPart &part) { return isKept(part.path); });
    return makeList(table, std::move(kept));
}

NodeListPtr NodeList::attributesOf(const PathTable &table, const NodeListPtr &list) {
    return restricted(table, list, true);
}

NodeListPtr NodeList::withoutAttributes(const PathTable &table, const NodeListPtr &list) {
    return restricted(table, list, false);
}

NodeListPtr makeList(NodeIds ascending) {
    return std::make_shared<NodeList>(std::move(ascending));
}

NodeListPtr makeList(const PathTable &table, PathNodes nodes) {
    return std::make_shared<NodeList>(table, std::move(nodes));
}

NodeListPtr intersected(const NodeListPtr &a, const NodeListPtr &b) {
    if (a == b) return a;
    const PathTable *table = tableOf(a, b);
    if (table == nullptr) return makeList(common(a->ids(), b->ids()));
    const std::vector<PathId> paths = common(a->pathsIn(*table), b->pathsIn(*table));
    return makeList(*table, intersected(a->nodesIn(*table, paths), b->nodesIn(*table, paths)));
}

NodeListPtr united(std::span<const NodeListPtr> lists) {
    const PathTable *table = nullptr;
    for (const NodeListPtr &list : lists)
        table = table != nullptr ? table : list->table();
    if (table == nullptr) return makeList(unitedNumbers(lists));
    PathNodes all;
    for (const NodeListPtr &list : lists)
        all = united(*table, std::move(all), list->byPath(*table));
    return makeList(*table, std::move(all));
}

NodeListPtr subtracted(const NodeListPtr &a, const NodeListPtr &b) {
    const PathTable *table = tableOf(a, b);
    if (table == nullptr) return makeList(difference(a->ids(), b->ids()));
    const PathNodes removed = b->nodesIn(*table, a->pathsIn(*table));
    return makeList(*table, subtracted(a->byPath(*table), removed));
}

}  // namespace zdbs::embedded
