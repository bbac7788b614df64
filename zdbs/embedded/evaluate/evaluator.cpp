#include "zdbs/embedded/evaluate/evaluator.h"

#include <utility>
#include <variant>
#include <vector>

#include "zdbs/embedded/evaluate/path_filter.h"

namespace zdbs::embedded {
namespace {

/** A conjunct taken apart: its field terms, and its sets, those to keep and those to take away. */
struct ConjunctParts {
    NodeFilter filter;
    std::vector<const Term *> kept;
    std::vector<const Term *> removed;
};

ConjunctParts partsOf(const Conjunct &conjunct, RecordId before) {
    ConjunctParts parts{NodeFilter(before), {}, {}};
    for (const ConjunctTerm &entry : conjunct) {
        if (const auto *field = std::get_if<FieldTerm>(&entry.term)) {
            parts.filter.add(*field, entry.negated);
        } else {
            (entry.negated ? parts.removed : parts.kept).push_back(&entry.term);
        }
    }
    return parts;
}

/** What is left when the first operand was no set of nodes: a chain is the first operand's. */
NodeSetPtr withoutChain(const NodeSetPtr &set) {
    if (!set->chain()) return set;
    return makeSet({set->nodes(), nullptr, set->pairs(), set->leaves()});
}

}  // namespace

DatabaseState::DatabaseState(const NodeTable &nodes, RecordId numbersBefore)
    : table(nodes), before(numbersBefore), universe(nodes) {
    const PathTable *paths = nodes.paths();
    if (paths != nullptr) summary = std::make_unique<const SummaryIndex>(*paths);
}

const ChildTerms Evaluator::noTerms;

Evaluator::Evaluator(const DatabaseState &state, NodeSetLookup sets, PlanPtr plan,
                     const ChildTerms &known)
    : state_(state), sets_(std::move(sets)), plan_(std::move(plan)), known_(known) {}

SecondSide Evaluator::secondSide(const AxisTerm &term) const {
    return secondSideOf(state_.table, axisSet(term.first), axisSet(term.second),
                        static_cast<Direction>(term.direction));
}

NodeSetPtr Evaluator::evaluate(const Condition &condition) const {
    std::vector<NodeSetPtr> sets;
    for (const Conjunct &terms : condition.conjuncts)
        sets.push_back(conjunct(terms));
    return unite(sets);
}

/**
 * Intersection and difference commute as far as nodes are concerned, so the sets come
 * first and the filter sees as few nodes as can be. The chain is that of the first
 * operand as written: where a field term stands first, there is none.
 */
NodeSetPtr Evaluator::conjunct(const Conjunct &terms) const {
    ConjunctParts parts = partsOf(terms, state_.before);
    NodeSetPtr result;
    for (const Term *kept : parts.kept) {
        NodeSetPtr set = term(*kept);
        result = result ? intersect(result, set) : set;
    }
    std::vector<NodeSetPtr> removed;
    for (const Term *set : parts.removed)
        removed.push_back(term(*set));

    if (!result) result = filtered(state_.universe.set(), parts.filter);
    for (const NodeSetPtr &set : removed)
        result = subtract(result, set);
    if (!parts.kept.empty()) result = filtered(result, parts.filter);
    bool beginsWithField = std::holds_alternative<FieldTerm>(terms.front().term);
    return beginsWithField ? withoutChain(result) : result;
}

NodeSetPtr Evaluator::filtered(const NodeSetPtr &set, const NodeFilter &filter) const {
    if (filter.empty()) return set;
    NodeSetPtr kept = restrict(set, selected(set, filter));
    std::vector<ValueTest> tests = filter.valueTests();
    if (tests.empty()) return kept;

    std::vector<ValueLeafPtr> leaves = kept->leaves();
    leaves.push_back(std::make_shared<ValueLeaf>(ValueLeaf{std::move(tests), kept->nodes()}));
    return makeSet({kept->nodes(), kept->chain(), kept->pairs(), std::move(leaves)});
}

NodeListPtr Evaluator::selected(const NodeSetPtr &set, const NodeFilter &filter) const {
    const bool isAll = set == state_.universe.set();
    if (state_.summary) {
        const PathFilter byPath(*state_.table.paths(), *state_.summary, filter);
        return isAll ? byPath.selectOfAll(plan_) : byPath.select(set->nodes(), plan_);
    }
    plan_->note(isAll ? PlanStep::scanOfAll : PlanStep::scanOfSet);
    return makeList(filter.select(state_.table, set->ids()));
}

NodeSetPtr Evaluator::term(const Term &term) const {
    if (const auto *set = std::get_if<SetReference>(&term)) return reference(*set);
    if (const auto *axis = std::get_if<AxisTerm>(&term)) {
        const auto known = known_.find(axis);
        return join(state_.table, state_.universe, axis->axis, axisSet(axis->first),
                    axisSet(axis->second), static_cast<Direction>(axis->direction), plan_.get(),
                    known != known_.end() ? std::optional(known->second) : std::nullopt);
    }
    if (const auto *position = std::get_if<PositionTerm>(&term)) {
        return selectPositions(state_.table, axisSet(position->set),
                               {position->relation, position->place}, plan_.get());
    }
    return evaluate(*std::get<std::unique_ptr<Condition>>(term));
}

/** A set by itself. Set 0 becomes a set of its own: numbered, it is no set 0 any more. */
NodeSetPtr Evaluator::reference(SetReference reference) const {
    plan_->note(PlanStep::sets);
    if (reference.number != 0) return sets_(reference);
    return makeSet({state_.universe.set()->nodes(), nullptr, nullptr, {}});
}

/** A set as XPATH takes it, where set 0 is more than its nodes. */
NodeSetPtr Evaluator::axisSet(SetReference reference) const {
    return reference.number != 0 ? sets_(reference) : state_.universe.set();
}

}  // namespace zdbs::embedded
