/**
 * The tree as the engine sees it: every node of one database at one moment,
 * by node number. Stores implement it; joins, values and export read it.
 */
#ifndef ZDBS_EMBEDDED_TREE_NODE_TABLE_H
#define ZDBS_EMBEDDED_TREE_NODE_TABLE_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "zdbs/base/node.h"
#include "zdbs/embedded/tree/node_id.h"

namespace zdbs::embedded {

class PathTable;

/** Nodes of one document: the numbers `first` … `last`, both present. */
struct DocumentRange {
    NodeId first;
    NodeId last;
    std::string_view name;
};

/**
 * A consistent, unchanging view of the nodes of one database.
 *
 * Numbering: within a document, numbers are dense and in document order: an
 * element, its attributes in the order written, then its children. The nodes
 * below n are exactly n + 1 … lastBelow(n), attributes included. Between
 * documents there may be gaps (of removed ones). Numbers are never reused.
 *
 * REQUIRES of every call with a NodeId: the number lies in one of documents().
 * Views that are returned live as long as the table. Any thread may read.
 */
class NodeTable {
public:
    virtual ~NodeTable() = default;

    /** The documents in the order of their numbers, which is the order of loading. */
    virtual std::span<const DocumentRange> documents() const = 0;

    virtual NodeKind kind(NodeId node) const = 0;

    /** Parent element; of an attribute its element; noNode at the top of a document. */
    virtual NodeId parent(NodeId node) const = 0;

    /** Last node of the subtree of `node`; `node` itself when nothing is below it. */
    virtual NodeId lastBelow(NodeId node) const = 0;

    virtual NodeName name(NodeId node) const = 0;

    /** Value of a text, attribute, comment or instruction, UTF-8; empty for elements. */
    virtual std::string_view value(NodeId node) const = 0;

    /** The declarations written on an element, in order; empty for other nodes. */
    virtual std::vector<NamespaceDeclaration> namespaces(NodeId node) const = 0;

    /**
     * The first element from `from` on that declarations are written on, noMoreNodes when there
     * is none; it may be one of a removed document. Where that is not known: `from`.
     */
    virtual NodeId nextDeclaring(NodeId from) const { return from; }

    /** The same nodes by path, where the table keeps them so; null where it does not. */
    virtual const PathTable *paths() const { return nullptr; }

    /** Number of the state that it is; 0 of tables that never change. */
    virtual std::uint64_t state() const { return 0; }

    /**
     * Before what was read becomes an answer: throws Failure(homeDamaged) when files that it was
     * read from became shorter meanwhile. Next to nothing.
     */
    virtual void requireIntact() const {}
};

}  // namespace zdbs::embedded

#endif
