/** Fields of nodes, as far as the summary tells: the rest is left to the rows. */
#ifndef ZDBS_SQL_FIELD_FILTER_H
#define ZDBS_SQL_FIELD_FILTER_H

#include "zdbs/language/command.h"
#include "zdbs/sql/pairs.h"
#include "zdbs/sql/state.h"

namespace zdbs::sql {

/** Every node that has the field, and the field the relation to the literal. */
PathSet nodesWith(const State &state, const FieldTerm &term);

/** Every node that has a value, and one that passes. */
PathSet nodesValued(const Summary &summary, const ValueTest &test);

/** Every node but the roots. */
PathSet everyNode(const Summary &summary);

/**
 * Whether the place of each node among those of its context is that among the siblings of its
 * name: where whole paths are children of their contexts, and no two of them have a parent path
 * in common, nor a name with another path. REQUIRES that all nodes of the pairs are paired.
 */
bool isOrdinal(const Summary &summary, const Pairs &pairs, double place);

}  // namespace zdbs::sql

#endif
