#include "zdbs/sql/set_algebra.h"

#include <algorithm>
#include <utility>

#include "zdbs/sql/axes.h"
#include "zdbs/sql/field_filter.h"

namespace zdbs::sql {
namespace {

std::shared_ptr<SqlSet> made(const SqlSet &like, PathSet paths) {
    return std::make_shared<SqlSet>(like.state, std::move(paths));
}

/** A set of some nodes of another, with all that the other remembers. */
std::shared_ptr<SqlSet> restricted(const SqlSet &set, PathSet paths) {
    auto result = made(set, std::move(paths));
    result->chain = set.chain;
    result->pairs = set.pairs;
    result->pairsStep = set.pairsStep;
    result->leaves = set.leaves;
    return result;
}

/** The pairs of a set: those of its recipe with a node in it. */
PairsPtr pairsOf(const SqlSet &set) {
    auto result = std::make_shared<Pairs>();
    if (set.pairs)
        *result = *set.pairs;
    else
        result->made = SiblingPairs{};
    result->nodes = set.paths;
    return result;
}

void addLeaves(std::vector<LeafPtr> &leaves, const std::vector<LeafPtr> &more) {
    for (const LeafPtr &each : more) {
        if (std::find(leaves.begin(), leaves.end(), each) == leaves.end()) leaves.push_back(each);
    }
}

/** A set as the first of a step: set 0 is the roots and every node but the attributes. */
PathSet contextsOf(const SqlSet &set) {
    if (!set.isSetZero) return *set.paths;
    PathSet result = *set.paths;
    std::erase_if(result,
                  [&](const auto &each) { return set.state->summary[each.first].isAttribute(); });
    result.emplace(rootPath, nullptr);
    return result;
}

/** Whether `child` leads to attributes, too: where the second set holds nothing else. */
bool leadsToAttributes(const SqlSet &second, Axis axis) {
    return axis == Axis::child && !second.paths->empty() &&
           std::all_of(second.paths->begin(), second.paths->end(), [&](const auto &each) {
               return second.state->summary[each.first].isAttribute();
           });
}

/** Whether the sets that `end` came down are, or came from, `set`. */
bool isInChain(const SqlSetPtr &set, const SqlSetPtr &end) {
    for (auto step = end->chain; step; step = step->from->chain) {
        if (step->from == set || step == set->chain) return true;
    }
    return false;
}

/** One step taken twice from one set is one chain. */
bool sameChain(const SqlSet &a, const SqlSet &b) {
    return a.chain && b.chain && *a.chain == *b.chain;
}

bool sameStep(const SqlSet &a, const SqlSet &b) {
    return a.pairs && b.pairs && a.pairsStep && a.pairsStep == b.pairsStep;
}

}  // namespace

SqlSetPtr intersection(const SqlSet &a, const SqlSet &b) {
    auto result = restricted(a.pairs ? a : b, intersection(*a.paths, *b.paths));
    if (a.pairs && b.pairs) {
        const auto common = std::make_shared<Pairs>();
        common->made = CommonPairs{pairsOf(a), pairsOf(b)};
        common->isReverse = a.pairs->isReverse;
        common->nodes = result->paths;
        result->pairs = common;
        result->pairsStep = a.pairsStep == b.pairsStep ? a.pairsStep : std::nullopt;
    }
    result->chain = a.chain;
    result->leaves = a.leaves;
    addLeaves(result->leaves, b.leaves);
    return result;
}

SqlSetPtr difference(const SqlSet &a, const SqlSet &b) {
    return restricted(a, difference(*a.paths, *b.paths));
}

SqlSetPtr unionOf(const SqlSet &a, const SqlSet &b) {
    auto result = made(a, unionOf(*a.paths, *b.paths));
    if (sameChain(a, b)) result->chain = a.chain;
    if (sameStep(a, b)) {
        const auto merged = std::make_shared<Pairs>();
        merged->made = MergedPairs{pairsOf(a), pairsOf(b)};
        merged->isReverse = isReverse(a.pairsStep->axis);
        merged->nodes = result->paths;
        result->pairs = merged;
        result->pairsStep = a.pairsStep;
    }
    result->leaves = a.leaves;
    addLeaves(result->leaves, b.leaves);
    return result;
}

SqlSetPtr filtered(const SqlSet &set, const std::vector<const ConjunctTerm *> &fields) {
    PathSet paths = *set.paths;
    auto leaf = std::make_shared<Leaf>();
    for (const ConjunctTerm *each : fields) {
        const FieldTerm &term = std::get<FieldTerm>(each->term);
        const PathSet holds = nodesWith(*set.state, term);
        paths = each->negated ? difference(paths, holds) : intersection(paths, holds);
        if (term.field == Field::value && !each->negated) leaf->terms.push_back(term);
    }
    auto result = restricted(set, std::move(paths));
    leaf->nodes = result->paths;
    if (!leaf->terms.empty()) result->leaves.push_back(std::move(leaf));
    return result;
}

SqlSetPtr joinFirst(const SqlSetPtr &a, Axis axis, const SqlSetPtr &b) {
    const Summary &summary = a->state->summary;
    SqlSetPtr first = b;
    PathSet partners = *b->paths;
    const bool isChain = b->chain && !isInChain(a, b);
    // Up the chain: which of each set lead down to the end, until the first set is reached.
    while (isChain && first->chain) {
        const ChainStep &step = *first->chain;
        const bool withAttributes = step.axis == Axis::child;  // they were, on the way down
        partners =
            leadingTo(summary, {step.axis, withAttributes}, contextsOf(*step.from), partners);
        first = step.from;
    }
    const bool withAttributes = leadsToAttributes(*first, axis);
    PathSet paths = leadingTo(summary, {axis, withAttributes}, contextsOf(*a), partners);
    paths.erase(rootPath);
    return restricted(*a, std::move(paths));
}

SqlSetPtr joinSecond(const SqlSetPtr &a, Axis axis, const SqlSetPtr &b) {
    const bool withAttributes = leadsToAttributes(*b, axis);
    auto contexts = std::make_shared<PathSet>(contextsOf(*a));
    auto result =
        made(*b, reachedFrom(a->state->summary, {axis, withAttributes}, *contexts, *b->paths));
    const auto pairs = std::make_shared<Pairs>();
    pairs->made = StepPairs{std::move(contexts), axis, withAttributes};
    pairs->isReverse = isReverse(axis);
    pairs->nodes = result->paths;
    result->pairs = pairs;
    result->pairsStep = ChainStep{a, axis};
    result->chain = std::make_shared<const ChainStep>(ChainStep{a, axis});
    result->leaves = b->leaves;
    return result;
}

SqlSetPtr atPosition(const SqlSet &set, Relation relation, double place) {
    const PairsPtr pairs = pairsOf(set);
    PredicatePtr test;
    if (isOrdinal(set.state->summary, *pairs, place))
        test = predicate(OrdinalTest{relation, place});
    else
        test = predicate(PlaceTest{pairs, relation, place});
    PathSet paths = *set.paths;
    for (auto &[path, predicate] : paths)
        predicate = test;
    auto result = restricted(set, std::move(paths));
    if (!set.pairs) return result;
    const auto placed = std::make_shared<Pairs>();
    placed->made = PairsAtPlace{pairs, relation, place};
    placed->isReverse = pairs->isReverse;
    placed->nodes = result->paths;
    result->pairs = placed;
    return result;
}

SqlSetPtr withoutChain(const SqlSet &set) {
    auto result = std::make_shared<SqlSet>(set);
    result->chain = nullptr;
    return result;
}

}  // namespace zdbs::sql
