#include "zdbs/embedded/check/catalogue_tables.h"

#include <algorithm>

#include "zdbs/base/document_name.h"

namespace zdbs::embedded {

namespace {

constexpr const char *metaTable = "table meta";
constexpr const char *documentsTable = "table documents";
constexpr const char *documentNamesTable = "table documentNames";
constexpr const char *namesTable = "table names";
constexpr const char *pathsTable = "table paths";
constexpr const char *segmentsTable = "table segments";
constexpr const char *longElementsTable = "table longElements";

bool isNamedKind(NodeKind kind) {
    return kind != NodeKind::text && kind != NodeKind::comment;
}

std::string inHex(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes.substr(0, 8)) {
        text += digits[static_cast<unsigned char>(byte) >> 4U];
        text += digits[static_cast<unsigned char>(byte) & 15U];
    }
    return bytes.size() > 8 ? text + "..." : text;
}

std::string numbered(const char *what, std::uint64_t number) {
    return what + (" " + std::to_string(number));
}

/** "the document of node 7", "the document of node 7 of part 1" */
std::string placed(const char *what, RecordId node) {
    const std::string text = numbered(what, nodeOf(node));
    return partOf(node) == 0 ? text : text + numbered(" of part", partOf(node));
}

std::string irregularText(NodeKind kind) {
    switch (kind) {
        case NodeKind::element:
            return "irregular elements";
        case NodeKind::attribute:
            return "irregular attributes";
        case NodeKind::text:
            return "irregular texts";
        case NodeKind::comment:
            return "irregular comments";
        case NodeKind::processingInstruction:
            break;
    }
    return "irregular processing instructions";
}

std::string stepText(const Path &path, const std::vector<std::optional<NodeName>> &names) {
    switch (path.kind) {
        case NodeKind::text:
            return "text()";
        case NodeKind::comment:
            return "comment()";
        case NodeKind::element:
        case NodeKind::attribute:
        case NodeKind::processingInstruction:
            break;
    }
    const bool isKnown = path.name < names.size() && names[path.name];
    const std::string name = isKnown ? std::string(names[path.name]->local) : "?";
    if (path.kind == NodeKind::attribute) return "@" + name;
    return path.kind == NodeKind::element ? name : "processing-instruction(" + name + ")";
}

}  // namespace

std::string CatalogueTables::pathText(PathId path) const {
    constexpr int mostSteps = 8;
    std::string text;
    int steps = 0;
    for (; path < paths.size() && paths[path]; path = paths[path]->parent) {
        if (!paths[path]->isRegular) return irregularText(paths[path]->kind);
        if (++steps > mostSteps) return "..." + text;
        text.insert(0, "/" + stepText(*paths[path], names));
    }
    return path == noPath ? text : numbered("path", path) + text;
}

std::optional<CatalogueTables> CatalogueReader::read() {
    if (!readMeta()) return std::nullopt;
    readNames();
    readPaths();
    readDocuments();
    readDocumentNames();
    readSegments();
    readLongElements();
    return std::move(tables_);
}

void CatalogueReader::compareCount(const char *what, std::uint64_t stored, std::uint64_t counted) {
    if (stored == counted) return;
    findings_.add(metaTable, what,
                  std::to_string(stored) + ", and there are " + std::to_string(counted));
}

/** Those whose checksums are right; of the others, which are findings, nothing is believed. */
void CatalogueReader::forEach(Table table, const char *name,
                              const ReadTransaction::Visitor &visit) {
    transaction_.forEachStored(table, [&](std::string_view key, std::string_view bytes) {
        if (table == Table::meta && key == versionKey) return true;
        const auto record = unsealed(table, key, bytes);
        if (record) return visit(key, *record);
        findings_.add(name, "checksums", "the record of the key " + inHex(key));
        return true;
    });
}

bool CatalogueReader::readMeta() {
    std::optional<std::string_view> bytes;
    forEach(Table::meta, metaTable, [&](std::string_view key, std::string_view record) {
        if (key == stateKey)
            bytes = record;
        else
            findings_.add(metaTable, "keys", "an unknown one, " + inHex(key));
        return true;
    });
    const auto state = bytes ? decodeState(*bytes) : std::nullopt;
    if (!state) {
        findings_.add(metaTable, "state", bytes ? "it cannot be one" : "it is missing");
        return false;
    }
    tables_.state = *state;
    tables_.parts.resize(state->lastPart + std::size_t{1});
    if (state->nextNode == noNode || state->nextNode > lastNodeId + 1U)
        findings_.add(metaTable, "the next node", std::to_string(state->nextNode));
    return true;
}

/**
 * Makes the record of the key the last one; those that are left out between are unknown. False
 * when the key cannot be one, or comes too early or much too late.
 */
