/** Where value conditions hit: found in the values of single nodes. */
#ifndef ZDBS_SQL_HIT_SEARCH_H
#define ZDBS_SQL_HIT_SEARCH_H

#include <map>
#include <string_view>
#include <vector>

#include "zdbs/base/hits.h"
#include "zdbs/engine/engine.h"
#include "zdbs/sql/connection.h"
#include "zdbs/sql/sql_set.h"

namespace zdbs::sql {

/** Conditions that some nodes were matched by. */
using Conditions = std::vector<const FieldTerm *>;

/** Where they hit in a value: ascending, overlaps made one. */
std::vector<HitRange> hitsIn(std::string_view value, const Conditions &conditions);

/** For each row in some ranges that was matched by a leaf, the conditions of these. */
std::map<RowId, Conditions> matchedRows(Connection &connection, const State &state,
                                        const std::vector<LeafPtr> &leaves,
                                        const RowRanges &ranges);

/** Hits of a set beyond one for each record, all values that were matched being looked at. */
std::int64_t furtherHits(Connection &connection, const SqlSet &set);

/** The words of a record of a set, at least one. */
std::vector<HitWord> hitWordsOf(Connection &connection, const SqlSet &set, RowId row,
                                std::int32_t part);

}  // namespace zdbs::sql

#endif
