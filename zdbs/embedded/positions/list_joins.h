/** The joins of joins/join.h over lists in whatever form: by rows where that goes. */
#ifndef ZDBS_EMBEDDED_POSITIONS_LIST_JOINS_H
#define ZDBS_EMBEDDED_POSITIONS_LIST_JOINS_H

#include "zdbs/embedded/joins/join.h"
#include "zdbs/embedded/positions/pairs.h"
#include "zdbs/embedded/sets/node_list.h"
#include "zdbs/embedded/sets/plan.h"

namespace zdbs::embedded {

/**
 * The members of `first` with some member of `second` on the axis. Of a side that is
 * pending, only the paths are decided that the other side can be related to.
 */
ContextList keepFirst(const NodeTable &table, Step step, const ContextList &first,
                      const ContextList &second, Plan *plan);

/** The nodes of `second` that are on the axis of some member of `first`. */
NodeListPtr keepSecond(const NodeTable &table, Step step, const ContextList &first,
                       const NodeListPtr &second, Plan *plan);

/** Whether a list has nodes, all of them attributes; may answer so of an empty list by path. */
bool allAttributes(const NodeTable &table, const NodeListPtr &list);

}  // namespace zdbs::embedded

#endif
