#include "tests/exhaustive/mask_sets.h"

#include <bit>
#include <utility>

#include "zdbs/base/relation.h"

namespace exhaustive {

using zdbs::Axis;
using zdbs::embedded::Direction;
using zdbs::embedded::PositionTest;
using zdbs::embedded::Step;

Mask satisfying(Mask nodes, bool backwards, PositionTest test) {
    const int length = std::popcount(nodes);
    double place = test.place;
    if (place < 0) place += length + 1;
    Mask kept = 0;
    int before = 0;
    for (Mask rest = nodes; rest != 0; rest &= rest - 1) {
        const int position = backwards ? length - before : before + 1;
        if (holds(test.relation, static_cast<double>(position), place)) kept |= rest & -rest;
        ++before;
    }
    return kept;
}

bool MaskSets::Set::sharesStep(const Set &other) const {
    return hasStep && other.hasStep && stepFrom == other.stepFrom && stepAxis == other.stepAxis;
}

MaskSets::MaskSets(const MaskForest &forest) : forest_(forest) {
    plain(forest.everyNode());
}

std::size_t MaskSets::add(Set set) {
    sets_.push_back(std::move(set));
    return sets_.size() - 1;
}

std::size_t MaskSets::plain(Mask nodes) {
    Set set;
    set.nodes = nodes;
    return add(std::move(set));
}

Mask MaskSets::firstSide(std::size_t set) const {
    return set == 0 ? forest_.everyContext() : sets_[set].nodes;
}

std::size_t MaskSets::join(Axis axis, std::size_t a, std::size_t b, Direction direction) {
    return add(direction == Direction::first ? joinFirst(axis, a, b) : joinSecond(axis, a, b));
}

MaskSets::Set MaskSets::joinSecond(Axis axis, std::size_t a, std::size_t b) {
    const Mask first = firstSide(a);
    const Mask second = sets_[b].nodes;
    const Step step = forest_.stepTo(axis, second);
    Set result;
    result.hasPairs = true;
    for (std::size_t x = 0; x < forest_.pointCount(); ++x) {
        if ((first >> x & 1U) == 0) continue;
        result.pairs[x] = forest_.from(step, x) & second;
        result.nodes |= result.pairs[x];
    }
    result.hasStep = true;
    result.stepFrom = a;
    result.stepAxis = axis;
    result.chain = sets_[a].chain;
    result.chain.push_back({a, step, ++joins_});
    return result;
}

bool MaskSets::isInChain(std::size_t set, std::size_t end) const {
    for (const Link &link : sets_[end].chain) {
        if (link.from == set) return true;
        const std::vector<Link> &own = sets_[set].chain;
        if (!own.empty() && own.back().join == link.join) return true;
    }
    return false;
}

MaskSets::Set MaskSets::joinFirst(Axis axis, std::size_t a, std::size_t b) const {
    Mask second = sets_[b].nodes;
    Step step = forest_.stepTo(axis, second);
    const std::vector<Link> &chain = sets_[b].chain;
    if (!chain.empty() && !isInChain(a, b)) {
        for (std::size_t place = chain.size(); place-- > 0;)
            second = forest_.keepFirst(chain[place].step, firstSide(chain[place].from), second);
        step = forest_.stepTo(axis, firstSide(chain.front().from));
    }
    Set result = sets_[a];
    result.nodes = forest_.keepFirst(step, firstSide(a), second) & forest_.everyNode();
    restrictPairs(result);
    return result;
}

void MaskSets::restrictPairs(Set &set) {
    if (!set.hasPairs) return;
    for (Mask &nodes : set.pairs)
        nodes &= set.nodes;
}

std::size_t MaskSets::select(std::size_t number, PositionTest test) {
    Set result = sets_[number];
    result.nodes = 0;
    if (!result.hasPairs) {
        for (const Mask family : forest_.families())
            result.nodes |= satisfying(family & sets_[number].nodes, false, test);
        return add(std::move(result));
    }
    // What several steps have in common is in the order of the first; all others know their axis.
    const bool backwards = zdbs::isReverse(result.stepAxis);
    for (std::size_t x = 0; x < forest_.pointCount(); ++x) {
        result.pairs[x] = satisfying(result.pairs[x], backwards, test);
        result.nodes |= result.pairs[x];
    }
    return add(std::move(result));
}

std::size_t MaskSets::intersect(std::size_t a, std::size_t b) {
    const Set &first = sets_[a];
    const Set &second = sets_[b];
    Set result = first.hasPairs ? first : second;
    result.nodes = first.nodes & second.nodes;
    result.chain = first.chain;
    restrictPairs(result);
    if (first.hasPairs && second.hasPairs) {
        for (std::size_t x = 0; x < result.pairs.size(); ++x)
            result.pairs[x] &= second.pairs[x];
        result.hasStep = first.sharesStep(second);
    }
    return add(std::move(result));
}

std::size_t MaskSets::subtract(std::size_t a, std::size_t b) {
    Set result = sets_[a];
    result.nodes &= ~sets_[b].nodes;
    restrictPairs(result);
    return add(std::move(result));
}

std::size_t MaskSets::unite(std::size_t a, std::size_t b) {
    const Set &first = sets_[a];
    const Set &second = sets_[b];
    Set result;
    result.nodes = first.nodes | second.nodes;
    const bool shareChain = !first.chain.empty() && !second.chain.empty() &&
                            first.chain.back().from == second.chain.back().from &&
                            first.chain.back().step.axis == second.chain.back().step.axis;
    if (shareChain) {
        result.chain = first.chain;
        result.chain.back().step.attributesAreChildren |=
            second.chain.back().step.attributesAreChildren;
    }
    if (first.sharesStep(second)) {
        result.hasPairs = true;
        result.hasStep = true;
        result.stepFrom = first.stepFrom;
        result.stepAxis = first.stepAxis;
        for (std::size_t x = 0; x < result.pairs.size(); ++x)
            result.pairs[x] = first.pairs[x] | second.pairs[x];
    }
    return add(std::move(result));
}

}  // namespace exhaustive
