/** What is asked of one part of a state. */
#ifndef ZDBS_EMBEDDED_EMBEDDED_PART_H
#define ZDBS_EMBEDDED_EMBEDDED_PART_H

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "zdbs/embedded/evaluate/evaluator.h"
#include "zdbs/embedded/fragments/fragment_evaluator.h"
#include "zdbs/embedded/tree/hit_ranges.h"
#include "zdbs/embedded/tree/node_table.h"
#include "zdbs/engine/engine.h"

namespace zdbs::embedded {

/** What is in front of a part. */
struct PartPlace {
    RecordId before = 0;        ///< records have numbers that are greater by that than the nodes'
    std::size_t documents = 0;  ///< of earlier parts
};

/**
 * The operations of OpenDatabase on the nodes of a part. Sets are EmbeddedSets of it; records
 * are those of the database. One thread at a time.
 */
class EmbeddedPart {
public:
    EmbeddedPart(std::shared_ptr<const NodeTable> table, PartPlace place);

    const NodeTable &table() const { return *table_; }

    /** Null where the table is not by path. */
    const SummaryIndex *summary() const { return state_.summary.get(); }

    std::unique_ptr<NodeTree> tree() const;
    ResultSetPtr everything() const;
    ResultSetPtr evaluate(const Condition &condition, const SetLookup &sets,
                          const ChildTerms &known = {}) const;

    /** Of a term with the axis `child`. */
    SecondSide secondSide(const AxisTerm &term, const SetLookup &sets) const;

    RecordId record(const ResultSet &set, std::int64_t ordinal) const;
    std::unique_ptr<RecordCursor> records(const ResultSet &set) const;
    std::unique_ptr<RecordDescriber> describer(FactsWanted wanted) const;
    std::vector<HitWord> hitWords(const ResultSet &set, RecordId record) const;

    /** @param sets tells the nodes of this part in sets that the specifications name */
    void fragments(const ResultSet &matches, std::span<const FragmentSpec> specs,
                   std::span<const ResultSetPtr> marked, const SetNodes &sets,
                   FragmentVisitor &visitor) const;

    /** What a set of the same part of an earlier state is here; null is one without nodes. */
    ResultSetPtr carriedOver(const ResultSet *set) const;

private:
    NodeId nodeOf(RecordId record) const { return static_cast<NodeId>(record - place_.before); }
    ResultSetPtr wrapped(NodeSetPtr set, PlanPtr plan) const;
    std::unique_ptr<HitRanges> hitRanges(std::span<const ResultSetPtr> sets) const;

    std::shared_ptr<const NodeTable> table_;
    PartPlace place_;
    DatabaseState state_;
};

}  // namespace zdbs::embedded

#endif
