#include "zdbs/embedded/check/tree_check.h"

#include <algorithm>

namespace zdbs::embedded {

TreeCheck::TreeCheck(const CatalogueTables &tables, const PartTables &part, Findings &findings)
    : tables_(tables),
      part_(part),
      findings_(findings),
      rowsBefore_(tables.paths.size()),
      isElementFound_(part.longElements.size()) {
    places_.reserve(part.segments.size());  // open elements point at them
}

void TreeCheck::add(const CheckedSegment &segment) {
    segment_ = &segment;
    places_.push_back(segment.place);
    rowsRead_.assign(segment.runs.size(), 0);
    for (std::size_t stretch = 0; stretch < segment.file->stretches().size(); ++stretch)
        readNodes(segment, stretch);
    checkRowCounts();
    checkDeclarations();
}

void TreeCheck::readNodes(const CheckedSegment &segment, std::size_t stretch) {
    const SegmentStretch &here = segment.file->stretches()[stretch];
    std::uint32_t place = here.firstPlace;
    for (NodeId node = here.firstNode; node <= segment.file->lastOf(stretch); ++node, ++place) {
        nodes_ += enterDocument(node) ? 1 : 0;
        if (!readNode(node, place)) isTracked_ = false;
    }
}

// Which path a node has says which row it is: the next one of that path.
bool TreeCheck::readNode(NodeId node, std::uint32_t place) {
    const std::uint32_t local = segment_->file->pathOfNode().at(place);
    if (local >= segment_->runs.size()) {
        findings_.add(segment_->place, "paths of nodes",
                      "node " + std::to_string(node) + " has the path " + std::to_string(local));
        return false;
    }
    const std::uint32_t index = rowsRead_[local]++;
    const auto &run = segment_->runs[local];
    if (!run || index >= run->count) return false;
    const PathId path = segment_->file->directory()[local].path;
    const Row row{node, path, *tables_.paths[path], *run, index, rowsBefore_[path] + index};
    const std::uint32_t stored = run->nodes.at(index) + run->firstNode;
    if (stored != node) {
        tell(row, "nodes", "the node is " + std::to_string(stored));
        return false;
    }
    if (isTracked_) visit(row);
    return true;
}

void TreeCheck::checkRowCounts() {
    for (std::size_t local = 0; local < rowsRead_.size(); ++local) {
        const SegmentPath &entry = segment_->file->directory()[local];
        if (rowsRead_[local] != entry.count)
            findings_.add(segment_->place, "directory",
                          tables_.pathText(entry.path) + " has " +
                              differs(entry.count, rowsRead_[local]) + " nodes");
        if (entry.path < rowsBefore_.size()) rowsBefore_[entry.path] += entry.count;
    }
}

void TreeCheck::checkDeclarations() const {
    const PackedColumn &elements = segment_->file->declarationElements();
    for (std::uint32_t i = 0; i < elements.size(); ++i) {
        const std::uint64_t node = std::uint64_t{segment_->file->firstNode()} + elements.at(i);
        const auto place =
            node > lastNodeId ? std::nullopt : segment_->file->placeOf(static_cast<NodeId>(node));
        const std::uint32_t local = place ? segment_->file->pathOfNode().at(*place) : 0;
        const bool isThere = place && local < segment_->runs.size();
        const bool isElement =
            isThere &&
            (!segment_->runs[local] ||
             tables_.paths[segment_->file->directory()[local].path]->kind == NodeKind::element);
        if (!isElement)
            findings_.add(segment_->place, "namespace declarations",
                          "node " + std::to_string(node) + " is no element of this segment");
    }
}

void TreeCheck::skip(const StoredSegment &segment) {
    const NodeId last = segment.record.last;
    enterDocument(nodeOf(segment.first));
    isTracked_ = false;
    open_.clear();
    const auto &documents = part_.documents;
    while (document_ < documents.size() && documents[document_].last <= last)
        ++document_;
    isUnread_ = document_ < documents.size() && documents[document_].first <= last;
    expected_ = std::uint64_t{last} + 1;
}

// Ends the documents in front of the node and notices nodes that are missing. False when the node
// is in no document.
bool TreeCheck::enterDocument(NodeId node) {
    while (document_ < part_.documents.size() && part_.documents[document_].last < node)
        endDocument();
    if (document_ == part_.documents.size() || node < part_.documents[document_].first) {
        isTracked_ = false;
        return false;
    }
    if (node == part_.documents[document_].first) {
        open_.clear();
        isTracked_ = true;
    } else if (expected_ != node && !isUnread_) {
        findings_.add("table segments", "nodes of documents",
                      "in front of node " + std::to_string(node) + " some are in no segment");
        isTracked_ = false;
    }
    expected_ = std::uint64_t{node} + 1;
    return true;
}

void TreeCheck::endDocument() {
    const DocumentRange &document = part_.documents[document_];
    const std::uint64_t end = std::uint64_t{document.last} + 1;
    if (expected_ < end && !isUnread_)
        findings_.add("table segments", "nodes of documents",
                      "up to node " + std::to_string(document.last) + " some are in no segment");
    else if (isTracked_)
        closeDownTo(0, document.last);
    isTracked_ = false;
    isUnread_ = false;
    expected_ = 0;
    open_.clear();
    ++document_;
}

void TreeCheck::finish() {
    while (document_ < part_.documents.size())
        endDocument();
    if (findings_.count() > 0) return;
    for (std::size_t i = 0; i < isElementFound_.size(); ++i) {
        if (!isElementFound_[i])
            findings_.add("table longElements", "records",
                          "node " + std::to_string(part_.longElements[i].node) +
                              " is no element that ends in a later segment");
    }
}

void TreeCheck::visit(const Row &row) {
    if (!findParent(row)) return;
    if (row.path.kind == NodeKind::attribute) checkAttribute(row);
    if (row.path.kind != NodeKind::element) return;
    open_.push_back(
        {row.node, row.pathId, row.fullRow, row.run.below.at(row.row), 0, &places_.back()});
}

bool TreeCheck::findParent(const Row &row) {
    return row.path.isRegular ? findRegularParent(row) : findIrregularParent(row);
}

bool TreeCheck::findRegularParent(const Row &row) {
    const std::size_t depth = row.path.level - std::size_t{1};
    if (open_.size() < depth) {
        lose(row, "it is too deep for the nodes in front of it");
        return false;
    }
    closeDownTo(depth, row.node - 1);
    if (depth == 0) return true;
    if (open_.back().path != row.path.parent) {
        lose(row, "the element around it has the path " + tables_.pathText(open_.back().path));
        return false;
    }
    compareParentRow(row);
    return true;
}

void TreeCheck::compareParentRow(const Row &row) {
    const auto &directory = segment_->file->directory();
    const auto parent =
        std::lower_bound(directory.begin(), directory.end(), row.path.parent,
                         [](const SegmentPath &entry, PathId path) { return entry.path < path; });
    const bool isHere = parent != directory.end() && parent->path == row.path.parent;
    const std::uint32_t stored = row.run.parents.at(row.row);
    const std::uint64_t expected = open_.back().fullRow + 1 - rowsBefore_[row.path.parent];
    const bool isOlder = open_.back().fullRow < rowsBefore_[row.path.parent];
    if (stored != (isOlder ? 0 : expected) || (!isHere && !isOlder))
        tell(row, "parents", differs(stored, isOlder ? 0 : expected));
}

bool TreeCheck::findIrregularParent(const Row &row) {
    const std::uint32_t distance = row.run.parentDistances.at(row.row);
    if (distance == 0) {
        closeDownTo(0, row.node - 1);
        return true;
    }
    std::size_t depth = open_.size();
    while (depth > 0 && (distance >= row.node || open_[depth - 1].node > row.node - distance))
        --depth;
    if (depth == 0 || open_[depth - 1].node != row.node - distance) {
        tell(row, "parentDistances", std::to_string(distance) + " leads to no open element");
        isTracked_ = false;
        return false;
    }
    closeDownTo(depth, row.node - 1);
    return true;
}

void TreeCheck::checkAttribute(const Row &row) {
    if (open_.empty() || row.node != open_.back().node + 1 + open_.back().attributes) {
        lose(row, "the attribute does not follow its element");
        return;
    }
    ++open_.back().attributes;
}

void TreeCheck::closeDownTo(std::size_t depth, NodeId last) {
    while (open_.size() > depth) {
        const OpenElement element = open_.back();
        open_.pop_back();
        close(element, last);
    }
}

void TreeCheck::close(const OpenElement &element, NodeId last) {
    const std::string structure = "below of " + tables_.pathText(element.path);
    const std::string where = "node " + std::to_string(element.node) + ": ";
    const LongElement *listed = longElementAt(element.node);
    if (element.below != endsLater) {
        if (element.below != last - element.node)
            findings_.add(*element.place, structure,
                          where + differs(element.below, last - element.node));
        return;
    }
    if (listed == nullptr)
        findings_.add("table longElements", "records", where + "it is missing");
    else if (listed->last != last)
        findings_.add("table longElements", "records",
                      where + "it ends at " + differs(listed->last, last));
}

/** Remembers that it was asked for. */
const LongElement *TreeCheck::longElementAt(NodeId node) {
    const auto found = std::lower_bound(
        part_.longElements.begin(), part_.longElements.end(), node,
        [](const LongElement &element, NodeId number) { return element.node < number; });
    if (found == part_.longElements.end() || found->node != node) return nullptr;
    isElementFound_[static_cast<std::size_t>(found - part_.longElements.begin())] = true;
    return &*found;
}

/** The tree of this document cannot be followed any further. */
void TreeCheck::lose(const Row &row, const std::string &text) {
    findings_.add(segment_->place, "paths of nodes",
                  rowText(row) + " of " + tables_.pathText(row.pathId) + ": " + text);
    isTracked_ = false;
}

std::string TreeCheck::rowText(const Row &row) const {
    return "row " + std::to_string(row.row) + " (node " + std::to_string(row.node) + ")";
}

void TreeCheck::tell(const Row &row, const char *structure, const std::string &text) const {
    findings_.add(segment_->place, std::string(structure) + " of " + tables_.pathText(row.pathId),
                  rowText(row) + ": " + text);
}

}  // namespace zdbs::embedded
