/** Conditions as sets. */
#ifndef ZDBS_SQL_EVALUATION_H
#define ZDBS_SQL_EVALUATION_H

#include "zdbs/engine/engine.h"
#include "zdbs/sql/sql_set.h"

namespace zdbs::sql {

/** What a condition is, not counted yet. @param setZero every node, marked as set 0 */
SqlSetPtr evaluated(const Condition &condition, const SqlSetPtr &setZero, const SetLookup &sets);

}  // namespace zdbs::sql

#endif
