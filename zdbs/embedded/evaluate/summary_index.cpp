#include "zdbs/embedded/evaluate/summary_index.h"

#include <algorithm>

namespace zdbs::embedded {

SummaryIndex::SummaryIndex(const PathTable &table) {
    const PathSummary &summary = table.summary();
    for (PathId path = 0; path < summary.size(); ++path) {
        if (!table.liveRows(path)->isEmpty()) add(table, path);
    }
    for (Kind &kind : byKind_) {
        kind.all.nodes = makeList(table, wholePaths(table, kind.all.paths));
        kind.unnamed.paths = kind.irregular;
        if (kind.irregular.empty()) kind.unnamed.nodes = makeList(table, {});
        for (auto &[name, group] : kind.byName) {
            // A name may be that of any irregular node.
            group.paths.insert(group.paths.end(), kind.irregular.begin(), kind.irregular.end());
            std::sort(group.paths.begin(), group.paths.end());
            if (kind.irregular.empty())
                group.nodes = makeList(table, wholePaths(table, group.paths));
        }
    }
}

void SummaryIndex::add(const PathTable &table, PathId path) {
    const Path &entry = table.summary()[path];
    Kind &kind = byKind_[place(entry.kind)];
    all_.push_back(path);
    kind.all.paths.push_back(path);
    if (!entry.isRegular) kind.irregular.push_back(path);
    if (entry.isRegular && entry.name != noName) {
        kind.byName[table.nameOf(entry.name).local].paths.push_back(path);
    }
}

const SummaryIndex::Group &SummaryIndex::groupOf(NodeKind kind, std::string_view name) const {
    const Kind &groups = byKind_[place(kind)];
    auto found = groups.byName.find(name);
    return found != groups.byName.end() ? found->second : groups.unnamed;
}

std::span<const PathId> SummaryIndex::named(NodeKind kind, std::string_view name) const {
    return groupOf(kind, name).paths;
}

const NodeListPtr &SummaryIndex::nodesNamed(NodeKind kind, std::string_view name) const {
    return groupOf(kind, name).nodes;
}

}  // namespace zdbs::embedded
