/** Finds the nodes that a fragment specification selects from a node. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_FRAGMENT_EVALUATOR_H
#define ZDBS_EMBEDDED_FRAGMENTS_FRAGMENT_EVALUATOR_H

#include "zdbs/embedded/fragments/axis_walk.h"
#include "zdbs/embedded/fragments/fragment_plan.h"
#include "zdbs/embedded/joins/join.h"

namespace zdbs {

/**
 * Evaluates step by step, over sets. Where positions do not matter, the nodes that
 * a step starts from are pruned so that none of the axis is walked twice, and a
 * predicate is tried on all nodes at once: forwards to the end of its path, then
 * back by joins. So a path takes time linear in what lies on its axes, whatever
 * the nesting. Positions are counted from each context by itself, those from the
 * front no further than needed, those from the end along its whole axis. Does not
 * recurse over the tree. One thread at a time.
 */
class FragmentEvaluator {
public:
    /** `nodes` must outlive the evaluator. */
    explicit FragmentEvaluator(const NodeTable &nodes)
        : nodes_(nodes), walk_(nodes), finder_(nodes) {}

    /** In document order, each node once. */
    NodeIds select(const FragmentSpec &spec, NodeId context);

private:
    NodeIds follow(const FragmentPath &path, NodeId context);
    NodeIds stepFrom(const FragmentStep &step, const NodeIds &contexts);
    NodeIds stepFromEach(const FragmentStep &step, const NodeIds &contexts);
    NodeIds stepFromOne(const FragmentStep &step, NodeId context);
    NodeIds filtered(const FragmentStep &step, NodeIds candidates);
    NodeIds satisfying(const FragmentPredicate &predicate, const NodeIds &candidates, Axis axis,
                       NodeIds &last);
    NodeIds withPath(const FragmentPath &path, const NodeIds &candidates);
    NodeIds withPathOneByOne(const FragmentPath &path, const NodeIds &candidates);
    void keepValues(const FragmentPath &path, NodeIds &nodes) const;
    NodeIds pruned(Axis axis, const NodeIds &contexts);
    NodeIds outermost(const NodeIds &contexts) const;
    NodeIds earliestEnds(const NodeIds &contexts);
    bool isAttribute(NodeId node) const;
    bool passes(const FragmentTest &test, Axis axis, NodeId node) const;

    const NodeTable &nodes_;
    AxisWalk walk_;
    DocumentFinder finder_;
};

}  // namespace zdbs

#endif
