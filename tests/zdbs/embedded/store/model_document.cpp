#include "tests/zdbs/embedded/store/model_document.h"
#include "tests/zdbs/support/numbered.h"

#include <algorithm>

namespace zdbs::embedded {

namespace {

/** Grows a document node by node, elements opened and closed at random. */
class Grower {
public:
    Grower(std::mt19937 &random, const ModelShape &shape) : random_(random), shape_(shape) {}

    ModelDocument grow() {
        addLeaf(NodeKind::comment, "");
        startElement();
        while (nodes_.size() < shape_.nodes)
            step();
        while (!open_.empty())
            endElement();
        addLeaf(NodeKind::processingInstruction, "target");
        return std::move(nodes_);
    }

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }

    std::string text() {
        std::string value(below(shape_.maxValue + 1), 'x');
        for (char &byte : value)
            byte = static_cast<char>('a' + below(26));
        return value;
    }

    std::string someName() { return "n" + std::to_string(below(shape_.names)); }

    void step() {
        const std::size_t choice = below(10);
        if (choice < 4 && open_.size() < shape_.maxDepth)
            startElement();
        else if (choice < 6 && open_.size() > 1)
            endElement();
        else if (choice < 8)
            addLeaf(NodeKind::text, "");
        else if (choice == 8)
            addLeaf(NodeKind::comment, "");
        else
            addLeaf(NodeKind::processingInstruction, someName());
    }

    void startElement() {
        add(NodeKind::element, someName(), "");
        open_.push_back(nodes_.size() - 1);
        if (below(4) == 0) nodes_.back().namespaces.emplace_back("", "urn:" + someName());
        if (below(8) == 0) nodes_.back().namespaces.emplace_back("p", "urn:" + someName());
        for (std::size_t left = below(4); left > 0; --left)
            addLeaf(NodeKind::attribute, someName());
    }

    void endElement() {
        nodes_[open_.back()].last = nodes_.size() - 1;
        open_.pop_back();
    }

    void addLeaf(NodeKind kind, const std::string &name) { add(kind, name, text()); }

    void add(NodeKind kind, const std::string &local, std::string value) {
        ModelNode node{kind,
                       open_.empty() ? noParent : open_.back(),
                       nodes_.size(),
                       local,
                       "",
                       "",
                       std::move(value),
                       {}};
        const bool mayBePrefixed = kind == NodeKind::element || kind == NodeKind::attribute;
        if (mayBePrefixed && below(5) == 0) {
            node.prefix = "p";
            node.uri = "urn:p";
        }
        nodes_.push_back(std::move(node));
    }

    std::mt19937 &random_;
    ModelShape shape_;
    ModelDocument nodes_;
    std::vector<std::size_t> open_;
};

void writeNode(Writer &writer, const ModelNode &node) {
    const NodeName name{node.local, node.prefix, node.uri};
    switch (node.kind) {
        case NodeKind::element:
            writer.startElement(numbered(name));
            for (const auto &[prefix, uri] : node.namespaces)
                writer.namespaceDeclaration(prefix, uri);
            break;
        case NodeKind::attribute:
            writer.attribute(numbered(name), node.value, unmarked);
            break;
        case NodeKind::text:
            writer.text(node.value, unmarked);
            break;
        case NodeKind::comment:
            writer.comment(node.value);
            break;
        case NodeKind::processingInstruction:
            writer.processingInstruction(node.local, node.value);
            break;
    }
}

std::string nodeDifference(const NodeTable &nodes, NodeId first, std::size_t index,
                           const ModelNode &expected) {
    const NodeId node = first + static_cast<NodeId>(index);
    const NodeName name = nodes.name(node);
    const NodeId parent =
        expected.parent == noParent ? noNode : first + static_cast<NodeId>(expected.parent);
    if (nodes.kind(node) != expected.kind) return "kind";
    if (nodes.parent(node) != parent) return "parent";
    if (nodes.lastBelow(node) != first + static_cast<NodeId>(expected.last)) return "last below";
    if (name.local != expected.local || name.prefix != expected.prefix || name.uri != expected.uri)
        return "name";
    if (nodes.value(node) != expected.value) return "value";
    const auto namespaces = nodes.namespaces(node);
    const auto same = [](const NamespaceDeclaration &left, const auto &right) {
        return left.prefix == right.first && left.uri == right.second;
    };
    return std::equal(namespaces.begin(), namespaces.end(), expected.namespaces.begin(),
                      expected.namespaces.end(), same)
               ? ""
               : "namespaces";
}

}  // namespace

ModelDocument randomDocument(std::mt19937 &random, const ModelShape &shape) {
    return Grower(random, shape).grow();
}

void writeNodes(Writer &writer, const std::string &name, const ModelDocument &document) {
    writer.beginDocument(name);
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < document.size(); ++i) {
        for (; !open.empty() && document[open.back()].last < i; open.pop_back())
            writer.endElement();
        writeNode(writer, document[i]);
        if (document[i].kind == NodeKind::element) open.push_back(i);
    }
    for (; !open.empty(); open.pop_back())
        writer.endElement();
}

void write(Writer &writer, const std::string &name, const ModelDocument &document) {
    writeNodes(writer, name, document);
    writer.endDocument(document.size() * 10);
}

std::string difference(const NodeTable &nodes, const DocumentRange &range,
                       const ModelDocument &document) {
    if (range.last - range.first + 1 != document.size()) return "number of nodes";
    for (std::size_t i = 0; i < document.size(); ++i) {
        const std::string what = nodeDifference(nodes, range.first, i, document[i]);
        if (!what.empty()) return what + " of node " + std::to_string(i);
    }
    return "";
}

}  // namespace zdbs::embedded
