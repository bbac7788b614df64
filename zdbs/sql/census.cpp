#include "zdbs/sql/census.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "zdbs/sql/schema.h"

namespace zdbs::sql {
namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";

void addPaths(const Summary &summary, const std::vector<std::vector<PathNumber>> &children,
              PathNumber above, std::vector<PathCount> &counts) {
    for (const PathNumber path : children[static_cast<std::size_t>(above)]) {
        const Path &one = summary[path];
        if (one.nodes == 0) continue;
        counts.push_back({static_cast<std::uint32_t>(one.level), one.key.kind, one.key.prefix,
                          one.key.local, one.key.uri, one.nodes});
        addPaths(summary, children, path, counts);
    }
}

}  // namespace

std::uint64_t bytesOf(Connection &connection, std::int64_t collection,
                      const std::string &function) {
    const Statement statement =
        Statement::of("select sum(" + function +
                          "(c.oid))::bigint from pg_catalog.pg_class c inner join "
                          "pg_catalog.pg_namespace s on s.oid = c.relnamespace where s.nspname = "
                          "$1 and c.relkind in "
                          "('r', 'm')",
                      std::string_view(schemaOf(collection)));
    std::uint64_t bytes = connection.run(statement).count(0, 0);
    if (!connection.spread()) return bytes;
    const Rows rows = connection.ask(statement, "n bigint");
    for (int row = 0; row < rows.size(); ++row)
        bytes += rows.count(row, 0);
    return bytes;
}

DatabaseSummary summaryOf(const SqlDocuments &documents) {
    const State &state = documents.taken();
    return {state.documents.size(), state.nodes(),
            bytesOf(documents.connection(), state.collection), documents.state()};
}

DatabaseInfo infoOf(const SqlDocuments &documents) {
    const State &state = documents.taken();
    DatabaseInfo info;
    info.documents = state.documents.size();
    info.nodes = state.nodes();
    std::map<std::tuple<NodeKind, std::string, std::string, std::string>, std::uint64_t> names;
    for (PathNumber path = rootPath + 1; path < state.summary.size(); ++path) {
        const Path &one = state.summary[path];
        info.kinds[static_cast<std::size_t>(one.key.kind)] += one.nodes;
        if (one.nodes > 0 && !one.key.local.empty())
            names[{one.key.kind, one.key.prefix, one.key.local, one.key.uri}] += one.nodes;
    }
    for (const auto &[name, count] : names)
        info.names.push_back(
            {std::get<0>(name), std::get<1>(name), std::get<2>(name), std::get<3>(name), count});
    std::stable_sort(info.names.begin(), info.names.end(),
                     [](const NameCount &a, const NameCount &b) { return a.count > b.count; });
    for (const Document &each : state.documents)
        info.xmlBytes += each.xmlBytes;
    const auto bytes = [&](const char *function) {
        return bytesOf(documents.connection(), state.collection, function);
    };
    info.sizes = {{"all", "on the server", bytes("pg_total_relation_size")},
                  {"tables", "  tables", bytes("pg_table_size")},
                  {"indexes", "  indexes", bytes("pg_indexes_size")}};
    return info;
}

std::vector<PathCount> pathsOf(const State &state) {
    std::vector<std::vector<PathNumber>> children(static_cast<std::size_t>(state.summary.size()));
    for (PathNumber path = rootPath + 1; path < state.summary.size(); ++path)
        children[static_cast<std::size_t>(state.summary[path].key.parent)].push_back(path);
    std::vector<PathCount> counts;
    addPaths(state.summary, children, rootPath, counts);
    return counts;
}

/** Whatever bytes they are, they are digits in the table. */
std::string readNotes(Connection &connection, std::int64_t collection) {
    const Rows rows = connection.run(
        Statement::of("select content from zdbs.note where number = $1", collection));
    std::string text;
    if (rows.size() == 0) return text;
    const std::string_view hex = rows.text(0, 0);
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        text += static_cast<char>(hexDigits.find(hex[i]) * 16 + hexDigits.find(hex[i + 1]));
    return text;
}

void writeNotes(Connection &connection, std::int64_t collection, std::string_view text) {
    std::string hex;
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        hex += hexDigits[byte / 16];
        hex += hexDigits[byte % 16];
    }
    connection.run(Statement::of(
        "insert into zdbs.note (number, content) values ($1, $2) on conflict (number) do update "
        "set content = excluded.content",
        collection, std::string_view(hex)));
}

}  // namespace zdbs::sql
