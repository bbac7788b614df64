#include "zdbs/engine/summary_index.h"

#include <algorithm>

namespace zdbs {

SummaryIndex::SummaryIndex(const PathTable &table) {
    const PathSummary &summary = table.summary();
    for (PathId path = 0; path < summary.size(); ++path) {
        if (!table.liveRows(path)->isEmpty()) add(table, path);
    }
    // A name may be that of any irregular node.
    for (Kind &kind : byKind_) {
        for (auto &[name, paths] : kind.byName) {
            paths.insert(paths.end(), kind.irregular.begin(), kind.irregular.end());
            std::sort(paths.begin(), paths.end());
        }
    }
}

void SummaryIndex::add(const PathTable &table, PathId path) {
    const Path &entry = table.summary()[path];
    Kind &kind = byKind_[place(entry.kind)];
    all_.push_back(path);
    kind.all.push_back(path);
    if (!entry.isRegular) kind.irregular.push_back(path);
    if (entry.isRegular && entry.name != noName) {
        kind.byName[table.nameOf(entry.name).local].push_back(path);
    }
}

std::span<const PathId> SummaryIndex::named(NodeKind kind, std::string_view name) const {
    const Kind &paths = byKind_[place(kind)];
    auto found = paths.byName.find(name);
    return found != paths.byName.end() ? found->second : paths.irregular;
}

}  // namespace zdbs
