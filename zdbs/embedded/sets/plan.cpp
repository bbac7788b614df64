#include "zdbs/embedded/sets/plan.h"

#include <algorithm>
#include <string_view>

namespace zdbs::embedded {
namespace {

std::string_view wordsOf(PlanStep step) {
    switch (step) {
        case PlanStep::sets:
            return "sets";
        case PlanStep::scanOfAll:
            return "scan of all nodes";
        case PlanStep::scanOfSet:
            return "scan of the set";
        case PlanStep::summary:
            return "summary of paths";
        case PlanStep::valueIndex:
            return "index of values";
        case PlanStep::nodeRanges:
            return "ranges of nodes";
        case PlanStep::irregularNodes:
            return "scan of irregular nodes";
        case PlanStep::dictionary:
            return "dictionary of values";
        case PlanStep::textOrder:
            return "order of texts";
        case PlanStep::numberOrder:
            return "order of numbers";
        case PlanStep::words:
            return "index of words";
        case PlanStep::trigrams:
            return "trigrams";
        case PlanStep::valueScan:
            return "scan of values";
        case PlanStep::joinByRows:
        case PlanStep::generalJoin:
            return "join on ";
        case PlanStep::siblingPositions:
            return "positions among siblings";
        case PlanStep::positionsByRows:
            return "positions by rows";
        case PlanStep::walkedPositions:
            return "positions in one pass";
        case PlanStep::generalPositions:
            return "general positions";
    }
    return {};
}

}  // namespace

void Plan::note(const Plan &more) {
    for (const Entry &entry : more.entries_)
        note(entry.step, entry.axis);
}

void Plan::note(PlanStep step, Axis axis) {
    Entry entry{step, axis};
    bool isKnown = std::find(entries_.begin(), entries_.end(), entry) != entries_.end();
    if (!isKnown) entries_.push_back(entry);
}

std::string Plan::text() const {
    std::string text;
    for (const Entry &entry : entries_) {
        if (!text.empty()) text += ", ";
        if (entry.step == PlanStep::generalJoin) text += "general ";
        text += wordsOf(entry.step);
        bool isJoin = entry.step == PlanStep::generalJoin || entry.step == PlanStep::joinByRows;
        if (isJoin) text += nameOf(entry.axis);
        if (entry.step == PlanStep::joinByRows) text += " by rows";
    }
    return text;
}

}  // namespace zdbs::embedded
