#include "zdbs/sets/set_algebra.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace zdbs {
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

/** The first step of the chain of `end`, restricted to the nodes from which it was reached. */
Selection firstStep(const NodeTable &table, const Universe &universe, const NodeSetPtr &end) {
    Selection reached{{end->ids().begin(), end->ids().end()}, {}};
    for (ChainLinkPtr link = end->chain(); link; link = link->from->chain()) {
        // Where the chain has attributes, they were children on the way down.
        Step step{link->axis, link->axis == Axis::child};
        ContextList from = universe.contextsOf(link->from);
        reached = keepFirst(table, step, from.operand(), reached.operand());
    }
    return reached;
}

Step stepTo(const NodeTable &table, Axis axis, const NodeSetPtr &second) {
    return {axis, axis == Axis::child && allAttributes(table, second->ids())};
}

/**
 * Whether attributes are children is asked of the whole first step, not of what is left
 * of it: [node()/..] does not come to mean attributes where only those are left.
 */
NodeSetPtr joinFirst(const NodeTable &table, const Universe &universe, Axis axis,
                     const NodeSetPtr &a, const NodeSetPtr &b) {
    Operand first = universe.contextsOf(a).operand();
    if (!b->chain() || isInChain(a, b)) {
        Operand second{b->ids(), {}};
        return restrict(a, keepFirst(table, stepTo(table, axis, b), first, second).nodes);
    }
    Selection steps = firstStep(table, universe, b);
    Step step = stepTo(table, axis, firstOf(b));
    return restrict(a, keepFirst(table, step, first, steps.operand()).nodes);
}

NodeSetPtr joinSecond(const NodeTable &table, const Universe &universe, Axis axis,
                      const NodeSetPtr &a, const NodeSetPtr &b) {
    ContextList first = universe.contextsOf(a);
    Step step = stepTo(table, axis, b);
    NodeListPtr nodes = makeList(keepSecond(table, step, first.operand(), b->ids()));
    auto chain = std::make_shared<ChainLink>(ChainLink{a, axis});
    PairSourcePtr pairs = axisPairs(first, axis, nodes);
    return makeSet({nodes, std::move(chain), std::move(pairs), b->leaves()});
}

}  // namespace

NodeSetPtr intersect(const NodeSetPtr &a, const NodeSetPtr &b) {
    NodeListPtr nodes = makeList(intersected(a->ids(), b->ids()));
    PairSourcePtr pairs = intersectedPairs(a->pairs(), b->pairs(), nodes);
    std::vector<ValueLeafPtr> leaves = a->leaves();
    addLeaves(leaves, b->leaves());
    return makeSet({nodes, a->chain(), std::move(pairs), std::move(leaves)});
}

NodeSetPtr subtract(const NodeSetPtr &a, const NodeSetPtr &b) {
    return restrict(a, subtracted(a->ids(), b->ids()));
}

NodeSetPtr restrict(const NodeSetPtr &a, NodeIds nodes) {
    NodeListPtr list = makeList(std::move(nodes));
    return makeSet({list, a->chain(), restrictedPairs(a->pairs(), list), a->leaves()});
}

NodeSetPtr unite(std::span<const NodeSetPtr> sets) {
    assert(!sets.empty());
    if (sets.size() == 1) return sets.front();
    NodeIds all;
    std::vector<PairSourcePtr> sources;
    std::vector<ValueLeafPtr> leaves;
    for (const NodeSetPtr &set : sets) {
        all.insert(all.end(), set->ids().begin(), set->ids().end());
        sources.push_back(set->pairs());
        addLeaves(leaves, set->leaves());
    }
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    NodeListPtr nodes = makeList(std::move(all));
    return makeSet({nodes, sharedChain(sets), unitedPairs(sources, nodes), std::move(leaves)});
}

NodeSetPtr selectPositions(const NodeTable &table, const NodeSetPtr &set, PositionTest test) {
    NodeListPtr nodes = makeList(selectByPosition(table, set->pairs().get(), set->ids(), test));
    PairSourcePtr pairs = positionPairs(set->pairs(), test, nodes);
    return makeSet({nodes, set->chain(), std::move(pairs), set->leaves()});
}

NodeSetPtr join(const NodeTable &table, const Universe &universe, Axis axis, const NodeSetPtr &a,
                const NodeSetPtr &b, Direction direction) {
    return direction == Direction::first ? joinFirst(table, universe, axis, a, b)
                                         : joinSecond(table, universe, axis, a, b);
}

}  // namespace zdbs
