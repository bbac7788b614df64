#include "zdbs/xpath/asked_place.h"

#include <cmath>

#include "zdbs/xpath/comparison.h"

namespace zdbs::xpath {
namespace {

constexpr double furthest = 1e9;

bool isCall(const Expression &expression, Function function) {
    const auto *call = expression.as<Call>();
    return call && call->function == function;
}

std::optional<double> placeOf(const Expression &expression) {
    if (isCall(expression, Function::last)) return -1;
    if (const auto *literal = expression.as<NumberLiteral>()) {
        const bool isPlace = literal->number >= 1 && literal->number < furthest;
        return isPlace ? std::optional(literal->number) : std::nullopt;
    }
    const auto *operation = expression.as<Operation>();
    if (!operation || operation->sign != Operator::subtract) return std::nullopt;
    const auto *back = operation->operands[1]->as<NumberLiteral>();
    const bool isWhole =
        back && back->number < furthest && std::floor(back->number) == back->number;
    if (!isWhole || !isCall(*operation->operands[0], Function::last)) return std::nullopt;
    return -1 - back->number;
}

}  // namespace

std::optional<AskedPlace> askedPlace(const Expression &predicate) {
    const auto *operation = predicate.as<Operation>();
    if (!operation || !isComparison(operation->sign)) {
        const auto place = placeOf(predicate);
        return place ? std::optional(AskedPlace{Relation::equal, *place}) : std::nullopt;
    }
    const Relation relation = relationOf(operation->sign);
    const Expression &left = *operation->operands[0];
    const Expression &right = *operation->operands[1];
    const bool isTurned = isCall(right, Function::position);
    if (!isTurned && !isCall(left, Function::position)) return std::nullopt;
    const auto place = placeOf(isTurned ? left : right);
    if (!place) return std::nullopt;
    return AskedPlace{isTurned ? turned(relation) : relation, *place};
}

Reach reachOf(const Expression &predicate) {
    const auto asked = askedPlace(predicate);
    if (!asked) return {};
    const bool isFromTheFar = asked->place < 0;
    switch (isFromTheFar ? turned(asked->relation) : asked->relation) {
        case Relation::equal:
        case Relation::less:
        case Relation::lessEqual:
            return {static_cast<std::size_t>(std::abs(asked->place)), isFromTheFar};
        case Relation::notEqual:
        case Relation::greater:
        case Relation::greaterEqual:
        case Relation::contains:
        case Relation::notEmpty:
        case Relation::any:
            break;
    }
    return {};
}

}  // namespace zdbs::xpath
