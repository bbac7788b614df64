#include "tests/exhaustive/renaming.h"

namespace exhaustive {

using zdbs::NodeKind;
using zdbs::embedded::NodeId;
using zdbs::embedded::noNode;

void Renaming::write(const zdbs::embedded::DocumentRange &document, const std::string &name,
                     NodeSink &sink) {
    sink.startDocument(name);
    for (NodeId node = document.first; node <= document.last; ++node) {
        closeDownTo(forest_.parent(node), sink);
        writeNode(node, sink);
    }
    closeDownTo(noNode, sink);
    sink.endDocument();
}

void Renaming::closeDownTo(NodeId parent, NodeSink &sink) {
    while (!open_.empty() && open_.back() != parent) {
        sink.endElement();
        open_.pop_back();
    }
}

void Renaming::writeNode(NodeId node, NodeSink &sink) {
    if (forest_.kind(node) == NodeKind::attribute) {
        const char *value = node % 2 == 0 ? "v" : "w";
        sink.attribute("a" + suffix(node, node - forest_.parent(node)), value);
    } else if (naming_ == Naming::ofAllKinds && forest_.lastBelow(node) == node) {
        writeLeaf(node, sink);
    } else {
        sink.startElement("e" + suffix(node, 0));
        open_.push_back(node);
    }
}

void Renaming::writeLeaf(NodeId node, NodeSink &sink) {
    if (node % 3 == 0) {
        sink.comment("w");
    } else if (node % 3 == 1) {
        sink.instruction("p", "v");
    } else {
        sink.text("v");
    }
}

std::string Renaming::suffix(NodeId node, NodeId place) const {
    switch (naming_) {
        case Naming::alike:
        case Naming::ofAllKinds:
            return std::to_string(place);
        case Naming::changing:
            return std::to_string(node % 2) + "-" + std::to_string(place);
        case Naming::different:
            return std::to_string(node);
    }
    return {};
}

}  // namespace exhaustive
