/** The pairs of a context and a node behind a set, as a recipe: positions count in them. */
#ifndef ZDBS_SQL_PAIRS_H
#define ZDBS_SQL_PAIRS_H

#include <optional>

#include "zdbs/base/axis.h"
#include "zdbs/sql/predicate.h"

namespace zdbs::sql {

/** From each node of a set to those on an axis. */
struct StepPairs {
    PathSetPtr from;
    Axis axis = Axis::child;
    bool withAttributes = false;  ///< a child may be an attribute
};

/** From the parent of each node to it. */
struct SiblingPairs {};

/** Those that both have. */
struct CommonPairs {
    PairsPtr a;
    PairsPtr b;
};

/** Those that either has. */
struct MergedPairs {
    PairsPtr a;
    PairsPtr b;
};

/** Those whose node has a place among all of its context. */
struct PairsAtPlace {
    PairsPtr pairs;
    Relation relation = Relation::equal;
    double place = 0;
};

/** The server keeps them, the contexts where sets have paths. */
struct KeptPairs {
    KeptRowsPtr rows;
};

struct Pairs {
    std::variant<StepPairs, SiblingPairs, KeptPairs, CommonPairs, MergedPairs, PairsAtPlace> made;
    bool isReverse = false;  ///< positions count backwards
    PathSetPtr nodes;        ///< of the pairs that are made, those count whose node is in it
};

}  // namespace zdbs::sql

#endif
