/** Turns the nodes of documents, handed over in order, into blocks. */
#ifndef ZDBS_STORE_DOCUMENT_BUILDER_H
#define ZDBS_STORE_DOCUMENT_BUILDER_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/engine/node_table.h"
#include "zdbs/store/name_dictionary.h"
#include "zdbs/store/node_block.h"
#include "zdbs/store/records.h"

namespace zdbs {

/**
 * Numbers nodes, keeps the open elements, and hands out every finished block.
 * Contracts of the operations as in Writer.
 */
class DocumentBuilder {
public:
    /** Takes a finished block and the number of its first node. */
    using BlockSink = std::function<void(NodeId first, std::string block)>;

    DocumentBuilder(NameDictionary &names, BlockSink sink)
        : names_(names), sink_(std::move(sink)) {}

    /** The first node of the document will be `first`. */
    void begin(NodeId first);

    NodeId startElement(const NodeName &name);
    NodeId addLeaf(NodeKind kind, const NodeName &name, std::string_view value);
    NodeId addNameless(NodeKind kind, std::string_view value);
    void addNamespace(std::string_view prefix, std::string_view uri);
    void endElement();

    /** REQUIRES that every element has ended. Answers the last node; noNode without nodes. */
    NodeId end();

    NodeId first() const { return first_; }

    /** After end(): the elements that end in a later block, by node. */
    const std::vector<LongElement> &longElements() const { return longElements_; }

private:
    NodeId add(NodeKind kind, std::uint32_t name, std::string_view value);
    void finishBlock();

    NameDictionary &names_;
    BlockSink sink_;
    NodeBlockBuilder block_;
    NodeId first_ = noNode;
    std::uint64_t next_ = 0;
    std::vector<NodeId> open_;
    std::vector<LongElement> longElements_;
};

}  // namespace zdbs

#endif
