/** Where nodes stand in their documents: their paths, and the namespaces in scope there. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_ROW_PLACES_H
#define ZDBS_EMBEDDED_FRAGMENTS_ROW_PLACES_H

#include <deque>
#include <string>
#include <vector>

#include "zdbs/embedded/fragments/tree_teller.h"
#include "zdbs/embedded/paths/node_reader.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::embedded {

/** Where a node stands. */
struct NodePlace {
    NodeId node = noNode;
    std::string path;                         ///< as NodePaths writes it
    std::vector<NamespaceDeclaration> scope;  ///< of an element, as namespacesInScope() has it
};

/**
 * Finds the places of nodes that are stored by path. The position of a node among its
 * like-named siblings is its distance from the first row with the same parent, so no sibling
 * is looked at. For each path the place of its last node is kept: what is above a node is
 * found once for all that follow it below the same parent. One thread at a time.
 */
class RowPlaces {
public:
    /** REQUIRES that the reader is one of nodes.paths(). Both must outlive the object. */
    RowPlaces(const NodeTable &nodes, NodeReader &reader);

    /**
     * The place of a node; valid until the next call. Null where rows do not tell it: for
     * irregular nodes, and where siblings of different paths are named alike.
     */
    const NodePlace *of(PathId path, NodeId node);

private:
    struct Known {
        explicit Known(PathCursor &cursor) : rows(cursor) {}

        PathCursor &rows;
        PathId parent = noPath;
        NodeKind kind = NodeKind::element;
        bool sharesName = false;    ///< with siblings of another path
        PathId irregular = noPath;  ///< where such siblings could be besides
        std::string name;           ///< "/p:a", "/@id", "/text()"
        NodePlace place;
        RowId row = 0;           ///< of place.node
        NodeId family = noNode;  ///< the parent of the last node, or the first of its document
        RowId firstRow = 0;      ///< of the children of that parent
    };
    struct Step {
        Known *known;
        NodeId node;
        RowId row;
    };

    Known &knownOf(PathId path);
    Known &makeKnown(PathId path);
    void findShared(PathId parent);
    bool climb(PathId path, NodeId node);
    bool enter(const Step &step, const Known *above);
    std::uint32_t positionOf(const Step &step, const Known *above);
    RowId firstOfFamily(const Step &step, NodeId family);
    void findScope(const Step &step, const Known *above);

    const NodeTable &nodes_;
    NodeReader &reader_;
    DocumentFinder documents_;
    DeclaringElements declaring_;
    std::vector<Known *> known_;  ///< by path; null until needed
    std::deque<Known> made_;
    std::vector<bool> shares_;   ///< by path, where isFound_ has the parent
    std::vector<bool> isFound_;  ///< by parent's path, and one for the top
    std::vector<Step> steps_;    ///< scratch: what is missing on the way to a node
};

}  // namespace zdbs::embedded

#endif
