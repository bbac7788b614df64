#include "zdbs/embedded/paths/reader_table.h"

namespace zdbs::embedded {

NodeId ReaderTable::parent(NodeId node) const {
    const PathId path = reader_.pathOf(node);
    const Path &entry = reader_.summary()[path];
    if (entry.isRegular && entry.parent == noPath) return noNode;
    const PathCursor &row = reader_.at(path, node);
    NodeId parent = noNode;
    if (entry.isRegular) {
        parent = reader_.cursor(entry.parent).seekRow(row.parentRow());
    } else {
        const std::uint32_t distance = row.run().parentDistances.at(row.rowInRun());
        if (distance == 0) return noNode;
        parent = node - distance;
    }
    // Who climbs gets to the top, also where the numbers are damaged.
    if (parent >= node || parent == noNode) NodeReader::failAt(node);
    return parent;
}

NodeId ReaderTable::lastBelow(NodeId node) const {
    const PathId path = reader_.pathOf(node);
    if (reader_.summary()[path].kind != NodeKind::element) return node;
    return reader_.lastBelow(path, node);
}

NodeName ReaderTable::name(NodeId node) const {
    const PathId path = reader_.pathOf(node);
    const Path &entry = reader_.summary()[path];
    if (entry.name != noName) return reader_.table().nameOf(entry.name);
    if (entry.isRegular) return {};
    const PathCursor &row = reader_.at(path, node);
    if (row.run().names.empty()) return {};
    return reader_.table().nameOf(row.run().names.at(row.rowInRun()));
}

std::string_view ReaderTable::value(NodeId node) const {
    const PathId path = reader_.pathOf(node);
    if (reader_.summary()[path].kind == NodeKind::element) return {};
    return reader_.at(path, node).value();
}

}  // namespace zdbs::embedded
