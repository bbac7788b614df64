#include "zdbs/embedded/sets/row_search.h"

#include <algorithm>
#include <array>
#include <utility>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/paths/row_reader.h"

namespace zdbs::embedded {
namespace {

PlanStep stepOf(ValueIndex index) {
    switch (index) {
        case ValueIndex::none:
            return PlanStep::summary;
        case ValueIndex::dictionary:
            return PlanStep::dictionary;
        case ValueIndex::textOrder:
            return PlanStep::textOrder;
        case ValueIndex::numberOrder:
            return PlanStep::numberOrder;
        case ValueIndex::words:
            return PlanStep::words;
        case ValueIndex::trigrams:
            return PlanStep::trigrams;
        case ValueIndex::scan:
            return PlanStep::valueScan;
    }
    return PlanStep::valueScan;
}

bool satisfies(std::string_view value, const ValueCondition &condition) {
    return condition.test.matches(value) != condition.negated;
}

/** Only what is contained can be there more than once. */
bool canHitTwice(const ValueConditions &conditions) {
    const ValueCondition &first = conditions.front();
    return conditions.size() == 1 && !first.negated &&
           first.test.relation() == Relation::contains && !first.test.literal().empty();
}

/** Whether testing each candidate costs less than a search does. */
bool isDear(const PathRun &run, const ValueTest &test, std::uint64_t costOfEach) {
    if (costOfEach >= run.count) return false;
    const bool isScan = run.values.indexFor(test) == ValueIndex::scan;
    return (isScan ? run.count : run.values.estimate(test)) > costOfEach;
}

}  // namespace

RowSearch::RowSearch(const PathTable &table, const PathPart &candidates,
                     const ValueConditions &conditions, Plan *plan)
    : table_(table),
      part_(candidates),
      candidates_(*candidates.rows),
      hasAllRows_(candidates_.cardinality() == table.rowCount(candidates.path)),
      conditions_(conditions),
      countsHits_(canHitTwice(conditions)),
      plan_(plan) {}

std::optional<RowSearch::Count> RowSearch::count() {
    if (!hasAllRows_ || !isSingle()) return std::nullopt;
    Count sum;
    for (const PathRun &run : table_.runs(part_.path)) {
        heedStop();
        const std::optional<Count> count = countIn(run);
        if (!count) return std::nullopt;
        sum.rows += count->rows;
        sum.hits += count->hits;
    }
    return sum;
}

std::optional<RowSearch::Count> RowSearch::countIn(const PathRun &run) const {
    if (!mayHave(run)) return Count();
    if (mustHave(run)) return Count{run.count, run.count};
    const ValueCondition &condition = conditions_.front();
    const std::optional<FoundCount> found = run.values.count(condition.test);
    if (!found) return std::nullopt;
    note(plan_, stepOf(found->index));
    if (condition.negated) return Count{run.count - found->rows, 0};
    return Count{found->rows, found->hits};
}

RowSearch::Found RowSearch::found() {
    for (const PathRun &run : table_.runs(part_.path)) {
        heedStop();
        search(run);
    }
    Found found = hasAllRows_ ? Found{rows_.finishPart(table_, part_.path, part_.rows), hits_}
                              : amongCandidates();
    if (!countsHits_) found.hits = found.rows ? found.rows->cardinality() : 0;
    return found;
}

/** Where candidates are missing, hits were counted of rows that are none. */
RowSearch::Found RowSearch::amongCandidates() {
    if (rows_.size() == 0) return {};
    const RowSet all = rows_.finish();
    RowSet kept = all & candidates_;
    const std::uint64_t count = kept.cardinality();
    const std::uint64_t dropped = all.cardinality() - count;
    if (dropped != 0 && countsHits_)
        hits_ = dropped < count ? hits_ - hitsOf(all - candidates_) : hitsOf(kept);
    if (count == candidates_.cardinality()) return {part_.rows, hits_};
    return {sharedRows(table_, part_.path, std::move(kept)), hits_};
}

std::uint64_t RowSearch::hitsOf(const RowSet &rows) const {
    std::uint64_t hits = 0;
    RowReader reader(table_, part_.path, rows);
    RowBatch batch;
    while (reader.next(batch)) {
        for (RowId row : batch.rows)
            hits +=
                conditions_.front().test.countHits(batch.run->values.at(row - batch.run->firstRow));
    }
    return hits;
}

/** False when the index of values knows that no row of a run satisfies the conditions. */
bool RowSearch::mayHave(const PathRun &run) const {
    return std::all_of(conditions_.begin(), conditions_.end(), [&](const ValueCondition &one) {
        const auto key = one.test.key();
        return one.negated || !key || run.mayHold(*key);
    });
}

/** Whether it knows that all rows do, for what they must not be is not there. */
bool RowSearch::mustHave(const PathRun &run) const {
    return std::all_of(conditions_.begin(), conditions_.end(), [&](const ValueCondition &one) {
        const auto key = one.negated ? one.test.key() : one.test.excludedKey();
        return key && !run.mayHold(*key);
    });
}

void RowSearch::search(const PathRun &run) {
    if (!mayHave(run)) return;
    const std::uint64_t candidates = candidatesIn(run);
    if (candidates == 0) return;
    if (mustHave(run)) {
        rows_.addRange(run.firstRow, run.endRow());
        return;
    }
    const ValueCondition *best = bestCondition(run);
    if (best != nullptr && isDear(run, best->test, candidates * costOfOne)) {
        testEach(run);
    } else if (isSingle()) {
        selectByOne(run);
    } else if (best == nullptr) {
        excludeFrom(run);
    } else {
        select(run, *best);
    }
}

std::uint64_t RowSearch::candidatesIn(const PathRun &run) const {
    if (hasAllRows_) return run.count;
    const std::uint64_t before = run.firstRow == 0 ? 0 : candidates_.rank(run.firstRow - 1);
    return candidates_.rank(run.endRow() - 1) - before;
}

/** The condition that leaves the fewest rows; none when all are negated. */
const ValueCondition *RowSearch::bestCondition(const PathRun &run) const {
    const ValueCondition *best = nullptr;
    std::uint32_t fewest = 0;
    for (const ValueCondition &condition : conditions_) {
        if (condition.negated) continue;
        if (isSingle()) return &condition;
        const std::uint32_t rows = run.values.estimate(condition.test);
        if (best != nullptr && rows >= fewest) continue;
        best = &condition;
        fewest = rows;
    }
    return best;
}

FoundRows RowSearch::selected(const PathRun &run, const ValueCondition &condition) {
    FoundRows found = run.values.find(condition.test);
    note(plan_, stepOf(found.index()));
    if (condition.negated) found.flip();
    return found;
}

void RowSearch::selectByOne(const PathRun &run) {
    const FoundRows found = selected(run, conditions_.front());
    hits_ += found.hits();
    add(found, run.firstRow);
}

/** By the best condition's index; the other conditions are tested on what that leaves. */
void RowSearch::select(const PathRun &run, const ValueCondition &best) {
    selected(run, best).forStretches([&](std::uint32_t first, std::uint32_t end) {
        for (RowId row = run.firstRow + first; row < run.firstRow + end; ++row) {
            if (passes(run, row)) rows_.add(row);
        }
    });
}

/** What all negated conditions leave. */
void RowSearch::excludeFrom(const PathRun &run) {
    RowSet rest;
    rest.addRange(0, std::uint64_t{run.count});
    for (const ValueCondition &condition : conditions_) {
        RowSet others;
        selected(run, condition).forStretches([&](std::uint32_t first, std::uint32_t end) {
            others.addRange(first, std::uint64_t{end});
        });
        rest &= others;
    }
    for (RowId row : rest)
        rows_.add(run.firstRow + row);
}

void RowSearch::testEach(const PathRun &run) {
    note(plan_, PlanStep::valueScan);
    auto row = candidates_.begin();
    if (run.firstRow > 0) row.equalorlarger(run.firstRow);
    StopCounter stop;
    for (; row != candidates_.end() && *row < run.endRow(); ++row) {
        stop.step();
        if (!passes(run, *row)) continue;
        rows_.add(*row);
        if (countsHits_)
            hits_ += conditions_.front().test.countHits(run.values.at(*row - run.firstRow));
    }
}

bool RowSearch::passes(const PathRun &run, RowId row) const {
    const std::string_view value = run.values.at(row - run.firstRow);
    return std::all_of(
        conditions_.begin(), conditions_.end(),
        [&](const ValueCondition &condition) { return satisfies(value, condition); });
}

void RowSearch::add(const FoundRows &rows, RowId base) {
    if (rows.count() == 0) return;
    if (rows.form() == FoundRows::Form::bits && base == 0) return rows_.addBits(rows.words());
    if (rows.form() != FoundRows::Form::list || rows.isOthers()) {
        return rows.forStretches([&](std::uint32_t first, std::uint32_t end) {
            rows_.addRange(base + first, base + end);
        });
    }
    std::array<RowId, 1024> buffer;
    std::span<const std::uint32_t> left(rows.listed());
    while (!left.empty()) {
        const auto part = left.first(std::min(left.size(), buffer.size()));
        std::transform(part.begin(), part.end(), buffer.begin(),
                       [base](std::uint32_t row) { return base + row; });
        rows_.add(std::span<const RowId>(buffer.data(), part.size()));
        left = left.subspan(part.size());
    }
}

}  // namespace zdbs::embedded
