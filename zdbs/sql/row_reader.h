/** Records of sets, in document order. */
#ifndef ZDBS_SQL_ROW_READER_H
#define ZDBS_SQL_ROW_READER_H

#include "zdbs/engine/engine.h"
#include "zdbs/sql/connection.h"
#include "zdbs/sql/sql_set.h"

namespace zdbs::sql {

/** Records of a set from `first` to in front of `end`, ascending. */
std::vector<RecordId> recordsIn(Connection &connection, const SqlSet &set, RecordId first,
                                RecordId end);

/** The rows of a set, ascending. */
std::vector<RowId> rowsIn(Connection &connection, const SqlSet &set, const RowRanges &ranges);

/** Fetches some ten thousand at once. The set outlives it. */
class BlockReader {
public:
    BlockReader(Connection &connection, const SqlSet &set);

    /** Behind the one before; false at the end. */
    bool next(Block &block);

private:
    Connection &connection_;
    const SqlSet &set_;
    RecordId end_;          ///< of all records
    std::uint64_t stride_;  ///< in nodes
};

}  // namespace zdbs::sql

#endif
