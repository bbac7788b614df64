/** A table whose nodes are asked for one after the other, mostly near ones. */
#ifndef ZDBS_EMBEDDED_PATHS_READER_TABLE_H
#define ZDBS_EMBEDDED_PATHS_READER_TABLE_H

#include "zdbs/embedded/paths/node_reader.h"

namespace zdbs::embedded {

/**
 * The nodes of a table with paths, looked up where the last look-ups were: what goes over
 * many nodes in about their order pays little for each. Has no paths itself. Other than
 * tables are, it is for one thread at a time. Throws Failure(homeDamaged).
 */
class ReaderTable final : public NodeTable {
public:
    /** REQUIRES that `paths` is nodes.paths(); the table must outlive the object. */
    ReaderTable(const NodeTable &nodes, const PathTable &paths) : nodes_(nodes), reader_(paths) {}

    std::span<const DocumentRange> documents() const override { return nodes_.documents(); }
    NodeKind kind(NodeId node) const override { return pathAt(node).kind; }
    NodeId parent(NodeId node) const override;
    NodeId lastBelow(NodeId node) const override;
    NodeName name(NodeId node) const override;
    std::string_view value(NodeId node) const override;
    std::vector<NamespaceDeclaration> namespaces(NodeId node) const override {
        return nodes_.namespaces(node);
    }
    NodeId nextDeclaring(NodeId from) const override { return nodes_.nextDeclaring(from); }

private:
    const Path &pathAt(NodeId node) const { return reader_.summary()[reader_.pathOf(node)]; }

    const NodeTable &nodes_;
    mutable NodeReader reader_;
};

}  // namespace zdbs::embedded

#endif
