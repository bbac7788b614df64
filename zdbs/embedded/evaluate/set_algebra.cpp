#include "zdbs/embedded/evaluate/set_algebra.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "zdbs/embedded/positions/list_joins.h"

namespace zdbs::embedded {
namespace {

void addLeaves(std::vector<ValueLeafPtr> &leaves, const std::vector<ValueLeafPtr> &more) {
    for (const ValueLeafPtr &leaf : more) {
        bool isKnown = std::find(leaves.begin(), leaves.end(), leaf) != leaves.end();
        if (!isKnown) leaves.push_back(leaf);
    }
}

/** One step taken twice from the same set is the same chain. */
bool sameChain(const ChainLinkPtr &a, const ChainLinkPtr &b) {
    if (a == b) return true;
    return a && b && a->from == b->from && a->axis == b->axis;
}

ChainLinkPtr sharedChain(std::span<const NodeSetPtr> sets) {
    const ChainLinkPtr &chain = sets.front()->chain();
    bool isShared = std::all_of(sets.begin(), sets.end(), [&](const NodeSetPtr &set) {
        return sameChain(set->chain(), chain);
    });
    return isShared ? chain : nullptr;
}

/**
 * Whether `set` is one of the sets that `end` came down: the ends of its links, which
 * `end` itself is one of, and what was made of those and keeps the link.
 */
bool isInChain(const NodeSetPtr &set, const NodeSetPtr &end) {
    for (ChainLinkPtr link = end->chain(); link; link = link->from->chain()) {
        if (set->chain() == link || set == link->from) return true;
    }
    return false;
}

/** The set that the chain of `end` begins with. */
NodeSetPtr firstOf(const NodeSetPtr &end) {
    NodeSetPtr first = end;
    while (first->chain())
        first = first->chain()->from;
    return first;
}

/** One evaluation of XPATH(axis,a,b,direction). */
class AxisJoin {
public:
    AxisJoin(const NodeTable &table, const Universe &universe, Axis axis, Plan *plan)
        : table_(table), universe_(universe), axis_(axis), plan_(plan) {}

    NodeSetPtr first(const NodeSetPtr &a, const NodeSetPtr &b) const;
    NodeSetPtr second(const NodeSetPtr &a, const NodeSetPtr &b) const;

private:
    ContextList firstStep(const NodeSetPtr &end) const;
    NodeListPtr reached(const NodeSetPtr &a, const NodeListPtr &b) const;

    Step stepTo(const NodeListPtr &second) const {
        return {axis_, axis_ == Axis::child && allAttributes(table_, second)};
    }

    const NodeTable &table_;
    const Universe &universe_;
    const Axis axis_;
    Plan *plan_;
};

/** The first step of the chain of `end`, restricted to the nodes from which it was reached. */
ContextList AxisJoin::firstStep(const NodeSetPtr &end) const {
    ContextList reached{end->nodes(), nullptr};
    for (ChainLinkPtr link = end->chain(); link; link = link->from->chain()) {
        // Where the chain has attributes, they were children on the way down.
        Step step{link->axis, link->axis == Axis::child};
        reached = keepFirst(table_, step, universe_.contextsOf(link->from), reached, plan_);
    }
    return reached;
}

/**
 * Whether attributes are children is asked of the whole first step, not of what is left
 * of it: [node()/..] does not come to mean attributes where only those are left.
 */
NodeSetPtr AxisJoin::first(const NodeSetPtr &a, const NodeSetPtr &b) const {
    const ContextList contexts = universe_.contextsOf(a);
    const bool isDirect = !b->chain() || isInChain(a, b);
    const Step step = stepTo(isDirect ? b->nodes() : firstOf(b)->nodes());
    const ContextList partners = isDirect ? ContextList{b->nodes(), nullptr} : firstStep(b);
    return restrict(a, keepFirst(table_, step, contexts, partners, plan_).nodes);
}

NodeListPtr AxisJoin::reached(const NodeSetPtr &a, const NodeListPtr &b) const {
    const Step step = stepTo(b);
    if (a == universe_.set()) {
        NodeListPtr bySummary = universe_.reachedByStep(step, b);
        if (bySummary) {
            note(plan_, PlanStep::summary);
            return bySummary;
        }
    }
    return keepSecond(table_, step, universe_.contextsOf(a), b, plan_);
}

NodeSetPtr AxisJoin::second(const NodeSetPtr &a, const NodeSetPtr &b) const {
    NodeListPtr nodes = reached(a, b->nodes());
    auto chain = std::make_shared<ChainLink>(ChainLink{a, axis_});
    PairSourcePtr pairs = axisPairs(universe_.contextsOf(a), axis_, nodes, b->nodes());
    return makeSet({nodes, std::move(chain), std::move(pairs), b->leaves()});
}

}  // namespace

NodeSetPtr intersect(const NodeSetPtr &a, const NodeSetPtr &b) {
    NodeListPtr nodes = intersected(a->nodes(), b->nodes());
    PairSourcePtr pairs = intersectedPairs(a->pairs(), b->pairs(), nodes);
    std::vector<ValueLeafPtr> leaves = a->leaves();
    addLeaves(leaves, b->leaves());
    return makeSet({nodes, a->chain(), std::move(pairs), std::move(leaves)});
}

NodeSetPtr subtract(const NodeSetPtr &a, const NodeSetPtr &b) {
    return restrict(a, subtracted(a->nodes(), b->nodes()));
}

NodeSetPtr restrict(const NodeSetPtr &a, NodeListPtr nodes) {
    PairSourcePtr pairs = restrictedPairs(a->pairs(), nodes);
    return makeSet({std::move(nodes), a->chain(), std::move(pairs), a->leaves()});
}

NodeSetPtr unite(std::span<const NodeSetPtr> sets) {
    assert(!sets.empty());
    if (sets.size() == 1) return sets.front();
    std::vector<NodeListPtr> lists;
    std::vector<PairSourcePtr> sources;
    std::vector<ValueLeafPtr> leaves;
    for (const NodeSetPtr &set : sets) {
        lists.push_back(set->nodes());
        sources.push_back(set->pairs());
        addLeaves(leaves, set->leaves());
    }
    NodeListPtr nodes = united(lists);
    return makeSet({nodes, sharedChain(sets), unitedPairs(sources, nodes), std::move(leaves)});
}

NodeSetPtr selectPositions(const NodeTable &table, const NodeSetPtr &set, PositionTest test,
                           Plan *plan) {
    NodeListPtr nodes = selectByPosition(table, set->pairs().get(), set->nodes(), test, plan);
    PairSourcePtr pairs = positionPairs(set->pairs(), test, nodes);
    return makeSet({nodes, set->chain(), std::move(pairs), set->leaves()});
}

NodeSetPtr join(const NodeTable &table, const Universe &universe, Axis axis, const NodeSetPtr &a,
                const NodeSetPtr &b, Direction direction, Plan *plan) {
    const AxisJoin join(table, universe, axis, plan);
    return direction == Direction::first ? join.first(a, b) : join.second(a, b);
}

}  // namespace zdbs::embedded
