#include <array>
#include <cstddef>
#include <string>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/json.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/sizes.h"

namespace zdbs::admin {

namespace {

constexpr std::size_t kindCount = DatabaseInfo::kindCount;

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

const char *typeOf(const NameCount &row) {
    return kindWords[static_cast<std::size_t>(row.kind)].type;
}

std::string writtenName(const NameCount &name) {
    return (name.prefix.empty() ? "" : name.prefix + ':') + name.local;
}

std::string asJsonText(const std::string &database, const DatabaseInfo &info) {
    JsonWriter json;
    json.beginObject().key("database").value(database);
    json.key("documents").value(info.documents);
    json.key("nodes").value(info.nodes).key("types").beginObject();
    for (std::size_t kind = 0; kind < kindCount; ++kind)
        json.key(kindWords[kind].type).value(info.kinds[kind]);
    json.endObject().key("names").beginArray();
    for (const NameCount &row : info.names) {
        json.beginObject();
        json.key("type").value(typeOf(row));
        json.key("name").value(row.local).key("prefix").value(row.prefix);
        json.key("namespace").value(row.uri).key("count").value(row.count).endObject();
    }
    json.endArray().key("xmlBytes").value(info.xmlBytes).key("diskBytes").beginObject();
    for (const StructureSize &part : info.sizes)
        json.key(part.key).value(part.bytes);
    json.endObject().endObject();
    return json.text() + '\n';
}

std::string numbersAsText(const DatabaseInfo &info) {
    TextTable table({TextTable::Align::left, TextTable::Align::right, TextTable::Align::left});
    table.add({"documents", std::to_string(info.documents)});
    table.add({"nodes", std::to_string(info.nodes)});
    for (std::size_t kind = 0; kind < kindCount; ++kind)
        table.add({std::string("  ") + kindWords[kind].plural, std::to_string(info.kinds[kind])});
    table.add({"XML", sizeText(info.xmlBytes)});
    for (const StructureSize &part : info.sizes) {
        const bool isWhole = &part == &info.sizes.front();
        table.add({part.label, sizeText(part.bytes),
                   isWhole ? ratioText(part.bytes, info.xmlBytes) : ""});
    }
    return table.text();
}

std::string namesAsText(const DatabaseInfo &info) {
    TextTable table({TextTable::Align::right, TextTable::Align::left, TextTable::Align::left,
                     TextTable::Align::left});
    table.add({"COUNT", "TYPE", "NAME", "NAMESPACE"});
    for (const NameCount &row : info.names)
        table.add({std::to_string(row.count), typeOf(row), writtenName(row), row.uri});
    return table.text();
}

}  // namespace

bool showInfo(const HomeChoice &home, const std::string &database, bool asJson) {
    const DatabaseInfo info = home.open()->info(database);
    if (asJson) {
        writeOutput(asJsonText(database, info));
        return true;
    }
    writeOutput(numbersAsText(info));
    if (!info.names.empty()) writeOutput('\n' + namesAsText(info));
    return true;
}

}  // namespace zdbs::admin
