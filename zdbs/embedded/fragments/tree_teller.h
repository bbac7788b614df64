/** Tells nodes that are stored by path, in one pass over their paths. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_TREE_TELLER_H
#define ZDBS_EMBEDDED_FRAGMENTS_TREE_TELLER_H

#include <cstddef>
#include <deque>
#include <span>
#include <vector>

#include "zdbs/embedded/paths/node_reader.h"
#include "zdbs/embedded/tree/hit_ranges.h"
#include "zdbs/engine/events.h"

namespace zdbs::embedded {

/**
 * Answers which elements have namespace declarations; quick where few have, and when asked
 * in ascending order. For one thread.
 */
class DeclaringElements {
public:
    /** The table must outlive it. */
    explicit DeclaringElements(const NodeTable &nodes) : nodes_(nodes) {}

    /** Whether the node may have some; never false when it has. */
    bool mayHave(NodeId node) {
        if (node < asked_ || node > next_) {
            next_ = nodes_.nextDeclaring(node);
            asked_ = node;
        }
        return node == next_;
    }

private:
    const NodeTable &nodes_;
    NodeId asked_ = 1;
    NodeId next_ = noNode;  ///< the first one from asked_ on
};

/**
 * Tells trees. In document order the path of a node tells by itself which elements end in front
 * of it, so neither parents nor ends are looked up, and a value is in the row behind the one
 * before it. Only the nodes of irregular paths name their parents. Memory grows by some bytes
 * with each open element. Names have the numbers that they have in the table.
 *
 * Ownership: keeps references to its arguments. One thread at a time. Throws what the events
 * throw, and Failure(homeDamaged) where the paths of nodes are no tree.
 */
class TreeTeller {
public:
    /**
     * REQUIRES that the reader is one of nodes.paths().
     * @param hits of the values that are told; null: none
     */
    TreeTeller(const NodeTable &nodes, NodeReader &reader, const HitRanges *hits = nullptr)
        : nodes_(nodes),
          reader_(reader),
          hits_(hits),
          declaring_(nodes),
          known_(reader.summary().size()) {}

    /** All nodes of a document. */
    void tellDocument(const DocumentRange &document, NodeEvents &events);

    /**
     * One node of a path, and what is below it up to `last`. Of an element, `declarations`
     * are told in place of its own.
     */
    void tellTree(NodeId top, PathId path, NodeId last,
                  std::span<const NamespaceDeclaration> declarations, NodeEvents &events);

private:
    /** What is needed of a path. */
    struct Known {
        PathId path;
        PathId parent;
        std::uint32_t level;
        NodeKind kind;
        bool isRegular;
        NumberedName name;  ///< of its nodes; of irregular ones none
        PathCursor *rows;
    };
    struct Open {
        NodeId node;
        PathId path;
    };

    const Known &knownOf(PathId path) {
        const Known *const known = known_[path];
        return known != nullptr ? *known : makeKnown(path);
    }
    const Known &makeKnown(PathId path);
    void enter(NodeId node, const Known &known, NodeEvents &events);
    std::size_t irregularDepth(NodeId node, const Known &known);
    void tell(NodeId node, const Known &known, NodeEvents &events);
    static void tellDeclarations(std::span<const NamespaceDeclaration> declarations,
                                 NodeEvents &events);
    void tellAttribute(NodeId node, const Known &known, NodeEvents &events);
    void tellInstruction(NodeId node, const Known &known, NodeEvents &events);
    NumberedName irregularName(NodeId node, const Known &known);
    std::span<const HitRange> hitsIn(NodeId node) {
        return hits_ == nullptr ? unmarked : findHits(node);
    }
    std::span<const HitRange> findHits(NodeId node);
    std::string_view valueOf(NodeId node, const Known &known) {
        if (known.rows->seek(node) != node) NodeReader::failAt(node);
        return known.rows->value();
    }

    const NodeTable &nodes_;
    NodeReader &reader_;
    const HitRanges *hits_;
    DeclaringElements declaring_;
    std::vector<const Known *> known_;  ///< by path; null until needed
    std::deque<Known> made_;
    std::vector<Open> open_;      ///< the elements that have not ended, outermost first
    std::uint32_t topLevel_ = 0;  ///< of the tree that is told; 0 of an irregular one
    bool inStartTag_ = false;     ///< nothing was told of the innermost element but attributes
    NodeId hitsAsked_ = 1;        ///< from here to nextHit_ nothing has hits
    NodeId nextHit_ = noNode;
    std::vector<HitRange> ranges_;  ///< scratch
};

}  // namespace zdbs::embedded

#endif
