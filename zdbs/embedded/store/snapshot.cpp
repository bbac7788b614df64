// Opening a part, and its nodes by number.
#include "zdbs/embedded/store/snapshot.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <string>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/embedded/store/environment.h"

namespace zdbs::embedded {

namespace {

std::uint64_t newSerial() {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}

/** The row that a node was found in. */
struct Memo {
    std::uint64_t serial;  ///< of the snapshot
    NodeId node;
    std::uint32_t row;
    const PathRun *run;
    const Path *path;
};

/** The row that was found last in a run. */
struct Hint {
    const PathRun *run;
    std::uint32_t row;
};

/**
 * What one thread looked at last. Readers ask several questions about a node and go on to
 * a near one; then the row is known already, or is close behind the last one of its run. A
 * hint is only where a search begins: one of a snapshot that is gone does no harm.
 */
struct Trail {
    std::array<Memo, 16> memos;
    std::array<Hint, 512> hints;
};

thread_local constinit Trail trail{};

Memo &memoOf(NodeId node) {
    return trail.memos[node % trail.memos.size()];
}

Hint &hintOf(const PathRun *run) {
    return trail
        .hints[reinterpret_cast<std::uintptr_t>(run) / sizeof(PathRun) % trail.hints.size()];
}

std::uint32_t findRow(const PathRun &run, std::uint32_t number) {
    const Hint &hint = hintOf(&run);
    const bool isBehind =
        hint.run == &run && hint.row < run.count && run.nodes.at(hint.row) <= number;
    return run.nodes.lowerBound(number, isBehind ? hint.row : 0);
}

}  // namespace

void StateTables::failDamaged(std::string_view what) const {
    throw Failure(Status::homeDamaged, {environment->directory().native(), what});
}

Snapshot::Snapshot(std::shared_ptr<const StateTables> tables, PartContent content)
    : tables_(std::move(tables)), content_(std::move(content)), serial_(newSerial()) {
    for (PartContent::OpenSegment &segment : std::exchange(content_.segments, {}))
        segments_.push_back({segment.first, segment.last, std::move(segment.file), true, {}});
    numberRuns();
    checkDocuments();
    pathStates_ = std::make_unique<PathState[]>(summary().size());
}

Snapshot::~Snapshot() = default;

void Snapshot::requireIntact() const {
    if (!WatchedMap::lostAny()) return;
    tables_->environment->requireIntact();
    for (const OpenSegment &segment : segments_)
        segment.file->requireIntact();
}

// Which runs each path has.
void Snapshot::numberRuns() {
    std::vector<std::uint32_t> runCounts(summary().size());
    for (OpenSegment &segment : segments_) {
        firstNodes_.push_back(segment.first);
        for (const SegmentPath &entry : segment.file->directory()) {
            if (entry.path >= summary().size()) segment.file->failDamaged("the number of a path");
            segment.runNumbers.push_back(runCounts[entry.path]++);
        }
    }
    firstRuns_.assign(1, 0);
    for (const std::uint32_t count : runCounts)
        firstRuns_.push_back(firstRuns_.back() + count);
    sources_.resize(firstRuns_.back());
    for (std::uint32_t i = 0; i < segments_.size(); ++i) {
        const auto directory = segments_[i].file->directory();
        for (std::uint32_t local = 0; local < directory.size(); ++local)
            sources_[firstRuns_[directory[local].path] + segments_[i].runNumbers[local]] = {i,
                                                                                            local};
    }
}

// Every node of a document must be in a segment.
void Snapshot::checkDocuments() {
    std::vector<std::uint64_t> present(segments_.size());
    std::size_t segment = 0;
    std::size_t stretch = 0;
    for (const DocumentRange &document : documents()) {
        for (std::uint64_t next = document.first; next <= document.last;) {
            for (; segment < segments_.size() && segments_[segment].last < next; stretch = 0)
                ++segment;
            if (segment == segments_.size()) failDamaged("the nodes of a document");
            const Segment &file = *segments_[segment].file;
            while (file.lastOf(stretch) < next)
                ++stretch;
            if (file.stretches()[stretch].firstNode > next) failDamaged("the nodes of a document");
            const std::uint64_t end =
                std::min<std::uint64_t>(file.lastOf(stretch), document.last) + 1;
            present[segment] += end - next;
            nodes_ += end - next;
            next = end;
        }
    }
    for (std::size_t i = 0; i < segments_.size(); ++i)
        segments_[i].isWhole = present[i] == segments_[i].file->nodeCount();
}

Snapshot::Place Snapshot::placeOf(NodeId node) const {
    const auto behind = std::upper_bound(firstNodes_.begin(), firstNodes_.end(), node);
    if (behind == firstNodes_.begin()) failDamaged("the number of a node");
    const auto index = static_cast<std::uint32_t>(behind - firstNodes_.begin() - 1);
    const Segment &segment = *segments_[index].file;
    const auto place = segment.placeOf(node);
    if (!place) failDamaged("the number of a node");
    return {index, segment.localPathAt(*place)};
}

const Path &Snapshot::pathAt(const Place &place) const {
    return summary()[segments_[place.segment].file->directory()[place.local].path];
}

Snapshot::RunRow Snapshot::rowOf(NodeId node) const {
    Memo &memo = memoOf(node);
    if (memo.node == node && memo.serial == serial_) return {memo.run, memo.path, memo.row};
    const Place place = placeOf(node);
    const OpenSegment &segment = segments_[place.segment];
    const PathId path = segment.file->directory()[place.local].path;
    const PathRun &run = runs(path)[segment.runNumbers[place.local]];
    const std::uint32_t number = node - run.firstNode;
    const std::uint32_t row = findRow(run, number);
    if (row >= run.count || run.nodes.at(row) != number)
        segment.file->failDamaged("the row of a node");
    hintOf(&run) = {&run, row};
    memo = {serial_, node, row, &run, &summary()[path]};
    return {&run, &summary()[path], row};
}

NodeKind Snapshot::kind(NodeId node) const {
    const Memo &memo = memoOf(node);
    if (memo.node == node && memo.serial == serial_) return memo.path->kind;
    return pathAt(placeOf(node)).kind;
}

NodeId Snapshot::parent(NodeId node) const {
    return parentOf(node, rowOf(node));
}

// A parent is always in front of its children, so that who climbs gets to the top even
// where the numbers are damaged.
NodeId Snapshot::parentOf(NodeId node, const RunRow &row) const {
    if (!row.path->isRegular) {
        const std::uint32_t distance = row.run->parentDistances.at(row.row);
        if (distance >= node) failDamaged("the parent of a node");
        return distance == 0 ? noNode : node - distance;
    }
    if (row.path->parent == noPath) return noNode;
    const RowId parentRow = row.run->parentAt(row.run->firstRow + row.row);
    if (parentRow >= rowCount(row.path->parent)) failDamaged("the parent of a node");
    const NodeId parent = nodeAt({row.path->parent, parentRow});
    if (parent >= node) failDamaged("the parent of a node");
    return parent;
}

NodeId Snapshot::lastBelow(NodeId node) const {
    const RunRow row = rowOf(node);
    return row.run->below.empty() ? node : endOf(node, row.run->below.at(row.row));
}

NodeId Snapshot::endOf(NodeId node, std::uint32_t below) const {
    if (below != endsLater) {
        const std::uint64_t last = std::uint64_t{node} + below;
        if (last > segments_.back().last) failDamaged("the end of an element");
        return static_cast<NodeId>(last);
    }
    const auto &longElements = content_.longElements;
    const auto element = std::ranges::lower_bound(longElements, node, {}, &LongElement::node);
    if (element == longElements.end() || element->node != node || element->last < node ||
        element->last > segments_.back().last)
        failDamaged("a long element");
    return element->last;
}

std::optional<std::uint32_t> Snapshot::nameNumber(NodeId node) const {
    const Path &path = pathAt(placeOf(node));
    if (path.name != noName) return path.name;
    if (path.isRegular || path.kind == NodeKind::text || path.kind == NodeKind::comment)
        return std::nullopt;
    const RunRow row = rowOf(node);
    const std::uint32_t number = row.run->names.at(row.row);
    if (number >= nameCount()) failDamaged("the name of a node");
    return number;
}

NodeName Snapshot::name(NodeId node) const {
    const auto number = nameNumber(node);
    return number ? tables_->names[*number] : NodeName{};
}

std::string_view Snapshot::value(NodeId node) const {
    const RunRow row = rowOf(node);
    return row.path->kind == NodeKind::element ? std::string_view() : row.run->values.at(row.row);
}

std::vector<NamespaceDeclaration> Snapshot::namespaces(NodeId node) const {
    const Segment &segment = *segments_[placeOf(node).segment].file;
    const PackedColumn &elements = segment.declarationElements();
    std::vector<NamespaceDeclaration> declarations;
    if (elements.empty()) return declarations;
    const std::uint32_t element = node - segment.firstNode();
    for (std::uint32_t row = elements.lowerBound(element);
         row < elements.size() && elements.at(row) == element; ++row) {
        const std::uint32_t number = segment.declarationNames().at(row);
        if (number >= nameCount()) failDamaged("a namespace declaration");
        const NodeName &name = tables_->names[number];
        declarations.push_back({name.prefix, name.uri});
    }
    return declarations;
}

NodeId Snapshot::nextDeclaring(NodeId from) const {
    auto place = std::upper_bound(firstNodes_.begin(), firstNodes_.end(), from);
    if (place != firstNodes_.begin()) --place;
    for (; place != firstNodes_.end(); ++place) {
        const Segment &segment =
            *segments_[static_cast<std::size_t>(place - firstNodes_.begin())].file;
        const PackedColumn &elements = segment.declarationElements();
        if (elements.empty()) continue;
        const std::uint32_t row = elements.lowerBound(from > *place ? from - *place : 0);
        if (row < elements.size()) return *place + elements.at(row);
    }
    return noMoreNodes;
}

std::optional<DocumentRange> Snapshot::findDocument(std::string_view name) const {
    const auto found = std::ranges::find(documents(), name, &DocumentRange::name);
    return found != documents().end() ? std::optional(*found) : std::nullopt;
}

}  // namespace zdbs::embedded
