// Translation of a single location step. Its predicates belong to the path that holds it.
#include "prg/xml/xpath/processor/buffer_text.h"
#include "prg/xml/xpath/processor/context_wrap.h"
#include "prg/xml/xpath/processor/leaf_search_sets.h"
#include "prg/xml/xpath/processor/raise_exception.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"

namespace {

constexpr int conditionCapacity = 512;

bool IsAnyNodeTest(const XPathNodeTest *test) {
    const auto *typeTest = dynamic_cast<const XPathNodeTypeTest *>(test);
    return typeTest != nullptr && typeTest->GetNodeType() == NTYPE_NODE;
}

// The axes along which a step reads nothing without a set to start from. A wildcard step is one
// itself, for it stands on the stack already: kept. All messages are kept as
// they have always been, the doubled and the wrong word of the sibling axes included.
void RequireContext(const XPathAxis &axis, bool hasContext) {
    if (hasContext) return;
    if (axis.IsFollowing() || axis.IsFollowingSibling()) {
        RaiseXPathException("The following%s axis cannot be used without a context.",
                            axis.IsFollowing() ? "" : "following-sibling");
    }
    if (axis.IsPreceding() || axis.IsPrecedingSibling()) {
        RaiseXPathException("The preceding%s axis cannot be used without a context.",
                            axis.IsPreceding() ? "" : "following-sibling");
    }
    RaiseXPathException("The %s axis cannot be used without a parent context.", axis.GetName());
}

// Only the top of a document has no parent.
void AppendRootTerm(CStringBuffer &condition) {
    if (condition.length() == 0 || condition.endsWith("(")) {
        condition.append("N_PARENT=0");
    } else {
        condition.insert("N_PARENT=0 AND.T ", 0);
    }
}

}  // namespace

SearchSet *ZXProcessorMain::ProcessStep(XPathLocationStep *node, std::int32_t context) {
    auto *step = dynamic_cast<XPathAxisLocationStep *>(node);
    if (step == nullptr || step->GetAxis() == nullptr) {
        RaiseXPathException("INTERNAL ERROR: Invalid location step type!");
    }
    // Judged before a wildcard step puts itself on the stack: "/*" is a root step, too.
    const bool isRoot =
        step->GetStepParent() == XPATH_STEP_PARENT_IMMEDIATE && PeekExpr() == nullptr;
    XPathNodeTest *test = step->GetAxis()->GetNodeTest();
    if ((test != nullptr && test->HasWildcard()) || IsAnyNodeTest(test)) {
        // Stays beside the step's own set, which is made below.
        PushExpr(step);
        AddUniversalSet(step);
    }
    if (dynamic_cast<XPathFunction *>(test) != nullptr) return ProcessContains(step, context);
    return ProcessAxisStep(step, isRoot, context);
}

SearchSet *ZXProcessorMain::ProcessAxisStep(XPathAxisLocationStep *step, bool isRoot,
                                            std::int32_t context) {
    const XPathAxis &axis = *step->GetAxis();
    if (axis.IsChild() || axis.IsDescendant()) return ProcessDownStep(step, isRoot, context);
    if (axis.IsFollowing() || axis.IsFollowingSibling() || axis.IsPreceding() ||
        axis.IsPrecedingSibling()) {
        RequireContext(axis, PeekExpr() != nullptr);
        return ProcessSideStep(step, context);
    }
    if (axis.IsParent() || axis.IsAncestor() || axis.IsAncestorOrSelf()) {
        RequireContext(axis, PeekExpr() != nullptr);
        return ProcessUpStep(step, context);
    }
    if (axis.IsDescendantOrSelf()) {
        PushExpr(step);
        return AddUniversalSet(step);
    }
    if (axis.IsAttribute()) return ProcessAttributeStep(step, context);
    RaiseXPathException("Location step expressions for axis \"%s\" are not yet implemented.",
                        axis.GetName());
}

SearchSet *ZXProcessorMain::ProcessDownStep(XPathAxisLocationStep *step, bool isRoot,
                                            std::int32_t context) {
    const ContextWrap wrap(context);
    CStringBuffer condition(conditionCapacity);
    condition.append(wrap.Prefix());
    BuildNameCondition(step->GetAxis()->GetNodeTest(), condition);
    if (isRoot) AppendRootTerm(condition);
    condition.append(wrap.Suffix());
    PushExpr(step);
    return AddExpressionSet(step, BufferText(condition));
}

SearchSet *ZXProcessorMain::ProcessSideStep(XPathAxisLocationStep *step, std::int32_t context) {
    const ContextWrap wrap(context);
    XPathNodeTest *test = step->GetAxis()->GetNodeTest();
    CStringBuffer condition(conditionCapacity);
    condition.append(wrap.Prefix());
    if (dynamic_cast<XPathNodeNameTest *>(test) != nullptr) {
        condition.append("N_TYPE=ELEMENT");
    } else if (test == nullptr || !test->HasWildcard()) {
        condition.append("(N_TYPE=ELEMENT OR N_TYPE=TEXT)");
    }
    BuildNameCondition(test, condition);
    condition.append(wrap.Suffix());
    PushExpr(step);
    return AddExpressionSet(step, BufferText(condition));
}

SearchSet *ZXProcessorMain::ProcessUpStep(XPathAxisLocationStep *step, std::int32_t context) {
    SearchSet *set = nullptr;
    if (step->GetAxis()->IsAncestorOrSelf()) {
        set = AddUniversalSet(step);
    } else {
        const ContextWrap wrap(context);
        CStringBuffer condition(conditionCapacity);
        condition.append(wrap.Prefix());
        BuildNameCondition(step->GetAxis()->GetNodeTest(), condition);
        condition.append(wrap.Suffix());
        set = AddExpressionSet(step, BufferText(condition));
    }
    PushExpr(step);  // after its set, unlike the other axes: meant
    return set;
}

SearchSet *ZXProcessorMain::ProcessAttributeStep(XPathAxisLocationStep *step,
                                                 std::int32_t context) {
    const ContextWrap wrap(context);
    CStringBuffer condition(conditionCapacity);
    condition.append(wrap.Suffix());  // the suffix in front, not the prefix: kept
    condition.append("N_TYPE=ATTRIBUTE");
    BuildNameCondition(step->GetAxis()->GetNodeTest(), condition);
    condition.append(wrap.Suffix());
    PushExpr(step);
    return AddExpressionSet(step, BufferText(condition));
}

SearchSet *ZXProcessorMain::AddUniversalSet(XPathAxisLocationStep *step) {
    return AddSearchSet(new UniversalSearchSet(step, m_pLogger));
}
