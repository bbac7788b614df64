/** Nodes by path whose values are still to be looked at. */
#ifndef ZDBS_EMBEDDED_SETS_PENDING_NODES_H
#define ZDBS_EMBEDDED_SETS_PENDING_NODES_H

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/sets/plan.h"
#include "zdbs/embedded/sets/row_search.h"

namespace zdbs::embedded {

/** The parts in some paths. `paths` ascending. */
PathNodes partsIn(const PathNodes &nodes, std::span<const PathId> paths);

/**
 * Candidates, and the conditions that those must satisfy which belong to the set. Paths
 * are decided one by one, when somebody asks for their nodes, and only once: a join asks
 * for those only that it can relate. The table must outlive it. One thread at a time.
 */
class PendingNodes {
public:
    /** @param plan where the indexes that are used are noted; may be null */
    PendingNodes(const PathTable &table, PathNodes candidates,
                 std::shared_ptr<const ValueConditions> conditions, PlanPtr plan);

    /** The paths that may have nodes: the undecided ones, and of the decided ones those that do. */
    std::vector<PathId> paths() const;

    /** About how many those are, without looking; never fewer. */
    std::size_t pathCount() const { return entries_.size(); }

    /** Whether no candidate satisfies the conditions; decides as little as it can. */
    bool empty();

    /** How many nodes there are. */
    struct Counts {
        std::uint64_t nodes = 0;

        /** How often one condition that is not negated hits them, if it is just one. */
        std::optional<std::uint64_t> hits;

        bool isDecided = true;  ///< whether nothing is left to decide
    };

    /** Counts them; decides only where no index of the values can tell. */
    Counts count();

    /** Decides everything. */
    PathNodes all();

    /** The nodes in some paths, ascending; decides only those. */
    PathNodes in(std::span<const PathId> paths);

    /** The candidates in some paths, with what is decided of them. */
    PendingNodes restrictedTo(std::span<const PathId> paths) const;

private:
    enum class State : std::uint8_t { open, counted, decided };

    struct Entry {
        PathPart part;  ///< of a decided path its nodes; no rows when it has none
        State state = State::open;
        RowSearch::Count count{};  ///< unless open
    };

    void count(Entry &entry);
    void decide(Entry &entry);
    static void take(RowSearch::Found found, Entry &entry);
    bool isElement(const Entry &entry) const;

    const PathTable &table_;
    std::vector<Entry> entries_;  ///< by path
    std::shared_ptr<const ValueConditions> conditions_;
    PlanPtr plan_;
};

}  // namespace zdbs::embedded

#endif
