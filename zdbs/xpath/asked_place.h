/** Predicates that say which positions they let pass without being evaluated. */
#ifndef ZDBS_XPATH_ASKED_PLACE_H
#define ZDBS_XPATH_ASKED_PLACE_H

#include <optional>

#include "zdbs/base/relation.h"
#include "zdbs/xpath/collection.h"

namespace zdbs::xpath {

/** A relation of the position to a place, which counts from 1, or from -1 backwards. */
struct AskedPlace {
    Relation relation;
    double place;

    bool lets(double position, double size) const {
        return holds(relation, position, place < 0 ? size + 1 + place : place);
    }
};

/**
 * What a predicate asks for that is a number from 1 on, last(), or a comparison of position() with
 * one of these or with last() - k; nothing for others.
 */
std::optional<AskedPlace> askedPlace(const Expression &predicate);

/** The nodes at one end of an axis that a predicate may let pass, and none beside them. */
Reach reachOf(const Expression &predicate);

}  // namespace zdbs::xpath

#endif
