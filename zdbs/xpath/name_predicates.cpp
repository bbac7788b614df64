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
    const Nodes nodes = collection_.nodesOf(set);
    const NamesOfNodes names = collection_.names(nodes, set);
    std::vector<Node> examples(names.distinct.size(), Node{});
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        Node &example = examples[names.which[i]];
        if (example == Node{}) example = nodes[i];
    }
    std::vector<char> passes(examples.size());
    for (std::size_t name = 0; name < examples.size(); ++name) {
        if (examples[name] == Node{}) continue;
        const Value value = evaluate(predicate, {.nodes = {&examples[name], 1}}).asTruths();
        passes[name] = static_cast<char>(value.truth(0));
    }
    Nodes left;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (passes[names.which[i]] != 0) left.push_back(nodes[i]);
    }
    return collection_.setOf(left);
}

}  // namespace zdbs::xpath
