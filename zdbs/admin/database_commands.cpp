#include <cstddef>
#include <string>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/json.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/sizes.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs::admin {

namespace {

constexpr auto left = TextTable::Align::left;
constexpr auto right = TextTable::Align::right;

std::uint64_t nodesOf(const DocumentRange &document) {
    return std::uint64_t{document.last} - document.first + 1;
}

std::string databasesAsJson(const Home &home) {
    JsonWriter json;
    json.beginArray();
    for (const std::string &database : home.databases()) {
        const auto snapshot = home.snapshot(database);
        json.beginObject();
        json.key("database").value(database);
        json.key("documents").value(snapshot->documents().size());
        json.key("nodes").value(snapshot->nodeCount());
        json.key("bytes").value(snapshot->diskBytes());
        json.endObject();
    }
    return json.endArray().text() + '\n';
}

std::string databasesAsTable(const Home &home) {
    TextTable table({left, right, right, right});
    table.add({"DATABASE", "DOCUMENTS", "NODES", "ON DISK"});
    for (const std::string &database : home.databases()) {
        const auto snapshot = home.snapshot(database);
        table.add({database, std::to_string(snapshot->documents().size()),
                   std::to_string(snapshot->nodeCount()), sizeText(snapshot->diskBytes())});
    }
    return table.text();
}

std::string documentsAsJson(const Snapshot &snapshot) {
    JsonWriter json;
    json.beginArray();
    for (std::size_t i = 0; i < snapshot.documents().size(); ++i) {
        const DocumentRange &document = snapshot.documents()[i];
        json.beginObject();
        json.key("document").value(document.name);
        json.key("nodes").value(nodesOf(document));
        json.key("first").value(std::uint64_t{document.first});
        json.key("xmlBytes").value(snapshot.xmlBytes(i));
        json.endObject();
    }
    return json.endArray().text() + '\n';
}

std::string documentsAsTable(const Snapshot &snapshot) {
    TextTable table({right, right, left});
    table.add({"NODES", "XML", "DOCUMENT"});
    for (std::size_t i = 0; i < snapshot.documents().size(); ++i) {
        const DocumentRange &document = snapshot.documents()[i];
        table.add({std::to_string(nodesOf(document)), sizeText(snapshot.xmlBytes(i)),
                   std::string(document.name)});
    }
    return table.text();
}

}  // namespace

bool createDatabase(const HomeChoice &home, const std::string &database) {
    home.open()->createDatabase(database);
    return true;
}

bool dropDatabase(const HomeChoice &home, const std::string &database) {
    home.open()->dropDatabase(database, [&] { tellWaiting(database); });
    return true;
}

bool listDatabases(const HomeChoice &home, bool asJson) {
    const auto opened = home.open();
    writeOutput(asJson ? databasesAsJson(*opened) : databasesAsTable(*opened));
    return true;
}

bool listDocuments(const HomeChoice &home, const std::string &database, bool asJson) {
    const auto snapshot = home.open()->snapshot(database);
    writeOutput(asJson ? documentsAsJson(*snapshot) : documentsAsTable(*snapshot));
    return true;
}

bool removeDocument(const HomeChoice &home, const std::string &database,
                    const std::string &document) {
    const auto writer = home.open()->write(database, [&] { tellWaiting(database); });
    writer->removeDocument(document);
    writer->commit();
    return true;
}

}  // namespace zdbs::admin
