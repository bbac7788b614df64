/** What a node is, told without the tree that it stands in. */
#ifndef ZDBS_BASE_NODE_H
#define ZDBS_BASE_NODE_H

#include <cstdint>
#include <string_view>

namespace zdbs {

/** Number of a record, that is of a node: ascending in document order within one state. */
using RecordId = std::uint64_t;

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

}  // namespace zdbs

#endif
