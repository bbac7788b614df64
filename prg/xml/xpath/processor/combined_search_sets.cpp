#include "prg/xml/xpath/processor/combined_search_sets.h"

#include <string>

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/processor/member_execution.h"
#include "prg/xml/xpath/processor/raise_exception.h"
#include "prg/xml/xpath/processor/shell_symbol.h"

namespace {

// A set that was not given counts as all nodes.
std::int32_t NumberOf(SearchSet *set) {
    return set != nullptr ? set->GetNumber() : 0;
}

// "(S=3 OR S=5)" with the kernel's words; executes the members that have no number yet.
std::string JoinMembers(const ZfxPtrList &sets, const char *operatorSymbol) {
    const ShellSymbol join(operatorSymbol);
    const ShellSymbol setPrefix("SXX");
    std::string text;
    for (int i = 0; i < sets.size(); ++i) {
        if (!text.empty()) text.append(" ").append(join.GetWord()).append(" ");
        const std::int32_t number = NumberOf(static_cast<SearchSet *>(sets.get(i)));
        text.append(setPrefix.GetWord()).append("=").append(std::to_string(number));
    }
    if (!text.empty()) text.insert(0, "(");
    return text.append(")");
}

void RemoveFromEnd(ZfxPtrList &sets) {
    while (sets.size() > 0)
        sets.remove(sets.size() - 1);
}

const char *AxisName(EAxisType axis) {
    if (const char *name = XPathAxis::NameOf(axis)) return name;
    RaiseXPathException("Invalid AXIS code " + std::to_string(static_cast<int>(axis)));
}

// The axis of the step that a set was made for; AXIS_INVALID when it was made for none.
EAxisType ExpressionAxis(const SearchSet *set) {
    const auto *single = dynamic_cast<const ExpressionSearchSet *>(set);
    if (single == nullptr) return AXIS_INVALID;
    const auto *step = dynamic_cast<const XPathAxisLocationStep *>(single->GetExpression());
    return step != nullptr && step->GetAxis() != nullptr ? step->GetAxis()->GetType()
                                                         : AXIS_INVALID;
}

// The axis of a universal set; AXIS_INVALID for another kind.
EAxisType UniversalAxis(const SearchSet *set) {
    const auto *universal = dynamic_cast<const UniversalSearchSet *>(set);
    return universal != nullptr ? universal->GetAxisType() : AXIS_INVALID;
}

bool IsCross(const SearchSet *set) {
    return dynamic_cast<const CrossSearchSet *>(set) != nullptr;
}

EAxisType OrChild(EAxisType axis) {
    return axis != AXIS_INVALID ? axis : AXIS_CHILD;
}

}  // namespace

UnionSearchSet::UnionSearchSet(XPathExpression *expression, IZfxLogger *logger)
    : ExpressionSearchSet(expression, nullptr, logger) {}

UnionSearchSet::~UnionSearchSet() {
    RemoveFromEnd(m_sets);
}

void UnionSearchSet::CreateCondition() {
    const MemberExecution execution(this);
    const std::string text = JoinMembers(m_sets, "ORX");
    LogText("UnionSearchSet::CreateCondition", "Created CCL condition:", text.c_str());
    SetCondition(text.c_str());
}

IntersectionSearchSet::IntersectionSearchSet(XPathExpression *expression, IZfxLogger *logger)
    : ExpressionSearchSet(expression, nullptr, logger) {}

IntersectionSearchSet::~IntersectionSearchSet() {
    RemoveFromEnd(m_sets);
}

void IntersectionSearchSet::CreateCondition() {
    const MemberExecution execution(this);
    const std::string text = JoinMembers(m_sets, "ANT");
    LogText("IntersectionSearchSet::CreateCondition", "Created CCL condition:", text.c_str());
    SetCondition(text.c_str());
}

CrossSearchSet::CrossSearchSet(IZfxLogger *logger) : SearchSet(logger) {}

CrossSearchSet::~CrossSearchSet() {
    m_pChildSet = nullptr;
    m_pParentSet = nullptr;
}

void CrossSearchSet::SetParentSearchSet(SearchSet *set, bool useThisSet) {
    m_pParentSet = set;
    m_nDirection = useThisSet ? 1 : 2;
}

void CrossSearchSet::SetChildSearchSet(SearchSet *set, bool useThisSet) {
    m_pChildSet = set;
    m_nDirection = useThisSet ? 2 : 1;
}

void CrossSearchSet::Assign(SearchSet *parent, SearchSet *child) {
    const auto *cross = dynamic_cast<const CrossSearchSet *>(child);
    m_eAxisType = cross != nullptr ? cross->GetAxisType() : ExpressionAxis(child);
    if (m_eAxisType == AXIS_INVALID) m_eAxisType = OrChild(UniversalAxis(child));
    const bool swapped = m_eAxisType == AXIS_PARENT;
    m_pParentSet = swapped ? child : parent;
    m_pChildSet = swapped ? parent : child;
    m_nDirection = swapped ? 2 : 1;
}

EAxisType CrossSearchSet::GetAxisType() const {
    // A joined side always has an answer, so that the walk from join to join never comes back.
    const CrossSearchSet *cross = this;
    while (true) {
        if (cross->m_eAxisType != AXIS_INVALID) return cross->m_eAxisType;
        const EAxisType made = ExpressionAxis(cross->m_pChildSet);
        if (made != AXIS_INVALID) return made;
        const SearchSet *side = cross->m_pChildSet;
        if (!IsCross(side) && UniversalAxis(side) == AXIS_INVALID) side = cross->m_pParentSet;
        if (!IsCross(side)) return OrChild(UniversalAxis(side));
        cross = static_cast<const CrossSearchSet *>(side);
    }
}

XPathExpression *CrossSearchSet::GetParentExpression() const {
    const auto *parent = dynamic_cast<const ExpressionSearchSet *>(m_pParentSet);
    return parent != nullptr ? parent->GetExpression() : nullptr;
}

void CrossSearchSet::CreateCondition() {
    std::string text("XPATH(");
    text.append(AxisName(GetAxisType())).append(",");
    const MemberExecution execution(this);
    // The child first: the order of the numbers' creation depends on it.
    const std::int32_t child = NumberOf(m_pChildSet);
    const std::int32_t parent = NumberOf(m_pParentSet);
    text.append(std::to_string(parent)).append(",").append(std::to_string(child)).append(",");
    text.append(std::to_string(m_nDirection)).append(")");
    LogText("CrossSearchSet::CreateCondition", "Created CCL condition:", text.c_str());
    SetCondition(text.c_str());
}
