#include "zdbs/sql/evaluation.h"

#include "zdbs/sql/set_algebra.h"

namespace zdbs::sql {
namespace {

class Evaluation {
public:
    Evaluation(const SqlSetPtr &setZero, const SetLookup &sets) : setZero_(setZero), sets_(sets) {}

    SqlSetPtr of(const Condition &condition) const {
        SqlSetPtr result;
        for (const Conjunct &terms : condition.conjuncts)
            add(result, of(terms), unionOf);
        return result;
    }

private:
    using Operation = SqlSetPtr (*)(const SqlSet &, const SqlSet &);

    static void add(SqlSetPtr &result, SqlSetPtr more, Operation operation) {
        result = result ? operation(*result, *more) : std::move(more);
    }

    /** Field terms are tested together, on what the sets leave; on every node without any. */
    SqlSetPtr of(const Conjunct &terms) const {
        std::vector<const ConjunctTerm *> fields;
        SqlSetPtr kept;
        SqlSetPtr removed;
        for (const ConjunctTerm &each : terms) {
            if (std::holds_alternative<FieldTerm>(each.term))
                fields.push_back(&each);
            else if (each.negated)
                add(removed, of(each.term), unionOf);
            else
                add(kept, of(each.term), intersection);
        }
        SqlSetPtr result = kept ? kept : filtered(*setZero_, fields);
        if (removed) result = difference(*result, *removed);
        if (kept && !fields.empty()) result = filtered(*result, fields);
        const bool beginsWithField = std::holds_alternative<FieldTerm>(terms.front().term);
        return beginsWithField ? withoutChain(*result) : result;
    }

    /** REQUIRES: no field term. */
    SqlSetPtr of(const Term &term) const {
        if (const auto *set = std::get_if<SetReference>(&term))
            return set->number == 0 ? everyNode() : sqlSet(sets_(*set));
        if (const auto *position = std::get_if<PositionTerm>(&term))
            return atPosition(*operand(position->set), position->relation, position->place);
        if (const auto *axis = std::get_if<AxisTerm>(&term)) {
            const auto join = axis->direction == 1 ? joinFirst : joinSecond;
            return join(operand(axis->first), axis->axis, operand(axis->second));
        }
        return of(*std::get<std::unique_ptr<Condition>>(term));
    }

    /** Numbered, it is no set 0 any more. */
    SqlSetPtr everyNode() const {
        return std::make_shared<SqlSet>(setZero_->state, *setZero_->paths);
    }

    SqlSetPtr operand(SetReference set) const {
        return set.number == 0 ? setZero_ : sqlSet(sets_(set));
    }

    const SqlSetPtr &setZero_;
    const SetLookup &sets_;
};

}  // namespace

SqlSetPtr evaluated(const Condition &condition, const SqlSetPtr &setZero, const SetLookup &sets) {
    return Evaluation(setZero, sets).of(condition);
}

}  // namespace zdbs::sql
