/** Set 0: every node there is. */
#ifndef ZDBS_EMBEDDED_EVALUATE_UNIVERSE_H
#define ZDBS_EMBEDDED_EVALUATE_UNIVERSE_H

#include <memory>

#include "zdbs/embedded/evaluate/node_set.h"

namespace zdbs::embedded {

/**
 * Set 0 of one state of a database. As the second set of a step it is every node;
 * as the first one the document roots and every node but the attributes. The table
 * must outlive it. One thread at a time.
 */
class Universe {
public:
    explicit Universe(const NodeTable &table);

    /** The set itself; the address stands for set 0 in chains. */
    const NodeSetPtr &set() const { return set_; }

    /** As the first set of a step; made on first use. */
    const ContextList &contexts() const;

    /** A set as the first set of a step: set 0 as contexts(), others as their nodes. */
    ContextList contextsOf(const NodeSetPtr &set) const;

    /**
     * The nodes of `list` that a downward step from set 0 reaches, where that is decided by
     * kind alone and the nodes are by path; null where it is not.
     */
    NodeListPtr reachedByStep(Step step, const NodeListPtr &list) const;

private:
    NodeListPtr withoutAttributes() const;

    const NodeTable &table_;
    NodeSetPtr set_;
    mutable ContextList contexts_;
};

}  // namespace zdbs::embedded

#endif
