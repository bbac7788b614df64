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
    RowList step(const FragmentStep &step, RowId from);
    RowList onAxis(Axis axis, const NodeRow &from);
    RowList below(const AxisTraits &axis, const NodeRow &from);
    RowList above(const AxisTraits &axis, const NodeRow &from);
    RowList siblings(const AxisTraits &axis, const NodeRow &from);
    RowList beside(const AxisTraits &axis, const NodeRow &from);
    void apply(const FragmentFilter &filter, Axis axis, const RowList &found, RowList &last);
    RowList members(const ResultSetPtr &set, const RowList &of) const;
    bool passes(const NodeTest &test, Axis axis, RowId row);

    Excerpt &excerpt_;
    MembersOf membersOf_;
};

}  // namespace zdbs::sql

#endif
