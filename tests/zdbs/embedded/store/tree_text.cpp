#include "tests/zdbs/embedded/store/tree_text.h"

#include <sstream>
#include <vector>

namespace zdbs::embedded {

namespace {

std::string escaped(std::string_view value) {
    std::string text;
    for (const char byte : value) {
        if (byte == '\n')
            text += "\\n";
        else if (byte == '\r')
            text += "\\r";
        else if (byte == '\t')
            text += "\\t";
        else
            text += byte;
    }
    return text;
}

std::string nameText(const NodeName &name) {
    std::string text;
    if (!name.uri.empty()) text.append("{").append(name.uri).append("}");
    if (!name.prefix.empty()) text.append(name.prefix).append(":");
    return text.append(name.local);
}

std::string nodeText(const NodeTable &nodes, NodeId node);

std::string contentText(const NodeTable &nodes, NodeId element) {
    std::string text;
    for (const NamespaceDeclaration &declaration : nodes.namespaces(element)) {
        const std::string colon = declaration.prefix.empty() ? "" : ":";
        text.append(" xmlns").append(colon).append(declaration.prefix);
        text.append("=").append(declaration.uri);
    }
    for (NodeId below = element + 1; below <= nodes.lastBelow(element);
         below = nodes.lastBelow(below) + 1)
        text.append(" ").append(nodeText(nodes, below));
    return text.empty() ? text : text.substr(1);
}

std::string nodeText(const NodeTable &nodes, NodeId node) {
    const std::string value = escaped(nodes.value(node));
    const std::string name = nameText(nodes.name(node));
    switch (nodes.kind(node)) {
        case NodeKind::element:
            return name + '(' + contentText(nodes, node) + ')';
        case NodeKind::attribute:
            return '@' + name + '=' + value;
        case NodeKind::text:
            return '\'' + value + '\'';
        case NodeKind::comment:
            return "<!--" + value + "-->";
        case NodeKind::processingInstruction:
            return "<?" + name + ' ' + value + "?>";
    }
    return "?";
}

/** Checks one document; `faults` gets what it finds. */
void checkDocument(const NodeTable &nodes, const DocumentRange &document, std::ostream &faults) {
    std::vector<NodeId> open;
    NodeId lastElement = noNode;  // while its attributes may come
    for (NodeId node = document.first; node <= document.last; ++node) {
        while (!open.empty() && nodes.lastBelow(open.back()) < node)
            open.pop_back();
        const NodeId parent = open.empty() ? noNode : open.back();
        const NodeKind kind = nodes.kind(node);
        if (nodes.parent(node) != parent) faults << "parent of " << node << "\n";
        if (nodes.lastBelow(node) < node || nodes.lastBelow(node) > document.last ||
            (parent != noNode && nodes.lastBelow(node) > nodes.lastBelow(parent)))
            faults << "last below " << node << "\n";
        if (kind != NodeKind::element && nodes.lastBelow(node) != node)
            faults << "something below the leaf " << node << "\n";
        if (kind == NodeKind::attribute && (lastElement == noNode || lastElement != parent))
            faults << "attribute " << node << " behind children\n";
        if (kind == NodeKind::element) open.push_back(node);
        if (kind != NodeKind::attribute) lastElement = kind == NodeKind::element ? node : noNode;
    }
}

}  // namespace

std::string treeText(const NodeTable &nodes, const DocumentRange &document) {
    std::string text;
    for (NodeId node = document.first; node <= document.last; node = nodes.lastBelow(node) + 1) {
        if (!text.empty()) text += ' ';
        text += nodeText(nodes, node);
    }
    return text;
}

std::string treeText(const NodeTable &nodes) {
    std::string text;
    for (const DocumentRange &document : nodes.documents())
        text.append(document.name).append(": ").append(treeText(nodes, document)).append("\n");
    return text;
}

std::string numberingFaults(const NodeTable &nodes) {
    std::ostringstream faults;
    NodeId before = noNode;
    for (const DocumentRange &document : nodes.documents()) {
        if (document.first <= before || document.last < document.first ||
            document.last > lastNodeId)
            faults << "range of " << document.name << "\n";
        before = document.last;
        checkDocument(nodes, document, faults);
    }
    return faults.str();
}

}  // namespace zdbs::embedded
