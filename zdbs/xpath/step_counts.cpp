#include "zdbs/xpath/step_counts.h"

#include <algorithm>
#include <utility>

#include "zdbs/base/stop.h"
#include "zdbs/xpath/families.h"

namespace zdbs::xpath {

StepCounts::StepCounts(const Collection &collection, Axis axis, const NodeSet &passing)
    : collection_(collection),
      axis_(traitsOf(axis)),
      selves_(axis_.withSelf ? passing : collection.none()),
      set_(axis_.toAttributes || axis_.region == Region::none
               ? passing
               : collection.without(passing, collection.attributesAmong(passing))),
      nodes_(collection.nodesOf(set_)),
      ends_(axis_.region == Region::before || (axis_.region == Region::above && !axis_.isDirect)
                ? collection.ends(nodes_, set_)
                : Nodes()),
      ranks_(nodes_) {}

std::vector<std::uint64_t> StepCounts::of(std::span<const Node> contexts) const {
    Counts counts(contexts.size());
    if (axis_.withSelf) addSelves(contexts, counts);
    switch (axis_.region) {
        case Region::none:
            break;
        case Region::above:
            addParents(contexts, counts);
            break;
        case Region::below:
            axis_.isDirect ? addChildren(contexts, counts) : addBelow(contexts, counts);
            break;
        case Region::siblingsAfter:
        case Region::siblingsBefore:
            addSiblings(contexts, counts);
            break;
        case Region::after:
            addBehind(contexts, counts);
            break;
        case Region::before:
            addBefore(contexts, counts);
            break;
    }
    return counts;
}

void StepCounts::addSelves(std::span<const Node> contexts, Counts &counts) const {
    const Nodes found =
        collection_.nodesOf(collection_.common(selves_, collection_.setOf(contexts)));
    std::size_t at = 0;
    for (const Node node : found) {
        while (contexts[at] != node)
            ++at;
        ++counts[at];
    }
}

void StepCounts::addParents(std::span<const Node> contexts, Counts &counts) const {
    if (!axis_.isDirect) {
        const Counts above = open(contexts);
        for (std::size_t i = 0; i < contexts.size(); ++i)
            counts[i] += above[i];
        return;
    }
    const Nodes parents = collection_.parents(contexts);
    for (std::size_t i = 0; i < contexts.size(); ++i)
        counts[i] += !isRoot(contexts[i]) && ranks_.has(parents[i]) ? 1 : 0;
}

void StepCounts::addChildren(std::span<const Node> contexts, Counts &counts) const {
    for (const Node parent : collection_.parents(nodes_, set_)) {
        const std::size_t at = placeIn(contexts, parent);
        if (at < contexts.size() && contexts[at] == parent) ++counts[at];
    }
}

void StepCounts::addBelow(std::span<const Node> contexts, Counts &counts) const {
    const Nodes ends = collection_.ends(contexts);
    for (std::size_t i = 0; i < contexts.size(); ++i)
        counts[i] += ranks_.of(nodeAfter(ends[i])) - ranks_.of(nodeAfter(contexts[i]));
}

void StepCounts::addSiblings(std::span<const Node> contexts, Counts &counts) const {
    const Families families(collection_, contexts, axis_, set_);
    for (std::size_t i = 0; i < contexts.size(); ++i)
        counts[i] += families.of(i).size();
}

void StepCounts::addBehind(std::span<const Node> contexts, Counts &counts) const {
    const Nodes ends = collection_.ends(contexts);
    for (std::size_t i = 0; i < contexts.size(); ++i) {
        const Node last = collection_.lastOf(collection_.documentOf(contexts[i]));
        counts[i] += ranks_.of(nodeAfter(last)) - ranks_.of(nodeAfter(ends[i]));
    }
}

void StepCounts::addBefore(std::span<const Node> contexts, Counts &counts) const {
    const Counts above = open(contexts);
    for (std::size_t i = 0; i < contexts.size(); ++i) {
        const std::uint64_t before =
            ranks_.of(contexts[i]) - ranks_.of(collection_.rootOf(contexts[i]));
        counts[i] += before - above[i];
    }
}

/** How many nodes have begun before each context, and not ended. */
StepCounts::Counts StepCounts::open(std::span<const Node> contexts) const {
    Counts counts;
    counts.reserve(contexts.size());
    Nodes ends;
    std::size_t next = 0;
    const auto close = [&](Node upTo) {
        while (!ends.empty() && ends.back() < upTo)
            ends.pop_back();
    };
    StopCounter stop;
    for (const Node context : contexts) {
        stop.step();
        for (; next < nodes_.size() && nodes_[next] < context; ++next) {
            close(nodes_[next]);
            ends.push_back(ends_[next]);
        }
        close(context);
        counts.push_back(ends.size());
    }
    return counts;
}

}  // namespace zdbs::xpath
