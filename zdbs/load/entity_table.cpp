#include "zdbs/load/entity_table.h"

#include <algorithm>
#include <array>
#include <set>

namespace zdbs {

namespace {

constexpr std::array<std::string_view, 5> predefined = {"&lt", "&gt", "&amp", "&apos", "&quot"};

// The references in a text that begin with `mark`, each with its mark and without the ";",
// in order, without those to characters.
std::vector<std::string> referencesIn(std::string_view text, char mark) {
    std::vector<std::string> references;
    for (std::size_t at = text.find(mark); at != std::string_view::npos;
         at = text.find(mark, at + 1)) {
        const std::size_t end = text.find_first_of("; \t\r\n<&%\"'", at + 1);
        if (end == std::string_view::npos || text[end] != ';') continue;
        const std::string_view reference = text.substr(at, end - at);
        if (reference.size() > 1 && reference[1] != '#') references.emplace_back(reference);
    }
    return references;
}

bool isPredefined(std::string_view reference) {
    return std::find(predefined.begin(), predefined.end(), reference) != predefined.end();
}

}  // namespace

bool EntityTable::declare(Kind kind, std::string_view name, std::optional<std::string_view> text) {
    const char mark = kind == Kind::general ? '&' : '%';
    const std::size_t declared = indexOf(mark + std::string(name));
    if (entities_[declared].isDeclared) return true;
    entities_[declared].isDeclared = true;
    entities_[declared].isInternal = text.has_value();
    if (!text) return true;
    std::set<std::size_t> references;
    for (const std::string &reference : referencesIn(*text, mark)) {
        if (!isPredefined(reference)) references.insert(indexOf(reference));
    }
    for (const std::size_t reference : references)
        entities_[reference].referencedBy.push_back(declared);
    entities_[declared].references.assign(references.begin(), references.end());
    return raiseNesting(declared);
}

std::size_t EntityTable::indexOf(const std::string &name) {
    const auto [place, isNew] = indices_.emplace(name, entities_.size());
    if (isNew) {
        entities_.emplace_back();
        entities_.back().name = name;
    }
    return place->second;
}

// Recounts an entity and, where the count grew, those that refer to it. Each count only grows,
// up to the limit, so that this ends with cycles too.
bool EntityTable::raiseNesting(std::size_t changed) {
    std::vector<std::size_t> toCount = {changed};
    while (!toCount.empty()) {
        Entity &entity = entities_[toCount.back()];
        const std::size_t index = toCount.back();
        toCount.pop_back();
        std::size_t nesting = 1;
        for (const std::size_t reference : entity.references)
            nesting = std::max(nesting, entities_[reference].nesting + 1);
        nesting = std::min(nesting, maxNesting_ + 1);
        if (nesting == entity.nesting) continue;
        entity.nesting = nesting;
        if (nesting > maxNesting_ && canNestDeeper(index)) return false;
        toCount.insert(toCount.end(), entity.referencedBy.begin(), entity.referencedBy.end());
    }
    return true;
}

// A short cycle counts up to the limit as well; expat ends it when it comes to the same entity
// again, so that it needs more entities than the limit to nest deeper than that.
bool EntityTable::canNestDeeper(std::size_t entity) const {
    std::set<std::size_t> reached = {entity};
    std::vector<std::size_t> toFollow = {entity};
    while (!toFollow.empty() && reached.size() <= maxNesting_) {
        const Entity &next = entities_[toFollow.back()];
        toFollow.pop_back();
        for (const std::size_t reference : next.references) {
            if (reached.insert(reference).second) toFollow.push_back(reference);
        }
    }
    return reached.size() > maxNesting_;
}

std::optional<std::string> EntityTable::firstUnexpandable(std::string_view name) const {
    const std::string reference = '&' + std::string(name);
    if (isPredefined(reference)) return std::nullopt;
    const auto found = indices_.find(reference);
    if (found == indices_.end()) return std::string(name);
    std::set<std::size_t> reached = {found->second};
    std::vector<std::size_t> toFollow = {found->second};
    while (!toFollow.empty()) {
        const Entity &entity = entities_[toFollow.back()];
        toFollow.pop_back();
        if (!entity.isInternal) return entity.name.substr(1);
        for (const std::size_t next : entity.references) {
            if (reached.insert(next).second) toFollow.push_back(next);
        }
    }
    return std::nullopt;
}

std::optional<std::string> EntityTable::firstUnexpandableIn(std::string_view text) const {
    for (const std::string &reference : referencesIn(text, '&')) {
        if (auto name = firstUnexpandable(std::string_view(reference).substr(1))) return name;
    }
    return std::nullopt;
}

}  // namespace zdbs
