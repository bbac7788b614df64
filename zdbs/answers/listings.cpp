#include "zdbs/answers/listings.h"

#include "zdbs/answers/json.h"
#include "zdbs/language/type_word.h"

namespace zdbs {

namespace {

/** The texts of the paths that lead to the one at hand. */
class PathTexts {
public:
    std::string of(const PathCount &path) {
        if (path.level == 0) return "//" + stepText(path);
        open_.resize(path.level - 1);
        open_.push_back((open_.empty() ? "/" : open_.back() + '/') + stepText(path));
        return open_.back();
    }

private:
    std::vector<std::string> open_;
};

}  // namespace

std::string stepText(const PathCount &path) {
    const std::string name = (path.prefix.empty() ? "" : path.prefix + ':') + path.local;
    switch (path.kind) {
        case NodeKind::element:
            return name.empty() ? "*" : name;
        case NodeKind::attribute:
            return name.empty() ? "@*" : '@' + name;
        case NodeKind::text:
            return "text()";
        case NodeKind::comment:
            return "comment()";
        case NodeKind::processingInstruction:
            return name.empty() ? "processing-instruction()"
                                : "processing-instruction('" + name + "')";
    }
    return {};
}

std::vector<std::pair<std::string, std::uint64_t>> pathTexts(const std::vector<PathCount> &paths) {
    std::vector<std::pair<std::string, std::uint64_t>> texts;
    PathTexts tellers;
    for (const PathCount &path : paths)
        texts.emplace_back(tellers.of(path), path.count);
    return texts;
}

std::string pathsAsJson(const std::vector<PathCount> &paths) {
    JsonWriter json;
    PathTexts texts;
    json.beginArray();
    for (const PathCount &path : paths) {
        json.beginObject().key("path").value(texts.of(path));
        json.key("level").value(std::uint64_t{path.level});
        json.key("type").value(typeWord(path.kind));
        json.key("name").value(path.local).key("prefix").value(path.prefix);
        json.key("namespace").value(path.uri).key("count").value(path.count).endObject();
    }
    return json.endArray().text() + '\n';
}

std::string infoAsJson(const std::string &database, const DatabaseInfo &info) {
    JsonWriter json;
    json.beginObject().key("database").value(database);
    json.key("documents").value(info.documents);
    json.key("nodes").value(info.nodes).key("types").beginObject();
    for (std::size_t kind = 0; kind < DatabaseInfo::kindCount; ++kind)
        json.key(typeWord(static_cast<NodeKind>(kind))).value(info.kinds[kind]);
    json.endObject().key("names").beginArray();
    for (const NameCount &row : info.names) {
        json.beginObject();
        json.key("type").value(typeWord(row.kind));
        json.key("name").value(row.local).key("prefix").value(row.prefix);
        json.key("namespace").value(row.uri).key("count").value(row.count).endObject();
    }
    json.endArray().key("xmlBytes").value(info.xmlBytes).key("diskBytes").beginObject();
    for (const StructureSize &part : info.sizes)
        json.key(part.key).value(part.bytes);
    json.endObject().endObject();
    return json.text() + '\n';
}

std::string documentsAsJson(const std::vector<DocumentSummary> &documents) {
    JsonWriter json;
    json.beginArray();
    for (const DocumentSummary &document : documents) {
        json.beginObject();
        json.key("document").value(document.name);
        json.key("nodes").value(document.nodes);
        json.key("first").value(document.first);
        json.key("xmlBytes").value(document.xmlBytes);
        json.endObject();
    }
    return json.endArray().text() + '\n';
}

}  // namespace zdbs
