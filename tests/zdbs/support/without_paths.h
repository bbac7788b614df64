/** The nodes of a table without their paths: what is asked of it is answered node by node. */
#ifndef TESTS_ZDBS_SUPPORT_WITHOUT_PATHS_H
#define TESTS_ZDBS_SUPPORT_WITHOUT_PATHS_H

#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::testing {

using namespace embedded;

class WithoutPaths final : public NodeTable {
public:
    /** `nodes` must outlive the object. */
    explicit WithoutPaths(const NodeTable &nodes) : nodes_(nodes) {}

    std::span<const DocumentRange> documents() const override { return nodes_.documents(); }
    NodeKind kind(NodeId node) const override { return nodes_.kind(node); }
    NodeId parent(NodeId node) const override { return nodes_.parent(node); }
    NodeId lastBelow(NodeId node) const override { return nodes_.lastBelow(node); }
    NodeName name(NodeId node) const override { return nodes_.name(node); }
    std::string_view value(NodeId node) const override { return nodes_.value(node); }
    std::vector<NamespaceDeclaration> namespaces(NodeId node) const override {
        return nodes_.namespaces(node);
    }

private:
    const NodeTable &nodes_;
};

}  // namespace zdbs::testing

#endif
