#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/json.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/sizes.h"
#include "zdbs/embedded/store/snapshot.h"

namespace zdbs::admin {

namespace {

constexpr std::size_t kindCount = 5;

struct KindWords {
    const char *type;  ///< as requests name it
    const char *plural;
};

// By NodeKind.
constexpr std::array<KindWords, kindCount> kindWords = {{
    {"ELEMENT", "elements"},
    {"ATTRIBUTE", "attributes"},
    {"TEXT", "texts"},
    {"COMMENT", "comments"},
    {"PROCESSING_INSTRUCTION", "instructions"},
}};

struct SizePart {
    const char *key;
    const char *label;
    std::uint64_t StoreSizes::*size;
    bool isWhole = false;
};

constexpr SizePart sizeParts[] = {
    {"all", "on disk", &StoreSizes::all, true},
    {"structure", "  structure", &StoreSizes::structure},
    {"pathOfNode", "  path of each node", &StoreSizes::pathOfNode},
    {"values", "  values", &StoreSizes::values},
    {"textOrder", "  order of texts", &StoreSizes::textOrder},
    {"numberOrder", "  order of numbers", &StoreSizes::numberOrder},
    {"trigrams", "  trigrams", &StoreSizes::trigrams},
    {"valueIndex", "  index of values", &StoreSizes::valueIndex},
    {"documents", "  documents", &StoreSizes::documents},
    {"names", "  names", &StoreSizes::names},
    {"paths", "  paths", &StoreSizes::paths},
    {"unused", "  unused", &StoreSizes::unused},
};

struct NameCount {
    NodeKind kind;
    NodeName name;
    std::uint64_t count;
};

/** What is in the documents. */
struct Census {
    std::array<std::uint64_t, kindCount> kinds{};
    std::vector<NameCount> names;  ///< the most frequent ones first
    std::uint64_t xmlBytes = 0;
};

using CountsOfName = std::array<std::uint64_t, kindCount>;

std::vector<NameCount> sortedNames(const Snapshot &snapshot,
                                   const std::vector<CountsOfName> &counts) {
    std::vector<NameCount> names;
    for (std::uint32_t number = 0; number < counts.size(); ++number) {
        for (std::size_t kind = 0; kind < kindCount; ++kind) {
            if (counts[number][kind] == 0) continue;
            names.push_back(
                {static_cast<NodeKind>(kind), snapshot.nameOf(number), counts[number][kind]});
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

/** Looks at paths, not at nodes. */
Census takeCensus(const Snapshot &snapshot) {
    Census census;
    std::vector<CountsOfName> counts(snapshot.nameCount());
    for (PathId number = 0; number < snapshot.summary().size(); ++number) {
        const Path &path = snapshot.summary()[number];
        const auto kind = static_cast<std::size_t>(path.kind);
        const std::uint64_t nodes = snapshot.liveRows(number)->cardinality();
        census.kinds[kind] += nodes;
        if (!path.isRegular)
            countIrregular(snapshot, number, kind, counts);
        else if (path.name != noName)
            counts[path.name][kind] += nodes;
    }
    for (std::size_t i = 0; i < snapshot.documents().size(); ++i)
        census.xmlBytes += snapshot.xmlBytes(i);
    census.names = sortedNames(snapshot, counts);
    return census;
}

std::string writtenName(const NodeName &name) {
    const std::string prefix(name.prefix);
    return (prefix.empty() ? "" : prefix + ':') + std::string(name.local);
}

std::string censusAsJson(const std::string &database, const Snapshot &snapshot,
                         const Census &census) {
    JsonWriter json;
    json.beginObject().key("database").value(database);
    json.key("documents").value(snapshot.documents().size());
    json.key("nodes").value(snapshot.nodeCount()).key("types").beginObject();
    for (std::size_t kind = 0; kind < kindCount; ++kind)
        json.key(kindWords[kind].type).value(census.kinds[kind]);
    json.endObject().key("names").beginArray();
    for (const NameCount &row : census.names) {
        json.beginObject();
        json.key("type").value(kindWords[static_cast<std::size_t>(row.kind)].type);
        json.key("name").value(row.name.local).key("prefix").value(row.name.prefix);
        json.key("namespace").value(row.name.uri).key("count").value(row.count).endObject();
    }
    json.endArray().key("xmlBytes").value(census.xmlBytes).key("diskBytes").beginObject();
    const StoreSizes sizes = snapshot.sizes();
    for (const SizePart &part : sizeParts)
        json.key(part.key).value(sizes.*part.size);
    json.endObject().endObject();
    return json.text() + '\n';
}

std::string numbersAsText(const Snapshot &snapshot, const Census &census) {
    TextTable table({TextTable::Align::left, TextTable::Align::right, TextTable::Align::left});
    table.add({"documents", std::to_string(snapshot.documents().size())});
    table.add({"nodes", std::to_string(snapshot.nodeCount())});
    for (std::size_t kind = 0; kind < kindCount; ++kind)
        table.add({std::string("  ") + kindWords[kind].plural, std::to_string(census.kinds[kind])});
    const StoreSizes sizes = snapshot.sizes();
    table.add({"XML", sizeText(census.xmlBytes)});
    for (const SizePart &part : sizeParts)
        table.add({part.label, sizeText(sizes.*part.size),
                   part.isWhole ? ratioText(sizes.*part.size, census.xmlBytes) : ""});
    return table.text();
}

std::string namesAsText(const Census &census) {
    TextTable table({TextTable::Align::right, TextTable::Align::left, TextTable::Align::left,
                     TextTable::Align::left});
    table.add({"COUNT", "TYPE", "NAME", "NAMESPACE"});
    for (const NameCount &row : census.names)
        table.add({std::to_string(row.count), kindWords[static_cast<std::size_t>(row.kind)].type,
                   writtenName(row.name), std::string(row.name.uri)});
    return table.text();
}

}  // namespace

bool showInfo(const HomeChoice &home, const std::string &database, bool asJson) {
    const auto snapshot = home.open()->snapshot(database);
    const Census census = takeCensus(*snapshot);
    if (asJson) {
        writeOutput(censusAsJson(database, *snapshot, census));
        return true;
    }
    writeOutput(numbersAsText(*snapshot, census));
    if (!census.names.empty()) writeOutput('\n' + namesAsText(census));
    return true;
}

}  // namespace zdbs::admin
