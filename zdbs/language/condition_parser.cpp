#include "zdbs/language/condition_parser.h"

#include <optional>
#include <string>
#include <utility>

#include "zdbs/base/number.h"
#include "zdbs/base/status.h"
#include "zdbs/language/command_parser.h"
#include "zdbs/language/field_parser.h"

namespace zdbs {
namespace {

SetReference referenceAt(std::size_t column, std::int32_t number) {
    if (number < 0) {
        throw Failure(Status::unknownSet, {std::to_string(number), std::to_string(column)});
    }
    return {number, column};
}

SetReference parseSetNumber(Cursor &cursor) {
    std::size_t column = cursor.column();
    return referenceAt(column, cursor.takeInteger());
}

class ConditionParser {
public:
    explicit ConditionParser(Cursor &cursor) : cursor_(cursor) {}

    /**
     * The place of a position arrives unescaped, as values do: by being the only term it cannot
     * bring others with it.
     */
    Condition whole() {
        Condition result = condition();
        if (positionColumn_ != 0 && terms_ > 1)
            throw Failure(Status::positionWithOthers, {std::to_string(positionColumn_)});
        return result;
    }

private:
    // condition = conjunct { OR conjunct }
    Condition condition() {
        Condition result;
        std::string_view word;
        do {
            cursor_.take(word);
            result.conjuncts.push_back(conjunct());
            word = cursor_.peekWord();
        } while (sameWord(word, "OR"));
        return result;
    }

    // conjunct = term { (AND | AND.T | AND.R | NOT | NOT.T) term }
    Conjunct conjunct() {
        Conjunct result;
        result.reserve(3);  // what steps of a path have
        result.push_back({false, term()});
        while (std::optional<bool> negated = connective())
            result.push_back({*negated, term()});
        return result;
    }

    /** Takes AND or NOT in one of their forms, and tells which. */
    std::optional<bool> connective() {
        std::string_view word = cursor_.peekWord();
        if (word.empty()) return std::nullopt;
        bool isAnd = sameWord(word, "AND") || sameWord(word, "AND.T") || sameWord(word, "AND.R");
        bool isNot = sameWord(word, "NOT") || sameWord(word, "NOT.T");
        if (!isAnd && !isNot) return std::nullopt;
        cursor_.take(word);
        return isNot;
    }

    // term = ( condition ) | S=n | field relation | XPATH(…)
    Term term() {
        if (cursor_.peek() == '(') return nested();
        std::string_view word = cursor_.peekWord();
        if (word.empty()) cursor_.fail("a term");
        ++terms_;
        if (sameWord(word, "S")) return parseSetReference(cursor_);
        if (sameWord(word, "XPATH")) return structural();
        return parseFieldTerm(cursor_);
    }

    std::unique_ptr<Condition> nested() {
        if (++depth_ > maximalNesting) {
            throw Failure(Status::nestedTooDeep,
                          {std::to_string(maximalNesting), std::to_string(cursor_.column())});
        }
        cursor_.expect('(');
        auto result = std::make_unique<Condition>(condition());
        cursor_.expect(')');
        --depth_;
        return result;
    }

    // XPATH(axis,a,b,dir) | XPATH(SELF,n,n,1,op,k)
    Term structural() {
        const std::size_t place = cursor_.placeOfNext();
        cursor_.takeWord();
        cursor_.expect('(');
        AxisTerm result;
        result.axis = axis();
        cursor_.expect(',');
        result.first = parseSetNumber(cursor_);
        cursor_.expect(',');
        result.second = parseSetNumber(cursor_);
        cursor_.expect(',');
        const std::size_t directionPlace = cursor_.placeOfNext();
        result.direction = direction();
        if (cursor_.take(')')) return result;
        if (result.axis != Axis::self) cursor_.fail("')'");
        positionColumn_ = cursor_.columnOf(place);
        return position(result, directionPlace);
    }

    Axis axis() {
        const std::size_t place = cursor_.placeOfNext();
        std::string_view word = cursor_.takeWord();
        std::optional<Axis> axis = axisOf(word);
        if (!axis) throw Failure(Status::unknownAxis, {shown(word), columnOf(place)});
        return *axis;
    }

    int direction() {
        const std::size_t place = cursor_.placeOfNext();
        std::string_view word = cursor_.takeUntil(",()");
        if (word == "1" || word == "2") return word[0] - '0';
        throw Failure(Status::syntaxError, {columnOf(place), "direction 1 or 2"});
    }

    std::string columnOf(std::size_t place) { return std::to_string(cursor_.columnOf(place)); }

    Term position(const AxisTerm &self, std::size_t directionPlace) {
        if (self.first.number != self.second.number) {
            throw Failure(Status::positionOfTwoSets,
                          {std::to_string(self.first.number), std::to_string(self.second.number),
                           std::to_string(self.first.column)});
        }
        if (self.direction != 1) {
            throw Failure(Status::syntaxError, {columnOf(directionPlace), "direction 1"});
        }
        PositionTerm result;
        result.set = self.first;
        cursor_.expect(',');
        result.relation = comparison();
        cursor_.expect(',');
        result.place = place();
        cursor_.expect(')');
        return result;
    }

    Relation comparison() {
        const std::size_t place = cursor_.placeOfNext();
        std::string_view word = cursor_.takeWord();
        for (const ComparisonWords &known : comparisonTable) {
            if (sameWord(known.word, word)) return known.relation;
        }
        throw Failure(Status::unknownOperator, {shown(word), columnOf(place)});
    }

    /** A decimal, in parentheses when the request had it so. */
    double place() {
        int open = 0;
        while (cursor_.take('('))
            ++open;
        const std::size_t begin = cursor_.placeOfNext();
        std::string_view word = cursor_.takeUntil(",()");
        std::optional<double> number = numberOf(word);
        if (!number) throw Failure(Status::badNumber, {shown(word), columnOf(begin)});
        for (; open > 0; --open)
            cursor_.expect(')');
        return *number;
    }

    Cursor &cursor_;
    int depth_ = 0;
    std::size_t terms_ = 0;           ///< not counting brackets
    std::size_t positionColumn_ = 0;  ///< of a position; 0 when there is none
};

}  // namespace

Condition parseCondition(Cursor &cursor) {
    return ConditionParser(cursor).whole();
}

SetReference parseSetReference(Cursor &cursor) {
    std::size_t column = cursor.column();
    if (!sameWord(cursor.takeWord(), "S")) {
        throw Failure(Status::syntaxError, {std::to_string(column), "S=n"});
    }
    cursor.expect('=');
    return referenceAt(column, cursor.takeInteger());
}

}  // namespace zdbs
