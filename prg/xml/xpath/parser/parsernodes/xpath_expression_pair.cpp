#include "prg/xml/xpath/parser/parsernodes/xpath_expression_pair.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "foundation/keyword.h"
#include "foundation/string_util.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_disposal.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_filter_expression.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_path.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_spine.h"

namespace {

struct OperatorTexts {
    const char *surface;
    const char *debug;
};

/// Indexed by EPairOperator. Only the word operators get blanks.
constexpr OperatorTexts operatorTexts[] = {
    {"", ""},   {" OR ", "OR"}, {" AND ", "AND"}, {"=", "="},       {"!=", "!="},
    {">", ">"}, {"<", "<"},     {"<=", "<="},     {">=", ">="},     {"+", "+"},
    {"-", "-"}, {"*", "*"},     {"/", "/"},       {" DIV ", "DIV"}, {" MOD ", "MOD"},
};

const OperatorTexts &textsOf(EPairOperator op) {
    const bool known = op >= PAIRSEP_NONE && op <= PAIRSEP_MOD;
    return operatorTexts[known ? op : PAIRSEP_NONE];
}

/// The last step of a path, or null.
XPathAxisLocationStep *lastAxisStep(const XPathPath &path) {
    return dynamic_cast<XPathAxisLocationStep *>(path.Get(path.GetSize() - 1));
}

bool callsFunction(const XPathExpression *pExpr, const char *pszName) {
    const XPathFunction *function = __to_function(pExpr);
    if (function == nullptr) return false;
    CStringBuffer name(32);
    function->GetName(name);
    return equalsNoCase(name.getBufferPointer(), pszName);
}

/// What a filter expression holds; null when `pExpr` is none.
XPathExpression *filtered(const XPathExpression *pExpr) {
    const auto *filter = dynamic_cast<const XPathFilterExpression *>(pExpr);
    return filter != nullptr ? filter->GetExpression() : nullptr;
}

bool endsInChildElement(const XPathPath &path) {
    const XPathAxisLocationStep *step = lastAxisStep(path);
    const XPathAxis *axis = step != nullptr ? step->GetAxis() : nullptr;
    return axis != nullptr && axis->IsChild() &&
           dynamic_cast<XPathNodeNameTest *>(axis->GetNodeTest()) != nullptr;
}

/// An element is compared with a literal through its text child.
void addTextStep(XPathExpression *pLeft, const XPathExpression *pRight) {
    auto *path = dynamic_cast<XPathPath *>(pLeft);
    if (path == nullptr || !endsInChildElement(*path)) return;
    if (dynamic_cast<XPathScalar *>(filtered(pRight)) == nullptr) return;
    path->Add(new XPathAxisLocationStep(
        new XPathAxis(AXIS_CHILD, new XPathNodeTypeTest(NTYPE_TEXT)), new XPathExpressionList()));
}

/// Whether position() is compared with last().
bool comparesWithLast(const XPathExpression *pLeft, EPairOperator op,
                      const XPathExpression *pRight) {
    return __is_comparison_op(op) && callsFunction(pLeft, "position") &&
           callsFunction(pRight, "last");
}

/// last() - n, counted from the end; the rule for a negative n is meant to differ.
int positionFromEnd(int n) {
    const int64_t position = n < 0 ? int64_t{n} - 1 : -(int64_t{n} + 1);
    return static_cast<int>(std::max<int64_t>(position, INT_MIN));
}

}  // namespace

XPathFunction *__to_function(const XPathExpression *pExpr) {
    const auto *path = dynamic_cast<const XPathPath *>(pExpr);
    const XPathAxisLocationStep *step = path != nullptr ? lastAxisStep(*path) : nullptr;
    const XPathAxis *axis = step != nullptr ? step->GetAxis() : nullptr;
    return axis != nullptr ? dynamic_cast<XPathFunction *>(axis->GetNodeTest()) : nullptr;
}

bool __is_comparison_op(EPairOperator op) {
    return op >= PAIRSEP_EQ && op <= PAIRSEP_GE;
}

