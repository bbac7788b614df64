/** Immutable ascending lists of node numbers, and their algebra. */
#ifndef ZDBS_EMBEDDED_SETS_NODE_LIST_H
#define ZDBS_EMBEDDED_SETS_NODE_LIST_H

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/sets/pending_nodes.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

/** Numbers `first` … `last`. */
struct NodeRun {
    NodeId first;
    NodeId last;
};

class NodeList;
using NodeListPtr = std::shared_ptr<const NodeList>;

/**
 * An ascending list of nodes without duplicates, in one of these forms: numbers, runs of
 * numbers, nodes by path, or nodes by path whose values are still to be looked at. To the
 * outside it never changes, whatever form it is in; another form is made when somebody
 * asks for it, and kept. Numbers are the dear one: four bytes for each node.
 *
 * The table of a list by path must outlive it. One thread at a time.
 */
class NodeList {
public:
    explicit NodeList(NodeIds ascending);
    explicit NodeList(std::vector<NodeRun> ascending);
    NodeList(const PathTable &table, PathNodes nodes);
    NodeList(const PathTable &table, PendingNodes nodes);

    /** Every node of a table; by path where the table is. */
    static NodeListPtr everythingIn(const NodeTable &table);

    /** Of nodes by path and of runs, costs nothing for each node. */
    std::size_t size() const;

    /**
     * How often the value condition hits the nodes that the list was made by, each once at least;
     * nothing where it was made by none, more than one, or a negated one.
     */
    std::optional<std::uint64_t> hits() const;

    /** As size() == 0, but looks at as few values as it can. */
    bool empty() const;

    std::span<const NodeId> ids() const;
    bool contains(NodeId node) const;

    /**
     * The number at a place, from 0; numbers are made for who asks often.
     * REQUIRES: place < size().
     */
    NodeId at(std::size_t place) const;

    /** The numbers without keeping them. */
    NodeIds numbers() const;

    /** The nodes by path. REQUIRES here and below that `table` is that of the nodes. */
    const PathNodes &byPath(const PathTable &table) const;

    /** The paths that may have nodes of the list, ascending; never misses one. */
    std::vector<PathId> pathsIn(const PathTable &table) const;

    /** The nodes in some paths, ascending; looks at the values of those only. */
    PathNodes nodesIn(const PathTable &table, std::span<const PathId> paths) const;

    /** Looks at all values when those are of at most so many paths; no change otherwise. */
    void settleIfFew(std::size_t mostPaths) const;

    /** How many paths may have nodes of a list by path; 0 of numbers alone. */
    std::size_t pathCount() const;

    /** Which of the nodes are attributes; of paths that may have nodes when it is pending. */
    enum class Attributes : std::uint8_t { none, some, all };
    Attributes attributes(const PathTable &table) const;

    /** Whether values are still to be looked at. */
    bool isPending() const { return pending_.has_value(); }

    /** The table of nodes by path; null where there are numbers only. */
    const PathTable *table() const { return table_; }

    /** The nodes of `list` that are attributes, or those that are not; what is pending stays so. */
    static NodeListPtr attributesOf(const PathTable &table, const NodeListPtr &list);
    static NodeListPtr withoutAttributes(const PathTable &table, const NodeListPtr &list);

private:
    static NodeListPtr restricted(const PathTable &table, const NodeListPtr &list,
                                  bool areAttributes);
    void settle() const;
    void countPending() const;

    std::vector<NodeRun> runs_;
    const PathTable *table_ = nullptr;
    mutable unsigned lookups_ = 0;  ///< of places, without numbers
    mutable std::optional<std::size_t> size_;
    mutable std::optional<Attributes> attributes_;  ///< of what is not pending
    mutable std::optional<std::uint64_t> hits_;
    mutable std::optional<NodeIds> ids_;
    mutable std::optional<PathNodes> parts_;
    mutable std::optional<PendingNodes> pending_;
};

NodeListPtr makeList(NodeIds ascending);
NodeListPtr makeList(const PathTable &table, PathNodes nodes);

/** By path where one of them is, without any numbers being made. */
NodeListPtr intersected(const NodeListPtr &a, const NodeListPtr &b);
NodeListPtr united(std::span<const NodeListPtr> lists);
NodeListPtr subtracted(const NodeListPtr &a, const NodeListPtr &b);

}  // namespace zdbs::embedded

#endif
