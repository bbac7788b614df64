#include "zdbs/embedded/sets/pending_nodes.h"

#include <algorithm>
#include <utility>

#include "zdbs/base/status.h"

namespace zdbs::embedded {
namespace {

bool allNegated(const ValueConditions &conditions) {
    return std::all_of(conditions.begin(), conditions.end(),
                       [](const ValueCondition &condition) { return condition.negated; });
}

}  // namespace

PathNodes partsIn(const PathNodes &nodes, std::span<const PathId> paths) {
    PathNodes result;
    auto path = paths.begin();
    for (const PathPart &part : nodes) {
        while (path != paths.end() && *path < part.path)
            ++path;
        if (path != paths.end() && *path == part.path) result.push_back(part);
    }
    return result;
}

PendingNodes::PendingNodes(const PathTable &table, PathNodes candidates,
                           std::shared_ptr<const ValueConditions> conditions, PlanPtr plan)
    : table_(table), conditions_(std::move(conditions)), plan_(std::move(plan)) {
    entries_.reserve(candidates.size());
    for (PathPart &part : candidates)
        entries_.push_back({std::move(part)});
}

std::vector<PathId> PendingNodes::paths() const {
    std::vector<PathId> result;
    for (const Entry &entry : entries_) {
        if (entry.part.rows) result.push_back(entry.part.path);
    }
    return result;
}

bool PendingNodes::empty() {
    return std::none_of(entries_.begin(), entries_.end(), [this](Entry &entry) {
        if (entry.state == State::open) decide(entry);
        return entry.part.rows != nullptr;
    });
}

PendingNodes::Counts PendingNodes::count() {
    Counts counts;
    std::uint64_t hits = 0;
    for (Entry &entry : entries_) {
        if (entry.state == State::open) count(entry);
        counts.isDecided = counts.isDecided && entry.state == State::decided;
        counts.nodes += entry.count.rows;
        hits += entry.count.hits;
    }
    if (conditions_->size() == 1 && !conditions_->front().negated) counts.hits = hits;
    return counts;
}

PathNodes PendingNodes::all() {
    PathNodes result;
    for (Entry &entry : entries_) {
        decide(entry);
        if (entry.part.rows) result.push_back(entry.part);
    }
    return result;
}

PathNodes PendingNodes::in(std::span<const PathId> paths) {
    PathNodes result;
    auto path = paths.begin();
    for (Entry &entry : entries_) {
        while (path != paths.end() && *path < entry.part.path)
            ++path;
        if (path == paths.end()) break;
        if (*path != entry.part.path) continue;
        decide(entry);
        if (entry.part.rows) result.push_back(entry.part);
    }
    return result;
}

PendingNodes PendingNodes::restrictedTo(std::span<const PathId> paths) const {
    PendingNodes result(table_, {}, conditions_, plan_);
    for (const Entry &entry : entries_) {
        if (std::binary_search(paths.begin(), paths.end(), entry.part.path)) {
            result.entries_.push_back(entry);
        }
    }
    return result;
}

/** Decides a path all or none of whose rows are among the nodes, or that takes a search anyway. */
void PendingNodes::count(Entry &entry) {
    if (isElement(entry)) return decide(entry);
    RowSearch search(table_, entry.part, *conditions_, plan_.get());
    const std::optional<RowSearch::Count> counted = search.count();
    if (!counted) return take(search.found(), entry);
    entry.count = *counted;
    if (counted->rows == 0) entry.part.rows = nullptr;
    const bool isAll = counted->rows == table_.rowCount(entry.part.path);
    entry.state = isAll || counted->rows == 0 ? State::decided : State::counted;
}

void PendingNodes::decide(Entry &entry) {
    if (entry.state == State::decided) return;
    if (isElement(entry)) {
        if (!allNegated(*conditions_)) entry.part.rows = nullptr;
        if (entry.part.rows) entry.count.rows = entry.part.rows->cardinality();
        entry.state = State::decided;
    } else {
        take(RowSearch(table_, entry.part, *conditions_, plan_.get()).found(), entry);
    }
}

/** Indexes tell the same both ways unless they are damaged; the number may be known already. */
void PendingNodes::take(RowSearch::Found found, Entry &entry) {
    const std::uint64_t size = found.rows ? found.rows->cardinality() : 0;
    if (entry.state == State::counted && size != entry.count.rows)
        throw Failure(Status::homeDamaged, {"", "two indexes of values disagree"});
    entry.part.rows = std::move(found.rows);
    entry.count = {size, found.hits};
    entry.state = State::decided;
}

bool PendingNodes::isElement(const Entry &entry) const {
    return table_.summary()[entry.part.path].kind == NodeKind::element;
}

}  // namespace zdbs::embedded
