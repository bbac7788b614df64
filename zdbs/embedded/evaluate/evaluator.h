/** Evaluates conditions to node sets. */
#ifndef ZDBS_EMBEDDED_EVALUATE_EVALUATOR_H
#define ZDBS_EMBEDDED_EVALUATE_EVALUATOR_H

#include <functional>
#include <memory>
#include <unordered_map>

#include "zdbs/embedded/evaluate/node_filter.h"
#include "zdbs/embedded/evaluate/node_set.h"
#include "zdbs/embedded/evaluate/set_algebra.h"
#include "zdbs/embedded/evaluate/summary_index.h"
#include "zdbs/embedded/evaluate/universe.h"
#include "zdbs/embedded/sets/plan.h"
#include "zdbs/language/command.h"

namespace zdbs::embedded {

/** What is made once for a part of a state of a database. The table must outlive it. */
struct DatabaseState {
    /** @param before see NodeFilter */
    explicit DatabaseState(const NodeTable &nodes, RecordId before = 0);

    const NodeTable &table;
    RecordId before;
    Universe universe;
    std::unique_ptr<const SummaryIndex> summary;  ///< null where the table is not by path
};

/**
 * Terms with the axis `child`, and whether their second sides have attributes only in all parts of
 * the database; of other terms that is asked of this one.
 */
using ChildTerms = std::unordered_map<const AxisTerm *, bool>;

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
    Evaluator(const DatabaseState &state, NodeSetLookup sets, PlanPtr plan,
              const ChildTerms &known = noTerms);

    NodeSetPtr evaluate(const Condition &condition) const;

    /** Of a term with the axis `child`. */
    SecondSide secondSide(const AxisTerm &term) const;

private:
    static const ChildTerms noTerms;

    NodeSetPtr conjunct(const Conjunct &terms) const;
    NodeSetPtr term(const Term &term) const;
    NodeSetPtr reference(SetReference reference) const;
    NodeSetPtr axisSet(SetReference reference) const;
    NodeSetPtr filtered(const NodeSetPtr &set, const NodeFilter &filter) const;
    NodeListPtr selected(const NodeSetPtr &set, const NodeFilter &filter) const;

    const DatabaseState &state_;
    NodeSetLookup sets_;
    PlanPtr plan_;
    const ChildTerms &known_;
};

}  // namespace zdbs::embedded

#endif
