#include <memory>

#include "foundation/keyword.h"
#include "prg/xml/xpath/parser/zx_grammar.h"

namespace ZXGrammar::Composite {

namespace {

struct TypeName {
    const char *name;
    ENodeType type;
};

constexpr TypeName typeNames[] = {
    {"node", NTYPE_NODE},
    {"comment", NTYPE_COMMENT},
    {"text", NTYPE_TEXT},
    {"processing-instruction", NTYPE_PROCESSING_INSTRUCTION},
};

/// What a call without arguments can mean.
XPathNodeTest *calledTest(const char *pszName) {
    for (const auto &entry : typeNames) {
        if (equalsNoCase(pszName, entry.name)) return NodeTest(entry.type);
    }
    for (const char *function : {"position", "last"}) {
        if (equalsNoCase(pszName, function)) return new XPathFunction(pszName);
    }
    return nullptr;
}

/// The integer that a predicate consists of, or null.
const XPathInt *bareInteger(const XPathExpression *pExpr) {
    const auto *filter = dynamic_cast<const XPathFilterExpression *>(pExpr);
    return filter != nullptr ? dynamic_cast<const XPathInt *>(filter->GetExpression()) : nullptr;
}

/// self::position() = n
XPathExpression *positionIs(const XPathInt &number) {
    auto *axis = new XPathAxis(AXIS_SELF, new XPathFunction("position"));
    return Expr::EqPair(NodeSets::LocationStep(axis, Expr::List()), new XPathInt(number));
}

}  // namespace

XPathAxis *Axis(const char *pszName, XPathNodeTest *pTest) {
    const EAxisType axis = XPathAxis::GetAxisType(pszName);
    return axis != AXIS_INVALID ? new XPathAxis(axis, pTest) : nullptr;
}

XPathAxis *Axis(XPathNodeTest *pTest, bool bAt) {
    return new XPathAxis(pTest, bAt);
}

XPathNodeTest *NodeTest() {
    return new XPathNodeNameTest("*");
}

XPathNodeTest *NodeTest(ENodeType nType) {
    return new XPathNodeTypeTest(nType);
}

XPathNodeTest *NodeTest(XPathName *pName) {
    return new XPathNodeNameTest(pName);
}

XPathNodeTest *NodeTest(const char *pszName, bool bIsCall) {
    return bIsCall ? calledTest(pszName) : new XPathNodeNameTest(pszName);
}

XPathNodeTest *NodeTest(XPathChar *pName, bool bIsCall) {
    XPathNodeTest *test = NodeTest((*pName)(), bIsCall);
    if (test != nullptr) delete pName;
    return test;
}

XPathFunction *Function(const char *pszName, XPathExpressionList *pArgs) {
    return Function(new XPathName(pszName), pArgs);
}

XPathFunction *Function(XPathName *pName) {
    return new XPathFunction(pName);
}

XPathFunction *Function(XPathName *pName, XPathExpressionList *pArgs) {
    XPathFunction *function = Function(pName);
    function->SetArgs(pArgs);
    return function;
}

XPathVariable *Variable(XPathName *pName) {
    return new XPathVariable(pName);
}

XPathName *Name(const char *pszLocalName) {
    return new XPathName(pszLocalName);
}

XPathName *Name(const char *pszNamespace, const char *pszLocalName) {
    return new XPathName(pszNamespace, pszLocalName);
}

XPathName *Name(XPathChar *pLocalName) {
    const std::unique_ptr<XPathChar> localName(pLocalName);
    return Name((*localName)());
}

XPathName *Name(XPathChar *pNamespace, XPathChar *pLocalName) {
    const std::unique_ptr<XPathChar> nameSpace(pNamespace);
    const std::unique_ptr<XPathChar> localName(pLocalName);
    return Name((*nameSpace)(), (*localName)());
}

XPathPredicate *Predicate(XPathExpression *pExpr) {
    const XPathInt *number = bareInteger(pExpr);
    if (number == nullptr) return new XPathPredicate(pExpr);
    auto *predicate = new XPathPredicate(positionIs(*number));
    delete pExpr;
    return predicate;
}

}  // namespace ZXGrammar::Composite
