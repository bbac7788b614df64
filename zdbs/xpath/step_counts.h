/** How many nodes a step leads to from each of many contexts, without going to each of them. */
#ifndef ZDBS_XPATH_STEP_COUNTS_H
#define ZDBS_XPATH_STEP_COUNTS_H

#include <cstdint>
#include <span>
#include <vector>

#include "zdbs/xpath/collection.h"
#include "zdbs/xpath/ranks.h"

namespace zdbs::xpath {

/**
 * Counts what a step leads to. Below a node, before it and behind it lie ranges of numbers, so
 * that a count is a difference of ranks; above it are as many as are open when it comes.
 * Time: linear in contexts and nodes, for siblings times a logarithm.
 */
class StepCounts {
public:
    /** @param passing all nodes that the step may lead to; more do no harm, on whatever axis */
    StepCounts(const Collection &collection, Axis axis, const NodeSet &passing);

    /** For each of the contexts. REQUIRES ascending ones. */
    std::vector<std::uint64_t> of(std::span<const Node> contexts) const;

private:
    using Counts = std::vector<std::uint64_t>;

    void addSelves(std::span<const Node> contexts, Counts &counts) const;
    void addParents(std::span<const Node> contexts, Counts &counts) const;
    void addChildren(std::span<const Node> contexts, Counts &counts) const;
    void addBelow(std::span<const Node> contexts, Counts &counts) const;
    void addSiblings(std::span<const Node> contexts, Counts &counts) const;
    void addBehind(std::span<const Node> contexts, Counts &counts) const;
    void addBefore(std::span<const Node> contexts, Counts &counts) const;
    Counts open(std::span<const Node> contexts) const;

    const Collection &collection_;
    const AxisTraits &axis_;
    NodeSet selves_;  ///< with attributes, of an axis with the context in it
    NodeSet set_;     ///< no attributes, unless the axis leads to them
    Nodes nodes_;
    Nodes ends_;  ///< of nodes_, where they are asked for
    Ranks ranks_;
};

}  // namespace zdbs::xpath

#endif
