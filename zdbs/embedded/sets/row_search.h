/** Finds or counts the rows of one path whose values satisfy conditions. */
#ifndef ZDBS_EMBEDDED_SETS_ROW_SEARCH_H
#define ZDBS_EMBEDDED_SETS_ROW_SEARCH_H

#include <cstdint>
#include <optional>
#include <vector>

#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/paths/row_collector.h"
#include "zdbs/embedded/sets/plan.h"
#include "zdbs/embedded/values/value_test.h"

namespace zdbs::embedded {

/** A condition on the value of a node. An element has no value and passes no test. */
struct ValueCondition {
    ValueTest test;
    bool negated;
};
using ValueConditions = std::vector<ValueCondition>;

/**
 * One search among candidates, run by run. Hits are those of ValueTest::countHits(), where the
 * conditions are one that is not negated; otherwise they are one for each row.
 */
class RowSearch {
public:
    /** What is given must outlive it. @param plan may be null */
    RowSearch(const PathTable &table, const PathPart &candidates, const ValueConditions &conditions,
              Plan *plan);

    struct Count {
        std::uint64_t rows = 0;
        std::uint64_t hits = 0;
    };

    /** How many rows there are; nothing where they had to be found for that. */
    std::optional<Count> count();

    struct Found {
        RowSetPtr rows;  ///< null: none
        std::uint64_t hits = 0;
    };

    /** The rows. Once only. */
    Found found();

private:
    /** Testing a value by itself costs about this many times what a search spends on one. */
    static constexpr std::uint32_t costOfOne = 4;

    bool isSingle() const { return conditions_.size() == 1; }
    bool mayHave(const PathRun &run) const;
    bool mustHave(const PathRun &run) const;
    std::optional<Count> countIn(const PathRun &run) const;
    void search(const PathRun &run);
    std::uint64_t candidatesIn(const PathRun &run) const;
    const ValueCondition *bestCondition(const PathRun &run) const;
    FoundRows selected(const PathRun &run, const ValueCondition &condition);
    void selectByOne(const PathRun &run);
    void select(const PathRun &run, const ValueCondition &best);
    void excludeFrom(const PathRun &run);
    void testEach(const PathRun &run);
    bool passes(const PathRun &run, RowId row) const;
    void add(const FoundRows &rows, RowId base);
    std::uint64_t hitsOf(const RowSet &rows) const;
    Found amongCandidates();

    const PathTable &table_;
    const PathPart &part_;
    const RowSet &candidates_;
    const bool hasAllRows_;
    const ValueConditions &conditions_;
    const bool countsHits_;  ///< where they are not one for each row
    Plan *plan_;
    RowCollector rows_;
    std::uint64_t hits_ = 0;
};

}  // namespace zdbs::embedded

#endif
