/**
 * Sets as trees: of each path a predicate says which of its nodes are in the set. What the
 * summary decides is in the list of paths, so that most sets have no predicate at all.
 */
#ifndef ZDBS_SQL_PREDICATE_H
#define ZDBS_SQL_PREDICATE_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "zdbs/base/relation.h"
#include "zdbs/sql/kept_rows.h"
#include "zdbs/sql/summary.h"

namespace zdbs::sql {

struct Predicate;
using PredicatePtr = std::shared_ptr<const Predicate>;  ///< null: every node of the path

/** What of which paths. */
using PathSet = std::map<PathNumber, PredicatePtr>;
using PathSetPtr = std::shared_ptr<const PathSet>;

struct Pairs;
using PairsPtr = std::shared_ptr<const Pairs>;

/** The value of the row against a literal. REQUIRES a path of nodes with values. */
struct ValueTest {
    Relation relation = Relation::equal;
    std::string literal;
    bool asNumber = true;  ///< a literal that is a canonical decimal compares as a number
};

/** The number of the row, or of its parent, is in one of some ranges, or in none of them. */
struct RowTest {
    bool ofParent = false;
    bool isNegated = false;
    struct Range {
        int part;
        int first;
        int last;
    };
    std::vector<Range> ranges;
};

/** The place among the siblings of the same name. */
struct OrdinalTest {
    Relation relation = Relation::equal;
    double place = 0;
};

/** A node of the set has the same node above it, or is it, at a level. */
struct MeetsTest {
    int level = 0;
    PathSetPtr set;
};

/** Against the lowest or highest number in a set among rows of the same parent or document. */
struct BoundTest {
    bool inParent = false;  ///< in the document otherwise
    bool ownLast = false;   ///< the own `last` is compared, `id` otherwise
    bool isBelow = false;   ///< less than the highest, else greater than the lowest
    bool otherLast = false;
    PathSetPtr set;
};

/** The node has a place among those that are paired with a context. */
struct PlaceTest {
    PairsPtr pairs;
    Relation relation = Relation::equal;
    double place = 0;
};

/** The server keeps the rows. */
struct KeptTest {
    KeptRowsPtr rows;
};

struct Both {
    std::vector<PredicatePtr> sides;
};
struct Either {
    std::vector<PredicatePtr> sides;
};
struct Neither {
    PredicatePtr side;
};

using Test = std::variant<ValueTest, RowTest, OrdinalTest, MeetsTest, BoundTest, PlaceTest,
                          KeptTest, Both, Either, Neither>;

struct Predicate {
    explicit Predicate(Test test_);

    Test test;
    bool isLocal;   ///< one look at the row tells
    bool hasLevel;  ///< what is asked depends on the level of the path
};

PredicatePtr predicate(Test test);

/** These know null for every node. */
PredicatePtr both(const PredicatePtr &a, const PredicatePtr &b);
PredicatePtr either(const PredicatePtr &a, const PredicatePtr &b);
/** REQUIRES a predicate: nothing is left of every node. */
PredicatePtr neither(const PredicatePtr &a);

PathSet intersection(const PathSet &a, const PathSet &b);
PathSet unionOf(const PathSet &a, const PathSet &b);
PathSet difference(const PathSet &a, const PathSet &b);

/** Paths of one predicate. */
struct PathGroup {
    PredicatePtr predicate;
    std::vector<PathNumber> paths;  ///< ascending
    int level = 0;                  ///< of the first one
    bool isAttribute = false;
};

/** Where paths of one predicate and several levels are one group. */
enum class Levels : std::uint8_t {
    whereNeeded,  ///< if what is asked does not depend on it
    apart,
};

/** By predicate, kind (attributes or not) and level. */
std::vector<PathGroup> groupsOf(const PathSet &set, const Summary &summary, Levels levels);

}  // namespace zdbs::sql

#endif
