#include "zdbs/embedded/census.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "zdbs/embedded/store/committed_state.h"

namespace zdbs::embedded {
namespace {

struct SizePart {
    const char *key;
    const char *label;
    std::uint64_t StoreSizes::*size;
};

constexpr SizePart sizeParts[] = {
    {"all", "on disk", &StoreSizes::all},
    {"structure", "  structure", &StoreSizes::structure},
    {"pathOfNode", "  path of each node", &StoreSizes::pathOfNode},
    {"values", "  values", &StoreSizes::values},
    {"textOrder", "  order of texts", &StoreSizes::textOrder},
    {"numberOrder", "  order of numbers", &StoreSizes::numberOrder},
    {"trigrams", "  trigrams", &StoreSizes::trigrams},
    {"words", "  words", &StoreSizes::words},
    {"valueIndex", "  index of values", &StoreSizes::valueIndex},
    {"documents", "  documents", &StoreSizes::documents},
    {"names", "  names", &StoreSizes::names},
    {"paths", "  paths", &StoreSizes::paths},
    {"unused", "  unused", &StoreSizes::unused},
};

using CountsOfName = std::array<std::uint64_t, DatabaseInfo::kindCount>;

std::vector<NameCount> sortedNames(const StateTables &tables,
                                   const std::vector<CountsOfName> &counts) {
    std::vector<NameCount> names;
    for (std::uint32_t number = 0; number < counts.size(); ++number) {
        for (std::size_t kind = 0; kind < DatabaseInfo::kindCount; ++kind) {
            if (counts[number][kind] == 0) continue;
            const NodeName &name = tables.names[number];
            names.push_back({static_cast<NodeKind>(kind), std::string(name.prefix),
                             std::string(name.local), std::string(name.uri), counts[number][kind]});
        }
    }
    // Names of one count stay in the order of their first use.
    std::stable_sort(names.begin(), names.end(),
                     [](const NameCount &a, const NameCount &b) { return a.count > b.count; });
    return names;
}

/** Nodes of an irregular path carry their names. */
void countIrregular(const Snapshot &snapshot, PathId path, std::size_t kind,
                    std::vector<CountsOfName> &counts) {
    for (const RowId row : *snapshot.liveRows(path)) {
        const PathRun &run = snapshot.runOf({path, row});
        if (run.names.size() > 0) ++counts[run.names.at(row - run.firstRow)][kind];
    }
}

void countNodes(const Snapshot &snapshot, DatabaseInfo &info, std::vector<CountsOfName> &counts) {
    for (PathId number = 0; number < snapshot.summary().size(); ++number) {
        const Path &path = snapshot.summary()[number];
        const auto kind = static_cast<std::size_t>(path.kind);
        const std::uint64_t nodes = snapshot.liveRows(number)->cardinality();
        info.kinds[kind] += nodes;
        if (!path.isRegular)
            countIrregular(snapshot, number, kind, counts);
        else if (path.name != noName)
            counts[path.name][kind] += nodes;
    }
}

PathCount countedPath(const StateTables &tables, PathId number, std::uint64_t count) {
    const Path &path = tables.summary[number];
    PathCount counted{path.level, path.kind, {}, {}, {}, count};
    if (path.name == noName) return counted;
    const NodeName &name = tables.names[path.name];
    counted.prefix = name.prefix;
    counted.local = name.local;
    counted.uri = name.uri;
    return counted;
}

std::uint64_t nodesOfPath(const CommittedState &state, PathId path) {
    std::uint64_t nodes = 0;
    for (const auto &part : state.parts())
        nodes += part->liveRows(path)->cardinality();
    return nodes;
}

}  // namespace

// A node has a parent, so a path without nodes has none below it either.
std::vector<PathCount> countPaths(const CommittedState &state) {
    const PathSummary &summary = state.tables().summary;
    std::vector<PathCount> counts;
    std::vector<PathId> ahead(summary.irregular().rbegin(), summary.irregular().rend());
    ahead.insert(ahead.end(), summary.top().rbegin(), summary.top().rend());
    while (!ahead.empty()) {
        const PathId path = ahead.back();
        ahead.pop_back();
        const std::uint64_t count = nodesOfPath(state, path);
        if (count == 0) continue;
        counts.push_back(countedPath(state.tables(), path, count));
        const auto children = summary.children(path);
        ahead.insert(ahead.end(), children.rbegin(), children.rend());
    }
    return counts;
}

DatabaseInfo takeCensus(const CommittedState &state) {
    DatabaseInfo info;
    info.documents = state.documentCount();
    info.nodes = state.nodeCount();
    std::vector<CountsOfName> counts(state.tables().names.size());
    for (const auto &part : state.parts()) {
        countNodes(*part, info, counts);
        for (std::size_t i = 0; i < part->documents().size(); ++i)
            info.xmlBytes += part->xmlBytes(i);
    }
    info.names = sortedNames(state.tables(), counts);
    const StoreSizes sizes = state.sizes();
    for (const SizePart &part : sizeParts)
        info.sizes.push_back({part.key, part.label, sizes.*part.size});
    return info;
}

}  // namespace zdbs::embedded
