// Translation of a node by its kind.
#include <string>

#include "prg/xml/xpath/processor/context_wrap.h"
#include "prg/xml/xpath/processor/leaf_search_sets.h"
#include "prg/xml/xpath/processor/raise_exception.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"

// This function calls itself through paths and predicates: it and those on the way keep their
// frames small and leave texts to functions that do not come back here.
SearchSet *ZXProcessorMain::ProcessNode(XPathExpression *node, std::int32_t context) {
    if (node == nullptr) RaiseXPathException("Cannot process a NULL XPath parser node.");
    // A unary expression is a pair as well, so that it comes first.
    if (auto *unary = dynamic_cast<XPathUnaryExpression *>(node)) {
        return ProcessUnary(unary, context);
    }
    if (auto *pair = dynamic_cast<XPathExpressionPair *>(node)) return ProcessPair(pair, context);
    if (auto *paths = dynamic_cast<XPathUnionExpression *>(node)) {
        return ProcessUnion(paths, context);
    }
    if (auto *path = dynamic_cast<XPathPath *>(node)) return ProcessPath(path, context);
    if (auto *step = dynamic_cast<XPathLocationStep *>(node)) return ProcessStep(step, context);
    return nullptr;
}

SearchSet *ZXProcessorMain::AddExpressionSet(XPathExpression *expression, const char *condition) {
    return AddSearchSet(new ExpressionSearchSet(expression, condition, m_pLogger));
}

SearchSet *ZXProcessorMain::ProcessUnary(XPathUnaryExpression *unary, std::int32_t context) {
    SearchSet *operand = ProcessNode(unary->Get(), 0);
    if (!unary->IsNegated() || operand == nullptr) return operand;
    return NegateSet(unary, operand, context);
}

SearchSet *ZXProcessorMain::NegateSet(XPathUnaryExpression *unary, SearchSet *operand,
                                      std::int32_t context) {
    const ContextWrap wrap(context);
    std::string condition(wrap.Prefix());
    condition.append(" N_ID=$ ");
    if (operand->GetRecordCount() > 0) {
        condition.append("NOT.T S=").append(std::to_string(operand->GetNumber())).append(" ");
    }
    condition.append(wrap.Suffix());
    SearchSet *rest = AddExpressionSet(unary, condition.c_str());
    rest->Execute();
    return rest;
}

SearchSet *ZXProcessorMain::ProcessUnion(XPathUnionExpression *paths, std::int32_t context) {
    const ContextWrap wrap(context);
    std::string condition(wrap.Prefix());
    for (int i = 0; i < paths->GetSize(); ++i) {
        SearchSet *member = ProcessNode(paths->Get(i), 0);
        if (i > 0) condition.append(" OR ");
        condition.append("S=").append(std::to_string(member != nullptr ? member->GetNumber() : 0));
    }
    condition.append(wrap.Suffix());
    PushExpr(paths);
    return AddExpressionSet(paths, condition.c_str());
}
