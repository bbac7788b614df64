#include <string>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/answers/json.h"
#include "zdbs/answers/listings.h"
#include "zdbs/answers/sizes.h"

namespace zdbs::admin {

namespace {

using enum TextTable::Align;

std::string databasesAsJson(const Administration &home, const std::vector<std::string> &databases) {
    JsonWriter json;
    json.beginArray();
    for (const std::string &database : databases) {
        const DatabaseSummary summary = home.summary(database);
        json.beginObject();
        json.key("database").value(database);
        json.key("documents").value(summary.documents);
        json.key("nodes").value(summary.nodes);
        json.key("bytes").value(summary.diskBytes);
        json.endObject();
    }
    return json.endArray().text() + '\n';
}

std::string databasesAsTable(const Administration &home,
                             const std::vector<std::string> &databases) {
    TextTable table({left, right, right, right});
    table.add({"DATABASE", "DOCUMENTS", "NODES", "ON DISK"});
    for (const std::string &database : databases) {
        const DatabaseSummary summary = home.summary(database);
        table.add({database, std::to_string(summary.documents), std::to_string(summary.nodes),
                   sizeText(summary.diskBytes)});
    }
    return table.text();
}

std::string documentsAsTable(const std::vector<DocumentSummary> &documents) {
    TextTable table({right, right, left});
    table.add({"NODES", "XML", "DOCUMENT"});
    for (const DocumentSummary &document : documents)
        table.add({std::to_string(document.nodes), sizeText(document.xmlBytes),
                   visibleText(document.name)});
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
    writeOutput(asJson ? databasesAsJson(*opened, home.databases())
                       : databasesAsTable(*opened, home.databases()));
    return true;
}

bool listDocuments(const HomeChoice &home, const std::string &database, bool asJson) {
    const auto documents = home.open()->documents(database);
    writeOutput(asJson ? documentsAsJson(documents->list()) : documentsAsTable(documents->list()));
    return true;
}

bool removeDocuments(const HomeChoice &home, const std::string &database,
                     const std::vector<std::string> &documents) {
    const auto load = home.open()->load(database, [&] { tellWaiting(database); });
    for (const std::string &document : documents)
        load->removeDocument(document);
    load->commit();
    return true;
}

}  // namespace zdbs::admin
