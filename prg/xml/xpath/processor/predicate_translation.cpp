// Translation of predicates.
#include <memory>

#include "prg/xml/xpath/processor/combined_search_sets.h"
#include "prg/xml/xpath/processor/raise_exception.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"

namespace {

bool IsAndOr(const XPathExpressionPair &pair) {
    return pair.GetOperator() == PAIRSEP_AND || pair.GetOperator() == PAIRSEP_OR;
}

// The axis that leads from the step with the predicate to what the predicate found; AXIS_INVALID
// leaves it to the sets.
EAxisType PredicateAxis(const XPathExpression *expression) {
    if (const auto *pair = dynamic_cast<const XPathExpressionPair *>(expression)) {
        return pair->GetAxisType();
    }
    const auto *path = dynamic_cast<const XPathPath *>(expression);
    if (path != nullptr) expression = path->Get(0);
    const auto *step = dynamic_cast<const XPathAxisLocationStep *>(expression);
    return step != nullptr && step->GetAxis() != nullptr ? step->GetAxis()->GetType()
                                                         : AXIS_INVALID;
}

XPathExpression *ExpressionOf(XPathExpression *entry) {
    const auto *predicate = dynamic_cast<const XPathPredicate *>(entry);
    return predicate != nullptr ? predicate->GetExpression() : nullptr;
}

}  // namespace

// All predicates of a step are evaluated for the same set and then intersected; they are not
// chained one after another: meant. Null without predicates.
SearchSet *ZXProcessorMain::ProcessPredicates(SearchSet *set, XPathLocationStep *step) {
    const auto *axisStep = dynamic_cast<const XPathAxisLocationStep *>(step);
    if (axisStep == nullptr || axisStep->GetPredicates() == nullptr) return nullptr;
    const XPathExpressionList &predicates = *axisStep->GetPredicates();
    SearchSet *held = nullptr;
    for (int i = 0; i < predicates.GetSize(); ++i) {
        XPathExpression *expression = ExpressionOf(predicates.Get(i));
        SearchSet *found = ProcessPredicate(set, expression);
        if (found == nullptr) {
            RaiseXPathException("Unexpected NULL return from evaluation of predicate.");
        }
        held = held == nullptr ? found : IntersectPredicates(expression, found, held);
    }
    return held;
}

SearchSet *ZXProcessorMain::IntersectPredicates(XPathExpression *expression, SearchSet *newest,
                                                SearchSet *held) {
    auto *both = new IntersectionSearchSet(expression, m_pLogger);
    AddSearchSet(both);
    both->AddSearchSet(newest);
    both->AddSearchSet(held);
    return both;
}

SearchSet *ZXProcessorMain::ProcessPredicate(SearchSet *set, XPathExpression *expression) {
    auto *pair = dynamic_cast<XPathExpressionPair *>(expression);
    if (pair != nullptr && IsAndOr(*pair)) return ProcessAndOr(set, pair);
    SearchSet *found = ProcessNode(expression, 0);
    // Positions have been counted within the step's set already: nothing is left to join.
    if (found == nullptr || !found->GetCrossConnect()) return found;
    return ConnectPredicate(set, found, expression);
}

SearchSet *ZXProcessorMain::ProcessAndOr(SearchSet *set, XPathExpressionPair *pair) {
    SearchSet *left = ProcessPredicate(set, pair->GetLeft());
    if (left == nullptr) return nullptr;
    SearchSet *right = ProcessPredicate(set, pair->GetRight());
    if (right == nullptr) return nullptr;
    if (pair->GetOperator() == PAIRSEP_AND) return IntersectPredicates(pair, left, right);
    auto *either = new UnionSearchSet(pair, m_pLogger);
    AddSearchSet(either);
    either->AddSearchSet(left);
    either->AddSearchSet(right);
    return either;
}

SearchSet *ZXProcessorMain::ConnectPredicate(SearchSet *set, SearchSet *found,
                                             XPathExpression *expression) {
    auto cross = std::make_unique<CrossSearchSet>(m_pLogger);
    cross->SetChildSearchSet(found, false);
    cross->SetParentSearchSet(set, true);
    cross->SetAxisType(PredicateAxis(expression));
    cross->Execute();
    return AddSearchSet(cross.release());
}
