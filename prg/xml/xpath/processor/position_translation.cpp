// Translation of comparisons of position() and last().
#include <algorithm>
#include <cstdlib>
#include <string>

#include "prg/xml/xpath/processor/buffer_text.h"
#include "prg/xml/xpath/processor/comparison.h"
#include "prg/xml/xpath/processor/context_wrap.h"
#include "prg/xml/xpath/processor/messages.h"
#include "prg/xml/xpath/processor/raise_exception.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"

namespace {

// What last() is compared with, counted from the end: the kernel takes negative positions so. A
// negative literal is left as it is; a number beyond 32 bits counts as the greatest one.
void CountFromEnd(CStringBuffer &value) {
    const long number = std::strtol(BufferText(value), nullptr, 10);
    const auto n = static_cast<int>(std::clamp<long>(number, INT32_MIN, INT32_MAX));
    if (n >= 0) value.set(-n);
}

void ReadPosition(const Comparison &comparison, CStringBuffer &value) {
    const XPathFunction &function = *CalledFunction(*comparison.step);
    const bool isLast = HasName(function, "last");
    if (!isLast && !HasName(function, "position")) {
        CStringBuffer name(256);
        function.GetName(name);
        RaiseXPathException(translation_message::comparedFunction, BufferView(name));
    }
    LiteralText(*comparison.scalar, value);
    if (value.length() == 0) {
        RaiseXPathException(translation_message::emptyPosition);
    }
    if (isLast) CountFromEnd(value);
}

EAxisType FirstAxis(const XPathPath &path) {
    const auto *step = dynamic_cast<const XPathAxisLocationStep *>(path.Get(0));
    return step != nullptr && step->GetAxis() != nullptr ? step->GetAxis()->GetType()
                                                         : AXIS_INVALID;
}

}  // namespace

SearchSet *ZXProcessorMain::ProcessPosition(const Comparison &comparison, std::int32_t context) {
    CStringBuffer value(256);
    ReadPosition(comparison, value);
    SearchSet *base = GetSearchSet(GetSearchSetCount() - 1);
    SearchSet *firstStep = nullptr;
    SearchSet *counted = CountedSet(comparison.path, base, &firstStep);
    if (counted == nullptr) {
        RaiseXPathException("Call to position() or last() with a NULL context node set.");
    }
    SearchSet *result = AddPositionSet(comparison, counted, BufferText(value), context);
    if (firstStep == nullptr) return result;
    // Longer paths answer with the set of their first step: meant.
    if (comparison.path->GetSize() != 2) return firstStep;
    result = ConnectSets(base, result, 1, FirstAxis(*comparison.path));
    result->SetCrossConnect(false);
    return result;
}

// The set that positions are counted in: what the steps before the call select from `base` (null:
// from all nodes), or `base` itself.
SearchSet *ZXProcessorMain::CountedSet(XPathPath *path, SearchSet *base, SearchSet **firstStep) {
    SearchSet *counted = base;
    const int steps = path != nullptr ? path->GetSize() - 1 : 0;
    for (int k = 0; k < steps; ++k) {
        SearchSet *stepSet = ProcessNode(path->Get(k), 0);
        stepSet->Execute();
        if (k == 0) {
            *firstStep = stepSet;
            stepSet->SetCrossConnect(false);
        }
        counted = ConnectSets(counted, stepSet, 2, AXIS_INVALID);
    }
    return counted;
}

SearchSet *ZXProcessorMain::AddPositionSet(const Comparison &comparison, SearchSet *counted,
                                           const char *value, std::int32_t context) {
    const ContextWrap wrap(context);
    const std::string number = std::to_string(counted->GetNumber());
    std::string condition(wrap.Prefix());
    condition.append("XPATH(SELF,").append(number).append(",").append(number).append(",1,");
    condition.append(WordsOf(comparison.pair->GetOperator()).word).append(",").append(value);
    condition.append(")").append(wrap.Suffix());
    PushExpr(comparison.pair);
    SearchSet *set = AddExpressionSet(comparison.pair, condition.c_str());
    set->SetCrossConnect(false);
    set->Execute();
    return set;
}
