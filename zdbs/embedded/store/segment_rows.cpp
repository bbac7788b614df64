#include "zdbs/embedded/store/segment_rows.h"

#include <algorithm>
#include <cassert>

namespace zdbs::embedded {

namespace {

/** Asked for ascending nodes: is each in one of the ranges? */
class RangeFilter {
public:
    explicit RangeFilter(std::span<const DocumentRange> ranges) : ranges_(ranges) {}

    bool has(NodeId node) {
        while (next_ < ranges_.size() && ranges_[next_].last < node)
            ++next_;
        return next_ < ranges_.size() && ranges_[next_].first <= node;
    }

private:
    std::span<const DocumentRange> ranges_;
    std::size_t next_ = 0;
};

/** Reads a column forwards, a frame at a time. */
class ColumnReader {
public:
    explicit ColumnReader(const PackedColumn &column) : column_(column) {}

    std::uint32_t at(std::uint32_t row) {
        if (row / PackedColumn::frameSize != frame_) fill(row / PackedColumn::frameSize);
        return numbers_[row % PackedColumn::frameSize];
    }

private:
    void fill(std::uint32_t frame) {
        const std::uint32_t first = frame * PackedColumn::frameSize;
        const std::uint32_t count = std::min(PackedColumn::frameSize, column_.size() - first);
        column_.read(first, std::span(numbers_).first(count));
        frame_ = frame;
    }

