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
#include "zdbs/store/snapshot.h"

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

struct NameCount {
    NodeKind kind;
    NodeName name;
    std::uint64_t count;
};

/** What is counted in one pass over all nodes. */
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

Census takeCensus(const Snapshot &snapshot) {
    Census census;
    std::vector<CountsOfName> counts(snapshot.nameCount());
    for (std::size_t i = 0; i < snapshot.documents().size(); ++i) {
        const DocumentRange &document = snapshot.documents()[i];
        census.xmlBytes += snapshot.xmlBytes(i);
        for (NodeId node = document.first; node <= document.last; ++node) {
            const auto kind = static_cast<std::size_t>(snapshot.kind(node));
            ++census.kinds[kind];
            if (const auto name = snapshot.nameNumber(node)) ++counts[*name][kind];
        }
    }
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
    const StoreSizes &sizes = snapshot.sizes();
    json.endArray().key("xmlBytes").value(census.xmlBytes).key("diskBytes").beginObject();
    json.key("all").value(sizes.file).key("nodes").value(sizes.nodes);
    json.key("documents").value(sizes.documents).key("names").value(sizes.names);
    json.key("unused").value(sizes.unused).endObject().endObject();
    return json.text() + '\n';
}

std::string numbersAsText(const Snapshot &snapshot, const Census &census) {
    TextTable table({TextTable::Align::left, TextTable::Align::right, TextTable::Align::left});
    table.add({"documents", std::to_string(snapshot.documents().size())});
    table.add({"nodes", std::to_string(snapshot.nodeCount())});
    for (std::size_t kind = 0; kind < kindCount; ++kind)
        table.add({std::string("  ") + kindWords[kind].plural, std::to_string(census.kinds[kind])});
    const StoreSizes &sizes = snapshot.sizes();
    table.add({"XML", sizeText(census.xmlBytes)});
    table.add({"on disk", sizeText(sizes.file), ratioText(sizes.file, census.xmlBytes)});
    table.add({"  nodes", sizeText(sizes.nodes)});
    table.add({"  documents", sizeText(sizes.documents)});
    table.add({"  names", sizeText(sizes.names)});
    table.add({"  unused", sizeText(sizes.unused)});
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
