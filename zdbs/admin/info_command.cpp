#include <array>
#include <cstddef>
#include <string>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/answers/listings.h"
#include "zdbs/answers/sizes.h"
#include "zdbs/language/type_word.h"

namespace zdbs::admin {

namespace {

// By NodeKind.
constexpr std::array<const char *, DatabaseInfo::kindCount> kindPlurals = {
    "elements", "attributes", "texts", "comments", "instructions"};

std::string writtenName(const NameCount &name) {
    return (name.prefix.empty() ? "" : name.prefix + ':') + name.local;
}

std::string numbersAsText(const DatabaseInfo &info) {
    TextTable table({TextTable::Align::left, TextTable::Align::right, TextTable::Align::left});
    table.add({"documents", std::to_string(info.documents)});
    table.add({"nodes", std::to_string(info.nodes)});
    for (std::size_t kind = 0; kind < kindPlurals.size(); ++kind)
        table.add({std::string("  ") + kindPlurals[kind], std::to_string(info.kinds[kind])});
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
        table.add({std::to_string(row.count), std::string(typeWord(row.kind)), writtenName(row),
                   row.uri});
    return table.text();
}

}  // namespace

bool showInfo(const HomeChoice &home, const std::string &database, bool asJson) {
    const DatabaseInfo info = home.open()->info(database);
    if (asJson) {
        writeOutput(infoAsJson(database, info));
        return true;
    }
    writeOutput(numbersAsText(info));
    if (!info.names.empty()) writeOutput('\n' + namesAsText(info));
    return true;
}

}  // namespace zdbs::admin
