#include <cassert>

#include "prg/xml/xpath/parser/xpath_grammar.h"
#include "prg/xml/xpath/parser/zx_grammar.h"

namespace ZXGrammar::NodeSets {

namespace {

/// What "//" stands for, behind a "/".
XPathAxisLocationStep *descendantOrSelfStep() {
    auto *axis = new XPathAxis(AXIS_DESCENDANT_OR_SELF, Composite::NodeTest(NTYPE_NODE));
    XPathAxisLocationStep *step = LocationStep(axis, Expr::List());
    step->SetStepParent(XPATH_STEP_PARENT_IMMEDIATE);
    return step;
}

void addPath(XPathUnionExpression *pUnion, XPathExpression *pExpr) {
    if (auto *path = dynamic_cast<XPathPath *>(pExpr)) {
        pUnion->Add(path);
    } else {
        delete pExpr;
    }
}

}  // namespace

XPathUnionExpression *UnionExpression(XPathExpression *pLeft, XPathExpression *pRight) {
    auto *result = dynamic_cast<XPathUnionExpression *>(pLeft);
    if (result == nullptr) {
        result = new XPathUnionExpression();
        addPath(result, pLeft);
    }
    addPath(result, pRight);
    return result;
}

XPathPath *Path(XPathLocationStep *pStep) {
    auto *path = new XPathPath();
    path->Add(pStep);
    return path;
}

XPathPath *Path(XPathStepParent eSeparator, XPathPath *pPath) {
    assert(pPath->Get(0) != nullptr);
    pPath->Get(0)->SetStepParent(XPATH_STEP_PARENT_IMMEDIATE);
    if (eSeparator == XPATH_STEP_PARENT_ANY) pPath->Insert(0, descendantOrSelfStep());
    return pPath;
}

XPathPath *Path(XPathPath *pPath, XPathStepParent eSeparator, XPathLocationStep *pStep) {
    if (eSeparator == XPATH_STEP_PARENT_ANY) pPath->Add(descendantOrSelfStep());
    pStep->SetStepParent(XPATH_STEP_PARENT_IMMEDIATE);
    pPath->Add(pStep);
    return pPath;
}

XPathPath *Path(XPathStepParent eSeparator) {
    if (eSeparator == XPATH_STEP_PARENT_ANY) return Path(descendantOrSelfStep());
    return Path(new XPathLocationStep(eSeparator));
}

XPathAxisLocationStep *LocationStep(XPathAxis *pAxis, XPathExpressionList *pPredicates) {
    return new XPathAxisLocationStep(pAxis, pPredicates);
}

XPathAxisLocationStep *LocationStep(int nToken) {
    switch (nToken) {
        case CONTEXTNODE:
            return LocationStep(new XPathAxis(AXIS_SELF, Composite::NodeTest(NTYPE_NODE)), nullptr);
        case PARENTNODE:
            return LocationStep(new XPathAxis(AXIS_PARENT, Composite::NodeTest()), nullptr);
        default:
            return nullptr;
    }
}

XPathFilterExpression *FilterExpression(XPathExpression *pExpr) {
    return new XPathFilterExpression(pExpr);
}

XPathFilterExpression *FilterExpression(XPathExpression *pExpr, XPathPredicate *pPredicate) {
    return new XPathFilterExpression(pExpr, pPredicate);
}

}  // namespace ZXGrammar::NodeSets
