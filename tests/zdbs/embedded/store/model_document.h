/** A document in plain memory: what a stored one is compared with. */
#ifndef TESTS_ZDBS_EMBEDDED_STORE_MODEL_DOCUMENT_H
#define TESTS_ZDBS_EMBEDDED_STORE_MODEL_DOCUMENT_H

#include <cstddef>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/embedded/store/writer.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

struct ModelNode {
    NodeKind kind;
    std::size_t parent;  ///< index; noParent at the top
    std::size_t last;    ///< index of the last node below, or its own
    std::string local, prefix, uri;
    std::string value;
    std::vector<std::pair<std::string, std::string>> namespaces;
};

constexpr std::size_t noParent = static_cast<std::size_t>(-1);

/** The nodes of a document in order. */
using ModelDocument = std::vector<ModelNode>;

struct ModelShape {
    std::size_t nodes = 100;  ///< about so many
    std::size_t maxDepth = 10;
    std::size_t maxValue = 20;  ///< bytes of a value
    std::size_t names = 8;      ///< different local names
};

/** A document of all kinds of nodes; the same seed gives the same document. */
ModelDocument randomDocument(std::mt19937 &random, const ModelShape &shape = {});

/** Begins a document and writes all of its nodes. */
void writeNodes(Writer &writer, const std::string &name, const ModelDocument &document);

/** Writes it as a document of that name, from begin to end. */
void write(Writer &writer, const std::string &name, const ModelDocument &document);

/** The first difference in words; empty when there is none. */
std::string difference(const NodeTable &nodes, const DocumentRange &range,
                       const ModelDocument &document);

}  // namespace zdbs::embedded

#endif
