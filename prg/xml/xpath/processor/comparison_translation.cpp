// Translation of pairs: comparisons of a step's values with a literal.
#include "prg/xml/xpath/processor/comparison.h"

#include <cassert>

#include "foundation/keyword.h"
#include "prg/xml/xpath/processor/buffer_text.h"
#include "prg/xml/xpath/processor/context_wrap.h"
#include "prg/xml/xpath/processor/leaf_search_sets.h"
#include "prg/xml/xpath/processor/messages.h"
#include "prg/xml/xpath/processor/raise_exception.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"

namespace {

XPathAxisLocationStep *ToAxisStep(XPathExpression *expression) {
    auto *step = dynamic_cast<XPathAxisLocationStep *>(expression);
    return step != nullptr && step->GetAxis() != nullptr ? step : nullptr;
}

// Which side is the step and which the literal. A literal on the left counts only as a bare one:
// in a filter expression, as the grammar writes it, it is a location step itself.
Comparison ReadComparison(XPathExpressionPair *pair) {
    auto *path = dynamic_cast<XPathPath *>(pair->GetLeft());
    XPathExpression *left = ZXProcessorMain::ToLocationStep(pair->GetLeft());
    XPathExpression *right = ZXProcessorMain::ToScalar(pair->GetRight());
    if (left == nullptr) left = ZXProcessorMain::ToScalar(pair->GetLeft());
    if (right == nullptr) {
        right = ZXProcessorMain::ToLocationStep(pair->GetRight());
        path = dynamic_cast<XPathPath *>(pair->GetRight());
    }
    if (!pair->IsComparison()) {
        RaiseXPathException(translation_message::noPair);
    }
    const Comparison straight{pair, path, ToAxisStep(left), dynamic_cast<XPathScalar *>(right)};
    if (straight.step != nullptr && straight.scalar != nullptr) return straight;
    const Comparison exchanged{pair, path, ToAxisStep(right), dynamic_cast<XPathScalar *>(left)};
    if (exchanged.step != nullptr && exchanged.scalar != nullptr) return exchanged;
    RaiseXPathException(translation_message::noComparison);
}

// Starts the condition with the field that the step's values are in; leaves it empty for the
// context node. Returns the axis that joins the found nodes to the step before.
EAxisType BeginCondition(const ZXProcessorMain &processor, XPathAxis &axis, const char *prefix,
                         CStringBuffer &condition) {
    if (axis.IsChild() && HasTypeTest(axis, NTYPE_TEXT)) {
        axis.SetType(AXIS_DESCENDANT);
        condition.append(prefix);
    } else if (axis.IsAttribute()) {
        condition.append(prefix).append("N_TYPE=ATTRIBUTE");
    } else if (axis.IsSelf()) {
        return AXIS_SELF;
    } else {
        RaiseXPathException(translation_message::comparedAxis, axis.GetName());
    }
    processor.BuildNameCondition(axis.GetNodeTest(), condition);
    condition.append(" AND.T N_TVALUE");
    return axis.IsAttribute() ? AXIS_ATTRIBUTE : AXIS_DESCENDANT;
}

void AppendAnyValue(EPairOperator op, CStringBuffer &condition) {
    if (op != PAIRSEP_NE && op != PAIRSEP_GE) {
        RaiseXPathException(translation_message::comparedEmptyText);
    }
    condition.append("=$");
}

void AppendRelation(EPairOperator op, const CStringBuffer &value, CStringBuffer &condition) {
    if (value.length() == 0) {
        AppendAnyValue(op, condition);
    } else if (const char *sign = WordsOf(op).sign) {
        condition.append(sign).append("\"").append(value).append("\"");
    } else {
        condition.append("=&").append(value).append("&");
    }
}

}  // namespace

const OperatorWords &WordsOf(EPairOperator op) {
    // From PAIRSEP_EQ to PAIRSEP_GE.
    static constexpr OperatorWords words[] = {
        {nullptr, "EQ"}, {"<>", "NE"}, {">", "GT"}, {"<", "LT"}, {"<=", "LE"}, {">=", "GE"},
    };
    assert(__is_comparison_op(op));
    return words[op - PAIRSEP_EQ];
}

XPathFunction *CalledFunction(const XPathAxisLocationStep &step) {
    return dynamic_cast<XPathFunction *>(step.GetAxis()->GetNodeTest());
}

bool HasTypeTest(const XPathAxis &axis, ENodeType type) {
    const auto *test = dynamic_cast<const XPathNodeTypeTest *>(axis.GetNodeTest());
    return test != nullptr && test->GetNodeType() == type;
}

bool HasName(const XPathFunction &function, const char *name) {
    CStringBuffer text(256);
    function.GetName(text);
    return equalsNoCase(BufferView(text), name);
}

void LiteralText(const XPathScalar &scalar, CStringBuffer &value) {
    value.clear();
    scalar.ToString(value, false, false, false);
}

SearchSet *ZXProcessorMain::ProcessPair(XPathExpressionPair *pair, std::int32_t context) {
    const Comparison comparison = ReadComparison(pair);
    const bool isCall = CalledFunction(*comparison.step) != nullptr;
    return isCall ? ProcessPosition(comparison, context)
                  : ProcessValueComparison(comparison, context);
}

SearchSet *ZXProcessorMain::ProcessValueComparison(const Comparison &comparison,
                                                   std::int32_t context) {
    const ContextWrap wrap(context);
    CStringBuffer condition(512);
    const EAxisType axis =
        BeginCondition(*this, *comparison.step->GetAxis(), wrap.Prefix(), condition);
    if (condition.length() > 0) {
        CStringBuffer value(256);
        LiteralText(*comparison.scalar, value);
        AppendRelation(comparison.pair->GetOperator(), value, condition);
        condition.append(wrap.Suffix());
    }
    PushExpr(comparison.pair);
    // "." takes the step's set as it is, the literal adds nothing: kept.
    SearchSet *set = axis == AXIS_SELF
                         ? AddSearchSet(new ContextSearchSet(comparison.pair, m_pLogger))
                         : AddExpressionSet(comparison.pair, BufferText(condition));
    set->Execute();
    return comparison.path != nullptr ? ProcessLocPath(comparison.path, set, axis, nullptr) : set;
}
