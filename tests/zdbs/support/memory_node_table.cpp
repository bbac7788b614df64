#include "tests/zdbs/support/memory_node_table.h"

#include <cassert>

namespace zdbs::testing {

void MemoryNodeTable::startDocument(std::string_view name) {
    assert(open_.empty());
    documents_.push_back({nodeCount() + 1, nodeCount(), keep(name)});
}

NodeId MemoryNodeTable::startElement(const Name &name,
                                     const std::vector<Declaration> &declarations) {
    const NodeId element = add(NodeKind::element, keep(name), {});
    for (const Declaration &declaration : declarations)
        nodes_.back().declarations.push_back({keep(declaration.prefix), keep(declaration.uri)});
    open_.push_back(element);
    return element;
}

NodeId MemoryNodeTable::attribute(const Name &name, std::string_view value) {
    return add(NodeKind::attribute, keep(name), value);
}

NodeId MemoryNodeTable::text(std::string_view value) {
    return add(NodeKind::text, {}, value);
}

NodeId MemoryNodeTable::comment(std::string_view value) {
    return add(NodeKind::comment, {}, value);
}

NodeId MemoryNodeTable::instruction(std::string_view target, std::string_view value) {
    return add(NodeKind::processingInstruction, {keep(target), {}, {}}, value);
}

void MemoryNodeTable::endElement() {
    nodes_[open_.back() - 1].last = nodeCount();
    open_.pop_back();
}

void MemoryNodeTable::endDocument() {
    assert(open_.empty());
    documents_.back().last = nodeCount();
}

void MemoryNodeTable::skipIds(NodeId count) {
    assert(open_.empty());
    nodes_.resize(nodes_.size() + count);
}

std::vector<NamespaceDeclaration> MemoryNodeTable::namespaces(NodeId node) const {
    return at(node).declarations;
}

const MemoryNodeTable::Node &MemoryNodeTable::at(NodeId node) const {
    assert(node >= 1 && node <= nodes_.size() && nodes_[node - 1].last != noNode);
    return nodes_[node - 1];
}

NodeId MemoryNodeTable::add(NodeKind kind, NodeName name, std::string_view value) {
    const NodeId node = nodeCount() + 1;
    nodes_.push_back({kind, open_.empty() ? noNode : open_.back(), node, name, keep(value), {}});
    return node;
}

std::string_view MemoryNodeTable::keep(std::string_view text) {
    auto place = texts_.find(text);
    if (place == texts_.end()) place = texts_.emplace(text).first;
    return *place;
}

NodeName MemoryNodeTable::keep(const Name &name) {
    return {keep(name.local), keep(name.prefix), keep(name.uri)};
}

}  // namespace zdbs::testing
