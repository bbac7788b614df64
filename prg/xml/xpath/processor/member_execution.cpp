#include "prg/xml/xpath/processor/member_execution.h"

#include <vector>

#include "prg/xml/xpath/processor/combined_search_sets.h"

namespace {

constexpr std::int32_t maxRecursion = 32;

// The member that a set asks for its number as the `index`-th; null when there is none left.
SearchSet *MemberAt(SearchSet *set, std::int32_t index) {
    if (set->HasNumber() || set->HasCondition()) return nullptr;
    if (auto *all = dynamic_cast<UnionSearchSet *>(set)) {
        return static_cast<SearchSet *>(all->GetSearchSets().get(index));
    }
    if (auto *both = dynamic_cast<IntersectionSearchSet *>(set)) {
        return static_cast<SearchSet *>(both->GetSearchSets().get(index));
    }
    auto *cross = dynamic_cast<CrossSearchSet *>(set);
    if (cross == nullptr || index > 1) return nullptr;
    return index == 0 ? cross->GetChildSearchSet() : cross->GetParentSearchSet();
}

struct Visit {
    SearchSet *set;
    std::int32_t nextMember;
};

// Depth first, members before the set that names them.
void ExecuteMembers(SearchSet *root) {
    std::vector<Visit> visits{{root, 0}};
    while (!visits.empty()) {
        Visit &visit = visits.back();
        if (SearchSet *member = MemberAt(visit.set, visit.nextMember++)) {
            if (!member->HasNumber()) visits.push_back({member, 0});
            continue;
        }
        SearchSet *set = visit.set;
        visits.pop_back();
        if (set != root) set->GetNumber();
    }
}

}  // namespace

MemberExecution::MemberExecution(SearchSet *set) {
    if (m_nDepth >= maxRecursion) ExecuteMembers(set);
    ++m_nDepth;
}

MemberExecution::~MemberExecution() {
    --m_nDepth;
}
