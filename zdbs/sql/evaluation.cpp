#include "zdbs/sql/evaluation.h"

#include "zdbs/sql/set_algebra.h"

namespace zdbs::sql {
namespace {

/** What each kind of term is by itself. Nothing is asked of the server here. */
struct Terms {
    const SqlSetPtr &setZero;
    const SetLookup &sets;

    /** Numbered, set 0 is no set 0 any more. */
    SqlSetPtr operator()(SetReference set) const {
        return set.number == 0 ? std::make_shared<SqlSet>(setZero->state, *setZero->paths)
                               : sqlSet(sets(set));
    }
    SqlSetPtr operator()(const PositionTerm &term) const {
        return atPosition(*operand(term.set), term.relation, term.place);
    }
    SqlSetPtr operator()(const AxisTerm &term) const {
        return (term.direction == 1 ? joinFirst : joinSecond)(operand(term.first), term.axis,
                                                              operand(term.second));
    }
    SqlSetPtr operator()(const std::unique_ptr<Condition> &nested) const {
        return evaluated(*nested, setZero, sets);
    }
    SqlSetPtr operator()(const FieldTerm &) const { return nullptr; }

private:
    SqlSetPtr operand(SetReference set) const {
        return set.number == 0 ? setZero : sqlSet(sets(set));
    }
};

/**
 * Sets are intersected in the order in which they are written, as a chain is the first one's. Of
 * fields that are tested together a value that one rejects is hit by none, so they are one filter;
 * it comes last, so that hits are those in what is left, or is the first set where no other is.
 */
SqlSetPtr evaluated(const Conjunct &conjunct, const Terms &terms) {
    std::vector<const ConjunctTerm *> fields;
    SqlSetPtr result;
    SqlSetPtr without;
    for (const ConjunctTerm &each : conjunct) {
        const SqlSetPtr set = std::visit(terms, each.term);
        if (!set) {
            fields.push_back(&each);
            continue;
        }
        if (each.negated)
            without = without ? unionOf(*without, *set) : set;
        else
            result = result ? intersection(*result, *set) : set;
    }
    const bool isFiltered = !result;
    if (isFiltered) result = filtered(*terms.setZero, fields);
    if (without) result = difference(*result, *without);
    if (!isFiltered && !fields.empty()) result = filtered(*result, fields);
    const bool beginsWithField = std::holds_alternative<FieldTerm>(conjunct.front().term);
    return beginsWithField ? withoutChain(*result) : result;
}

}  // namespace

SqlSetPtr evaluated(const Condition &condition, const SqlSetPtr &setZero, const SetLookup &sets) {
    const Terms terms{setZero, sets};
    SqlSetPtr result;
    for (const Conjunct &each : condition.conjuncts) {
        const SqlSetPtr set = evaluated(each, terms);
        result = result ? unionOf(*result, *set) : set;
    }
    return result;
}

}  // namespace zdbs::sql
