/** What is made of sets, without a look at a row. */
#ifndef ZDBS_SQL_SET_ALGEBRA_H
#define ZDBS_SQL_SET_ALGEBRA_H

#include "zdbs/sql/sql_set.h"

namespace zdbs::sql {

SqlSetPtr intersection(const SqlSet &a, const SqlSet &b);
SqlSetPtr difference(const SqlSet &a, const SqlSet &b);
SqlSetPtr unionOf(const SqlSet &a, const SqlSet &b);

/** The nodes of `set` that all of the field terms hold of, or not where they are negated. */
SqlSetPtr filtered(const SqlSet &set, const std::vector<const ConjunctTerm *> &fields);

/** The nodes of `a` from which the axis leads to one of `b`, chains regarded. */
SqlSetPtr joinFirst(const SqlSetPtr &a, Axis axis, const SqlSetPtr &b);

/** The nodes of `b` that the axis leads to from one of `a`. */
SqlSetPtr joinSecond(const SqlSetPtr &a, Axis axis, const SqlSetPtr &b);

/** The nodes whose position satisfies `position relation place` in some context. */
SqlSetPtr atPosition(const SqlSet &set, Relation relation, double place);

/** Every node of a path set, without how it was made. */
SqlSetPtr withoutChain(const SqlSet &set);

}  // namespace zdbs::sql

#endif
