#include "zdbs/embedded/store/catalogue.h"

#include "zdbs/base/status.h"
#include "zdbs/embedded/store/environment.h"

namespace zdbs::embedded {

Catalogue::Catalogue(const Environment &environment, const ReadTransaction &transaction)
    : environment_(environment), transaction_(transaction) {
    const auto bytes = transaction_.get(Table::meta, stateKey);
    const auto state = bytes ? decodeState(*bytes) : std::nullopt;
    if (!state) failDamaged("it has no state");
    state_ = *state;
}

std::vector<NodeName> Catalogue::names() const {
    std::vector<NodeName> names;
    transaction_.forEach(Table::names, [&](std::string_view key, std::string_view record) {
        const auto name = decodeName(record);
        if (!name || decodeKey(key) != names.size()) failDamaged("a name");
        names.push_back(*name);
        return true;
    });
    if (names.size() != state_.nameCount) failDamaged("the number of names");
    return names;
}

std::vector<Path> Catalogue::paths() const {
    std::vector<Path> paths;
    transaction_.forEach(Table::paths, [&](std::string_view key, std::string_view record) {
        const auto path = decodePath(record);
        if (!path || decodeKey(key) != paths.size()) failDamaged("a path");
        const bool isTop = path->parent == noPath;
        const bool isPlaced = isTop
                                  ? path->level <= 1
                                  : path->parent < paths.size() && paths[path->parent].isRegular &&
                                        path->level == paths[path->parent].level + 1;
        const bool isNamed =
            path->isRegular && path->kind != NodeKind::text && path->kind != NodeKind::comment;
        if (!isPlaced || (isNamed ? path->name >= state_.nameCount : path->name != noName))
            failDamaged("a path");
        paths.push_back(*path);
        return true;
    });
    if (paths.size() != state_.pathCount) failDamaged("the number of paths");
    return paths;
}

std::vector<StoredSegment> Catalogue::segments() const {
    std::vector<StoredSegment> segments;
    RecordId last = noNode;
    transaction_.forEach(Table::segments, [&](std::string_view key, std::string_view record) {
        const auto first = decodeKey(key);
        const auto segment = decodeSegment(record);
        if (!first || !segment || *first <= last || segment->last < nodeOf(*first) ||
            !state_.hasGiven(partOf(*first), segment->last) ||
            segment->file >= state_.nextSegment || segment->nodes == 0 ||
            segment->nodes > segment->last - nodeOf(*first) + 1)
            failDamaged("a segment");
        segments.push_back({*first, *segment});
        last = segments.back().last();
        return true;
    });
    return segments;
}

bool Catalogue::visitDocument(std::string_view key, std::string_view record,
                              const DocumentVisitor &visit) const {
    const auto first = decodeKey(key);
    const auto document = decodeDocument(record);
    if (!first || !document || nodeOf(*first) == noNode || document->last < nodeOf(*first) ||
        !state_.hasGiven(partOf(*first), document->last))
        failDamaged("a document");
    return visit(*first, *document);
}

void Catalogue::forEachDocument(const DocumentVisitor &visit) const {
    transaction_.forEach(Table::documents, [&](std::string_view key, std::string_view record) {
        return visitDocument(key, record, visit);
    });
}

void Catalogue::forEachDocumentFrom(RecordId node, const DocumentVisitor &visit) const {
    transaction_.forEachFrom(Table::documents, encodeKey(node),
                             [&](std::string_view key, std::string_view record) {
                                 return visitDocument(key, record, visit);
                             });
}

std::optional<RecordRange> Catalogue::find(std::string_view name) const {
    const auto bytes = transaction_.get(Table::documentNames, documentNameKey(name));
    if (!bytes) return std::nullopt;
    const auto documents = decodeRecords(*bytes);
    if (!documents) failDamaged("the index of documents");
    for (const RecordId first : *documents) {
        const auto recordBytes = transaction_.get(Table::documents, encodeKey(first));
        const auto record = recordBytes ? decodeDocument(*recordBytes) : std::nullopt;
        if (!record) failDamaged("the index of documents");
        if (record->name == name) return RecordRange{first, recordOf(partOf(first), record->last)};
    }
    return std::nullopt;
}

void Catalogue::forEachLongElements(const LongElementsVisitor &visit) const {
    transaction_.forEach(Table::longElements, [&](std::string_view key, std::string_view record) {
        const auto first = decodeKey(key);
        const auto elements = decodeLongElements(record);
        if (!first || !elements || partOf(*first) > state_.lastPart)
            failDamaged("a list of long elements");
        visit(partOf(*first), *elements);
        return true;
    });
}

void Catalogue::failDamaged(std::string_view what) const {
    throw Failure(Status::homeDamaged, {environment_.directory().native(), what});
}

}  // namespace zdbs::embedded
