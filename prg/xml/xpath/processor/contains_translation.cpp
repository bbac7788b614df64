// Translation of the function contains().
#include "prg/xml/xpath/processor/buffer_text.h"
#include "prg/xml/xpath/processor/combined_search_sets.h"
#include "prg/xml/xpath/processor/comparison.h"
#include "prg/xml/xpath/processor/context_wrap.h"
#include "prg/xml/xpath/processor/messages.h"
#include "prg/xml/xpath/processor/raise_exception.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"

namespace {

// The arguments of a call, told apart. All belong to the tree.
struct ContainsCall {
    XPathPath *path;              // the first argument when it is a path, else null
    XPathAxisLocationStep *step;  // its last step; has an axis
    XPathScalar *scalar;          // the second argument
};

ContainsCall ReadCall(const XPathFunction &function) {
    if (!HasName(function, "contains")) {
        CStringBuffer name(256);
        function.GetName(name);
        RaiseXPathException(translation_message::unknownFunction, BufferView(name));
    }
    const XPathExpressionList *arguments = function.GetArgs();
    if (arguments == nullptr || arguments->GetSize() != 2) {
        RaiseXPathException(translation_message::argumentCount);
    }
    XPathExpression *first = arguments->Get(0);
    const ContainsCall call{
        dynamic_cast<XPathPath *>(first),
        dynamic_cast<XPathAxisLocationStep *>(ZXProcessorMain::ToLocationStep(first)),
        ZXProcessorMain::ToScalar(arguments->Get(1))};
    if (call.step == nullptr || call.step->GetAxis() == nullptr || call.scalar == nullptr) {
        RaiseXPathException(translation_message::argumentKinds);
    }
    return call;
}

// text() and "." both mean the text at any depth below the context node.
bool SearchesText(const XPathAxis &axis) {
    return (axis.IsChild() && HasTypeTest(axis, NTYPE_TEXT)) ||
           (axis.IsSelf() && HasTypeTest(axis, NTYPE_NODE));
}

void TurnToDescendantText(XPathAxis &axis, XPathAxis &callAxis) {
    axis.SetType(AXIS_DESCENDANT);
    callAxis.SetType(AXIS_DESCENDANT);
    dynamic_cast<XPathNodeTypeTest &>(*axis.GetNodeTest()).SetNodeType(NTYPE_TEXT);
}

// Starts the condition with the field to search. Returns the axis that joins the found nodes to
// the step before.
EAxisType BeginCondition(const ZXProcessorMain &processor, XPathAxis &axis, XPathAxis &callAxis,
                         CStringBuffer &condition) {
    const bool isText = SearchesText(axis);
    if (isText) {
        TurnToDescendantText(axis, callAxis);
    } else if (axis.IsAttribute()) {
        condition.append("N_TYPE=ATTRIBUTE");
    } else {
        RaiseXPathException(translation_message::searchedStep);
    }
    processor.BuildNameCondition(axis.GetNodeTest(), condition);
    condition.append(" AND.T N_TVALUE");
    return isText ? AXIS_DESCENDANT : AXIS_ATTRIBUTE;
}

void AppendContained(const CStringBuffer &value, CStringBuffer &condition) {
    if (value.length() > 0) {
        condition.append("=$").append(value).append("$");
    } else {
        condition.append("=\"\"");
    }
}

}  // namespace

SearchSet *ZXProcessorMain::ProcessContains(XPathAxisLocationStep *step, std::int32_t context) {
    const ContainsCall call = ReadCall(*CalledFunction(*step));
    const ContextWrap wrap(context);
    CStringBuffer condition(512);
    condition.append(wrap.Prefix());
    const EAxisType axis =
        BeginCondition(*this, *call.step->GetAxis(), *step->GetAxis(), condition);
    CStringBuffer value(256);
    LiteralText(*call.scalar, value);
    AppendContained(value, condition);
    condition.append(wrap.Suffix());
    PushExpr(step);
    SearchSet *set = AddExpressionSet(step, BufferText(condition));
    return call.path != nullptr ? ClimbFromContains(call.path, set, axis) : set;
}

// Joins the found set to the steps before the last, from the nearest to the first. The joins are
// executed when their numbers are wanted, not here.
SearchSet *ZXProcessorMain::ClimbFromContains(XPathPath *path, SearchSet *set, EAxisType axis) {
    SearchSet *result = set;
    for (int k = path->GetSize() - 2; k >= 0; --k) {
        SearchSet *stepSet = ProcessNode(path->Get(k), 0);
        auto *cross = new CrossSearchSet(m_pLogger);
        AddSearchSet(cross);
        cross->SetParentSearchSet(stepSet, true);
        cross->SetChildSearchSet(result, false);
        cross->SetAxisType(axis);
        const auto *axisStep = dynamic_cast<const XPathAxisLocationStep *>(path->Get(k));
        axis = axisStep != nullptr ? axisStep->GetAxis()->GetType() : AXIS_CHILD;
        result = cross;
    }
    return result;
}
