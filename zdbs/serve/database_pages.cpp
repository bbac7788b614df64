#include <string>
#include <utility>
#include <vector>

#include "zdbs/answers/json.h"
#include "zdbs/answers/listings.h"
#include "zdbs/answers/node_output.h"
#include "zdbs/base/status.h"
#include "zdbs/serve/pages.h"

namespace zdbs::serve {

namespace {

ReplyHead passingHead(Form form) {
    return {200, std::string(mediaType(form)), {{"Cache-Control", "no-store"}}};
}

/** What a user is told of a database in the list. */
struct Row {
    std::string name;
    DatabaseSummary summary;
    bool mayWrite;
};

/** One that is dropped meanwhile is left out, as it would be a moment later. */
std::vector<Row> rowsFor(const Service &service, const std::string &user) {
    std::vector<Row> rows;
    for (const std::string &name : service.engine.databases(user)) {
        try {
            rows.push_back({name, service.home.summary(name), service.engine.mayWrite(user, name)});
        } catch (const Failure &failure) {
            if (failure.status() != Status::unknownDatabase) throw;
        }
    }
    return rows;
}

std::string asJson(const std::vector<Row> &rows) {
    JsonWriter json;
    json.beginArray();
    for (const auto &[name, summary, mayWrite] : rows) {
        json.beginObject().key("database").value(name);
        json.key("documents").value(summary.documents).key("nodes").value(summary.nodes);
        json.key("bytes").value(summary.diskBytes).key("state").value(summary.state);
        json.key("access").value(mayWrite ? "write" : "read").endObject();
    }
    return json.endArray().text() + '\n';
}

std::string asCsv(const std::vector<Row> &rows) {
    std::string text = "database,documents,nodes,bytes,state,access\r\n";
    for (const auto &[name, summary, mayWrite] : rows) {
        text += csvField(name) + ',' + std::to_string(summary.documents) + ',' +
                std::to_string(summary.nodes) + ',' + std::to_string(summary.diskBytes) + ',' +
                std::to_string(summary.state) + ',' + (mayWrite ? "write" : "read") + "\r\n";
    }
    return text;
}

std::string asPlain(const std::vector<Row> &rows) {
    std::string text;
    for (const Row &row : rows)
        text += row.name + '\n';
    return text;
}

/** The members of an object that an array or object of JSON on a line is put into. */
std::string withMembers(std::string object, const std::string &members) {
    object.resize(object.rfind('}'));
    return object + members + "}\n";
}

std::string withoutLineEnd(std::string line) {
    if (line.ends_with('\n')) line.pop_back();
    return line;
}

std::string pathsAsCsv(const std::vector<PathCount> &paths) {
    std::string text = "count,path\r\n";
    for (const auto &[path, count] : pathTexts(paths))
        text += std::to_string(count) + ',' + csvField(path) + "\r\n";
    return text;
}

}  // namespace

void tellHealth(const Call &call) {
    call.reply.send(passingHead(Form::plain), "ok\n");
}

void tellMetrics(const Call &call) {
    ReplyHead head = passingHead(Form::plain);
    head.type = "text/plain; version=0.0.4; charset=utf-8";
    call.reply.send(std::move(head), call.service.metrics.text(call.service.gauges()));
}

void tellDescription(const Call &call) {
    static const std::string description = describe(routes());
    call.reply.send(passingHead(Form::json), description);
}

void listDatabases(const Call &call) {
    const std::vector<Row> rows = rowsFor(call.service, call.request.user);
    call.reply.send(passingHead(call.form), call.form == Form::json  ? asJson(rows)
                                            : call.form == Form::csv ? asCsv(rows)
                                                                     : asPlain(rows));
}

/** Two looks at a state that did not change between them are looks at one state. */
void tellDatabase(const Call &call) {
    const Administration &home = call.service.home;
    std::uint64_t state = home.summary(call.database).state;
    if (call.isKnown(state)) return;
    DatabaseInfo info;
    std::vector<PathCount> paths;
    for (std::uint64_t before = state + 1; before != state;) {
        before = state;
        if (call.form == Form::json) info = home.info(call.database);
        paths = home.paths(call.database);
        state = home.summary(call.database).state;
    }
    ReplyHead head = call.headFor(state);
    if (call.form == Form::csv) return call.reply.send(std::move(head), pathsAsCsv(paths));
    const bool mayWrite = call.service.engine.mayWrite(call.request.user, call.database);
    call.reply.send(std::move(head),
                    withMembers(infoAsJson(call.database, info),
                                ",\"state\":" + std::to_string(state) + ",\"access\":\"" +
                                    (mayWrite ? "write" : "read") +
                                    "\",\"paths\":" + withoutLineEnd(pathsAsJson(paths))));
}

}  // namespace zdbs::serve
