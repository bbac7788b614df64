#include "zdbs/embedded/fragments/serializer.h"

#include <algorithm>
#include <cassert>
#include <set>
#include <string>

#include "zdbs/base/escape.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/fragments/path_serializer.h"

namespace zdbs {
namespace {

/** Nodes below an element that are no attributes? Its last node tells. */
bool hasContent(const NodeTable &nodes, NodeId element) {
    const NodeId last = nodes.lastBelow(element);
    if (last == element) return false;
    return nodes.kind(last) != NodeKind::attribute || nodes.parent(last) != element;
}

/** The node behind the attributes of an element. */
NodeId attributesEnd(const NodeTable &nodes, NodeId element) {
    const NodeId last = nodes.lastBelow(element);
    NodeId node = element + 1;
    while (node <= last && nodes.kind(node) == NodeKind::attribute)
        ++node;
    return node;
}

std::size_t characters(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    }));
}

std::string doubledDots(std::string_view name) {
    std::string result;
    for (const char c : name)
        result.append(c == '.' ? 2 : 1, c);
    return result;
}

}  // namespace

std::string markerName(const NodeName &attribute) {
    std::string result = "hit-";
    if (!attribute.prefix.empty()) result += doubledDots(attribute.prefix) + ".";
    return result + doubledDots(attribute.local);
}

std::vector<NamespaceDeclaration> namespacesInScope(const NodeTable &nodes, NodeId element) {
    std::vector<NamespaceDeclaration> result;
    std::set<std::string_view> seen;
    for (NodeId node = element; node != noNode; node = nodes.parent(node)) {
        for (const NamespaceDeclaration &declaration : nodes.namespaces(node)) {
            if (seen.insert(declaration.prefix).second) result.push_back(declaration);
        }
    }
    return result;
}

XmlSerializer::XmlSerializer(const NodeTable &nodes, XmlSink &sink, HitMarkup markup)
    : nodes_(nodes), sink_(sink), markup_(std::move(markup)) {}

void XmlSerializer::writeDocument(const DocumentRange &document) {
    assert(markup_.hits == nullptr);
    if (const PathTable *const paths = nodes_.paths()) {
        NodeReader reader(*paths);
        return PathSerializer(nodes_, reader, sink_).writeDocument(document);
    }
    for (NodeId node = document.first; node <= document.last; node = nodes_.lastBelow(node) + 1) {
        writeSubtree(node, nodes_.namespaces(node));
        sink_.write("\n");
    }
}

void XmlSerializer::writeFragment(NodeId node) {
    assert(nodes_.kind(node) != NodeKind::attribute);
    if (nodes_.kind(node) != NodeKind::element) return writeLeaf(node);
    Declarations declarations = namespacesInScope(nodes_, node);
    // Nothing to undeclare where the fragment goes.
    std::erase_if(declarations, [](const auto &one) { return one.uri.empty(); });
    writeSubtree(node, declarations);
}

void XmlSerializer::writeValue(NodeId node) {
    const std::string_view value = nodes_.value(node);
    std::size_t written = 0;
    for (const HitRange &hit : hitsIn(node)) {
        assert(hit.offset >= written && hit.offset + hit.length <= value.size());
        writeEscapedText(sink_, value.substr(written, hit.offset - written));
        writeHit(value.substr(hit.offset, hit.length));
        written = hit.offset + hit.length;
    }
    writeEscapedText(sink_, value.substr(written));
}

/** Goes by node numbers; the elements still open are the ancestors of the next node. */
void XmlSerializer::writeSubtree(NodeId top, const Declarations &topDeclarations) {
    const NodeId last = nodes_.lastBelow(top);
    NodeId open = noNode;
    NodeId node = top;
    while (node <= last) {
        if (nodes_.kind(node) == NodeKind::element) {
            writeStartTag(node, node == top ? topDeclarations : nodes_.namespaces(node));
            open = node;
            node = attributesEnd(nodes_, node);
        } else {
            writeLeaf(node++);
        }
        while (open != noNode && node > nodes_.lastBelow(open)) {
            writeEndTag(open);
            open = open == top ? noNode : nodes_.parent(open);
        }
    }
}

void XmlSerializer::writeStartTag(NodeId element, const Declarations &declarations) {
    enterScope(element, declarations);
    sink_.write("<");
    writeName(nodes_.name(element));
    for (const NamespaceDeclaration &one : declarations)
        writeDeclaration(one.prefix, one.uri);
    writeAttributes(element);
    if (hasContent(nodes_, element)) sink_.write(">");
}

void XmlSerializer::writeEndTag(NodeId element) {
    leaveScope(element);
    if (!hasContent(nodes_, element)) return sink_.write("/>");
    sink_.write("</");
    writeName(nodes_.name(element));
    sink_.write(">");
}

void XmlSerializer::writeLeaf(NodeId node) {
    switch (nodes_.kind(node)) {
        case NodeKind::text:
            return writeValue(node);
        case NodeKind::comment:
            sink_.write("<!--");
            sink_.write(nodes_.value(node));
            return sink_.write("-->");
        case NodeKind::processingInstruction:
            return writeInstruction(node);
        case NodeKind::element:
        case NodeKind::attribute:
            break;
    }
    // Only where an element ends in front of its attributes, or of itself.
    throw Failure(Status::homeDamaged, {"", "the tree at node " + std::to_string(node)});
}

