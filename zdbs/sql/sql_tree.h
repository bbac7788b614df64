/** The nodes of a state for those who compute with them. */
#ifndef ZDBS_SQL_SQL_TREE_H
#define ZDBS_SQL_SQL_TREE_H

#include <memory>

#include "zdbs/engine/node_tree.h"
#include "zdbs/sql/counter.h"

namespace zdbs::sql {

/** Sets stay trees of predicates; of their nodes is here what is told. Both must outlive it. */
std::unique_ptr<NodeTree> makeSqlTree(Connection &connection, Counter &counter, StatePtr state);

}  // namespace zdbs::sql

#endif
