#include "zdbs/sets/pending_nodes.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace zdbs {
namespace {

using Rows = std::vector<RowId>;

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

/** Finds the rows of one path that satisfy conditions, run by run. */
class RowSearch {
public:
    RowSearch(const PathTable &table, const PathPart &candidates, const ValueConditions &conditions,
              Plan *plan)
        : candidates_(*candidates.rows),
          hasAllRows_(candidates_.cardinality() == table.rowCount(candidates.path)),
          conditions_(conditions),
          plan_(plan) {}

    RowSet found(std::span<const PathRun> runs) {
        for (const PathRun &run : runs)
            search(run);
        if (!hasAllRows_) found_ &= candidates_;
        return std::move(found_);
    }

private:
    /** Testing a value by itself costs about this many times what a search spends on one. */
    static constexpr std::uint32_t costOfOne = 4;

    void search(const PathRun &run) {
        const std::uint64_t candidates = countIn(run);
        if (candidates == 0) return;
        const ValueCondition *best = bestCondition(run);
        if (best == nullptr) {
            excludeFrom(run);
        } else if (isDear(run, *best, candidates)) {
            testEach(run);
        } else {
            select(run, *best);
        }
    }

    /** Whether testing each candidate costs less than a search does. */
    static bool isDear(const PathRun &run, const ValueCondition &best, std::uint64_t candidates) {
        if (candidates * costOfOne >= run.count) return false;
        return costOf(run, best.test) > candidates * costOfOne;
    }

    std::uint64_t countIn(const PathRun &run) const {
        if (hasAllRows_) return run.count;
        const std::uint64_t before = run.firstRow == 0 ? 0 : candidates_.rank(run.firstRow - 1);
        return candidates_.rank(run.endRow() - 1) - before;
    }

    static std::uint32_t costOf(const PathRun &run, const ValueTest &test) {
        return run.values.indexFor(test) == ValueIndex::scan ? run.count
                                                             : run.values.estimate(test);
    }

    /** The condition that leaves the fewest rows; none when all are negated. */
    const ValueCondition *bestCondition(const PathRun &run) const {
        const ValueCondition *best = nullptr;
        std::uint32_t fewest = 0;
        for (const ValueCondition &condition : conditions_) {
            if (condition.negated) continue;
            if (conditions_.size() == 1) return &condition;
            const std::uint32_t rows = run.values.estimate(condition.test);
            if (best != nullptr && rows >= fewest) continue;
            best = &condition;
            fewest = rows;
        }
        return best;
    }

    Rows selected(const PathRun &run, const ValueTest &test) {
        note(plan_, stepOf(run.values.indexFor(test)));
        Rows rows;
        run.values.select(test, run.firstRow, rows);
        return rows;
    }

    /** By the best condition's index; the other conditions are tested on what that leaves. */
    void select(const PathRun &run, const ValueCondition &best) {
        Rows rows = selected(run, best.test);
        if (conditions_.size() > 1) {
            std::erase_if(rows, [&](RowId row) { return !passes(run, row); });
        }
        add(rows);
    }

    /** Everything but what the negated conditions name. */
    void excludeFrom(const PathRun &run) {
        RowSet rest;
        rest.addRange(run.firstRow, std::uint64_t{run.endRow()});
        for (const ValueCondition &condition : conditions_) {
            const Rows rows = selected(run, condition.test);
            RowSet excluded;
            excluded.addMany(rows.size(), rows.data());
            rest -= excluded;
        }
        found_ |= rest;
    }

    void testEach(const PathRun &run) {
        note(plan_, PlanStep::valueScan);
        Rows rows;
        auto row = candidates_.begin();
        if (run.firstRow > 0) row.equalorlarger(run.firstRow);
        for (; row != candidates_.end() && *row < run.endRow(); ++row) {
            if (passes(run, *row)) rows.push_back(*row);
        }
        add(rows);
    }

    bool passes(const PathRun &run, RowId row) const {
        const std::string_view value = run.values.at(row - run.firstRow);
        return std::all_of(
            conditions_.begin(), conditions_.end(),
            [&](const ValueCondition &condition) { return satisfies(value, condition); });
    }

    void add(const Rows &rows) { found_.addMany(rows.size(), rows.data()); }

    const RowSet &candidates_;
    const bool hasAllRows_;
    const ValueConditions &conditions_;
    Plan *plan_;
    RowSet found_;
};

bool allNegated(const ValueConditions &conditions) {
    return std::all_of(conditions.begin(), conditions.end(),
                       [](const ValueCondition &condition) { return condition.negated; });
}

}  // namespace

PathNodes partsIn(const PathNodes &nodes, std::span<const PathId> paths) {
    PathNodes result;
    auto path = paths.begin();
    for (const PathPart &part : nodes) {
        while (path != paths.end() && *path < part.path)
            ++path;
        if (path != paths.end() && *path == part.path) result.push_back(part);
    }
    return result;
}

PendingNodes::PendingNodes(const PathTable &table, PathNodes candidates,
                           std::shared_ptr<const ValueConditions> conditions, PlanPtr plan)
    : table_(table), conditions_(std::move(conditions)), plan_(std::move(plan)) {
    entries_.reserve(candidates.size());
    for (PathPart &part : candidates)
        entries_.push_back({std::move(part), false});
}

std::vector<PathId> PendingNodes::paths() const {
    std::vector<PathId> result;
    for (const Entry &entry : entries_) {
        if (entry.part.rows) result.push_back(entry.part.path);
    }
    return result;
}

bool PendingNodes::empty() {
    return std::none_of(entries_.begin(), entries_.end(), [this](Entry &entry) {
        decide(entry);
        return entry.part.rows != nullptr;
    });
}

PathNodes PendingNodes::all() {
    PathNodes result;
    for (Entry &entry : entries_) {
        decide(entry);
        if (entry.part.rows) result.push_back(entry.part);
    }
    return result;
}

PathNodes PendingNodes::in(std::span<const PathId> paths) {
    PathNodes result;
    auto path = paths.begin();
    for (Entry &entry : entries_) {
        while (path != paths.end() && *path < entry.part.path)
            ++path;
        if (path == paths.end()) break;
        if (*path != entry.part.path) continue;
        decide(entry);
        if (entry.part.rows) result.push_back(entry.part);
    }
    return result;
}

PendingNodes PendingNodes::restrictedTo(std::span<const PathId> paths) const {
    PendingNodes result(table_, {}, conditions_, plan_);
    for (const Entry &entry : entries_) {
        if (std::binary_search(paths.begin(), paths.end(), entry.part.path)) {
            result.entries_.push_back(entry);
        }
    }
    return result;
}

void PendingNodes::decide(Entry &entry) {
    if (entry.isDecided) return;
    PathPart &part = entry.part;
    if (table_.summary()[part.path].kind == NodeKind::element) {
        if (!allNegated(*conditions_)) part.rows = nullptr;
    } else {
        RowSearch search(table_, part, *conditions_, plan_.get());
        part.rows = sharedRows(table_, part.path, search.found(table_.runs(part.path)));
    }
    entry.isDecided = true;
}

}  // namespace zdbs
