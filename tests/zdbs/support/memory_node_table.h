/** A node table in memory for tests, built call by call or from XML text. */
#ifndef TESTS_ZDBS_SUPPORT_MEMORY_NODE_TABLE_H
#define TESTS_ZDBS_SUPPORT_MEMORY_NODE_TABLE_H

#include <deque>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::testing {

using namespace embedded;

/**
 * Built in document order: startDocument, the nodes of the document, endDocument,
 * and so on. An element's attributes come right after its startElement. Node ids
 * start at 1 and are dense, unless skipIds makes a gap between two documents.
 */
class MemoryNodeTable final : public NodeTable {
public:
    struct Name {
        std::string local;
        std::string prefix = {};
        std::string uri = {};
    };
    struct Declaration {
        std::string prefix;
        std::string uri;
    };

    void startDocument(std::string_view name);
    NodeId startElement(const Name &name, const std::vector<Declaration> &declarations = {});
    NodeId attribute(const Name &name, std::string_view value);
    NodeId text(std::string_view value);
    NodeId comment(std::string_view value);
    NodeId instruction(std::string_view target, std::string_view value);
    void endElement();
    void endDocument();

    /** Leaves a gap, as a removed document does. Between documents only. */
    void skipIds(NodeId count);

    NodeId nodeCount() const { return static_cast<NodeId>(nodes_.size()); }

    std::span<const DocumentRange> documents() const override { return documents_; }
    NodeKind kind(NodeId node) const override { return at(node).kind; }
    NodeId parent(NodeId node) const override { return at(node).parent; }
    NodeId lastBelow(NodeId node) const override { return at(node).last; }
    NodeName name(NodeId node) const override { return at(node).name; }
    std::string_view value(NodeId node) const override { return at(node).value; }
    std::vector<NamespaceDeclaration> namespaces(NodeId node) const override;

private:
    struct Node {
        NodeKind kind;
        NodeId parent;
        NodeId last;
        NodeName name;
        std::string_view value;
        std::vector<NamespaceDeclaration> declarations;
    };

    const Node &at(NodeId node) const;
    NodeId add(NodeKind kind, NodeName name, std::string_view value);
    std::string_view keep(std::string_view text);
    NodeName keep(const Name &name);

    std::vector<Node> nodes_;  ///< node n at n - 1
    std::vector<DocumentRange> documents_;
    std::vector<NodeId> open_;
    std::set<std::string, std::less<>> texts_;
};

/** One document of a table made from XML text. */
struct XmlSource {
    std::string name;
    std::string xml;
};

/** Parses well-formed XML by libxml2; throws std::runtime_error when it is not. */
MemoryNodeTable tableFromXml(const std::vector<XmlSource> &documents);

/** The same for one document, named "test.xml". */
MemoryNodeTable tableFromXml(std::string_view xml);

}  // namespace zdbs::testing

#endif
