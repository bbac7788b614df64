/** Tells the fragments of the records of a set. */
#ifndef ZDBS_SQL_FRAGMENT_TELLER_H
#define ZDBS_SQL_FRAGMENT_TELLER_H

#include <map>
#include <span>

#include "zdbs/engine/events.h"
#include "zdbs/sql/fragment_steps.h"
#include "zdbs/sql/sql_set.h"
#include "zdbs/sql/tree_teller.h"

namespace zdbs::sql {

class FragmentTeller {
public:
    FragmentTeller(Connection &connection, const SqlSet &matches,
                   std::span<const ResultSetPtr> marked, FragmentVisitor &visitor);

    void tell(std::span<const FragmentSpec> specs);

private:
    void tellBatch(std::span<const RecordId> records, std::span<const FragmentSpec> specs);
    void tell(RowId row);
    const RowList &membersOf(const ResultSetPtr &set);
    std::string inScope(const NodeRow &row);

    Connection &connection_;
    const SqlSet &matches_;
    FragmentVisitor &visitor_;
    Excerpt excerpt_;
    FragmentSteps steps_;
    std::vector<LeafPtr> leaves_;
    TreeTeller::Marks marks_;  ///< of what the excerpt held when the batch began
    RowRanges marked_;
    std::map<ResultSetPtr, RowList> members_;
    NameNumbers names_;
};

}  // namespace zdbs::sql

#endif
