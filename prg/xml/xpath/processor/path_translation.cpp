// Translation of location paths.
#include <cassert>
#include <memory>
#include <string>

#include "prg/xml/xpath/processor/combined_search_sets.h"
#include "prg/xml/xpath/processor/raise_exception.h"
#include "prg/xml/xpath/processor/shell_symbol.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"

namespace {

// The axis of a step; `otherwise` when it is no axis step.
EAxisType AxisOf(const XPathLocationStep *node, EAxisType otherwise) {
    const auto *step = dynamic_cast<const XPathAxisLocationStep *>(node);
    return step != nullptr && step->GetAxis() != nullptr ? step->GetAxis()->GetType() : otherwise;
}

}  // namespace

SearchSet *ZXProcessorMain::ProcessPath(XPathPath *path, std::int32_t context) {
    SearchSet *first = nullptr;   // the set of the first step
    SearchSet *newest = nullptr;  // the newest set that stands for the path so far
    for (int i = 0; i < path->GetSize(); ++i) {
        SearchSet *stepSet = ProcessStepOf(path, i);
        if (i == 0) first = stepSet;
        // The second step always joins the bare first step, also when that has predicates: meant.
        SearchSet *parent = i == 1 ? first : newest;
        newest = i == 0 ? first : JoinStep(parent, stepSet, path->Get(i));
        SearchSet *filtered = ProcessPredicates(newest, path->Get(i));
        if (filtered != nullptr) newest = filtered;
    }
    return context > 0 && newest != nullptr ? RestrictToContext(newest, context) : newest;
}

// A step is no other kind of node, so that it need not be told from them.
SearchSet *ZXProcessorMain::ProcessStepOf(XPathPath *path, int place) {
    XPathLocationStep *step = path->Get(place);
    SearchSet *set = step != nullptr ? ProcessStep(step, 0) : ProcessNode(nullptr, 0);
    set->Execute();
    return set;
}

SearchSet *ZXProcessorMain::JoinStep(SearchSet *parent, SearchSet *stepSet,
                                     XPathLocationStep *step) {
    auto *cross = new CrossSearchSet(m_pLogger);
    AddSearchSet(cross);
    cross->SetParentSearchSet(parent, false);
    cross->SetChildSearchSet(stepSet, true);
    cross->SetAxisType(AxisOf(step, AXIS_INVALID));
    cross->Execute();
    return cross;
}

SearchSet *ZXProcessorMain::RestrictToContext(SearchSet *set, std::int32_t context) {
    auto restricted = std::make_unique<SearchSet>(m_pLogger);
    const std::string condition =
        "S=" + std::to_string(context) + " AND.R S=" + std::to_string(set->GetNumber());
    restricted->SetCondition(condition.c_str());
    restricted->Execute();
    return AddSearchSet(restricted.release());
}

SearchSet *ZXProcessorMain::ProcessLocPath(XPathPath *path, SearchSet *set, EAxisType axis,
                                           std::int32_t *indexOut) {
    SearchSet *current = set;
    const int nearest = path->GetSize() - 2;
    for (int k = nearest; k >= 0; --k) {
        SearchSet *stepSet = ProcessStepOf(path, k);
        if (k == nearest && indexOut != nullptr) *indexOut = GetSearchSetCount() - 1;
        if (current == nullptr) {
            current = stepSet;
            continue;
        }
        current = ClimbToStep(stepSet, current, axis);
        axis = AxisOf(path->Get(k), AXIS_CHILD);
    }
    return current;
}

SearchSet *ZXProcessorMain::ClimbToStep(SearchSet *stepSet, SearchSet *below, EAxisType axis) {
    auto cross = std::make_unique<CrossSearchSet>(m_pLogger);
    cross->SetParentSearchSet(stepSet, true);
    cross->SetChildSearchSet(below, false);
    cross->SetAxisType(axis);
    cross->Execute();
    return AddSearchSet(cross.release());
}

SearchSet *ZXProcessorMain::ConnectSets(SearchSet *parent, SearchSet *child, std::int32_t mode,
                                        EAxisType axis) {
    auto *cross = new CrossSearchSet(m_pLogger);
    AddSearchSet(cross);
    cross->SetParentSearchSet(parent, mode == 1);
    cross->SetChildSearchSet(child, mode != 1);
    if (axis != AXIS_INVALID) cross->SetAxisType(axis);
    cross->Execute();
    return cross;
}

SearchSet *ZXProcessorMain::MergeSets(std::int32_t first, std::int32_t second) {
    const ShellSymbol join("ORX");
    const std::string condition =
        "S=" + std::to_string(first) + " " + join.GetWord() + " S=" + std::to_string(second);
    auto merged = std::make_unique<SearchSet>(m_pLogger);
    merged->SetCondition(condition.c_str());
    merged->Execute();
    return AddSearchSet(merged.release());
}
