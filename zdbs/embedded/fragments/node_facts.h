/** What nodes are by themselves: document, path, value. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_NODE_FACTS_H
#define ZDBS_EMBEDDED_FRAGMENTS_NODE_FACTS_H

#include <string>
#include <string_view>

#include "zdbs/embedded/fragments/node_paths.h"
#include "zdbs/embedded/fragments/row_places.h"
#include "zdbs/embedded/paths/reader_table.h"
#include "zdbs/engine/engine.h"

namespace zdbs::embedded {

/**
 * Finds paths by rows wherever these tell them. Memory grows with the longest value of an
 * element. One thread at a time. Throws Failure(homeDamaged).
 */
class NodeFacts final : public RecordDescriber {
public:
    /** The table must outlive it. REQUIRES nodes.paths(). */
    NodeFacts(const NodeTable &nodes, FactsWanted wanted);

    const RecordFacts &of(RecordId record) override;

private:
    std::string_view pathOf(PathId path, NodeId node);
    std::string_view valueOf(PathId path, NodeId node);
    void appendTexts(NodeId first, NodeId last);

    const NodeTable &nodes_;
    FactsWanted wanted_;
    NodeReader reader_;
    ReaderTable nearby_;
    RowPlaces places_;
    NodePaths paths_;
    DocumentFinder documents_;
    RecordFacts facts_;
    std::string texts_;  ///< the value of an element
};

}  // namespace zdbs::embedded

#endif
