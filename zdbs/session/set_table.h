/** The numbered sets of a session. */
#ifndef ZDBS_SESSION_SET_TABLE_H
#define ZDBS_SESSION_SET_TABLE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "zdbs/engine/engine.h"

namespace zdbs {

/**
 * Sets by number, from 1. Numbers grow in order of creation. What a request does at the end
 * of the table costs nothing for the sets of earlier requests.
 */
class SetTable {
public:
    /** Takes in a set under the number above the highest present; returns the number. */
    std::int32_t add(ResultSetPtr set);

    /** Throws Failure(unknownSet). */
    const ResultSetPtr &find(SetReference reference) const;

    /** Removes all of them, or throws Failure(unknownSet) and removes none. */
    void remove(std::span<const SetReference> references);

    /** Closes the gaps: the numbers are 1 … k afterwards. */
    void renumber();

    bool empty() const { return sets_.empty(); }

    /** Number of the most recent set; REQUIRES: not empty. */
    std::int32_t newest() const { return static_cast<std::int32_t>(sets_.size()); }

    /** By number - 1, null in a gap: sets can be put in the place of sets. */
    std::span<ResultSetPtr> places() { return sets_; }

private:
    std::vector<ResultSetPtr> sets_;  ///< by number - 1; null in a gap; the last is never null
    std::size_t firstGap_ = 0;        ///< before it there is no gap
};

}  // namespace zdbs

#endif