bool __is_arithmetic_op(EPairOperator op) {
    return op >= PAIRSEP_ADD && op <= PAIRSEP_MOD;
}

XPathExpressionPair::XPathExpressionPair(XPathExpression *pLeft, EPairOperator op,
                                         XPathExpression *pRight)
    : m_pLeft(pLeft), m_pRight(pRight), m_op(op) {
    // Before the text step: that one changes the left path's last step.
    const bool withLast = comparesWithLast(pLeft, op, pRight);
    addTextStep(pLeft, pRight);
    if (!withLast) return;
    disposeNode(m_pRight);
    auto *last = new XPathInt();
    *last = -1;  // the last position, in the processor's counting
    m_pRight = last;
}

XPathExpressionPair::XPathExpressionPair(const XPathExpressionPair &source)
    : XPathExpressionPair(source, XPathSpine(source.m_pLeft).Clone()) {}

XPathExpressionPair::XPathExpressionPair(const XPathExpressionPair &source,
                                         std::unique_ptr<XPathExpression> pLeftCopy)
    : XPathExpression(source),
      XPathComposite(source),
      XPathStatement(source),
      m_pLeft(nullptr),
      m_pRight(source.m_pRight != nullptr ? source.m_pRight->Clone() : nullptr),
      m_op(source.m_op) {
    m_pLeft = pLeftCopy.release();
}

XPathExpressionPair::~XPathExpressionPair() {
    disposeNode(m_pLeft);
    disposeNode(m_pRight);
}

XPathExpression *XPathExpressionPair::Clone() const {
    return new XPathExpressionPair(*this);
}

void XPathExpressionPair::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix,
                                   bool bSuffix) const {
    XPathSpine(this).ToString(buffer, bPaths, bPrefix, bSuffix);
}

void XPathExpressionPair::ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const {
    if (bRecursive) {
        XPathSpine(this).ToDebugString(buffer, nIndent);
    } else {
        DumpHead(buffer, nIndent);
    }
}

bool XPathExpressionPair::DumpHead(CStringBuffer &buffer, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathExpressionPair OPERATOR=")) return false;
    DumpOperator(buffer);
    return true;
}

void XPathExpressionPair::DumpOperator(CStringBuffer &buffer) const {
    appendText(buffer, "\"", 1);
    appendText(buffer, textsOf(m_op).debug);
    appendText(buffer, "\"", 1);
}

const char *XPathExpressionPair::OperatorText() const {
    return textsOf(m_op).surface;
}

EAxisType XPathExpressionPair::GetAxisType() const {
    const bool leftIsLiteral = dynamic_cast<XPathFilterExpression *>(m_pLeft) != nullptr ||
                               dynamic_cast<XPathScalar *>(m_pLeft) != nullptr;
    const XPathExpression *side = leftIsLiteral ? m_pRight : m_pLeft;

    const XPathExpression *candidate = side;
    if (const auto *path = dynamic_cast<const XPathPath *>(side)) candidate = path->Get(0);
    if (const auto *unary = dynamic_cast<const XPathUnaryExpression *>(side)) {
        if (const auto *step = dynamic_cast<XPathLocationStep *>(unary->Get())) candidate = step;
    }
    const auto *step = dynamic_cast<const XPathAxisLocationStep *>(candidate);
    return step != nullptr && step->GetAxis() != nullptr ? step->GetAxis()->GetType()
                                                         : AXIS_INVALID;
}

XPathScalar *XPathExpressionPair::ToScalar(const XPathExpression *pLeft, EPairOperator op,
                                           const XPathExpression *pRight) {
    const auto *number = dynamic_cast<XPathNumeric *>(filtered(pRight));
    if (number == nullptr || op != PAIRSEP_SUB || !callsFunction(pLeft, "last")) return nullptr;

    CStringBuffer text(32);
    number->GetValue(text);
    XPathInt value;
    value.SetValue(text);
    auto *result = new XPathInt();
    *result = positionFromEnd(value());
    return result;
}
