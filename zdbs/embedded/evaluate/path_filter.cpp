#include "zdbs/embedded/evaluate/path_filter.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>

#include "zdbs/embedded/paths/row_collector.h"
#include "zdbs/embedded/paths/row_reader.h"
#include "zdbs/language/type_word.h"

namespace zdbs::embedded {
namespace {

/** The first node that is not less than a number; one past all nodes when there is none. */
NodeId firstFrom(double number) {
    if (number <= 0) return noNode;
    if (number > static_cast<double>(lastNodeId)) return lastNodeId + 1;
    return static_cast<NodeId>(std::ceil(number));
}

/** The first node that is greater than a number. */
NodeId firstBeyond(double number) {
    return number < 0 ? noNode : firstFrom(std::floor(number) + 1);
}

/** The first row of a regular path below the top whose parent is not less than `node`. */
RowId firstBelow(const PathTable &table, PathId path, NodeId node) {
    const RowId parent = table.lowerBound(table.summary()[path].parent, node);
    for (const PathRun &run : table.runs(path)) {
        if (parent < run.parentBase) return run.firstRow;
        const std::uint32_t place = run.parents.lowerBound(parent + 1 - run.parentBase);
        if (place < run.count) return run.firstRow + place;
    }
    return table.rowCount(path);
}

/** Rows of one path, or all but those. */
struct RowSelection {
    RowId first;
    RowId end;
    bool isExcluded;
};

/** The rows of a regular path that a test on the number of the node or its parent names. */
RowSelection rangeOf(const PathTable &table, PathId path, const FieldTest &test) {
    auto firstRow = [&](NodeId node) {
        return test.field == Field::id ? table.lowerBound(path, node)
                                       : firstBelow(table, path, node);
    };
    const NodeId from = firstFrom(test.nodeNumber());
    const NodeId beyond = firstBeyond(test.nodeNumber());
    const RowId end = table.rowCount(path);
    switch (test.relation) {
        case Relation::equal:
            return {firstRow(from), firstRow(beyond), test.negated};
        case Relation::notEqual:
            return {firstRow(from), firstRow(beyond), !test.negated};
        case Relation::less:
            return {0, firstRow(from), test.negated};
        case Relation::lessEqual:
            return {0, firstRow(beyond), test.negated};
        case Relation::greater:
            return {firstRow(beyond), end, test.negated};
        case Relation::greaterEqual:
            return {firstRow(from), end, test.negated};
        case Relation::contains:
        case Relation::notEmpty:
        case Relation::any:
            break;  // no relation between numbers
    }
    return {0, 0, test.negated};
}

RowSet cut(const RowSet &rows, RowSelection range) {
    RowSet named;
    named.addRange(range.first, std::uint64_t{range.end});
    return range.isExcluded ? rows - named : rows & named;
}

/** Looks at rows of an irregular path one by one. */
class IrregularRows {
public:
    IrregularRows(const PathTable &table, std::span<const FieldTest *const> tests)
        : table_(table), tests_(tests), decided_(tests.size()) {}

    bool accepts(const PathRun &run, RowId row) {
        for (std::size_t place = 0; place < tests_.size(); ++place) {
            if (holds(run, row, place) == tests_[place]->negated) return false;
        }
        return true;
    }

private:
    bool holds(const PathRun &run, RowId row, std::size_t place) {
        const FieldTest &test = *tests_[place];
        if (test.field == Field::id) return test.holdsOf(run.nodeAt(row));
        if (test.field == Field::parent) return test.holdsOf(parentOf(run, row));
        return holdsOfName(run.names.at(row - run.firstRow), place);
    }

    static NodeId parentOf(const PathRun &run, RowId row) {
        const std::uint32_t distance = run.parentDistances.at(row - run.firstRow);
        return distance == 0 ? noNode : run.nodeAt(row) - distance;
    }

    bool holdsOfName(std::uint32_t number, std::size_t place) {
        auto [entry, isNew] = decided_[place].try_emplace(number, false);
        if (isNew) entry->second = tests_[place]->holdsOf(table_.nameOf(number));
        return entry->second;
    }

