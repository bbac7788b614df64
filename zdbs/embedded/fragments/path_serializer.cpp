#include "zdbs/embedded/fragments/path_serializer.h"

#include <cassert>

#include "zdbs/base/escape.h"

namespace zdbs {
namespace {

std::string textOf(const NodeName &name) {
    std::string text(name.prefix);
    if (!text.empty()) text += ':';
    return text.append(name.local);
}

std::string frontOf(NodeKind kind, const std::string &name) {
    switch (kind) {
        case NodeKind::element:
            return "<" + name;
        case NodeKind::attribute:
            return " " + name + "=\"";
        case NodeKind::processingInstruction:
            return "<?" + name;
        case NodeKind::text:
        case NodeKind::comment:
            break;
    }
    return {};
}

}  // namespace

void PathSerializer::writeDocument(const DocumentRange &document) {
    for (std::uint64_t node = document.first; node <= document.last;) {
        const auto top = static_cast<NodeId>(node);
        const PathId path = reader_.pathOf(top);
        const NodeId last = reader_.lastBelow(path, top);
        if (last > document.last) NodeReader::failAt(top);
        writeTree(top, path, last, nodes_.namespaces(top));
        sink_.write("\n");
        node = std::uint64_t{last} + 1;
    }
}

void PathSerializer::writeTree(NodeId top, PathId path, NodeId last,
                               std::span<const NamespaceDeclaration> declarations) {
    const Tags &tags = tagsOf(path);
    assert(tags.kind != NodeKind::attribute);
    open_.clear();
    inStartTag_ = false;
    topLevel_ = tags.level;
    write(top, tags, &declarations);
    for (NodeId node = top + 1; node <= last; ++node) {
        const Tags &next = tagsOf(reader_.pathOf(node));
        enter(node, next);
        write(node, next, nullptr);
    }
    while (!open_.empty())
        closeLast();
}

const PathSerializer::Tags &PathSerializer::makeTags(PathId path) {
    const Path &entry = reader_.summary()[path];
    Tags &tags = made_.emplace_back(Tags{path,
                                         entry.parent,
                                         entry.level,
                                         entry.kind,
                                         entry.isRegular,
                                         {},
                                         {},
                                         &reader_.cursor(path)});
    if (entry.name != noName) {
        const std::string name = textOf(reader_.table().nameOf(entry.name));
        tags.front = frontOf(entry.kind, name);
        if (entry.kind == NodeKind::element) tags.end = "</" + name + ">";
    }
    return *(tags_[path] = &tags);
}

/** Ends the elements that a node is not below. */
void PathSerializer::enter(NodeId node, const Tags &tags) {
    // In a damaged file the level may be less than that of the top; then it is no level here.
    const std::size_t depth = tags.isRegular ? tags.level - topLevel_ : irregularDepth(node, tags);
    while (open_.size() > depth)
        closeLast();
    const bool isBelow = !open_.empty() && open_.size() == depth &&
                         (!tags.isRegular || open_.back().tags->path == tags.parent);
    if (!isBelow) NodeReader::failAt(node);
}

/** How many elements are open up to the parent that the node names. */
std::size_t PathSerializer::irregularDepth(NodeId node, const Tags &tags) {
    const PathCursor &row = reader_.at(tags.path, node);
    const std::uint32_t distance = row.run().parentDistances.at(row.rowInRun());
    std::size_t depth = open_.size();
    while (depth > 0 && (distance > node || open_[depth - 1].node > node - distance))
        --depth;
    if (depth == 0 || open_[depth - 1].node != node - distance) NodeReader::failAt(node);
    return depth;
}

void PathSerializer::write(NodeId node, const Tags &tags,
                           std::span<const NamespaceDeclaration> *declarations) {
    if (tags.kind != NodeKind::attribute) endStartTag();
    switch (tags.kind) {
        case NodeKind::attribute:
            return writeAttribute(node, tags);
        case NodeKind::text:
            return writeEscapedText(sink_, valueOf(node, tags));
        case NodeKind::comment:
            return writeComment(valueOf(node, tags));
        case NodeKind::processingInstruction:
            return writeInstruction(node, tags);
        case NodeKind::element:
            return writeElement(node, tags, declarations);
    }
}

void PathSerializer::writeElement(NodeId node, const Tags &tags,
                                  std::span<const NamespaceDeclaration> *declarations) {
    std::uint32_t name = noName;
    if (tags.isRegular) {
        sink_.write(tags.front);
    } else {
        name = irregularName(node, tags);
        sink_.write("<");
        writeName(name);
    }
    if (declarations != nullptr) {
        writeDeclarations(*declarations);
    } else if (declaring_.mayHave(node)) {
        writeDeclarations(nodes_.namespaces(node));
    }
    open_.push_back({node, &tags, name});
    inStartTag_ = true;
}

void PathSerializer::writeDeclarations(std::span<const NamespaceDeclaration> declarations) {
    for (const NamespaceDeclaration &one : declarations) {
        sink_.write(one.prefix.empty() ? " xmlns" : " xmlns:");
        sink_.write(one.prefix);
        sink_.write("=\"");
        writeEscapedAttribute(sink_, one.uri);
        sink_.write("\"");
    }
}

void PathSerializer::writeAttribute(NodeId node, const Tags &tags) {
    // An attribute behind the content of its element.
    if (!inStartTag_) NodeReader::failAt(node);
    if (tags.isRegular) {
        sink_.write(tags.front);
    } else {
        sink_.write(" ");
        writeName(irregularName(node, tags));
        sink_.write("=\"");
    }
    writeEscapedAttribute(sink_, valueOf(node, tags));
    sink_.write("\"");
}

void PathSerializer::writeComment(std::string_view value) {
    sink_.write("<!--");
    sink_.write(value);
    sink_.write("-->");
}

void PathSerializer::writeInstruction(NodeId node, const Tags &tags) {
    if (tags.isRegular) {
        sink_.write(tags.front);
    } else {
        sink_.write("<?");
        sink_.write(reader_.table().nameOf(irregularName(node, tags)).local);
    }
    const std::string_view value = valueOf(node, tags);
    if (!value.empty()) {
        sink_.write(" ");
        sink_.write(value);
    }
    sink_.write("?>");
}

void PathSerializer::writeName(std::uint32_t number) {
    const NodeName &name = reader_.table().nameOf(number);
    if (!name.prefix.empty()) {
        sink_.write(name.prefix);
        sink_.write(":");
    }
    sink_.write(name.local);
}

std::uint32_t PathSerializer::irregularName(NodeId node, const Tags &tags) {
    const PathCursor &row = reader_.at(tags.path, node);
    return row.run().names.at(row.rowInRun());
}

void PathSerializer::closeLast() {
    const Open last = open_.back();
    open_.pop_back();
    if (inStartTag_) {
        inStartTag_ = false;
        return sink_.write("/>");
    }
    if (last.tags->isRegular) return sink_.write(last.tags->end);
    sink_.write("</");
    writeName(last.name);
    sink_.write(">");
}

}  // namespace zdbs