    const PackedColumn &column_;
    std::array<std::uint32_t, PackedColumn::frameSize> numbers_{};
    std::uint32_t frame_ = 0xffffffff;
};

bool isNamedKind(NodeKind kind) {
    return kind != NodeKind::text && kind != NodeKind::comment;
}

}  // namespace

std::uint32_t SegmentRows::localOf(PathId id, const Path &path) {
    if (id >= locals_.size()) locals_.resize(id + 1, noLocal);
    std::uint32_t &local = locals_[id];
    if (local != noLocal) return local;
    local = static_cast<std::uint32_t>(paths_.size());
    PathRows &rows = paths_.emplace_back();
    rows.id = id;
    rows.parent = path.parent;
    rows.isRegular = path.isRegular;
    rows.isNamed = isNamedKind(path.kind);
    if (path.kind != NodeKind::element) rows.values.emplace();
    return local;
}

std::uint32_t SegmentRows::rowsOf(PathId id) const {
    if (id >= locals_.size() || locals_[id] == noLocal) return 0;
    return static_cast<std::uint32_t>(paths_[locals_[id]].nodes.size());
}

void SegmentRows::addPlace(NodeId node, std::uint32_t local) {
    if (node != lastNode_ + 1 || empty()) stretches_.push_back({node, nodeCount()});
    lastNode_ = node;
    pathOfNode_.push_back(local);
}

RowPlace SegmentRows::add(PathId id, const Path &path, const NewRow &row) {
    const std::uint32_t local = localOf(id, path);
    addPlace(row.node, local);
    PathRows &rows = paths_[local];
    const RowPlace place{local, static_cast<std::uint32_t>(rows.nodes.size())};
    rows.nodes.push_back(row.node);
    if (!rows.isRegular) {
        rows.parentDistances.push_back(row.parent == noNode ? 0 : row.node - row.parent);
        if (rows.isNamed) rows.names.push_back(row.name);
    } else if (rows.parent != noPath) {
        rows.parents.push_back(rowsOf(rows.parent));
    }
    if (!rows.values) {
        rows.below.push_back(0);
    } else {
        rows.values->add(row.value);
        valueBytes_ += row.value.size();
    }
    return place;
}

void SegmentRows::truncate(NodeId end) {
    if (empty() || end > lastNode_) return;
    for (PathRows &rows : paths_) {
        const auto place = std::lower_bound(rows.nodes.begin(), rows.nodes.end(), end);
        const auto count = static_cast<std::size_t>(place - rows.nodes.begin());
        for (auto *column :
             {&rows.nodes, &rows.parents, &rows.below, &rows.names, &rows.parentDistances})
            column->resize(std::min(column->size(), count));
        if (!rows.values) continue;
        const std::size_t before = rows.values->bytes();
        rows.values->truncate(static_cast<std::uint32_t>(count));
        valueBytes_ -= std::min(valueBytes_, before - rows.values->bytes());
    }
    // Paths that have no row any more came last, and their numbers may get another meaning.
    for (; !paths_.empty() && paths_.back().nodes.empty(); paths_.pop_back())
        locals_[paths_.back().id] = noLocal;
    while (!stretches_.empty() && stretches_.back().firstNode >= end)
        stretches_.pop_back();
    const bool isEmpty = stretches_.empty();
    pathOfNode_.resize(
        isEmpty ? 0 : stretches_.back().firstPlace + (end - stretches_.back().firstNode));
    lastNode_ = isEmpty ? noNode : end - 1;
    while (!declarations_.empty() && declarations_.back().element >= end)
        declarations_.pop_back();
}

void SegmentRows::renumber(NodeId less) {
    for (PathRows &rows : paths_) {
        for (std::uint32_t &node : rows.nodes)
            node -= less;
    }
    for (SegmentStretch &stretch : stretches_)
        stretch.firstNode -= less;
    for (Declaration &declaration : declarations_)
        declaration.element -= less;
    lastNode_ -= less;
}

// Parents of a path come before it, so that their rows are here when it needs them.
void SegmentRows::addSegment(const Segment &segment, std::span<const Path> paths,
                             std::span<const DocumentRange> ranges) {
    std::vector<std::uint32_t> locals;
    for (std::uint32_t source = 0; source < segment.directory().size(); ++source) {
        const PathId id = segment.directory()[source].path;
        if (id >= paths.size()) segment.failDamaged("the number of a path");
        locals.push_back(localOf(id, paths[id]));
        addRows(segment, source, locals.back(), paths[id], ranges);
    }
    RangeFilter present(ranges);
    ColumnReader pathOfNode(segment.pathOfNode());
    for (std::size_t stretch = 0; stretch < segment.stretches().size(); ++stretch) {
        std::uint32_t place = segment.stretches()[stretch].firstPlace;
        for (NodeId node = segment.stretches()[stretch].firstNode; node <= segment.lastOf(stretch);
             ++node, ++place) {
            const std::uint32_t local = pathOfNode.at(place);
            if (local >= locals.size()) segment.failDamaged("the path of a node");
            if (present.has(node)) addPlace(node, locals[local]);
        }
    }
    RangeFilter declaring(ranges);
    for (std::uint32_t i = 0; i < segment.declarationElements().size(); ++i) {
        const NodeId element = segment.firstNode() + segment.declarationElements().at(i);
        if (declaring.has(element)) addDeclaration({element, segment.declarationNames().at(i)});
    }
}

void SegmentRows::addRows(const Segment &segment, std::uint32_t source, std::uint32_t local,
                          const Path &path, std::span<const DocumentRange> ranges) {
    const PathRun run = segment.run(source, path);
    PathRows &rows = paths_[local];
    const std::size_t firstRow = rows.nodes.size();
    RangeFilter present(ranges);
    ColumnReader nodes(run.nodes);
    ColumnReader below(run.below);
    ColumnReader names(run.names);
    ColumnReader distances(run.parentDistances);
    for (std::uint32_t row = 0; row < run.count; ++row) {
        const NodeId node = run.firstNode + nodes.at(row);
        if (!present.has(node)) continue;
        rows.nodes.push_back(node);
        if (!run.below.empty()) rows.below.push_back(below.at(row));
        if (!run.names.empty()) rows.names.push_back(names.at(row));
        if (!run.parentDistances.empty()) rows.parentDistances.push_back(distances.at(row));
        if (!rows.values) continue;
        const std::string_view value = run.values.at(row);
        rows.values->add(value);
        valueBytes_ += value.size();
    }
    if (rows.isRegular && rows.parent != noPath) addParents(rows, firstRow);
}

// A row's parent is the last row of its path in front of it.
void SegmentRows::addParents(PathRows &rows, std::size_t firstRow) {
    static const std::vector<std::uint32_t> none;
    const bool hasParents = rowsOf(rows.parent) > 0;
    const auto &parents = hasParents ? paths_[locals_[rows.parent]].nodes : none;
    auto next = rows.nodes.size() == firstRow
                    ? parents.end()
                    : std::lower_bound(parents.begin(), parents.end(), rows.nodes[firstRow]);
    for (std::size_t row = firstRow; row < rows.nodes.size(); ++row) {
        while (next != parents.end() && *next < rows.nodes[row])
            ++next;
        rows.parents.push_back(static_cast<std::uint32_t>(next - parents.begin()));
    }
}

}  // namespace zdbs::embedded
