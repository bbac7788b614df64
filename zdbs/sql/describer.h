/** What records are by themselves. */
#ifndef ZDBS_SQL_DESCRIBER_H
#define ZDBS_SQL_DESCRIBER_H

#include "zdbs/engine/engine.h"
#include "zdbs/sql/excerpt.h"

namespace zdbs::sql {

/** Fetches records that were told together together, too. */
class Describer : public RecordDescriber {
public:
    /** @param told records that may be asked for one after the other; outlives it */
    Describer(Connection &connection, StatePtr state, FactsWanted wanted,
              const std::vector<RecordId> &told)
        : excerpt_(connection, std::move(state)), wanted_(wanted), told_(told) {}

    const RecordFacts &of(RecordId record) override;

private:
    void fetch(RecordId record, RowId row);
    void addValue(const NodeRow &row);

    Excerpt excerpt_;
    FactsWanted wanted_;
    const std::vector<RecordId> &told_;
    std::vector<RowId> fetched_;
    std::string path_;
    std::string value_;
    RecordFacts facts_;
};

}  // namespace zdbs::sql

#endif
