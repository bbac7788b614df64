#include "tests/engine_conformance/naive/sets.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "zdbs/base/stop.h"

namespace zdbs::naive {
namespace {

/** A set of some nodes of another, with all that the other remembers. */
std::shared_ptr<Set> restricted(const Set &set, Places nodes) {
    auto result = std::make_shared<Set>(set.forest, std::move(nodes));
    result->chain = set.chain;
    result->pairs = set.pairs;
    result->leaves = set.leaves;
    if (!result->pairs) return result;
    for (auto &[context, counted] : result->pairs->nodes)
        std::erase_if(counted, [&](Place node) { return !result->contains(node); });
    return result;
}

void addLeaves(Leaves &leaves, const Leaves &more) {
    leaves.insert(leaves.end(), more.begin(), more.end());
}

/** A set as the first of a step: set 0 is the roots and every node but the attributes. */
Places contextsOf(const Set &set) {
    if (!set.isSetZero) return set.nodes;
    Places result;
    for (Place place = 0; place < set.forest->size(); ++place) {
        if (!set.forest->isAttribute(place)) result.push_back(place);
    }
    return result;
}

/** Whether `child` leads to attributes, too: where the second set holds nothing else. */
bool leadsToAttributes(const Set &second, Axis axis) {
    return axis == Axis::child && !second.nodes.empty() &&
           std::all_of(second.nodes.begin(), second.nodes.end(),
                       [&](Place node) { return second.forest->isAttribute(node); });
}

bool related(const Forest &forest, Place x, Axis axis, bool withAttributes, Place y) {
    return forest.isOnAxis(x, axis, y) ||
           (withAttributes && forest.isOnAxis(x, Axis::attribute, y));
}

/** Those of `first` from which the axis leads to one of `second`. */
Places leadingTo(const Forest &forest, const Places &first, Axis axis, bool withAttributes,
                 const Places &second) {
    Places result;
    std::copy_if(first.begin(), first.end(), std::back_inserter(result), [&](Place x) {
        heedStop();
        return std::any_of(second.begin(), second.end(),
                           [&](Place y) { return related(forest, x, axis, withAttributes, y); });
    });
    return result;
}

/** Whether the sets that `end` came down are, or came from, `set`. */
bool isInChain(const SetPtr &set, const SetPtr &end) {
    for (auto step = end->chain; step; step = step->from->chain) {
        if (step->from == set || step == set->chain) return true;
    }
    return false;
}

/** One step taken twice from one set is one chain. */
bool sameChain(const Set &a, const Set &b) {
    return a.chain && b.chain && *a.chain == *b.chain;
}

bool sameStep(const Set &a, const Set &b) {
    return a.pairs && b.pairs && a.pairs->step && a.pairs->step == b.pairs->step;
}

/** Those of a context that both have, in the order of the first. */
Pairs commonPairs(const Pairs &a, const Pairs &b) {
    Pairs result;
    for (const auto &[context, nodes] : a.nodes) {
        const auto other = b.nodes.find(context);
        if (other == b.nodes.end()) continue;
        const Places &others = other->second;
        std::copy_if(nodes.begin(), nodes.end(), std::back_inserter(result.nodes[context]),
                     [&](Place node) {
                         return std::find(others.begin(), others.end(), node) != others.end();
                     });
    }
    if (a.step == b.step) result.step = a.step;
    return result;
}

/** Those of two sets over one step. */
Pairs mergedPairs(const Pairs &a, const Pairs &b) {
    Pairs result = a;
    for (const auto &[context, nodes] : b.nodes) {
        Places &merged = result.nodes[context];
        merged.insert(merged.end(), nodes.begin(), nodes.end());
        std::sort(merged.begin(), merged.end());
        merged.erase(std::unique(merged.begin(), merged.end()), merged.end());
        if (isReverse(a.step->axis)) std::reverse(merged.begin(), merged.end());
    }
    return result;
}

Pairs siblings(const Set &set) {
    Pairs result;
    for (const Place node : set.nodes)
        result.nodes[set.forest->parent(node)].push_back(node);
    return result;
}

Places satisfying(const Places &nodes, Relation relation, double place) {
    if (place < 0) place += static_cast<double>(nodes.size()) + 1;
    Places result;
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        if (holds(relation, static_cast<double>(index) + 1, place)) result.push_back(nodes[index]);
    }
    return result;
}

}  // namespace

std::int64_t Set::hits() const {
    std::int64_t count = 0;
    for (const Place node : nodes)
        count += static_cast<std::int64_t>(hitWordsOf(*forest, leaves, node).size());
    return count;
}

bool Set::contains(Place node) const {
    return std::binary_search(nodes.begin(), nodes.end(), node);
}