template <typename Record>
bool CatalogueReader::makeRoom(const char *table, std::string_view key,
                               std::vector<std::optional<Record>> &records) {
    constexpr std::size_t widestGap = 1000;
    const auto number = decodeKey(key);
    if (!number) {
        findings_.add(table, "keys", inHex(key) + " is no number");
        return false;
    }
    if (*number != records.size())
        findings_.add(
            table, "keys",
            std::to_string(*number) + " follows " + std::to_string(records.size()) + " others");
    if (*number < records.size() || *number - records.size() > widestGap) return false;
    records.resize(*number + 1);
    return true;
}

void CatalogueReader::readNames() {
    std::uint64_t count = 0;
    forEach(Table::names, namesTable, [&](std::string_view key, std::string_view record) {
        ++count;
        readName(key, record);
        return true;
    });
    compareCount("the number of names", tables_.state.nameCount, count);
}

void CatalogueReader::readName(std::string_view key, std::string_view record) {
    if (!makeRoom(namesTable, key, tables_.names)) return;
    const std::string place = numbered("name", tables_.names.size() - 1);
    const auto name = decodeName(record);
    if (!name) return findings_.add(namesTable, "records", place + " cannot be one");
    tables_.names.back() = name;
    if (!isXmlText(name->local) || !isXmlText(name->prefix) || !isXmlText(name->uri))
        findings_.add(namesTable, "records", place + " is no UTF-8");
    if (!knownNames_.insert(record).second)
        findings_.add(namesTable, "records", place + " is there twice");
}

void CatalogueReader::readPaths() {
    std::uint64_t count = 0;
    forEach(Table::paths, pathsTable, [&](std::string_view key, std::string_view record) {
        ++count;
        readPath(key, record);
        return true;
    });
    compareCount("the number of paths", tables_.state.pathCount, count);
}

void CatalogueReader::readPath(std::string_view key, std::string_view record) {
    if (!makeRoom(pathsTable, key, tables_.paths)) return;
    const std::string place = numbered("path", tables_.paths.size() - 1);
    const auto path = decodePath(record);
    if (!path) return findings_.add(pathsTable, "records", place + " cannot be one");
    const std::string fault = path->isRegular ? faultOf(*path) : faultOfIrregular(*path);
    if (!fault.empty()) findings_.add(pathsTable, "records", place + ": " + fault);
    const std::string steps = std::to_string(path->parent) + "/" + std::to_string(path->name) +
                              "/" + std::to_string(static_cast<int>(path->kind)) +
                              (path->isRegular ? "" : "/irregular");
    if (!knownPaths_.insert(steps).second)
        findings_.add(pathsTable, "records", place + " is there twice");
    tables_.paths.back() = path;
}

std::string CatalogueReader::faultOf(const Path &path) const {
    if (!isNamedKind(path.kind)) {
        if (path.name != noName) return "it has a name";
    } else if (path.name >= tables_.names.size() || !tables_.names[path.name]) {
        return "its name is missing";
    } else if (tables_.names[path.name]->local.empty()) {
        return "its name is a namespace declaration";
    }
    if (path.parent == noPath) {
        if (path.kind == NodeKind::attribute) return "an attribute at the top";
        return path.level == 1 ? "" : "its level";
    }
    // The path itself has its place already, so that its own number is not in front of it.
    if (path.parent + std::size_t{1} >= tables_.paths.size() || !tables_.paths[path.parent])
        return "its parent is missing";
    const Path &parent = *tables_.paths[path.parent];
    if (!parent.isRegular || parent.kind != NodeKind::element) return "its parent is no element";
    return path.level == parent.level + 1 ? "" : "its level";
}

std::string CatalogueReader::faultOfIrregular(const Path &path) const {
    if (path.parent != noPath) return "an irregular one with a parent";
    return path.name == noName ? "" : "an irregular one with a name";
}

void CatalogueReader::readDocuments() {
    forEach(Table::documents, documentsTable, [&](std::string_view key, std::string_view record) {
        ++documentCount_;
        readDocument(key, record);
        return true;
    });
    compareCount("the number of documents", tables_.state.documents, documentCount_);
    std::uint64_t nodes = 0;
    for (const PartTables &part : tables_.parts) {
        for (const DocumentRange &document : part.documents)
            nodes += std::uint64_t{document.last} - document.first + 1;
    }
    compareCount("the number of nodes", tables_.state.nodes, nodes);
}

void CatalogueReader::readDocument(std::string_view key, std::string_view record) {
    const auto first = decodeKey(key);
    const auto document = decodeDocument(record);
    if (!first || !document || nodeOf(*first) == noNode || !hasPart(*first))
        return findings_.add(documentsTable, "records", "key " + inHex(key) + " cannot be one");
    const std::string place = placed("the document of node", *first);
    auto &documents = tables_.parts[partOf(*first)].documents;
    if (document->last < nodeOf(*first) || !tables_.state.hasGiven(partOf(*first), document->last))
        return findings_.add(documentsTable, "ranges",
                             place + " ends at " + std::to_string(document->last));
    if (!documents.empty() && nodeOf(*first) <= documents.back().last)
        return findings_.add(documentsTable, "ranges", place + " overlaps the one before");
    if (!isValidDocumentName(document->name))
        findings_.add(documentsTable, "records", place + " has a name that cannot be one");
    documents.push_back({nodeOf(*first), document->last, document->name});
}

