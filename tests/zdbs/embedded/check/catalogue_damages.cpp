#include "tests/zdbs/embedded/check/damage_list.h"

namespace zdbs::embedded {

namespace {

using Db = const DamagedDatabase &;

/** A change of the record of the state. */
std::function<void(Db)> state(const std::function<void(StateRecord &)> &change) {
    return [=](Db db) { db.changeState(change); };
}

std::function<void(Db)> path(const char *text, const std::function<void(Path &)> &change) {
    return [=](Db db) { db.changePathRecord(db.pathNumber(text), change); };
}

std::function<void(Db)> segment(const std::function<void(SegmentRecord &)> &change) {
    return [=](Db db) { db.changeSegment(0, change); };
}

std::string nameRecord(const NodeName &name) {
    std::string bytes;
    encodeName(bytes, name);
    return bytes;
}

void copyRecord(Db db, const char *table, std::uint32_t from, std::uint32_t to) {
    db.put(table, encodeKey(to), db.record(table, encodeKey(from)).value());
}

std::uint32_t countOf(Db db, const char *table) {
    return static_cast<std::uint32_t>(db.keys(table).size());
}

std::vector<Damage> stateDamages() {
    return {
        {"NoState", [](Db db) { db.remove("meta", std::string(stateKey)); },
         "table meta: state: it is missing"},
        {"ShortState", [](Db db) { db.put("meta", std::string(stateKey), "xyz"); },
         "table meta: state: it cannot be one"},
        {"NoVersion", [](Db db) { db.remove("meta", std::string(versionKey)); },
         "data.mdb: catalogue: "},
        {"UnknownKeyInMeta", [](Db db) { db.put("meta", "surprise", "x"); }, "table meta: keys: "},
        {"OneDocumentTooMany", state([](StateRecord &record) { ++record.documents; }),
         "table meta: the number of documents: 6, and there are 5"},
        {"OneNodeTooFew", state([](StateRecord &record) { --record.nodes; }),
         "table meta: the number of nodes: "},
        {"OneNameTooMany", state([](StateRecord &record) { ++record.nameCount; }),
         "table meta: the number of names: "},
        {"OnePathTooFew", state([](StateRecord &record) { --record.pathCount; }),
         "table meta: the number of paths: "},
        {"NextNodeIsTooSmall", state([](StateRecord &record) { record.nextNode = 1500; }),
         "table documents: ranges: "},
        {"NextNodeIsNone", state([](StateRecord &record) { record.nextNode = 0; }),
         "table meta: the next node: 0"},
        {"NextSegmentIsTooSmall", state([](StateRecord &record) { record.nextSegment = 1; }),
         "table segments: records: "},
    };
}

std::vector<Damage> documentDamages() {
    return {
        {"NoDocument", [](Db db) { db.remove("documents", encodeKey(db.documents()[1])); },
         "table documentNames: records: "},
        {"ShortDocument", [](Db db) { db.put("documents", encodeKey(db.documents()[1]), "x"); },
         "table documents: records: "},
        {"DocumentWithAnotherKey", [](Db db) { db.put("documents", "key", "x"); },
         "table documents: records: "},
        {"DocumentsOverlap",
         [](Db db) {
             db.changeDocument(0, [](NodeId, DocumentRecord &document) { ++document.last; });
         },
         "overlaps the one before"},
        {"DocumentIsTooShort",
         [](Db db) {
             db.changeDocument(0, [](NodeId, DocumentRecord &document) { --document.last; });
         },
         "table meta: the number of nodes: "},
        {"DocumentEndsBeforeItBegins",
         [](Db db) {
             db.changeDocument(
                 1, [](NodeId first, DocumentRecord &document) { document.last = first - 1; });
         },
         "table documents: ranges: "},
        {"DocumentLeadsOutOfItsFolder",
         [](Db db) {
             db.changeDocument(
                 1, [](NodeId, DocumentRecord &document) { document.name = "../deep.xml"; });
         },
         "table documents: records: "},
        {"DocumentHasAnotherName",
         [](Db db) {
             db.changeDocument(
                 1, [](NodeId, DocumentRecord &document) { document.name = "shallow.xml"; });
         },
         "has another name"},
        {"NoNameOfADocument",
         [](Db db) { db.remove("documentNames", documentNameKey("deep.xml")); },
         "table documentNames: records: "},
        {"NameOfAnotherDocument",
         [](Db db) {
             db.put("documentNames", documentNameKey("deep.xml"),
                    encodeRecords({db.documents()[0]}));
         },
         "has another name"},
        {"DocumentIsNamedTwice",
         [](Db db) {
             const NodeId document = db.documents()[1];
             db.put("documentNames", documentNameKey("deep.xml"),
                    encodeRecords({document, document}));
         },
         "is there twice"},
        {"NameWithoutADocument",
         [](Db db) {
             db.put("documentNames", documentNameKey("deep.xml"),
                    encodeRecords({db.documents()[1], 3}));
         },
         "is not there"},
        {"EmptyListOfDocuments",
         [](Db db) { db.put("documentNames", documentNameKey("deep.xml"), ""); },
         "table documentNames: records: "},
    };
}

std::vector<Damage> nameDamages() {
    return {
        {"NoName", [](Db db) { db.remove("names", encodeKey(1)); }, "table names: keys: 2 follows"},
        {"NoLastName", [](Db db) { db.remove("names", encodeKey(countOf(db, "names") - 1)); },
         "table meta: the number of names: "},
        {"ShortName", [](Db db) { db.put("names", encodeKey(1), "x"); },
         "table names: records: name 1 cannot be one"},
        {"NameIsTooLong", [](Db db) { db.put("names", encodeKey(1), std::string(8, '\xff')); },
         "table names: records: name 1 cannot be one"},
        {"NameIsNoUtf8",
         [](Db db) {
             db.put("names", encodeKey(1), nameRecord({"n\xffm", {}, {}}));
         },
         "table names: records: name 1 is no UTF-8"},
        {"NameIsThereTwice", [](Db db) { copyRecord(db, "names", 0, 1); },
         "table names: records: name 1 is there twice"},
        {"NameFarBehindTheOthers", [](Db db) { copyRecord(db, "names", 0, 0xfffffff0); },
         "table names: keys: "},
        {"NameWithAnotherKey", [](Db db) { db.put("names", "zzzzz", "x"); }, "is no number"},
    };
}

std::vector<Damage> pathDamages() {
    constexpr const char *leaf = "/items/item/name";
    return {
        {"NoPath", [](Db db) { db.remove("paths", encodeKey(1)); }, "table paths: keys: 2 follows"},
        {"ShortPath", [](Db db) { db.put("paths", encodeKey(1), "x"); },
         "table paths: records: path 1 cannot be one"},
        {"PathOfAnUnknownKind",
         [](Db db) {
             std::string record = db.record("paths", encodeKey(1)).value();
             record[12] = 9;
             db.put("paths", encodeKey(1), record);
         },
         "table paths: records: path 1 cannot be one"},
        {"PathIsThereTwice", [](Db db) { copyRecord(db, "paths", 2, 3); }, "is there twice"},
        {"PathHasAnotherParent", path(leaf, [](Path &changed) { changed.parent = 0; }),
         "its level"},
        {"PathHasALaterParent", path(leaf, [](Path &changed) { changed.parent = 9999; }),
         "its parent is missing"},
        {"PathIsItsOwnParent",
         [](Db db) {
             const PathId number = db.pathNumber(leaf);
             db.changePathRecord(number, [=](Path &changed) { changed.parent = number; });
         },
         "its parent is missing"},
        {"PathBelowAnAttribute",
         [](Db db) {
             const PathId attribute = db.pathNumber("/items/item/@n");
             db.changePathRecord(db.pathNumber("/items/item/name/text()"),
                                 [=](Path &changed) { changed.parent = attribute; });
         },
         "its parent is no element"},
        {"PathHasAnotherLevel", path(leaf, [](Path &changed) { ++changed.level; }), "its level"},
        {"PathHasAnUnknownName", path(leaf, [](Path &changed) { changed.name = 4711; }),
         "its name is missing"},
        {"PathHasTheNameOfADeclaration",
         [](Db db) {
             std::uint32_t declaration = 0;
             while (!decodeName(db.record("names", encodeKey(declaration)).value())->local.empty())
                 ++declaration;
             db.changePathRecord(db.pathNumber(leaf),
                                 [=](Path &changed) { changed.name = declaration; });
         },
         "its name is a namespace declaration"},
        {"PathOfTextsHasAName",
         path("/items/item/name/text()", [](Path &changed) { changed.name = 0; }), "it has a name"},
        {"PathHasAnotherName", path(leaf, [](Path &changed) { changed.name = 0; }), nullptr},
        {"PathHasAnotherKind",
         path("/items/item/name/text()", [](Path &changed) { changed.kind = NodeKind::comment; }),
         nullptr},
        {"ElementsBecomeAttributes",
         path(leaf, [](Path &changed) { changed.kind = NodeKind::attribute; }),
         "its parent is no element"},
        {"AttributeAtTheTop",
         path("/items/item/@n",
              [](Path &changed) {
                  changed.parent = noPath;
                  changed.level = 1;
              }),
         "an attribute at the top"},
        {"PathBecomesIrregular",
         path(leaf,
              [](Path &changed) {
                  changed.isRegular = false;
                  changed.level = 0;
              }),
         "an irregular one with a parent"},
    };
}

std::vector<Damage> segmentRecordDamages() {
    return {
        {"NoSegment", [](Db db) { db.remove("segments", encodeKey(db.segments()[1].first)); },
         "table segments: nodes of documents: "},
        {"NoFirstSegment", [](Db db) { db.remove("segments", encodeKey(db.segments()[0].first)); },
         "table segments: nodes of documents: "},
        {"ShortSegmentRecord",
         [](Db db) { db.put("segments", encodeKey(db.segments()[0].first), "x"); },
         "table segments: records: "},
        {"SegmentHasAnotherChecksum", segment([](SegmentRecord &record) { ++record.checksum; }),
         "segments/00000001.seg: header: checksum "},
        {"SegmentHasAnotherLength", segment([](SegmentRecord &record) { ++record.bytes; }),
         "segments/00000001.seg: header: length "},
        {"SegmentHasFewerNodes", segment([](SegmentRecord &record) { --record.nodes; }),
         "segments/00000001.seg: header: number of nodes "},
        {"SegmentEndsEarlier", segment([](SegmentRecord &record) { --record.last; }),
         "segments/00000001.seg: header: last node "},
        {"SegmentsOverlap", segment([](SegmentRecord &record) { ++record.last; }),
         "overlaps the one before"},
        {"SegmentsShareAFile", segment([](SegmentRecord &record) { record.file = 2; }),
         "table segments: records: "},
        {"SegmentEndsBehindAllNodes",
         [](Db db) {
             db.changeSegment(db.segmentCount() - 1,
                              [](SegmentRecord &record) { record.last = 2000000000; });
         },
         "table segments: ranges: "},
    };
}

std::vector<Damage> longElementDamages() {
    const auto firstList = [](Db db) { return db.keys("longElements").at(0); };
    const auto change = [=](Db db, const std::function<void(std::vector<LongElement> &)> &work) {
        auto elements = decodeLongElements(db.record("longElements", firstList(db)).value());
        work(*elements);
        db.put("longElements", firstList(db), encodeLongElements(*elements));
    };
    return {
        {"NoLongElements", [=](Db db) { db.remove("longElements", firstList(db)); },
         "table longElements: records: node 1: it is missing"},
        {"ShortListOfLongElements", [=](Db db) { db.put("longElements", firstList(db), "x"); },
         "table longElements: records: "},
        {"LongElementEndsEarlier",
         [=](Db db) { change(db, [](std::vector<LongElement> &elements) { --elements[0].last; }); },
         "table longElements: records: node 1: it ends at "},
        {"LongElementLeavesItsDocument",
         [=](Db db) { change(db, [](std::vector<LongElement> &elements) { ++elements[0].last; }); },
         "table longElements: records: "},
        {"LongElementIsNoElement",
         [=](Db db) {
             change(db, [](std::vector<LongElement> &elements) {
                 elements.push_back({elements.back().node + 1, elements.back().last});
             });
         },
         "is no element that ends in a later segment"},
        {"LongElementsOfNoDocument",
         [=](Db db) {
             db.put("longElements", encodeKey(17),
                    db.record("longElements", firstList(db)).value());
         },
         "table longElements: records: the document of node 17 is not there"},
    };
}

}  // namespace

std::vector<Damage> catalogueDamages() {
    std::vector<Damage> all;
    for (const auto &some : {stateDamages(), documentDamages(), nameDamages(), pathDamages(),
                             segmentRecordDamages(), longElementDamages()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

}  // namespace zdbs::embedded
