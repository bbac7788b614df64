/** Immutable ascending lists of node numbers, and their algebra. */
#ifndef ZDBS_SETS_NODE_LIST_H
#define ZDBS_SETS_NODE_LIST_H

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "zdbs/engine/node_table.h"
#include "zdbs/joins/join.h"

namespace zdbs {

/** Numbers `first` … `last`. */
struct NodeRun {
    NodeId first;
    NodeId last;
};

class NodeList;
using NodeListPtr = std::shared_ptr<const NodeList>;

/**
 * An ascending list of node numbers without duplicates. A list of everything stays
 * a few runs until somebody asks for its numbers. Unchanging to the outside; the
 * numbers of a list of runs are made on first use, by one thread at a time.
 */
class NodeList {
public:
    explicit NodeList(NodeIds ascending);
    explicit NodeList(std::vector<NodeRun> ascending);

    /** Every node of a table. */
    static NodeListPtr everythingIn(const NodeTable &table);

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    std::span<const NodeId> ids() const;
    bool contains(NodeId node) const;

    /** The number at a place, from 0. REQUIRES: place < size(). */
    NodeId at(std::size_t place) const;

private:
    std::vector<NodeRun> runs_;
    std::size_t size_;
    mutable NodeIds ids_;
};

NodeListPtr makeList(NodeIds ascending);

NodeIds intersected(std::span<const NodeId> a, std::span<const NodeId> b);
NodeIds united(std::span<const NodeId> a, std::span<const NodeId> b);
NodeIds subtracted(std::span<const NodeId> a, std::span<const NodeId> b);

}  // namespace zdbs

#endif
