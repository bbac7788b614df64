// Predicates that ask for nothing but the name of the context node: evaluated once for each name.
#include <algorithm>
#include <utility>

#include "zdbs/xpath/evaluator.h"

namespace zdbs::xpath {
namespace {

bool isNameFunction(Function function) {
    return function == Function::name || function == Function::localName ||
           function == Function::namespaceUri;
}

/** Whether nodes of one name have one value. */
bool asksNameOnly(const Expression &expression) {
    const auto ofAll = [](const std::vector<ExpressionPtr> &parts) {
        return std::all_of(parts.begin(), parts.end(),
                           [](const ExpressionPtr &part) { return asksNameOnly(*part); });
    };
    if (const auto *operation = expression.as<Operation>()) return ofAll(operation->operands);
    const auto *call = expression.as<Call>();
    if (!call) return !expression.as<Path>();
    if (isNameFunction(call->function) && isContextNode(*call->arguments[0])) return true;
    return call->function != Function::lang && call->function != Function::id &&
           ofAll(call->arguments);
}

}  // namespace

std::optional<NodeSet> Evaluator::byNames(const NodeSet &set, const Expression &predicate) {
    if (!asksNameOnly(predicate)) return std::nullopt;
    const auto passes = [&](Node example) {
        return evaluate(predicate, {.nodes = {&example, 1}}).asTruths().truth(0);
    };
    NodeSet left = collection_.none();
    for (ResultSetPtr &part : collection_.tree().byName(*set.nodes)) {
        NodeSet named{std::move(part), {}};
        if (passes(collection_.firstOf(named))) left = collection_.united(left, named);
    }
    if (!set.roots.empty() && passes(collection_.root(set.roots.front()))) left.roots = set.roots;
    return left;
}

}  // namespace zdbs::xpath
