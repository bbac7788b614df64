#include "zdbs/embedded/fragments/node_facts.h"

#include "zdbs/base/stop.h"

namespace zdbs::embedded {

NodeFacts::NodeFacts(const NodeTable &nodes, FactsWanted wanted)
    : nodes_(nodes),
      wanted_(wanted),
      reader_(*nodes.paths()),
      nearby_(nodes, *nodes.paths()),
      places_(nodes, reader_),
      paths_(nearby_),
      documents_(nodes) {}

const RecordFacts &NodeFacts::of(RecordId record) {
    heedStop();
    const auto node = static_cast<NodeId>(record);
    if (wanted_.document) facts_.document = documents_.documentOf(node).name;
    if (!wanted_.path && !wanted_.value) return facts_;
    const PathId path = reader_.pathOf(node);
    if (wanted_.path) facts_.path = pathOf(path, node);
    if (wanted_.value) facts_.value = valueOf(path, node);
    nodes_.requireIntact();
    return facts_;
}

std::string_view NodeFacts::pathOf(PathId path, NodeId node) {
    const NodePlace *const place = places_.of(path, node);
    return place != nullptr ? std::string_view(place->path) : paths_.of(node);
}

std::string_view NodeFacts::valueOf(PathId path, NodeId node) {
    if (reader_.summary()[path].kind != NodeKind::element) return reader_.at(path, node).value();
    texts_.clear();
    appendTexts(node + 1, reader_.lastBelow(path, node));
    return texts_;
}

void NodeFacts::appendTexts(NodeId first, NodeId last) {
    StopCounter stop;
    for (std::uint64_t number = first; number <= last; ++number) {
        stop.step();
        const auto node = static_cast<NodeId>(number);
        const PathId path = reader_.pathOf(node);
        if (reader_.summary()[path].kind == NodeKind::text)
            texts_ += reader_.at(path, node).value();
    }
}

}  // namespace zdbs::embedded
