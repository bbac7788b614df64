/** Which document a node belongs to, and keys of the nodes that have children in common. */
#ifndef ZDBS_EMBEDDED_TREE_DOCUMENTS_H
#define ZDBS_EMBEDDED_TREE_DOCUMENTS_H

#include <cstddef>
#include <cstdint>

#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

/** Place of a document in NodeTable::documents(). */
using DocumentIndex = std::uint32_t;

/** Finds documents of nodes; quick when asked for nodes in ascending order. */
class DocumentFinder {
public:
    explicit DocumentFinder(const NodeTable &table) : documents_(table.documents()) {}

    /** REQUIRES: `node` is a node of the table. */
    DocumentIndex indexOf(NodeId node);

    const DocumentRange &documentOf(NodeId node) { return documents_[indexOf(node)]; }
    const DocumentRange &document(DocumentIndex index) const { return documents_[index]; }

private:
    std::span<const DocumentRange> documents_;
    std::size_t last_ = 0;
};

/** Whether a table has a node of this number. */
bool isPresent(const NodeTable &table, NodeId node);

/** A number for each parent: of an element its own, of a document root one beyond all nodes. */
using ParentKey = std::uint64_t;

constexpr ParentKey rootKey(DocumentIndex document) {
    return (ParentKey{1} << 32U) + document;
}

/** Key of the parent of `node`. */
ParentKey parentKey(const NodeTable &table, DocumentFinder &finder, NodeId node);

}  // namespace zdbs::embedded

#endif
