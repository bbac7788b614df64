#include "zdbs/xpath/expression.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zdbs::xpath {
namespace {

void takeFrom(const Expression &part, Traits &traits) {
    traits.asksContext |= part.traits.asksContext;
    traits.asksPosition |= part.traits.asksPosition;
    traits.leavesSubtree |= part.traits.leavesSubtree;
    traits.depth = std::max(traits.depth, part.traits.depth + 1);
}

/** Of a predicate only where it looks counts: its context is another. */
void takeFrom(const std::vector<ExpressionPtr> &predicates, Traits &traits) {
    for (const ExpressionPtr &predicate : predicates) {
        traits.leavesSubtree |= predicate->traits.leavesSubtree;
        traits.depth = std::max(traits.depth, predicate->traits.depth + 1);
    }
}

Traits traitsOf(const Call &call) {
    Traits traits;
    traits.type = xpath::traitsOf(call.function).result;
    traits.asksPosition = call.function == Function::last || call.function == Function::position;
    traits.leavesSubtree = call.function == Function::id || call.function == Function::lang;
    traits.asksContext = call.function == Function::lang;
    for (const ExpressionPtr &argument : call.arguments)
        takeFrom(*argument, traits);
    return traits;
}

ValueType typeOf(Operator sign) {
    switch (sign) {
        case Operator::logicalOr:
        case Operator::logicalAnd:
        case Operator::equal:
        case Operator::notEqual:
        case Operator::less:
        case Operator::lessEqual:
        case Operator::greater:
        case Operator::greaterEqual:
            return ValueType::boolean;
        case Operator::add:
        case Operator::subtract:
        case Operator::multiply:
        case Operator::divide:
        case Operator::modulo:
        case Operator::negate:
            return ValueType::number;
        case Operator::unite:
            break;
    }
    return ValueType::nodeSet;
}

Traits traitsOf(const Operation &operation) {
    Traits traits;
    traits.type = typeOf(operation.sign);
    for (const ExpressionPtr &operand : operation.operands)
        takeFrom(*operand, traits);
    return traits;
}

bool goesDown(Axis axis) {
    const Region region = zdbs::traitsOf(axis).region;
    return region == Region::below || region == Region::none;
}

Traits traitsOf(const Path &path) {
    Traits traits;
    traits.asksContext = path.start == Path::Start::context;
    traits.leavesSubtree = path.start == Path::Start::root;
    if (path.from) takeFrom(*path.from, traits);
    takeFrom(path.predicates, traits);
    for (const Step &step : path.steps) {
        traits.leavesSubtree |= !goesDown(step.axis);
        takeFrom(step.predicates, traits);
    }
    traits.type = ValueType::nodeSet;
    return traits;
}

Traits traitsOf(const StringLiteral &) {
    return {.type = ValueType::string};
}

Traits traitsOf(const NumberLiteral &) {
    return {.type = ValueType::number};
}

}  // namespace

ExpressionPtr makeExpression(Expression::Form form, std::size_t offset) {
    const Traits traits = std::visit([](const auto &one) { return traitsOf(one); }, form);
    return std::make_unique<const Expression>(Expression{std::move(form), traits, offset});
}

bool isPositional(const Step &step) {
    return std::any_of(step.predicates.begin(), step.predicates.end(),
                       [](const ExpressionPtr &one) { return isPositional(*one); });
}

bool isContextNode(const Step &step) {
    return step.axis == Axis::self && step.test.kind == NodeTest::Kind::node &&
           step.predicates.empty();
}

bool isContextNode(const Expression &expression) {
    const auto *path = expression.as<Path>();
    return path && path->start == Path::Start::context && path->steps.size() == 1 &&
           isContextNode(path->steps.front());
}

std::string_view nameOf(Operator sign) {
    constexpr std::array<std::string_view, 15> names{
        "or", "and", "=", "!=", "<", "<=", ">", ">=", "+", "-", "*", "div", "mod", "-", "|"};
    return names[static_cast<std::size_t>(sign)];
}

bool isComparison(Operator sign) {
    return sign >= Operator::equal && sign <= Operator::greaterEqual;
}

}  // namespace zdbs::xpath
