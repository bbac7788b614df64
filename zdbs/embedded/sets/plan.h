/** How the records of a set were found, for people: what `zdbs explain` shows. */
#ifndef ZDBS_EMBEDDED_SETS_PLAN_H
#define ZDBS_EMBEDDED_SETS_PLAN_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zdbs/base/axis.h"

namespace zdbs::embedded {

enum class PlanStep : std::uint8_t {
    sets,              ///< sets that were there already
    scanOfAll,         ///< every node looked at
    scanOfSet,         ///< every node of a set looked at
    summary,           ///< decided on the paths alone
    valueIndex,        ///< paths left out that have no such value
    nodeRanges,        ///< ranges of rows, by number of the node or its parent
    irregularNodes,    ///< nodes of irregular paths looked at one by one
    dictionary,        ///< indexes of values, see ValueIndex
    textOrder,         ///< …
    numberOrder,       ///< …
    words,             ///< …
    trigrams,          ///< …
    valueScan,         ///< values looked at one by one
    joinByRows,        ///< on an axis
    generalJoin,       ///< on an axis
    siblingPositions,  ///< counted by rows below each parent
    positionsByRows,   ///< on the axes of siblings and ancestors, path by path
    walkedPositions,   ///< counted in one pass over the document
    generalPositions,  ///< counted context by context
};

/**
 * The steps of one evaluation in the order in which they were first done. A set whose
 * values are looked at later than it was made notes that when it happens.
 */
class Plan {
public:
    /** @param axis of a join */
    void note(PlanStep step, Axis axis = Axis::self);

    /** All steps of another one. */
    void note(const Plan &more);

    /** In a few words: "summary of paths, dictionary of values". */
    std::string text() const;

private:
    struct Entry {
        PlanStep step;
        Axis axis;

        friend bool operator==(const Entry &, const Entry &) = default;
    };

    std::vector<Entry> entries_;
};

using PlanPtr = std::shared_ptr<Plan>;

/** For whoever may have no plan to note in. */
inline void note(Plan *plan, PlanStep step, Axis axis = Axis::self) {
    if (plan != nullptr) plan->note(step, axis);
}

}  // namespace zdbs::embedded

#endif
