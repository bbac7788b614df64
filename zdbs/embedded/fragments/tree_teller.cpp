#include "zdbs/embedded/fragments/tree_teller.h"

#include "zdbs/base/stop.h"

namespace zdbs::embedded {

/** Ends the elements that a node is not below. */
inline void TreeTeller::enter(NodeId node, const Known &known, NodeEvents &events) {
    // In a damaged file the level may be less than that of the top; then it is no level here.
    const std::size_t depth =
        known.isRegular ? known.level - topLevel_ : irregularDepth(node, known);
    while (open_.size() > depth) {
        open_.pop_back();
        inStartTag_ = false;
        events.endElement();
    }
    const bool isBelow = !open_.empty() && open_.size() == depth &&
                         (!known.isRegular || open_.back().path == known.parent);
    if (!isBelow) NodeReader::failAt(node);
}

inline void TreeTeller::tell(NodeId node, const Known &known, NodeEvents &events) {
    if (known.kind == NodeKind::attribute) return tellAttribute(node, known, events);
    inStartTag_ = false;
    switch (known.kind) {
        case NodeKind::element:
            known.isRegular ? events.startElement(known.name)
                            : events.startElement(irregularName(node, known));
            open_.push_back({node, known.path});
            inStartTag_ = true;
            return;
        case NodeKind::text:
            return events.text(valueOf(node, known), hitsIn(node));
        case NodeKind::comment:
            return events.comment(valueOf(node, known));
        case NodeKind::processingInstruction:
            return tellInstruction(node, known, events);
        case NodeKind::attribute:
            break;
    }
}

void TreeTeller::tellDocument(const DocumentRange &document, NodeEvents &events) {
    for (std::uint64_t node = document.first; node <= document.last;) {
        const auto top = static_cast<NodeId>(node);
        const PathId path = reader_.pathOf(top);
        const NodeId last = reader_.lastBelow(path, top);
        if (last > document.last) NodeReader::failAt(top);
        tellTree(top, path, last, nodes_.namespaces(top), events);
        node = std::uint64_t{last} + 1;
    }
}

void TreeTeller::tellTree(NodeId top, PathId path, NodeId last,
                          std::span<const NamespaceDeclaration> declarations, NodeEvents &events) {
    const Known &known = knownOf(path);
    open_.clear();
    topLevel_ = known.level;
    inStartTag_ = known.kind == NodeKind::attribute;  // by itself it may be told
    tell(top, known, events);
    if (known.kind == NodeKind::element) tellDeclarations(declarations, events);
    StopCounter stop;
    for (NodeId node = top + 1; node <= last; ++node) {
        stop.step();
        const Known &next = knownOf(reader_.pathOf(node));
        enter(node, next, events);
        tell(node, next, events);
        if (next.kind == NodeKind::element && declaring_.mayHave(node))
            tellDeclarations(nodes_.namespaces(node), events);
    }
    for (; !open_.empty(); open_.pop_back())
        events.endElement();
}

const TreeTeller::Known &TreeTeller::makeKnown(PathId path) {
    const Path &entry = reader_.summary()[path];
    NumberedName name;
    if (entry.name != noName) name = {entry.name, reader_.table().nameOf(entry.name)};
    const Known &known = made_.emplace_back(Known{path, entry.parent, entry.level, entry.kind,
                                                  entry.isRegular, name, &reader_.cursor(path)});
    return *(known_[path] = &known);
}

/** How many elements are open up to the parent that the node names. */
std::size_t TreeTeller::irregularDepth(NodeId node, const Known &known) {
    const PathCursor &row = reader_.at(known.path, node);
    const std::uint32_t distance = row.run().parentDistances.at(row.rowInRun());
    std::size_t depth = open_.size();
    while (depth > 0 && (distance > node || open_[depth - 1].node > node - distance))
        --depth;
    if (depth == 0 || open_[depth - 1].node != node - distance) NodeReader::failAt(node);
    return depth;
}

void TreeTeller::tellDeclarations(std::span<const NamespaceDeclaration> declarations,
                                  NodeEvents &events) {
    for (const NamespaceDeclaration &one : declarations)
        events.namespaceDeclaration(one.prefix, one.uri);
}

void TreeTeller::tellAttribute(NodeId node, const Known &known, NodeEvents &events) {
    // An attribute behind the content of its element.
    if (!inStartTag_) NodeReader::failAt(node);
    if (known.isRegular)
        events.attribute(known.name, valueOf(node, known), hitsIn(node));
    else
        events.attribute(irregularName(node, known), valueOf(node, known), hitsIn(node));
}

void TreeTeller::tellInstruction(NodeId node, const Known &known, NodeEvents &events) {
    const NumberedName name = known.isRegular ? known.name : irregularName(node, known);
    events.processingInstruction(name.name.local, valueOf(node, known));
}

NumberedName TreeTeller::irregularName(NodeId node, const Known &known) {
    const PathCursor &row = reader_.at(known.path, node);
    const std::uint32_t number = row.run().names.at(row.rowInRun());
    return {number, reader_.table().nameOf(number)};
}

std::span<const HitRange> TreeTeller::findHits(NodeId node) {
    if (node < hitsAsked_ || node > nextHit_) {
        nextHit_ = hits_->next(node);
        hitsAsked_ = node;
    }
    if (node != nextHit_) return unmarked;
    ranges_ = hits_->find(node);
    return ranges_;
}

}  // namespace zdbs::embedded
