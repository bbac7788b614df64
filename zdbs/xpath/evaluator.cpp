#include "zdbs/xpath/evaluator.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "zdbs/xpath/comparison.h"

namespace zdbs::xpath {
namespace {

/** The places of nodes among distinct ones, as a mapping. */
Mapping placesOf(std::span<const Node> nodes, std::span<const Node> distinct) {
    Mapping mapping;
    mapping.which.reserve(nodes.size());
    for (const Node node : nodes)
        mapping.which.push_back(static_cast<std::uint32_t>(placeIn(distinct, node)));
    return mapping;
}

/** What contexts have that are mapped to contexts which have a value. */
Value remapped(const Value &value, const Mapping &mapping) {
    if (value.mapping().isConstant) return value;
    Mapping both;
    both.which.reserve(mapping.which.size());
    for (const std::uint32_t which : mapping.which)
        both.which.push_back(static_cast<std::uint32_t>(value.mapping()(which)));
    return value.mapped(std::move(both));
}

double calculated(Operator sign, double a, double b) {
    switch (sign) {
        case Operator::add:
            return a + b;
        case Operator::subtract:
            return a - b;
        case Operator::multiply:
            return a * b;
        case Operator::divide:
            return a / b;
        case Operator::modulo:
            return std::fmod(a, b);
        case Operator::logicalOr:
        case Operator::logicalAnd:
        case Operator::equal:
        case Operator::notEqual:
        case Operator::less:
        case Operator::lessEqual:
        case Operator::greater:
        case Operator::greaterEqual:
        case Operator::negate:
        case Operator::unite:
            break;
    }
    return -a;
}

}  // namespace

Value Evaluator::evaluate(const Expression &expression) {
    Value value = evaluate(expression, {.isCollection = true});
    collection_.tree().requireIntact();
    return value;
}

Value Evaluator::evaluate(const Expression &expression, const Contexts &contexts) {
    const Traits &traits = expression.traits;
    const bool isLiteral = expression.as<StringLiteral>() || expression.as<NumberLiteral>();
    if (contexts.isCollection || traits.asksPosition || isLiteral)
        return compute(expression, contexts);
    if (!traits.asksContext) return byDocument(expression, contexts);
    if (!isAscending(contexts.nodes)) return ofDistinct(expression, contexts);
    return compute(expression, contexts);
}

Value Evaluator::byDocument(const Expression &expression, const Contexts &contexts) {
    Nodes roots;
    Nodes rootOfEach;
    rootOfEach.reserve(contexts.size());
    if (collection_.documentCount() == 1) {
        roots = {collection_.root(0)};
    } else {
        for (const Node node : contexts.nodes)
            rootOfEach.push_back(collection_.rootOf(node));
        roots = rootOfEach;
        std::sort(roots.begin(), roots.end());
        roots.erase(std::unique(roots.begin(), roots.end()), roots.end());
    }
    auto known = ofDocuments_.find(&expression);
    if (known == ofDocuments_.end() || known->second.roots != roots) {
        ofDocuments_.erase(&expression);
        Value value = compute(expression, {.nodes = roots});
        known = ofDocuments_.emplace(&expression, OfDocuments{roots, std::move(value)}).first;
    }
    const Value &value = known->second.value;
    if (roots.size() == 1) return value.mapped({true, {}});
    return remapped(value, placesOf(rootOfEach, roots));
}

Value Evaluator::ofDistinct(const Expression &expression, const Contexts &contexts) {
    Nodes distinct(contexts.nodes.begin(), contexts.nodes.end());
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    const Value value = compute(expression, {.nodes = distinct});
    return remapped(value, placesOf(contexts.nodes, distinct));
}

Value Evaluator::compute(const Expression &expression, const Contexts &contexts) {
    return std::visit([&](const auto &form) { return of(form, contexts); }, expression.form);
}

Value Evaluator::of(const StringLiteral &literal, const Contexts &) {
    return Value::constant(literal.text);
}

Value Evaluator::of(const NumberLiteral &literal, const Contexts &) {
    return Value::constant(literal.number);
}

Value Evaluator::of(const Operation &operation, const Contexts &contexts) {
    if (operation.sign == Operator::unite) return united(operation, contexts);
    if (operation.sign == Operator::logicalOr || operation.sign == Operator::logicalAnd)
        return logical(operation, contexts);
    if (!isComparison(operation.sign)) return arithmetic(operation, contexts);
    const Value left = evaluate(*operation.operands[0], contexts);
    return compared(operation.sign, left, evaluate(*operation.operands[1], contexts),
                    contexts.size());
}

Value Evaluator::logical(const Operation &operation, const Contexts &contexts) {
    const bool isOr = operation.sign == Operator::logicalOr;
    Value result = evaluate(*operation.operands[0], contexts).asTruths();
    for (std::size_t next = 1; next < operation.operands.size(); ++next) {
        // What the first operands decide for all contexts is not asked of the next one.
        const Value::Truths &sofar = result.truths();
        const char decided = isOr ? 1 : 0;
        if (std::all_of(sofar.begin(), sofar.end(), [&](char c) { return c == decided; }))
            return result;
        const Value more = evaluate(*operation.operands[next], contexts).asTruths();
        const Joined joined({result, more}, contexts.size());
        Value::Truths truths;
        truths.reserve(joined.size());
        for (std::size_t place = 0; place < joined.size(); ++place) {
            const char a = result.truths()[joined.entry(result, place)];
            const char b = more.truths()[joined.entry(more, place)];
            truths.push_back(isOr ? a | b : a & b);
        }
        result = {std::move(truths), joined.mapping()};
    }
    return result;
}

Value Evaluator::arithmetic(const Operation &operation, const Contexts &contexts) {
    std::vector<Value> operands;
    for (const ExpressionPtr &operand : operation.operands)
        operands.push_back(evaluate(*operand, contexts).asNumbers());
    if (operands.size() == 1) operands.push_back(Value::constant(0.0));
    const Joined joined(std::move(operands), contexts.size());
    const Value &left = joined.values()[0];
    const Value &right = joined.values()[1];
    Value::Numbers numbers;
    numbers.reserve(joined.size());
    for (std::size_t place = 0; place < joined.size(); ++place) {
        numbers.push_back(calculated(operation.sign, left.numbers()[joined.entry(left, place)],
                                     right.numbers()[joined.entry(right, place)]));
    }
    return {std::move(numbers), joined.mapping()};
}

Value Evaluator::united(const Operation &operation, const Contexts &contexts) {
    std::vector<Value> operands;
    for (const ExpressionPtr &operand : operation.operands)
        operands.push_back(evaluate(*operand, contexts));
    const bool areSets = std::all_of(operands.begin(), operands.end(), [](const Value &value) {
        return value.mapping().isConstant && value.nodes().set();
    });
    if (areSets) {
        NodeSet all = *operands.front().nodes().set();
        for (std::size_t next = 1; next < operands.size(); ++next)
            all = collection_.united(all, *operands[next].nodes().set());
        return {std::make_shared<const NodeColumn>(collection_, std::move(all)), {true, {}}};
    }
    const Joined joined(std::move(operands), contexts.size());
    Groups groups;
    for (std::size_t place = 0; place < joined.size(); ++place) {
        for (const Value &value : joined.values())
            groups.add(value.nodes().groups()[joined.entry(value, place)]);
        groups.closeSorted();
    }
    return {std::make_shared<const NodeColumn>(collection_, std::move(groups)), joined.mapping()};
}

Value Evaluator::of(const Path &path, const Contexts &contexts) {
    const auto column = [this](auto nodes) {
        return std::make_shared<const NodeColumn>(collection_, std::move(nodes));
    };
    if (path.from) {
        const Value from = evaluate(*path.from, contexts);
        if (from.nodes().set()) return {column(ofOne(path, *from.nodes().set())), from.mapping()};
        return {column(ofMany(path, from.nodes().groups())), from.mapping()};
    }
    if (contexts.isCollection) return {column(ofOne(path, collection_.roots())), {true, {}}};
    if (contexts.size() == 1)
        return {column(ofOne(path, collection_.setOf(contexts.nodes))), {true, {}}};
    return {column(ofMany(path, Groups::ofEach(contexts.nodes))), {}};
}

}  // namespace zdbs::xpath
