/** Joins that look at whole documents: what is below roots, what follows, what precedes. */
#ifndef ZDBS_EMBEDDED_JOINS_DOCUMENT_JOIN_H
#define ZDBS_EMBEDDED_JOINS_DOCUMENT_JOIN_H

#include <span>
#include <vector>

#include "zdbs/embedded/joins/join.h"
#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/paths/row_sets.h"

namespace zdbs::embedded {

/** The joins over one table; irregular paths are answered as others are. For one thread. */
class DocumentJoin {
public:
    DocumentJoin(const NodeTable &nodes, const PathTable &table) : nodes_(nodes), table_(table) {}

    /** Documents that nodes are in, ascending. */
    DocumentIndexes documentsOf(const PathNodes &nodes) const;

    PathNodes inDocuments(const PathNodes &nodes, std::span<const DocumentIndex> roots) const;

    /** The nodes that begin after one of `others` in their document has ended. */
    PathNodes beginningAfter(const PathNodes &nodes, const PathNodes &others) const;

    /** The nodes that end before the last of `others` in their document begins. */
    PathNodes endingBefore(const PathNodes &nodes, const PathNodes &others) const;

private:
    /** A node of each document; noNode for none. */
    using NodeOfDocument = std::vector<NodeId>;

    template <typename Take>
    void forDocuments(const PathPart &part, Take take) const;

    template <typename Choose>
    PathNodes keepByDocument(const PathNodes &nodes, Choose choose) const;

    NodeOfDocument firstEnds(const PathNodes &nodes) const;
    NodeOfDocument lastStarts(const PathNodes &nodes) const;
    NodeId firstEndOf(const PathPart &part, RowRange rows) const;
    NodeId lastBelow(PathRow row) const;

    const NodeTable &nodes_;
    const PathTable &table_;
};

}  // namespace zdbs::embedded

#endif