const DocumentRange *CatalogueReader::documentAt(RecordId first) const {
    if (!hasPart(first)) return nullptr;
    const auto &documents = tables_.parts[partOf(first)].documents;
    const auto found =
        std::ranges::lower_bound(documents, nodeOf(first), {}, &DocumentRange::first);
    return found != documents.end() && found->first == nodeOf(first) ? &*found : nullptr;
}

void CatalogueReader::readDocumentNames() {
    forEach(Table::documentNames, documentNamesTable,
            [&](std::string_view key, std::string_view record) {
                readHash(key, record);
                return true;
            });
    for (PartNumber part = 0; part < tables_.parts.size(); ++part) {
        for (const DocumentRange &document : tables_.parts[part].documents) {
            const RecordId first = recordOf(part, document.first);
            if (!hashed_.contains(first))
                findings_.add(documentNamesTable, "records",
                              placed("the document of node", first) + " is missing");
        }
    }
}

void CatalogueReader::readHash(std::string_view key, std::string_view record) {
    const std::string place = "key " + inHex(key);
    const auto documents = decodeRecords(record);
    if (!documents || documents->empty())
        return findings_.add(documentNamesTable, "records", place + " cannot be one");
    std::unordered_set<std::string_view> names;
    for (const RecordId first : *documents) {
        const DocumentRange *document = documentAt(first);
        const std::string named = place + ": " + placed("the document of node", first);
        if (document == nullptr) {
            findings_.add(documentNamesTable, "records", named + " is not there");
            continue;
        }
        if (documentNameKey(document->name) != key)
            findings_.add(documentNamesTable, "records", named + " has another name");
        else if (!names.insert(document->name).second || !hashed_.insert(first).second)
            findings_.add(documentNamesTable, "records", named + " is there twice");
    }
}

void CatalogueReader::readSegments() {
    forEach(Table::segments, segmentsTable, [&](std::string_view key, std::string_view record) {
        readSegment(key, record);
        return true;
    });
}

void CatalogueReader::readSegment(std::string_view key, std::string_view record) {
    const auto first = decodeKey(key);
    const auto segment = decodeSegment(record);
    if (!first || !segment || nodeOf(*first) == noNode || !hasPart(*first))
        return findings_.add(segmentsTable, "records", "key " + inHex(key) + " cannot be one");
    const std::string place = placed("the segment of node", *first);
    auto &segments = tables_.parts[partOf(*first)].segments;
    if (segment->last < nodeOf(*first) || !tables_.state.hasGiven(partOf(*first), segment->last))
        return findings_.add(segmentsTable, "ranges",
                             place + " ends at " + std::to_string(segment->last));
    if (!segments.empty() && *first <= segments.back().last())
        return findings_.add(segmentsTable, "ranges", place + " overlaps the one before");
    if (segment->nodes == 0 || segment->nodes > segment->last - nodeOf(*first) + 1)
        findings_.add(segmentsTable, "records",
                      place + " has " + numbered("nodes:", segment->nodes));
    if (segment->file >= tables_.state.nextSegment || !knownFiles_.insert(segment->file).second)
        return findings_.add(segmentsTable, "records",
                             place + " has the file " + std::to_string(segment->file));
    segments.push_back({*first, *segment});
}

void CatalogueReader::readLongElements() {
    forEach(Table::longElements, longElementsTable,
            [&](std::string_view key, std::string_view record) {
                readLongElementsOf(key, record);
                return true;
            });
}

void CatalogueReader::readLongElementsOf(std::string_view key, std::string_view record) {
    const auto first = decodeKey(key);
    const auto elements = decodeLongElements(record);
    if (!first || !elements)
        return findings_.add(longElementsTable, "records", "key " + inHex(key) + " cannot be one");
    const DocumentRange *document = documentAt(*first);
    const std::string place = placed("the document of node", *first);
    if (document == nullptr)
        return findings_.add(longElementsTable, "records", place + " is not there");
    NodeId before = noNode;
    for (const LongElement &element : *elements) {
        if (element.node <= before || element.node < document->first ||
            element.last <= element.node || element.last > document->last)
            return findings_.add(longElementsTable, "records",
                                 place + ": element " + std::to_string(element.node) + " to " +
                                     std::to_string(element.last));
        before = element.node;
        tables_.parts[partOf(*first)].longElements.push_back(element);
    }
}

}  // namespace zdbs::embedded
