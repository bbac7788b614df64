/** What tells siblings: nodes of paths with one parent path are siblings when their keys agree. */
#ifndef ZDBS_EMBEDDED_JOINS_SIBLING_KEYS_H
#define ZDBS_EMBEDDED_JOINS_SIBLING_KEYS_H

#include <algorithm>
#include <cstdint>
#include <span>

#include "zdbs/embedded/paths/row_reader.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::embedded {

/** The parent's row; at the top the place of the document. Ascends with the row. */
using SiblingKey = std::uint32_t;

/** Reads the keys of the rows of one regular path, from first to last. For one thread. */
class SiblingKeys {
public:
    SiblingKeys(const NodeTable &nodes, const PathTable &table, PathId path)
        : isTop_(table.summary()[path].parent == noPath),
          firstNode_(nodes.documents().empty() ? noNode : nodes.documents().front().first),
          finder_(nodes) {}

    void read(const RowBatch &batch, std::span<SiblingKey> keys) {
        if (!isTop_) return readParents(batch, keys);
        readNodes(batch, keys);
        for (SiblingKey &key : keys.first(batch.rows.size()))
            key = finder_.indexOf(std::max(key, firstNode_));
    }

    /** One more than the greatest key of the paths with this parent. */
    static std::uint32_t count(const NodeTable &nodes, const PathTable &table, PathId parent) {
        if (parent != noPath) return table.rowCount(parent);
        return static_cast<std::uint32_t>(nodes.documents().size());
    }

private:
    bool isTop_;
    NodeId firstNode_;  ///< of the table; only damaged files have nodes before it
    DocumentFinder finder_;
};

}  // namespace zdbs::embedded

#endif
