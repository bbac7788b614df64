/** The axes between sets, decided on the summary as far as it goes. */
#ifndef ZDBS_SQL_AXES_H
#define ZDBS_SQL_AXES_H

#include "zdbs/base/axis.h"
#include "zdbs/sql/predicate.h"

namespace zdbs::sql {

/** Contexts and targets of a step; `withAttributes`: a child may be an attribute. */
struct AxisStep {
    Axis axis = Axis::child;
    bool withAttributes = false;
};

/** Those of `contexts` that have one of `targets` on their axis. */
PathSet leadingTo(const Summary &summary, AxisStep step, const PathSet &contexts,
                  const PathSet &targets);

/** Those of `targets` that are on the axis of one of `contexts`. */
PathSet reachedFrom(const Summary &summary, AxisStep step, const PathSet &contexts,
                    const PathSet &targets);

/** Whether a node of one path can have one of another on its axis. */
bool canRelate(const Summary &summary, AxisStep step, PathNumber context, PathNumber target);

}  // namespace zdbs::sql

#endif
