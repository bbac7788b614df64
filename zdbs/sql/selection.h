/** Sets as selections of SQL. */
#ifndef ZDBS_SQL_SELECTION_H
#define ZDBS_SQL_SELECTION_H

#include <string>

#include "zdbs/sql/pairs.h"
#include "zdbs/sql/state.h"
#include "zdbs/sql/statement.h"

namespace zdbs::sql {

/**
 * Writes selections into a statement. The rows of the tables are called n, and every join and
 * every key has the part in it, so that a part's rows meet no others. Nodes meet only within a
 * document, so that it is enough to limit the rows that are selected in the end.
 */
class Selection {
public:
    Selection(const Summary &summary, Statement &statement)
        : summary_(summary), statement_(statement) {}

    /** Limits what is selected in the end; without it, nothing is limited. */
    void limitTo(const RowRanges &ranges) { limits_ = &ranges; }

    /** "select part, k from …" the rows of a set, some of them several times. */
    std::string rowsOf(const PathSet &set);

    /** As rowsOf(), of one group by level. */
    std::string rowsOf(const PathGroup &group);

    /** "from node n where …" the rows of one group, each once. */
    std::string fromGroup(const PathGroup &group);

    /** "select code as c, count(*) as n from …" of one group by level. */
    std::string countOf(const PathGroup &group, int code);

    /** "select part, c, k from …" */
    std::string pairsOf(const Pairs &all) { return pairs(all, *all.nodes); }

private:
    /** Branch of a pass that asks several questions about a node. */
    struct Branch {
        PredicatePtr predicate;
        std::string bit;
    };

    std::string keyOf(int nodeLevel, int level) const;
    std::string inPaths(const std::vector<PathNumber> &paths) const;
    std::string limited(const std::string &alias, bool isLast);
    std::string base(const PathGroup &group, bool isLast, const std::string &more);
    std::string keys(const PathSet &set, int level, bool isLast = false);
    std::string keys(const PathGroup &group, int level, bool isLast);
    std::string own(const PathGroup &group, bool isLast);

    std::string condition(const PredicatePtr &predicate, const PathGroup &group);
    std::string local(const Predicate &predicate);
    std::string local(const ValueTest &test);
    std::string local(const RowTest &test);
    std::string local(const OrdinalTest &test);
    std::string member(const Predicate &predicate, const PathGroup &group);
    std::string rowsOfAtom(const Predicate &predicate, const PathGroup &group, bool isLast);
    std::string rowsInBounds(const BoundTest &test, const PathGroup &group, bool isLast);
    std::string pass(const PredicatePtr &predicate, const PathGroup &group, bool isLast);
    std::string having(const PredicatePtr &predicate, std::vector<Branch> &branches);

    std::string placed(const PlaceTest &test);
    std::string positions(const Pairs &pairs, Relation relation, double place);
    std::string pairs(const Pairs &pairs, const PathSet &nodes);
    std::string pairsOfBoth(const CommonPairs &common, const PathSet &nodes);
    std::string pairs(const StepPairs &step, const PathSet &nodes);
    std::string pairsDown(const StepPairs &step, const PathSet &nodes);
    std::string pairsUp(const StepPairs &step, const PathSet &nodes);
    std::string pairsBeside(const StepPairs &step, const PathSet &nodes);
    std::string siblings(const PathSet &nodes);
    std::string besideRows(const PathSet &set, const std::string &around, const std::string &own,
                           bool withAttributes);

    const Summary &summary_;
    Statement &statement_;
    const RowRanges *limits_ = nullptr;
};

/** "=", "<>" …; REQUIRES a comparison. */
std::string signOf(Relation relation);

}  // namespace zdbs::sql

#endif
