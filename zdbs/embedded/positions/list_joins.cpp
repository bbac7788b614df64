#include "zdbs/embedded/positions/list_joins.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "zdbs/embedded/joins/path_join.h"

namespace zdbs::embedded {
namespace {

using Paths = std::vector<PathId>;
using RootSpan = std::span<const DocumentIndex>;

RootSpan rootsOf(const ContextList &side) {
    return side.roots ? RootSpan(*side.roots) : RootSpan();
}

Paths pathsOf(const PathNodes &nodes) {
    Paths paths;
    for (const PathPart &part : nodes)
        paths.push_back(part.path);
    return paths;
}

/**
 * Both sides by path. Where one is pending, without the paths that the step cannot
 * relate; where nothing is, the join prunes for itself.
 */
class Sides {
public:
    Sides(const PathTable &table, Step step, const ContextList &first, const ContextList &second) {
        const NodeList &a = *first.nodes;
        const NodeList &b = *second.nodes;
        a.settleIfFew(b.pathCount() / worthPruning);
        b.settleIfFew(a.pathCount() / worthPruning);
        if (a.isPending() || b.isPending()) {
            prune(table, step, first, second);
        } else {
            first_ = &a.byPath(table);
            second_ = &b.byPath(table);
        }
    }
    Sides(const Sides &) = delete;
    Sides &operator=(const Sides &) = delete;

    const PathNodes &first() const { return *first_; }
    const PathNodes &second() const { return *second_; }

private:
    /** Values of so many times fewer paths are looked at rather than the paths compared. */
    static constexpr std::size_t worthPruning = 8;

    /** A root on the second side can keep any path of the first one. */
    void prune(const PathTable &table, Step step, const ContextList &first,
               const ContextList &second) {
        const PathSummary &summary = table.summary();
        const Paths from = first.nodes->pathsIn(table);
        const Paths to = second.nodes->pathsIn(table);
        const Paths reached = pathsReached(summary, step, from, !rootsOf(first).empty(), to);
        prunedSecond_ = second.nodes->nodesIn(table, reached);
        Paths reaching = from;
        if (rootsOf(second).empty()) {
            reaching = pathsReaching(summary, step, from, pathsOf(prunedSecond_));
        }
        prunedFirst_ = first.nodes->nodesIn(table, reaching);
    }

    PathNodes prunedFirst_;
    PathNodes prunedSecond_;
    const PathNodes *first_ = &prunedFirst_;
    const PathNodes *second_ = &prunedSecond_;
};

ContextList contextsOf(const PathTable &table, PathSelection selection) {
    ContextList result{makeList(table, std::move(selection.nodes)), nullptr};
    if (!selection.roots.empty()) {
        result.roots = std::make_shared<const DocumentIndexes>(std::move(selection.roots));
    }
    return result;
}

ContextList contextsOf(Selection selection) {
    ContextList result{makeList(std::move(selection.nodes)), nullptr};
    if (!selection.roots.empty()) {
        result.roots = std::make_shared<const DocumentIndexes>(std::move(selection.roots));
    }
    return result;
}

/** The numbers of a side: those of the list, if it has them all anyhow. */
class Numbers {
public:
    Numbers(const PathTable &table, const NodeList &list, const PathNodes &pruned) {
        if (list.isPending()) {
            pruned_ = nodeIdsOf(table, pruned);
            ids_ = pruned_;
        } else {
            ids_ = list.ids();
        }
    }
    Numbers(const Numbers &) = delete;
    Numbers &operator=(const Numbers &) = delete;

    std::span<const NodeId> ids() const { return ids_; }

private:
    NodeIds pruned_;
    std::span<const NodeId> ids_;
};

bool isAttributes(const PathTable &table, PathId path) {
    return table.summary()[path].kind == NodeKind::attribute;
}

}  // namespace

ContextList keepFirst(const NodeTable &table, Step step, const ContextList &first,
                      const ContextList &second, Plan *plan) {
    const PathTable *paths = table.paths();
    if (paths == nullptr) {
        note(plan, PlanStep::generalJoin, step.axis);
        return contextsOf(keepFirst(table, step, first.operand(), second.operand()));
    }
    const Sides sides(*paths, step, first, second);
    std::optional<PathSelection> byRows = keepFirst(
        table, *paths, step, {sides.first(), rootsOf(first)}, {sides.second(), rootsOf(second)});
    note(plan, byRows ? PlanStep::joinByRows : PlanStep::generalJoin, step.axis);
    if (byRows) return contextsOf(*paths, std::move(*byRows));

    const Numbers a(*paths, *first.nodes, sides.first());
    const Numbers b(*paths, *second.nodes, sides.second());
    return contextsOf(
        keepFirst(table, step, {a.ids(), rootsOf(first)}, {b.ids(), rootsOf(second)}));
}

NodeListPtr keepSecond(const NodeTable &table, Step step, const ContextList &first,
                       const NodeListPtr &second, Plan *plan) {
    const PathTable *paths = table.paths();
    if (paths == nullptr) {
        note(plan, PlanStep::generalJoin, step.axis);
        return makeList(keepSecond(table, step, first.operand(), second->ids()));
    }
    const Sides sides(*paths, step, first, {second, nullptr});
    std::optional<PathNodes> byRows =
        keepSecond(table, *paths, step, {sides.first(), rootsOf(first)}, sides.second());
    note(plan, byRows ? PlanStep::joinByRows : PlanStep::generalJoin, step.axis);
    if (byRows) return makeList(*paths, std::move(*byRows));

    const Numbers a(*paths, *first.nodes, sides.first());
    const Numbers b(*paths, *second, sides.second());
    return makeList(keepSecond(table, step, {a.ids(), rootsOf(first)}, b.ids()));
}

bool allAttributes(const NodeTable &table, const NodeListPtr &list) {
    const PathTable *paths = table.paths();
    if (paths == nullptr) return allAttributes(table, list->ids());
    if (!list->isPending()) return list->attributes(*paths) == NodeList::Attributes::all;
    Paths others = list->pathsIn(*paths);
    const std::size_t count = others.size();
    std::erase_if(others, [&](PathId path) { return isAttributes(*paths, path); });
    if (others.empty()) return count > 0;
    // One path that turns out to have a node is enough.
    return std::all_of(others.begin(), others.end(), [&](PathId path) {
        return list->nodesIn(*paths, std::span(&path, 1)).empty();
    });
}

}  // namespace zdbs::embedded
