/** Evaluates conditions to node sets. */
#ifndef ZDBS_EMBEDDED_EVALUATE_EVALUATOR_H
#define ZDBS_EMBEDDED_EVALUATE_EVALUATOR_H

#include <functional>
#include <memory>

#include "zdbs/embedded/evaluate/node_filter.h"
#include "zdbs/embedded/evaluate/node_set.h"
#include "zdbs/embedded/evaluate/summary_index.h"
#include "zdbs/embedded/evaluate/universe.h"
#include "zdbs/embedded/sets/plan.h"
#include "zdbs/language/command.h"

namespace zdbs::embedded {

/** What is made once for a state of a database. The table must outlive it. */
struct DatabaseState {
    explicit DatabaseState(const NodeTable &nodes);

    const NodeTable &table;
    Universe universe;
    std::unique_ptr<const SummaryIndex> summary;  ///< null where the table is not by path
};

/** The set of a number from 1; throws Failure(unknownSet). */
using NodeSetLookup = std::function<NodeSetPtr(SetReference)>;

/**
 * One evaluation over one state of a database. Field terms of a conjunction are
 * tested together: by path where the table is, and otherwise in one pass over the sets
 * that the conjunction names, or over all nodes when it names none. Depth of recursion is
 * that of the condition, which the parser limits.
 */
class Evaluator {
public:
    /** @param plan where the way is noted that nodes are found on; what is pending keeps it */
    Evaluator(const DatabaseState &state, NodeSetLookup sets, PlanPtr plan);

    NodeSetPtr evaluate(const Condition &condition) const;

private:
    NodeSetPtr conjunct(const Conjunct &terms) const;
    NodeSetPtr term(const Term &term) const;
    NodeSetPtr reference(SetReference reference) const;
    NodeSetPtr axisSet(SetReference reference) const;
    NodeSetPtr filtered(const NodeSetPtr &set, const NodeFilter &filter) const;
    NodeListPtr selected(const NodeSetPtr &set, const NodeFilter &filter) const;

    const DatabaseState &state_;
    NodeSetLookup sets_;
    PlanPtr plan_;
};

}  // namespace zdbs::embedded

#endif