void XmlSerializer::writeName(const NodeName &name) {
    if (!name.prefix.empty()) {
        sink_.write(name.prefix);
        sink_.write(":");
    }
    sink_.write(name.local);
}

void XmlSerializer::writeDeclaration(std::string_view prefix, std::string_view uri) {
    sink_.write(prefix.empty() ? " xmlns" : " xmlns:");
    sink_.write(prefix);
    sink_.write("=\"");
    writeEscapedAttribute(sink_, uri);
    sink_.write("\"");
}

void XmlSerializer::writeAttributes(NodeId element) {
    const NodeId end = attributesEnd(nodes_, element);
    std::string prefix;
    for (NodeId node = element + 1; node < end; ++node) {
        sink_.write(" ");
        writeName(nodes_.name(node));
        sink_.write("=\"");
        writeEscapedAttribute(sink_, nodes_.value(node));
        sink_.write("\"");

        const std::vector<HitRange> hits = hitsIn(node);
        if (hits.empty() || markerTaken(element, end, nodes_.name(node))) continue;
        if (prefix.empty()) prefix = markerPrefix();
        writeMarker(node, hits, prefix);
    }
}

/** The markup's prefix, or, where it is shadowed, another one declared on the spot. */
std::string XmlSerializer::markerPrefix() {
    if (!markupShadowed()) return markup_.prefix;
    std::string prefix = unboundPrefix();
    writeDeclaration(prefix, markup_.uri);
    return prefix;
}

/**
 * A stored export document can hold markers of its own; a second one of the same
 * name would be malformed. Looks at the element's attributes once an element.
 */
bool XmlSerializer::markerTaken(NodeId element, NodeId attributesEnd, const NodeName &attribute) {
    if (markersOf_ != element) {
        markersOf_ = element;
        markers_.clear();
        for (NodeId node = element + 1; node < attributesEnd; ++node) {
            const NodeName name = nodes_.name(node);
            if (name.uri == markup_.uri) markers_.insert(name.local);
        }
    }
    return !markers_.empty() && markers_.contains(markerName(attribute));
}

void XmlSerializer::writeMarker(NodeId attribute, const std::vector<HitRange> &hits,
                                std::string_view prefix) {
    const std::string marker = markerName(nodes_.name(attribute));
    const std::string_view value = nodes_.value(attribute);
    std::string places;
    std::size_t counted = 0;
    std::size_t start = 1;
    for (const HitRange &hit : hits) {
        start += characters(value.substr(counted, hit.offset - counted));
        counted = hit.offset;
        if (!places.empty()) places += ' ';
        places += std::to_string(start) + ',' +
                  std::to_string(characters(value.substr(hit.offset, hit.length)));
    }
    sink_.write(" ");
    writeName({marker, prefix, {}});
    sink_.write("=\"" + places + "\"");
}

void XmlSerializer::writeHit(std::string_view text) {
    const NodeName name{"hit", markup_.prefix, {}};
    sink_.write("<");
    writeName(name);
    // The declaration reaches over the hit's text only, so it disturbs no other name.
    if (markupShadowed()) writeDeclaration(markup_.prefix, markup_.uri);
    sink_.write(">");
    writeEscapedText(sink_, text);
    sink_.write("</");
    writeName(name);
    sink_.write(">");
}

void XmlSerializer::writeInstruction(NodeId instruction) {
    sink_.write("<?");
    sink_.write(nodes_.name(instruction).local);
    if (!nodes_.value(instruction).empty()) {
        sink_.write(" ");
        sink_.write(nodes_.value(instruction));
    }
    sink_.write("?>");
}

std::vector<HitRange> XmlSerializer::hitsIn(NodeId node) const {
    return markup_.hits == nullptr ? std::vector<HitRange>() : markup_.hits->find(node);
}

void XmlSerializer::enterScope(NodeId element, const Declarations &declarations) {
    if (markup_.hits == nullptr) return;
    for (const NamespaceDeclaration &one : declarations) {
        if (one.prefix.starts_with(markup_.prefix))
            bindings_.push_back({element, one.prefix, one.uri});
    }
}

void XmlSerializer::leaveScope(NodeId element) {
    while (!bindings_.empty() && bindings_.back().element == element)
        bindings_.pop_back();
}

const XmlSerializer::Binding *XmlSerializer::binding(std::string_view prefix) const {
    const auto found =
        std::find_if(bindings_.rbegin(), bindings_.rend(),
                     [prefix](const Binding &candidate) { return candidate.prefix == prefix; });
    return found == bindings_.rend() ? nullptr : &*found;
}

bool XmlSerializer::markupShadowed() const {
    const Binding *const bound = binding(markup_.prefix);
    return bound != nullptr && bound->uri != markup_.uri;
}

std::string XmlSerializer::unboundPrefix() const {
    for (unsigned number = 2;; ++number) {
        std::string candidate = markup_.prefix + std::to_string(number);
        if (binding(candidate) == nullptr) return candidate;
    }
}

}  // namespace zdbs
