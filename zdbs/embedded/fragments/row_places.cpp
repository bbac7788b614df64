#include "zdbs/embedded/fragments/row_places.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <unordered_map>

namespace zdbs::embedded {
namespace {

/** A node as a path names it. */
std::string nameOf(const PathTable &table, const Path &path) {
    switch (path.kind) {
        case NodeKind::text:
            return "/text()";
        case NodeKind::comment:
            return "/comment()";
        case NodeKind::processingInstruction:
            return "/processing-instruction()";
        case NodeKind::element:
        case NodeKind::attribute:
            break;
    }
    const NodeName &name = table.nameOf(path.name);
    std::string text = path.kind == NodeKind::attribute ? "/@" : "/";
    if (!name.prefix.empty()) text.append(name.prefix) += ':';
    return text.append(name.local);
}

/** The irregular path that has nodes of a kind, or noPath. */
PathId irregularOf(const PathSummary &summary, NodeKind kind) {
    for (const PathId path : summary.irregular()) {
        if (summary[path].kind == kind) return path;
    }
    return noPath;
}

}  // namespace

RowPlaces::RowPlaces(const NodeTable &nodes, NodeReader &reader)
    : nodes_(nodes),
      reader_(reader),
      documents_(nodes),
      declaring_(nodes),
      known_(reader.summary().size()),
      shares_(reader.summary().size()),
      isFound_(reader.summary().size() + 1) {}

const NodePlace *RowPlaces::of(PathId path, NodeId node) {
    if (!reader_.summary()[path].isRegular) return nullptr;
    const Known &wanted = knownOf(path);
    if (wanted.place.node != node && !climb(path, node)) return nullptr;
    return &wanted.place;
}

/** Up to what is known already, and down again. */
bool RowPlaces::climb(PathId path, NodeId node) {
    steps_.clear();
    const Known *above = nullptr;
    RowId row = reader_.at(path, node).row();
    while (true) {
        Known &known = knownOf(path);
        if (known.place.node != noNode && known.row == row) {
            above = &known;
            break;
        }
        if (known.sharesName) return false;
        steps_.push_back({&known, known.rows.seekRow(row), row});
        if (known.parent == noPath) break;
        row = known.rows.parentRow();
        path = known.parent;
    }
    for (; !steps_.empty(); steps_.pop_back()) {
        if (!enter(steps_.back(), above)) return false;
        above = steps_.back().known;
    }
    return true;
}

bool RowPlaces::enter(const Step &step, const Known *above) {
    Known &known = *step.known;
    NodePlace &place = known.place;
    place.node = noNode;  // until all of it is right
    // Only in a damaged file does a node stand in front of its parent.
    if (above != nullptr && above->place.node >= step.node) NodeReader::failAt(step.node);
    std::string &path = place.path;
    path.assign(above != nullptr ? std::string_view(above->place.path) : std::string_view());
    path += known.name;
    if (known.kind != NodeKind::attribute) {
        const std::uint32_t position = positionOf(step, above);
        if (position == 0) return false;
        std::array<char, 12> digits;
        const auto end = std::to_chars(digits.begin(), digits.end(), position);
        path += '[';
        path.append(digits.begin(), end.ptr);
        path += ']';
    }
    if (known.kind == NodeKind::element) findScope(step, above);
    known.row = step.row;
    place.node = step.node;
    return true;
}

/** From 1; 0 where irregular siblings may be named alike. */
std::uint32_t RowPlaces::positionOf(const Step &step, const Known *above) {
    Known &known = *step.known;
    const NodeId family =
        above != nullptr ? above->place.node : documents_.documentOf(step.node).first;
    if (known.irregular != noPath && reader_.cursor(known.irregular).seek(family) <= step.node)
        return 0;
    if (known.family != family || step.row < known.firstRow) {
        known.firstRow = firstOfFamily(step, family);
        known.family = family;
    }
    return step.row - known.firstRow + 1;
}

/**
 * The first row of those below the same parent, which are the rows of the path from the
 * parent's number on. Mostly it is near.
 */
RowId RowPlaces::firstOfFamily(const Step &step, NodeId family) {
    constexpr std::uint32_t near = 8;
    const PathRun &run = step.known->rows.run();
    const std::uint32_t here = step.row - run.firstRow;
    for (std::uint32_t back = 1; back <= std::min(near, here); ++back) {
        if (run.nodeAt(step.row - back) < family) return step.row - back + 1;
    }
    return reader_.table().lowerBound(reader_.pathOf(step.node), family);
}

void RowPlaces::findScope(const Step &step, const Known *above) {
    auto &scope = step.known->place.scope;
    scope.clear();
    if (declaring_.mayHave(step.node)) scope = nodes_.namespaces(step.node);
    if (above == nullptr) return;
    const auto own = static_cast<std::ptrdiff_t>(scope.size());
    for (const NamespaceDeclaration &outer : above->place.scope) {
        const auto end = scope.begin() + own;
        const bool isHidden = std::any_of(
            scope.begin(), end, [&](const auto &inner) { return inner.prefix == outer.prefix; });
        if (!isHidden) scope.push_back(outer);
    }
}

RowPlaces::Known &RowPlaces::knownOf(PathId path) {
    Known *const known = known_[path];
    return known != nullptr ? *known : makeKnown(path);
}

RowPlaces::Known &RowPlaces::makeKnown(PathId path) {
    const Path &entry = reader_.summary()[path];
    Known &known = made_.emplace_back(reader_.cursor(path));
    known.parent = entry.parent;
    known.kind = entry.kind;
    known.name = nameOf(reader_.table(), entry);
    if (entry.kind == NodeKind::element || entry.kind == NodeKind::processingInstruction) {
        findShared(entry.parent);
        known.sharesName = shares_[path];
        known.irregular = irregularOf(reader_.summary(), entry.kind);
    }
    return *(known_[path] = &known);
}

/** Marks the paths below a parent whose nodes are named like those of another path there. */
void RowPlaces::findShared(PathId parent) {
    const PathSummary &summary = reader_.summary();
    const std::size_t place = parent == noPath ? summary.size() : parent;
    if (isFound_[place]) return;
    isFound_[place] = true;
    std::unordered_map<std::string, PathId> first;
    for (const PathId path : parent == noPath ? summary.top() : summary.children(parent)) {
        const auto [other, isNew] = first.try_emplace(nameOf(reader_.table(), summary[path]), path);
        if (isNew) continue;
        shares_[path] = true;
        shares_[other->second] = true;
    }
}

}  // namespace zdbs::embedded
