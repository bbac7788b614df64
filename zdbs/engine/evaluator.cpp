#include "zdbs/engine/evaluator.h"

#include <utility>
#include <variant>
#include <vector>

#include "zdbs/sets/set_algebra.h"

namespace zdbs {
namespace {

/** A conjunct taken apart: its field terms, and its sets, those to keep and those to take away. */
struct ConjunctParts {
    NodeFilter filter;
    std::vector<const Term *> kept;
    std::vector<const Term *> removed;
};

ConjunctParts partsOf(const Conjunct &conjunct) {
    ConjunctParts parts;
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

std::string planOf(const Term &term) {
    if (const auto *axis = std::get_if<AxisTerm>(&term)) {
        return "join on " + std::string(nameOf(axis->axis));
    }
    if (std::holds_alternative<PositionTerm>(term)) return "positions";
    if (const auto *nested = std::get_if<std::unique_ptr<Condition>>(&term)) {
        return planOf(**nested);
    }
    return "sets";
}

std::string planOf(const Conjunct &conjunct) {
    ConjunctParts parts = partsOf(conjunct);
    std::string plan;
    auto add = [&plan](const std::string &step) {
        if (plan.find(step) == std::string::npos) plan += (plan.empty() ? "" : ", ") + step;
    };
    for (const Term *term : parts.kept)
        add(planOf(*term));
    for (const Term *term : parts.removed)
        add(planOf(*term));
    if (!parts.filter.empty()) add(parts.kept.empty() ? "scan of all nodes" : "scan of the set");
    return plan;
}

}  // namespace

Evaluator::Evaluator(const NodeTable &table, const Universe &universe, NodeSetLookup sets)
    : table_(table), universe_(universe), sets_(std::move(sets)) {}

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
    ConjunctParts parts = partsOf(terms);
    NodeSetPtr result;
    for (const Term *kept : parts.kept) {
        NodeSetPtr set = term(*kept);
        result = result ? intersect(result, set) : set;
    }
    std::vector<NodeSetPtr> removed;
    for (const Term *set : parts.removed)
        removed.push_back(term(*set));

    if (!result) result = filtered(universe_.set(), parts.filter);
    for (const NodeSetPtr &set : removed)
        result = subtract(result, set);
    if (!parts.kept.empty()) result = filtered(result, parts.filter);
    bool beginsWithField = std::holds_alternative<FieldTerm>(terms.front().term);
    return beginsWithField ? withoutChain(result) : result;
}

NodeSetPtr Evaluator::filtered(const NodeSetPtr &set, const NodeFilter &filter) const {
    if (filter.empty()) return set;
    NodeSetPtr kept = restrict(set, filter.select(table_, set->ids()));
    std::vector<ValueTest> tests = filter.valueTests();
    if (tests.empty()) return kept;

    std::vector<ValueLeafPtr> leaves = kept->leaves();
    leaves.push_back(std::make_shared<ValueLeaf>(ValueLeaf{std::move(tests), kept->nodes()}));
    return makeSet({kept->nodes(), kept->chain(), kept->pairs(), std::move(leaves)});
}

NodeSetPtr Evaluator::term(const Term &term) const {
    if (const auto *set = std::get_if<SetReference>(&term)) return reference(*set);
    if (const auto *axis = std::get_if<AxisTerm>(&term)) {
        return join(table_, universe_, axis->axis, axisSet(axis->first), axisSet(axis->second),
                    static_cast<Direction>(axis->direction));
    }
    if (const auto *position = std::get_if<PositionTerm>(&term)) {
        return selectPositions(table_, axisSet(position->set),
                               {position->relation, position->place});
    }
    return evaluate(*std::get<std::unique_ptr<Condition>>(term));
}

/** A set by itself. Set 0 becomes a set of its own: numbered, it is no set 0 any more. */
NodeSetPtr Evaluator::reference(SetReference reference) const {
    if (reference.number != 0) return sets_(reference);
    return makeSet({universe_.set()->nodes(), nullptr, nullptr, {}});
}

/** A set as XPATH takes it, where set 0 is more than its nodes. */
NodeSetPtr Evaluator::axisSet(SetReference reference) const {
    return reference.number != 0 ? sets_(reference) : universe_.set();
}

std::string planOf(const Condition &condition) {
    std::string plan;
    for (const Conjunct &conjunct : condition.conjuncts) {
        std::string part = planOf(conjunct);
        if (plan.find(part) == std::string::npos) plan += (plan.empty() ? "" : "; ") + part;
    }
    return plan;
}

}  // namespace zdbs
