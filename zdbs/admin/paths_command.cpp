#include <string>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/json.h"
#include "zdbs/admin/output.h"
#include "zdbs/language/type_word.h"

namespace zdbs::admin {

namespace {

/** The last step of a path, as a request would have it. */
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

std::string asText(const std::vector<PathCount> &paths) {
    TextTable table({TextTable::Align::right, TextTable::Align::left});
    table.add({"COUNT", "PATH"});
    for (const PathCount &path : paths) {
        const std::string step = path.level == 0
                                     ? "... " + stepText(path)
                                     : std::string(2 * (path.level - 1), ' ') + stepText(path);
        table.add({std::to_string(path.count), step});
    }
    return table.text();
}

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

std::string asJsonText(const std::vector<PathCount> &paths) {
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

}  // namespace

bool listPaths(const HomeChoice &home, const std::string &database, bool asJson) {
    const std::vector<PathCount> paths = home.open()->paths(database);
    writeOutput(asJson ? asJsonText(paths) : asText(paths));
    return true;
}

}  // namespace zdbs::admin
