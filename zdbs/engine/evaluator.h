/** Evaluates conditions to node sets. */
#ifndef ZDBS_ENGINE_EVALUATOR_H
#define ZDBS_ENGINE_EVALUATOR_H

#include <functional>
#include <string>

#include "zdbs/command/command.h"
#include "zdbs/engine/node_filter.h"
#include "zdbs/sets/node_set.h"
#include "zdbs/sets/universe.h"

namespace zdbs {

/** The set of a number from 1; throws Failure(unknownSet). */
using NodeSetLookup = std::function<NodeSetPtr(SetReference)>;

/**
 * One evaluation over one state of a database. Field terms of a conjunction are
 * tested together, in one pass over the sets that the conjunction names, or over all
 * nodes when it names none. Depth of recursion is that of the condition, which the
 * parser limits.
 */
class Evaluator {
public:
    Evaluator(const NodeTable &table, const Universe &universe, NodeSetLookup sets);

    NodeSetPtr evaluate(const Condition &condition) const;

private:
    NodeSetPtr conjunct(const Conjunct &terms) const;
    NodeSetPtr term(const Term &term) const;
    NodeSetPtr reference(SetReference reference) const;
    NodeSetPtr axisSet(SetReference reference) const;
    NodeSetPtr filtered(const NodeSetPtr &set, const NodeFilter &filter) const;

    const NodeTable &table_;
    const Universe &universe_;
    NodeSetLookup sets_;
};

/** How a condition is evaluated, in a few words. */
std::string planOf(const Condition &condition);

}  // namespace zdbs

#endif