SetPtr intersection(const Set &a, const Set &b) {
    Places nodes;
    std::set_intersection(a.nodes.begin(), a.nodes.end(), b.nodes.begin(), b.nodes.end(),
                          std::back_inserter(nodes));
    auto result = restricted(a.pairs ? a : b, std::move(nodes));
    if (a.pairs && b.pairs) result->pairs = commonPairs(*a.pairs, *b.pairs);
    result->chain = a.chain;
    result->leaves = a.leaves;
    addLeaves(result->leaves, b.leaves);
    return result;
}

SetPtr difference(const Set &a, const Set &b) {
    Places nodes;
    std::set_difference(a.nodes.begin(), a.nodes.end(), b.nodes.begin(), b.nodes.end(),
                        std::back_inserter(nodes));
    return restricted(a, std::move(nodes));
}

SetPtr unionOf(const Set &a, const Set &b) {
    Places nodes;
    std::set_union(a.nodes.begin(), a.nodes.end(), b.nodes.begin(), b.nodes.end(),
                   std::back_inserter(nodes));
    auto result = std::make_shared<Set>(a.forest, std::move(nodes));
    if (sameChain(a, b)) result->chain = a.chain;
    if (sameStep(a, b)) result->pairs = mergedPairs(*a.pairs, *b.pairs);
    result->leaves = a.leaves;
    addLeaves(result->leaves, b.leaves);
    return result;
}

SetPtr filtered(const Set &set, const std::vector<const ConjunctTerm *> &fields) {
    auto leaf = std::make_shared<Leaf>();
    for (const Place node : set.nodes) {
        heedStop();
        const bool holdsOfIt = std::all_of(fields.begin(), fields.end(), [&](const auto *each) {
            return satisfies(*set.forest, node, std::get<FieldTerm>(each->term)) != each->negated;
        });
        if (holdsOfIt) leaf->nodes.push_back(node);
    }
    for (const ConjunctTerm *each : fields) {
        const FieldTerm &term = std::get<FieldTerm>(each->term);
        if (term.field == Field::value && !each->negated) leaf->terms.push_back(term);
    }
    auto result = restricted(set, leaf->nodes);
    if (!leaf->terms.empty()) result->leaves.push_back(std::move(leaf));
    return result;
}

SetPtr joinFirst(const SetPtr &a, Axis axis, const SetPtr &b) {
    const Forest &forest = *a->forest;
    SetPtr first = b;
    Places partners = b->nodes;
    const bool isChain = b->chain && !isInChain(a, b);
    // Up the chain: which of each set lead down to the end, until the first set is reached.
    while (isChain && first->chain) {
        const Step &step = *first->chain;
        const bool withAttributes = step.axis == Axis::child;  // they were, on the way down
        partners = leadingTo(forest, contextsOf(*step.from), step.axis, withAttributes, partners);
        first = step.from;
    }
    const bool withAttributes = leadsToAttributes(*first, axis);
    Places nodes = leadingTo(forest, contextsOf(*a), axis, withAttributes, partners);
    std::erase_if(nodes, [&](Place place) { return forest.isRoot(place); });
    return restricted(*a, std::move(nodes));
}

SetPtr joinSecond(const SetPtr &a, Axis axis, const SetPtr &b) {
    const Forest &forest = *a->forest;
    const bool withAttributes = leadsToAttributes(*b, axis);
    Pairs pairs{{}, Step{a, axis}};
    Places nodes;
    for (const Place x : contextsOf(*a)) {
        heedStop();
        Places found;
        std::copy_if(b->nodes.begin(), b->nodes.end(), std::back_inserter(found),
                     [&](Place y) { return related(forest, x, axis, withAttributes, y); });
        if (found.empty()) continue;
        nodes.insert(nodes.end(), found.begin(), found.end());
        if (isReverse(axis)) std::reverse(found.begin(), found.end());
        pairs.nodes[x] = std::move(found);
    }
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    auto result = std::make_shared<Set>(a->forest, std::move(nodes));
    result->chain = std::make_shared<const Step>(Step{a, axis});
    result->pairs = std::move(pairs);
    result->leaves = b->leaves;
    return result;
}

SetPtr atPosition(const Set &set, Relation relation, double place) {
    Pairs pairs = set.pairs ? *set.pairs : siblings(set);
    Places nodes;
    for (auto &[context, counted] : pairs.nodes) {
        counted = satisfying(counted, relation, place);
        nodes.insert(nodes.end(), counted.begin(), counted.end());
    }
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    auto result = restricted(set, std::move(nodes));
    if (set.pairs) result->pairs = std::move(pairs);
    return result;
}

}  // namespace zdbs::naive
