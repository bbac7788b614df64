#include "tests/zdbs/support/memory_path_table.h"

#include <algorithm>

namespace zdbs::testing {

MemoryPathTable::MemoryPathTable(const NodeTable &nodes, const PathTableOptions &options)
    : nodes_(nodes), options_(options) {
    const auto all = nodes.documents();
    places_.resize(all.empty() ? 1 : all.back().last + 1);
    for (DocumentIndex index = 0; index < all.size(); ++index) {
        addDocument(all[index]);
        if (options.removed.count(index) == 0) documents_.push_back(all[index]);
    }
    endSegment();
    findLiveRows(options);
}

PathRow MemoryPathTable::locate(NodeId node) const {
    return places_.at(node);
}

NodeId MemoryPathTable::lastBelow(PathRow row) const {
    return nodes_.lastBelow(nodeAt(row));
}

void MemoryPathTable::addDocument(const DocumentRange &document) {
    for (NodeId node = document.first; node <= document.last; ++node)
        addNode(node);
}

void MemoryPathTable::addNode(NodeId node) {
    if (inSegment_ == options_.nodesPerSegment) endSegment();
    if (inSegment_++ == 0) segmentFirst_ = node;
    addRow(pathOf(node), node);
}

PathId MemoryPathTable::pathOf(NodeId node) {
    const NodeKind kind = nodes_.kind(node);
    const NodeName name = nodes_.name(node);
    const std::uint32_t number = name.local.empty() ? noName : numberOf(name);
    const NodeId parent = nodes_.parent(node);
    const PathId above = parent == noNode ? noPath : places_[parent].path;
    if (above != noPath && !summary_[above].isRegular) return irregularPath(kind);
    const std::uint32_t level = above == noPath ? 1 : summary_[above].level + 1;
    const auto known = pathByKey_.find({above, kind, number});
    if (known != pathByKey_.end()) return known->second;
    const bool isFull = pathByKey_.size() >= options_.mostPaths || level > options_.deepestLevel;
    return isFull ? irregularPath(kind) : addPath(above, kind, number, level);
}

PathId MemoryPathTable::addPath(PathId parent, NodeKind kind, std::uint32_t name,
                                std::uint32_t level) {
    const auto path = static_cast<PathId>(summary_.size());
    summary_.add({parent, kind, name, level, true});
    runs_.emplace_back();
    segmentBase_.push_back(0);
    pathByKey_[{parent, kind, name}] = path;
    return path;
}

PathId MemoryPathTable::irregularPath(NodeKind kind) {
    const auto known = irregular_.find(kind);
    if (known != irregular_.end()) return known->second;
    const auto path = static_cast<PathId>(summary_.size());
    summary_.add({noPath, kind, noName, 0, false});
    runs_.emplace_back();
    segmentBase_.push_back(0);
    return irregular_[kind] = path;
}

std::uint32_t MemoryPathTable::numberOf(const NodeName &name) {
    const auto number = static_cast<std::uint32_t>(names_.size());
    const auto [place, isNew] =
        nameNumbers_.try_emplace({name.local, name.prefix, name.uri}, number);
    if (isNew) names_.push_back(name);
    return place->second;
}

void MemoryPathTable::addRow(PathId path, NodeId node) {
    Run &run = open_[path];
    const NodeId parent = nodes_.parent(node);
    places_[node] = {path, segmentBase_[path] + static_cast<RowId>(run.nodes.size())};
    run.nodes.push_back(node);
    if (!summary_[path].isRegular) {
        const NodeName name = nodes_.name(node);
        if (!name.local.empty()) run.names.push_back(numberOf(name));
        run.parentDistances.push_back(parent == noNode ? 0 : node - parent);
    } else if (parent != noNode) {
        run.parents.push_back(places_[parent].row);
    }
    if (nodes_.kind(node) != NodeKind::element) run.values.add(nodes_.value(node));
}

void MemoryPathTable::endSegment() {
    for (auto &[path, run] : open_)
        finishRun(path, run);
    if (options_.withValuePaths) indexValues();
    for (auto &[path, run] : open_)
        segmentBase_[path] += static_cast<RowId>(run.nodes.size());
    open_.clear();
    inSegment_ = 0;
}

void MemoryPathTable::finishRun(PathId path, Run &run) {
    PathRun result;
    result.firstRow = segmentBase_[path];
    result.count = static_cast<std::uint32_t>(run.nodes.size());
    result.firstNode = segmentFirst_;
    if (!run.parents.empty()) result.parentBase = segmentBase_[summary_[path].parent];
    std::vector<std::uint32_t> below;
    for (NodeId &node : run.nodes) {
        // What is below in later segments does not count: lastBelow() knows of it.
        const NodeId segmentLast = segmentFirst_ + inSegment_ - 1;
        below.push_back(std::min(nodes_.lastBelow(node), std::max(node, segmentLast)) - node);
        node -= result.firstNode;
    }
    for (RowId &parent : run.parents)
        parent = parent + 1 - result.parentBase;
    result.nodes = pack(run.nodes);
    result.parents = pack(run.parents);
    result.names = pack(run.names);
    result.parentDistances = pack(run.parentDistances);
    if (summary_[path].kind == NodeKind::element) {
        result.below = pack(below);
    } else {
        run.values.finish(bytes_.emplace_back(), run.keys);
        result.values = ValueColumn(bytes_.back());
    }
    runs_[path].push_back(result);
}

void MemoryPathTable::indexValues() {
    std::vector<PathKeys> paths;
    std::size_t count = 0;
    for (const auto &[path, run] : open_) {
        if (!run.keys.empty()) paths.push_back({path, run.keys});
        count += run.keys.size();
    }
    ValuePaths &index = indexes_.emplace_back();
    if (count > 0) {
        packValuePaths(paths, ValuePaths::shapeFor(count, summary_.size()), bytes_.emplace_back());
        index = ValuePaths(bytes_.back());
    }
    for (const auto &[path, run] : open_) {
        runs_[path].back().valuePaths = &index;
        runs_[path].back().localPath = path;
    }
}

std::optional<std::vector<PathId>> MemoryPathTable::pathsWithKey(ValueKey key) const {
    if (!options_.withValuePaths) return std::nullopt;
    std::set<PathId> paths;
    for (const ValuePaths &index : indexes_)
        index.forPathsOf(key, [&](std::uint32_t path) { paths.insert(path); });
    return std::vector<PathId>(paths.begin(), paths.end());
}

PackedColumn MemoryPathTable::pack(const std::vector<std::uint32_t> &numbers) {
    if (numbers.empty()) return {};
    zdbs::embedded::pack(numbers, bytes_.emplace_back());
    return PackedColumn(bytes_.back());
}

void MemoryPathTable::findLiveRows(const PathTableOptions &options) {
    for (PathId path = 0; path < summary_.size(); ++path) {
        RowSet live;
        if (rowCount(path) != 0) live.addRange(0, rowCount(path));
        const auto all = nodes_.documents();
        for (DocumentIndex index : options.removed) {
            const RowId first = lowerBound(path, all[index].first);
            for (RowId row = first; row < lowerBound(path, all[index].last + 1); ++row)
                live.remove(row);
        }
        options.withRuns ? live.runOptimize() : live.removeRunCompression();
        live_.push_back(std::make_shared<const RowSet>(std::move(live)));
    }
}

std::shared_ptr<const NodeTable> byPath(MemoryNodeTable nodes, const PathTableOptions &options) {
    struct Kept {
        MemoryNodeTable nodes;
        std::unique_ptr<const MemoryPathTable> table;
    };
    auto kept = std::make_shared<Kept>(Kept{std::move(nodes), nullptr});
    kept->table = std::make_unique<const MemoryPathTable>(kept->nodes, options);
    return {kept, kept->table.get()};
}

}  // namespace zdbs::testing
