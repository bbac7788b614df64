/** What fragment specifications select. */
#ifndef ZDBS_SQL_FRAGMENT_STEPS_H
#define ZDBS_SQL_FRAGMENT_STEPS_H

#include <functional>
#include <vector>

#include "zdbs/engine/fragments.h"
#include "zdbs/sql/excerpt.h"

namespace zdbs::sql {

/** Ascending rows of nodes. */
using RowList = std::vector<RowId>;

/** The rows of a set, ascending. */
using MembersOf = std::function<const RowList &(const ResultSetPtr &)>;

/** Follows paths node by node, for those few nodes that fragments are told of. */
class FragmentSteps {
public:
    FragmentSteps(Excerpt &excerpt, MembersOf membersOf)
        : excerpt_(excerpt), membersOf_(std::move(membersOf)) {}

    /** In document order. */
    RowList selected(const FragmentSpec &spec, RowId from);

private:
    using Marks = std::vector<bool>;  ///< which of some rows

    RowList stepped(const FragmentStep &step, const RowList &contexts);
    RowList onAxis(const FragmentStep &step, const NodeRow &from);
    RowRange beyond(const AxisTraits &axis, const NodeRow &from);
    Marks filtered(const FragmentStep &step, const RowList &rows);
    void apply(const FragmentFilter &filter, Axis axis, const RowList &rows, Marks &last);

    Excerpt &excerpt_;
    MembersOf membersOf_;
};

}  // namespace zdbs::sql

#endif
