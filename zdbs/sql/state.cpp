#include "zdbs/sql/state.h"

#include <algorithm>

#include "zdbs/sql/shards.h"

namespace zdbs::sql {
namespace {

int small(const Rows &rows, int row, int column) {
    return static_cast<int>(rows.number(row, column));
}

void readPaths(Connection &connection, Summary &summary) {
    const Rows rows = connection.run(
        "select path, parent, kind, prefix, local, uri, nodes from path order by path");
    for (int row = 0; row < rows.size(); ++row) {
        const PathKey key{small(rows, row, 1), static_cast<NodeKind>(rows.number(row, 2)),
                          std::string(rows.text(row, 3)), std::string(rows.text(row, 4)),
                          std::string(rows.text(row, 5))};
        summary.count(summary.add(key), rows.number(row, 6));
    }
}

void readDocuments(Connection &connection, const std::string &condition,
                   std::vector<Document> &documents) {
    const Rows rows = connection.run(
        "select number, part, root, last, base, bytes, name from document where removed is null" +
        condition + " order by part, root");
    for (int row = 0; row < rows.size(); ++row)
        documents.push_back({rows.number(row, 0), small(rows, row, 1), small(rows, row, 2),
                             small(rows, row, 3), rows.number(row, 4), rows.count(row, 5),
                             std::string(rows.text(row, 6))});
}

/** What the summary counts is in all parts together. */
void countPaths(Connection &connection, State &state) {
    std::vector<std::int64_t> nodes(static_cast<std::size_t>(state.summary.size()));
    for (const RowRange &each : state.live) {
        const Rows rows = connection.ask(
            Statement::of("select path, count(*) from node where part = $1 and id between $2 and "
                          "$3 group by path",
                          std::int64_t{each.part}, std::int64_t{each.first},
                          std::int64_t{each.last}),
            "path int, n bigint");
        for (int row = 0; row < rows.size(); ++row)
            nodes[static_cast<std::size_t>(rows.number(row, 0))] += rows.number(row, 1);
    }
    for (PathNumber path = 0; path < state.summary.size(); ++path)
        state.summary.count(path, nodes[static_cast<std::size_t>(path)] -
                                      static_cast<std::int64_t>(state.summary[path].nodes));
}

}  // namespace

RowRanges rowsOf(const std::vector<Document> &documents) {
    RowRanges ranges;
    for (const Document &each : documents)
        ranges.push_back({each.part, each.root, each.last});
    std::sort(ranges.begin(), ranges.end(), [](const RowRange &a, const RowRange &b) {
        return a.part != b.part ? a.part < b.part : a.first < b.first;
    });
    RowRanges joined;
    for (const RowRange &each : ranges) {
        const bool goesOn = !joined.empty() && joined.back().part == each.part &&
                            joined.back().last + 1 == each.first;
        if (goesOn)
            joined.back().last = each.last;
        else
            joined.push_back(each);
    }
    return joined;
}

StatePtr readState(Connection &connection, std::int64_t collection,
                   std::optional<std::uint32_t> part) {
    auto state = std::make_shared<State>();
    state->collection = collection;
    state->number = connection.run("select number from state").number(0, 0);
    state->spread = readSpread(connection, collection);
    connection.spreadOver(state->spread);
    requireShards(connection);
    readPaths(connection, state->summary);
    const std::string condition = part ? " and part = " + std::to_string(*part) : "";
    readDocuments(connection, condition, state->documents);
    state->live = rowsOf(state->documents);
    if (!part) return state;
    for (Document &each : state->documents)
        each.base = 0;
    countPaths(connection, *state);
    return state;
}

std::size_t State::documentAt(RecordId record) const {
    const auto found =
        std::partition_point(documents.begin(), documents.end(),
                             [record](const Document &each) { return each.end() <= record; });
    return static_cast<std::size_t>(found - documents.begin());
}

const Document &State::documentOf(RowId row) const {
    const auto behind =
        std::partition_point(documents.begin(), documents.end(), [&](const Document &each) {
            return RowId{each.part, each.root} <= row;
        });
    return *std::prev(behind);
}

RecordId State::recordOf(RowId row) const {
    return static_cast<RecordId>(documentOf(row).base + row.id);
}

RowId State::rowOf(RecordId record) const {
    const Document &document = documents[documentAt(record)];
    return {document.part, static_cast<int>(static_cast<std::int64_t>(record) - document.base)};
}

RowRanges State::rows(RecordId first, RecordId end) const {
    std::vector<Document> cut;
    for (std::size_t each = documentAt(first); each < documents.size(); ++each) {
        Document document = documents[each];
        if (document.first() >= end) break;
        const auto row = [&](RecordId record) {
            return static_cast<int>(static_cast<std::int64_t>(record) - document.base);
        };
        if (document.first() < first) document.root = row(first);
        if (document.end() > end) document.last = row(end) - 1;
        cut.push_back(document);
    }
    return rowsOf(cut);
}

RecordId State::behind(RecordId first, std::uint64_t nodes) const {
    for (std::size_t each = documentAt(first); each < documents.size(); ++each) {
        const RecordId begin = std::max(first, documents[each].first());
        const std::uint64_t left = documents[each].end() - begin;
        if (nodes <= left) return begin + nodes;
        nodes -= left;
    }
    return documents.empty() ? 0 : documents.back().end();
}

std::uint64_t State::nodes() const {
    std::uint64_t count = 0;
    for (const Document &each : documents)
        count += each.nodes();
    return count;
}

}  // namespace zdbs::sql
