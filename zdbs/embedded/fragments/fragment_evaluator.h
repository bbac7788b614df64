/** What fragment specifications select, whatever their axes and filters. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_FRAGMENT_EVALUATOR_H
#define ZDBS_EMBEDDED_FRAGMENTS_FRAGMENT_EVALUATOR_H

#include <functional>
#include <memory>
#include <unordered_map>
#include <utility>

#include "zdbs/embedded/fragments/axis_walk.h"
#include "zdbs/embedded/tree/membership.h"
#include "zdbs/engine/fragments.h"

namespace zdbs::embedded {

/** The nodes of a result set. */
using SetNodes = std::function<NodeIds(const ResultSet &)>;

/**
 * Evaluates step by step, over sets. Where positions do not matter, the nodes that
 * a step starts from are pruned so that none of the axis is walked twice: so a path
 * takes time linear in what lies on its axes. Positions are counted from each context
 * by itself, those from the front no further than needed, those from the end along its
 * whole axis. Does not recurse over the tree. One thread at a time.
 */
class FragmentEvaluator {
public:
    /** `nodes` must outlive the evaluator, and the sets of the filters too. */
    explicit FragmentEvaluator(const NodeTable &nodes, SetNodes sets = {})
        : nodes_(nodes), sets_(std::move(sets)), walk_(nodes), finder_(nodes) {}

    /** In document order, each node once. */
    NodeIds select(const FragmentSpec &spec, NodeId context);

private:
    /** The nodes of a set that filters name. */
    struct Members {
        explicit Members(NodeIds of) : nodes(std::move(of)), quick(nodes) {}

        NodeIds nodes;
        Membership quick;
    };

    NodeIds follow(const FragmentPath &path, NodeId context);
    NodeIds stepFrom(const FragmentStep &step, const NodeIds &contexts);
    NodeIds stepFromEach(const FragmentStep &step, const NodeIds &contexts);
    NodeIds stepFromOne(const FragmentStep &step, NodeId context);
    NodeIds filtered(const FragmentStep &step, NodeIds candidates);
    NodeIds satisfying(const FragmentFilter &filter, const NodeIds &candidates, Axis axis,
                       NodeIds &last);
    NodeIds membersOf(const ResultSet &set, const NodeIds &candidates);
    NodeIds pruned(Axis axis, const NodeIds &contexts);
    NodeIds outermost(const NodeIds &contexts) const;
    NodeIds earliestEnds(const NodeIds &contexts);
    bool isAttribute(NodeId node) const;
    bool passes(const NodeTest &test, Axis axis, NodeId node) const;

    const NodeTable &nodes_;
    SetNodes sets_;
    AxisWalk walk_;
    DocumentFinder finder_;
    std::unordered_map<const ResultSet *, std::unique_ptr<Members>> members_;
};

}  // namespace zdbs::embedded

#endif
