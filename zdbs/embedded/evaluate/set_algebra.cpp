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

/** Whether the pairs with `b` are tested directly, and not against the first step of its chain. */
bool isDirect(const NodeSetPtr &a, const NodeSetPtr &b) {
    return !b->chain() || isInChain(a, b);
}

/**
 * Whether attributes are children is asked of the whole first step, not of what is left
 * of it: [node()/..] does not come to mean attributes where only those are left.
 */
const NodeListPtr &askedSide(const NodeSetPtr &a, const NodeSetPtr &b, Direction direction) {
    const bool isChain = direction == Direction::first && !isDirect(a, b);
    return isChain ? firstOf(b)->nodes() : b->nodes();
}

/** One evaluation of XPATH(axis,a,b,direction). */
class AxisJoin {
public:
    AxisJoin(const NodeTable &table, const Universe &universe, Step step, Plan *plan)
        : table_(table), universe_(universe), step_(step), plan_(plan) {}

    NodeSetPtr first(const NodeSetPtr &a, const NodeSetPtr &b) const;
    NodeSetPtr second(const NodeSetPtr &a, const NodeSetPtr &b) const;

private:
    ContextList firstStep(const NodeSetPtr &end) const;
    NodeListPtr reached(const NodeSetPtr &a, const NodeListPtr &b) const;

    const NodeTable &table_;
    const Universe &universe_;
    const Step step_;
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

NodeSetPtr AxisJoin::first(const NodeSetPtr &a, const NodeSetPtr &b) const {
    const ContextList contexts = universe_.contextsOf(a);
    const ContextList partners = isDirect(a, b) ? ContextList{b->nodes(), nullptr} : firstStep(b);
    return restrict(a, keepFirst(table_, step_, contexts, partners, plan_).nodes);
}

NodeListPtr AxisJoin::reached(const NodeSetPtr &a, const NodeListPtr &b) const {
    if (a == universe_.set()) {
        NodeListPtr bySummary = universe_.reachedByStep(step_, b);
        if (bySummary) {
            note(plan_, PlanStep::summary);
            return bySummary;
        }
    }
    return keepSecond(table_, step_, universe_.contextsOf(a), b, plan_);
}

NodeSetPtr AxisJoin::second(const NodeSetPtr &a, const NodeSetPtr &b) const {
    NodeListPtr nodes = reached(a, b->nodes());
    auto chain = std::make_shared<ChainLink>(ChainLink{a, step_.axis});
    PairSourcePtr pairs = axisPairs(universe_.contextsOf(a), step_.axis, nodes, b->nodes());
    return makeSet({nodes, std::move(chain), std::move(pairs), b->leaves()});
}

}  // namespace

SecondSide secondSideOf(const NodeTable &table, const NodeSetPtr &a, const NodeSetPtr &b,
                        Direction direction) {
    const NodeListPtr &side = askedSide(a, b, direction);
    if (side->empty()) return SecondSide::none;
    return allAttributes(table, side) ? SecondSide::attributes : SecondSide::others;
}

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
                const NodeSetPtr &b, Direction direction, Plan *plan,
                std::optional<bool> attributesOnly) {
    Step step{axis, false};
    if (axis == Axis::child)
        step.attributesAreChildren =
            attributesOnly ? *attributesOnly : allAttributes(table, askedSide(a, b, direction));
    const AxisJoin join(table, universe, step, plan);
    return direction == Direction::first ? join.first(a, b) : join.second(a, b);
}

}  // namespace zdbs::embedded
