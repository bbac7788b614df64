#include "prg/xml/xpath/processor/leaf_search_sets.h"

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"

namespace {

EAxisType AxisOf(const XPathExpression *expression) {
    const auto *step = dynamic_cast<const XPathAxisLocationStep *>(expression);
    return step != nullptr && step->GetAxis() != nullptr ? step->GetAxis()->GetType() : AXIS_CHILD;
}

}  // namespace

UniversalSearchSet::UniversalSearchSet(XPathExpression *expression, IZfxLogger *logger)
    : SearchSet(logger), m_eAxisType(AxisOf(expression)) {
    LogExpression("UniversalSearchSet::UniversalSearchSet", expression);
}

UniversalSearchSet::~UniversalSearchSet() = default;

void UniversalSearchSet::Execute() {}

ExpressionSearchSet::ExpressionSearchSet(XPathExpression *expression, const char *condition,
                                         IZfxLogger *logger)
    : SearchSet(logger), m_pExpr(expression) {
    LogExpression("ExpressionSearchSet::ExpressionSearchSet", expression);
    if (condition != nullptr) SetCondition(condition);
}

ExpressionSearchSet::~ExpressionSearchSet() = default;

ContextSearchSet::ContextSearchSet(XPathExpression *expression, IZfxLogger *logger)
    : SearchSet(logger), m_pExpr(expression) {
    LogExpression("ContextSearchSet::ContextSearchSet", expression);
}

ContextSearchSet::~ContextSearchSet() = default;

void ContextSearchSet::Execute() {
    TakeMostRecentSet();
    LogProducedSet("ContextSearchSet::Execute");
}