    const PathTable &table_;
    std::span<const FieldTest *const> tests_;
    std::vector<std::unordered_map<std::uint32_t, bool>> decided_;  ///< by number of a name
};

RowSet acceptedRows(const PathTable &table, const PathPart &part,
                    std::span<const FieldTest *const> tests) {
    IrregularRows rows(table, tests);
    auto accepted = std::make_unique<RowCollector>();
    RowReader reader(table, part.path, *part.rows);
    RowBatch batch;
    while (reader.next(batch)) {
        for (RowId row : batch.rows) {
            if (rows.accepts(*batch.run, row)) accepted->add(row);
        }
    }
    return accepted->finish();
}

/** Whether a test holds of all nodes of a path, or of none; nothing when it must be looked at. */
std::optional<bool> holdsOfPath(const PathTable &table, const Path &path, const FieldTest &test) {
    switch (test.field) {
        case Field::type:
            return test.text.matches(typeWord(path.kind));
        case Field::name:
        case Field::nameSpace:
            if (test.field == Field::name ? !hasName(path.kind) : !hasNamespace(path.kind)) {
                return false;
            }
            if (!path.isRegular) return std::nullopt;
            return test.holdsOf(table.nameOf(path.name));
        case Field::id:
            if (test.relation == Relation::notEmpty) return true;
            return std::nullopt;
        case Field::parent:
            if (test.relation == Relation::notEmpty) return true;
            if (path.isRegular && path.level == 1) return test.holdsOf(noNode);
            return std::nullopt;
        case Field::value:
            if (path.kind == NodeKind::element) return false;
            if (test.text.relation() == Relation::any) return true;
            return std::nullopt;
    }
    return std::nullopt;
}

bool isOfNumber(const FieldTest &test) {
    return test.field == Field::id || test.field == Field::parent;
}

std::shared_ptr<const ValueConditions> valueConditions(const NodeFilter &filter) {
    ValueConditions conditions;
    for (const FieldTest &test : filter.tests()) {
        const bool isOpen = test.field == Field::value && test.text.relation() != Relation::any;
        if (isOpen) conditions.push_back({test.text, test.negated});
    }
    if (conditions.empty()) return nullptr;
    return std::make_shared<const ValueConditions>(std::move(conditions));
}

/** The key of a value that every node must have which satisfies the filter. */
std::optional<ValueKey> keyIn(const NodeFilter &filter) {
    for (const FieldTest &test : filter.tests()) {
        if (test.field == Field::value && !test.negated && test.text.key()) return test.text.key();
    }
    return std::nullopt;
}

}  // namespace

PathFilter::PathFilter(const PathTable &table, const SummaryIndex &index, const NodeFilter &filter)
    : table_(table),
      index_(index),
      filter_(filter),
      values_(valueConditions(filter)),
      key_(keyIn(filter)),
      looksAtNumbers_(std::any_of(filter.tests().begin(), filter.tests().end(), isOfNumber)) {}

NodeListPtr PathFilter::select(const NodeListPtr &list, const PlanPtr &plan) const {
    return finish(list->nodesIn(table_, possible(list->pathsIn(table_), plan.get())), plan);
}

NodeListPtr PathFilter::selectOfAll(const PlanPtr &plan) const {
    if (NodeListPtr known = nodesOfKindAndName()) {
        note(plan.get(), PlanStep::summary);
        return known;
    }
    return finish(wholePaths(table_, possible(candidates(), plan.get())), plan);
}

/** The kind that a filter asks for with an equality; nothing when it is none that there is. */
std::optional<NodeKind> PathFilter::kindOf(const FieldTest &type) {
    constexpr std::array kinds{NodeKind::element, NodeKind::attribute, NodeKind::text,
                               NodeKind::comment, NodeKind::processingInstruction};
    auto kind = std::find_if(kinds.begin(), kinds.end(), [&](NodeKind candidate) {
        return type.text.matches(typeWord(candidate));
    });
    return kind != kinds.end() ? std::optional(*kind) : std::nullopt;
}

/** The answer to a filter that asks for a kind, or a kind and a name; null for another. */
NodeListPtr PathFilter::nodesOfKindAndName() const {
    const std::span<const FieldTest> tests = filter_.tests();
    const FieldTest *type = equality(Field::type);
    if (type == nullptr || tests.size() > 2) return nullptr;
    const std::optional<NodeKind> kind = kindOf(*type);
    if (!kind) return nullptr;
    if (tests.size() == 1) return index_.nodesOfKind(*kind);
    if (!hasName(*kind)) return nullptr;
    const FieldTest &other = &tests.front() == type ? tests.back() : tests.front();
    if (other.field != Field::name || other.negated) return nullptr;
    if (other.text.relation() == Relation::any) return index_.nodesOfKind(*kind);
    if (other.text.relation() != Relation::equal || !other.text.isWellFormed()) return nullptr;
    return index_.nodesNamed(*kind, other.text.literal());
}

/** The test that a field equals a text, or null. */
const FieldTest *PathFilter::equality(Field field) const {
    const auto tests = filter_.tests();
    const auto found = std::find_if(tests.begin(), tests.end(), [field](const FieldTest &test) {
        return test.field == field && !test.negated && test.text.relation() == Relation::equal;
    });
    return found != tests.end() ? &*found : nullptr;
}

/** As few paths as kind and name allow; all of them are decided afterwards. */
std::span<const PathId> PathFilter::candidates() const {
    const FieldTest *type = equality(Field::type);
    if (type == nullptr) return index_.all();
    const std::optional<NodeKind> kind = kindOf(*type);
    if (!kind) return {};
    const FieldTest *name = equality(Field::name);
    return name != nullptr ? index_.named(*kind, name->text.literal()) : index_.ofKind(*kind);
}

PathFilter::Decision PathFilter::decide(PathId path) const {
    Decision decision;
    for (const FieldTest &test : filter_.tests()) {
        const std::optional<bool> known = holdsOfPath(table_, table_.summary()[path], test);
        if (known && *known == test.negated) {
            decision.isPossible = false;
            break;
        }
        if (!known && test.field != Field::value) decision.byRow.push_back(&test);
    }
    return decision;
}

std::vector<PathId> PathFilter::possible(std::span<const PathId> paths, Plan *plan) const {
    note(plan, PlanStep::summary);
    std::vector<PathId> result = thatMayHaveValue(paths, plan);
    std::erase_if(result, [this](PathId path) { return !decide(path).isPossible; });
    return result;
}

/** Leaves out what the index of values knows to be without a value that is asked for. */
std::vector<PathId> PathFilter::thatMayHaveValue(std::span<const PathId> paths, Plan *plan) const {
    const auto found = key_ ? table_.pathsWithKey(*key_) : std::nullopt;
    if (!found) return {paths.begin(), paths.end()};
    note(plan, PlanStep::valueIndex);
    std::vector<PathId> result;
    std::copy_if(found->begin(), found->end(), std::back_inserter(result),
                 [&](PathId path) { return std::binary_search(paths.begin(), paths.end(), path); });
    return result;
}

/** What of possible paths satisfies the tests that rows decide. */
NodeListPtr PathFilter::finish(PathNodes parts, const PlanPtr &plan) const {
    bool hasValues = false;
    for (PathPart &part : parts) {
        const Path &path = table_.summary()[part.path];
        if (looksAtNumbers_ || !path.isRegular) {
            const Tests tests = decide(part.path).byRow;
            if (!tests.empty()) part.rows = rowsOf(part, tests, plan.get());
        }
        hasValues = hasValues || path.kind != NodeKind::element;
    }
    std::erase_if(parts, [](const PathPart &part) { return !part.rows; });
    if (!values_ || !hasValues) return makeList(table_, std::move(parts));
    return std::make_shared<NodeList>(table_,
                                      PendingNodes(table_, std::move(parts), values_, plan));
}

RowSetPtr PathFilter::rowsOf(const PathPart &part, const Tests &tests, Plan *plan) const {
    if (!table_.summary()[part.path].isRegular) {
        note(plan, PlanStep::irregularNodes);
        return sharedRows(table_, part.path, acceptedRows(table_, part, tests));
    }
    note(plan, PlanStep::nodeRanges);
    RowSet rows = cut(*part.rows, rangeOf(table_, part.path, *tests.front()));
    for (const FieldTest *test : std::span(tests).subspan(1))
        rows = cut(rows, rangeOf(table_, part.path, *test));
    return sharedRows(table_, part.path, std::move(rows));
}

}  // namespace zdbs::embedded
