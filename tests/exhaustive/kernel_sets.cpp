#include "tests/exhaustive/kernel_sets.h"
#include "tests/zdbs/support/nodes_of.h"

#include <utility>

namespace exhaustive {
namespace {

using namespace zdbs;
using namespace zdbs::embedded;

/** The number by which a condition names a set: its slot, or set 0. */
SetReference reference(const ResultSetPtr &set, std::int32_t slot) {
    return {set ? slot : 0, 0};
}

Conjunct single(Term term) {
    Conjunct conjunct;
    conjunct.push_back({false, std::move(term)});
    return conjunct;
}

Condition conditionOf(Term term) {
    Condition condition;
    condition.conjuncts.push_back(single(std::move(term)));
    return condition;
}

/** Two sets in one conjunct or in two; their numbers come later. */
Condition conjunction(bool negated) {
    Condition condition = conditionOf(SetReference{});
    condition.conjuncts.front().push_back({negated, SetReference{}});
    return condition;
}

Condition disjunction() {
    Condition condition = conditionOf(SetReference{});
    condition.conjuncts.push_back(single(SetReference{}));
    return condition;
}

template <class T>
T &termOf(Condition &condition) {
    return std::get<T>(condition.conjuncts.front().front().term);
}

}  // namespace

KernelSets::KernelSets(const MaskForest &forest, const OpenDatabase &database)
    : forest_(forest),
      database_(database),
      lookup_([this](SetReference set) { return *slots_[set.number - 1]; }),
      join_(conditionOf(AxisTerm{})),
      select_(conditionOf(PositionTerm{})),
      intersect_(conjunction(false)),
      subtract_(conjunction(true)),
      unite_(disjunction()) {}

ResultSetPtr KernelSets::evaluate(const Condition &condition, const ResultSetPtr &a,
                                  const ResultSetPtr &b) {
    slots_[0] = &a;
    slots_[1] = &b;
    return database_.evaluate(condition, lookup_);
}

ResultSetPtr KernelSets::plain(Mask nodes) {
    Condition condition;
    for (std::size_t place = 0; place < forest_.nodeCount(); ++place) {
        if ((nodes >> place & 1U) == 0) continue;
        const std::string number = std::to_string(forest_.nodeAt(place));
        condition.conjuncts.push_back(single(FieldTerm{Field::id, Relation::equal, number}));
    }
    if (nodes == 0)
        condition = conditionOf(FieldTerm{Field::id, Relation::equal, std::to_string(lastNodeId)});
    return evaluate(condition, {}, {});
}

ResultSetPtr KernelSets::find(const Condition &condition) {
    return evaluate(condition, {}, {});
}

ResultSetPtr KernelSets::join(Axis axis, const ResultSetPtr &a, const ResultSetPtr &b,
                              Direction direction) {
    termOf<AxisTerm>(join_) = {axis, reference(a, 1), reference(b, 2), static_cast<int>(direction)};
    return evaluate(join_, a, b);
}

ResultSetPtr KernelSets::select(const ResultSetPtr &set, PositionTest test) {
    termOf<PositionTerm>(select_) = {reference(set, 1), test.relation, test.place};
    return evaluate(select_, set, {});
}

ResultSetPtr KernelSets::evaluatePair(Condition &condition, const ResultSetPtr &a,
                                      const ResultSetPtr &b) {
    condition.conjuncts.front().front().term = reference(a, 1);
    condition.conjuncts.back().back().term = reference(b, 2);
    return evaluate(condition, a, b);
}

ResultSetPtr KernelSets::intersect(const ResultSetPtr &a, const ResultSetPtr &b) {
    return evaluatePair(intersect_, a, b);
}

ResultSetPtr KernelSets::subtract(const ResultSetPtr &a, const ResultSetPtr &b) {
    return evaluatePair(subtract_, a, b);
}

ResultSetPtr KernelSets::unite(const ResultSetPtr &a, const ResultSetPtr &b) {
    return evaluatePair(unite_, a, b);
}

Mask KernelSets::maskOf(const ResultSet &set) const {
    // Of the very many joins of large forests half are empty.
    if (forest_.nodeCount() > 5 && set.size() == 0) return 0;
    Mask mask = 0;
    std::int64_t count = 0;
    for (const NodeId node : zdbs::testing::nodesOf(database_, set)) {
        const Mask bit = forest_.bitOf(node);
        if (bit <= mask) return wrongSet;
        mask |= bit;
        ++count;
    }
    return count == set.size() ? mask : wrongSet;
}

}  // namespace exhaustive
