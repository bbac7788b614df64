#include "zdbs/sql/open_elements.h"

namespace zdbs::sql {

void OpenElements::begin(int root) {
    open_.clear();
    known_.clear();
    open_.push_back({root});
}

PathNumber OpenElements::pathOf(NodeKind kind, std::uint32_t number, const NodeName &name) {
    const PathNumber parent = top().path;
    const PathKey key{parent, kind, std::string(name.prefix), std::string(name.local),
                      std::string(name.uri)};
    // Targets of instructions have no numbers.
    if (kind == NodeKind::processingInstruction) return summary_.add(key);
    const std::uint64_t place = static_cast<std::uint64_t>(parent) << 35U |
                                std::uint64_t{number} << 3U | static_cast<std::uint64_t>(kind);
    const auto [found, isNew] = known_.try_emplace(place);
    if (isNew) found->second = summary_.add(key);
    return found->second;
}

int OpenElements::slotOf(PathNumber path) {
    while (slots_.size() <= static_cast<std::size_t>(path)) {
        const Path &next = summary_[static_cast<PathNumber>(slots_.size())];
        const std::string name =
            std::to_string(next.key.parent) + (next.isAttribute() ? "@" : "/") + writtenName(next);
        slots_.push_back(
            slotNames_.try_emplace(name, static_cast<int>(slots_.size())).first->second);
    }
    return slots_[static_cast<std::size_t>(path)];
}

int OpenElements::nextOrdinal(PathNumber path) {
    return ++top().siblings[slotOf(path)];
}

std::vector<int> OpenElements::above() const {
    std::vector<int> rows;
    for (std::size_t level = 1; level + 1 < open_.size(); ++level)
        rows.push_back(open_[level].id);
    return rows;
}

}  // namespace zdbs::sql
