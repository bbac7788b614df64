/** What a node is, told without the tree that it stands in. */
#ifndef ZDBS_BASE_NODE_H
#define ZDBS_BASE_NODE_H

#include <cstdint>
#include <string_view>
#include <vector>

namespace zdbs {

/** Record number of a node: 1 … 2 147 483 647; 0 is no node. */
using NodeId = std::uint32_t;

constexpr NodeId noNode = 0;
constexpr NodeId lastNodeId = 2147483647;

/** Behind all nodes, in answers about what comes next. */
constexpr NodeId noMoreNodes = 0xffffffff;

enum class NodeKind : std::uint8_t { element, attribute, text, comment, processingInstruction };

/** Name as written: of an instruction the target is `local`; texts and comments have none. */
struct NodeName {
    std::string_view local;
    std::string_view prefix;
    std::string_view uri;
};

/** A namespace declaration of an element; an empty prefix is the default namespace. */
struct NamespaceDeclaration {
    std::string_view prefix;
    std::string_view uri;
};

/** Ascending, without duplicates, unless something else is said. */
using NodeIds = std::vector<NodeId>;

}  // namespace zdbs

#endif
