/** The paths of a summary by kind and name, so that a condition need not look at all. */
#ifndef ZDBS_EMBEDDED_EVALUATE_SUMMARY_INDEX_H
#define ZDBS_EMBEDDED_EVALUATE_SUMMARY_INDEX_H

#include <array>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zdbs/embedded/sets/node_list.h"

namespace zdbs::embedded {

/**
 * Paths that have nodes, all lists ascending, and for the conditions that nearly every
 * request begins with the nodes themselves. Belongs to one state of a database; the table
 * must outlive it. One thread at a time.
 */
class SummaryIndex {
public:
    explicit SummaryIndex(const PathTable &table);

    std::span<const PathId> all() const { return all_; }

    /** Regular and irregular ones. */
    std::span<const PathId> ofKind(NodeKind kind) const { return byKind_[place(kind)].all.paths; }

    /** Those of a local name, and those whose nodes have names of their own. */
    std::span<const PathId> named(NodeKind kind, std::string_view name) const;

    /** Every node of a kind; the same list each time. */
    const NodeListPtr &nodesOfKind(NodeKind kind) const { return byKind_[place(kind)].all.nodes; }

    /** Every node of a kind and local name; null when irregular ones have to be looked at. */
    const NodeListPtr &nodesNamed(NodeKind kind, std::string_view name) const;

private:
    struct Group {
        std::vector<PathId> paths;
        NodeListPtr nodes;
    };

    struct Kind {
        Group all;
        std::vector<PathId> irregular;
        std::unordered_map<std::string_view, Group> byName;
        Group unnamed;  ///< what has a name that no regular path has: the irregular ones
    };

    static std::size_t place(NodeKind kind) { return static_cast<std::size_t>(kind); }
    void add(const PathTable &table, PathId path);
    const Group &groupOf(NodeKind kind, std::string_view name) const;

    std::vector<PathId> all_;
    std::array<Kind, 5> byKind_;
};

}  // namespace zdbs::embedded

#endif
