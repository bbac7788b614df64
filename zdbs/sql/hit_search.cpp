#include "zdbs/sql/hit_search.h"

#include <algorithm>

#include "zdbs/sql/selection.h"

namespace zdbs::sql {
namespace {

void addHits(std::string_view value, const FieldTerm &term, std::vector<HitRange> &hits) {
    const std::size_t length = term.text.size();
    const bool isSearched = term.relation == Relation::contains && length > 0;
    if (!isSearched && !value.empty()) hits.push_back({0, value.size()});
    std::size_t at = 0;
    while (isSearched && (at = value.find(term.text, at)) != std::string_view::npos) {
        hits.push_back({at, length});
        at += length;
    }
}

RowId rowIn(const Rows &rows, int row, int column) {
    return {static_cast<int>(rows.number(row, column)),
            static_cast<int>(rows.number(row, column + 1))};
}

/** "select i, n.part, n.id, …" of the nodes of each leaf, as far as they are in a set. */
void selectLeaves(Statement &statement, Selection &selection, const Summary &summary,
                  const std::vector<LeafPtr> &leaves, const PathSet *within,
                  const std::string &columns) {
    for (std::size_t i = 0; i < leaves.size(); ++i) {
        const PathSet nodes = within ? intersection(*within, *leaves[i]->nodes) : *leaves[i]->nodes;
        for (const PathGroup &group : groupsOf(nodes, summary, Levels::whereNeeded)) {
            if (!statement.text.empty()) statement.text += " union all ";
            statement.text +=
                "select " + std::to_string(i) + " as c, " + columns + selection.fromGroup(group);
        }
    }
}

void addConditions(Conditions &conditions, const Leaf &leaf) {
    for (const FieldTerm &term : leaf.terms)
        conditions.push_back(&term);
}

}  // namespace

std::vector<HitRange> hitsIn(std::string_view value, const Conditions &conditions) {
    std::vector<HitRange> hits;
    for (const FieldTerm *term : conditions)
        addHits(value, *term, hits);
    joinOverlaps(hits);
    return hits;
}

std::map<RowId, Conditions> matchedRows(Connection &connection, const State &state,
                                        const std::vector<LeafPtr> &leaves,
                                        const RowRanges &ranges) {
    std::map<RowId, Conditions> matched;
    Statement statement;
    Selection selection(state.summary, statement);
    selection.limitTo(ranges);
    selectLeaves(statement, selection, state.summary, leaves, nullptr, "n.part, n.id");
    if (statement.text.empty()) return matched;
    const Rows rows = connection.ask(statement, "c int, part int, id int");
    for (int row = 0; row < rows.size(); ++row)
        addConditions(matched[rowIn(rows, row, 1)],
                      *leaves[static_cast<std::size_t>(rows.number(row, 0))]);
    return matched;
}

std::int64_t furtherHits(Connection &connection, const SqlSet &set) {
    Statement statement;
    Selection selection(set.state->summary, statement);
    selection.limitTo(set.state->live);
    selectLeaves(statement, selection, set.state->summary, set.leaves, set.paths.get(),
                 "n.part, n.id, n.value");
    if (statement.text.empty()) return 0;
    const Rows rows = connection.ask(statement, "c int, part int, id int, value text");
    std::map<RowId, std::pair<Conditions, std::string_view>> matched;
    for (int row = 0; row < rows.size(); ++row) {
        auto &[conditions, value] = matched[rowIn(rows, row, 1)];
        addConditions(conditions, *set.leaves[static_cast<std::size_t>(rows.number(row, 0))]);
        value = rows.text(row, 3);
    }
    std::int64_t further = 0;
    for (const auto &[row, match] : matched)
        further += std::max<std::int64_t>(std::ssize(hitsIn(match.second, match.first)), 1) - 1;
    return further;
}

std::vector<HitWord> hitWordsOf(Connection &connection, const SqlSet &set, RowId row,
                                std::int32_t part) {
    Statement statement;
    Selection selection(set.state->summary, statement);
    const RowRanges ranges = {{row.part, row.id, row.id}};
    selection.limitTo(ranges);
    selectLeaves(statement, selection, set.state->summary, set.leaves, nullptr, "n.value");
    const HitWord whole{part, static_cast<std::int32_t>(Field::id)};
    if (statement.text.empty()) return {whole};
    const Rows rows = connection.ask(statement, "c int, value text");
    if (rows.size() == 0) return {whole};
    Conditions conditions;
    for (int each = 0; each < rows.size(); ++each)
        addConditions(conditions, *set.leaves[static_cast<std::size_t>(rows.number(each, 0))]);
    WordCounter counter(rows.text(0, 1));
    std::vector<HitWord> words;
    for (const HitRange &hit : hitsIn(rows.text(0, 1), conditions)) {
        HitWord &word = words.emplace_back(whole);
        word.field = static_cast<std::int32_t>(Field::value);
        word.word = static_cast<std::int32_t>(counter.at(hit.offset));
        word.length = static_cast<std::int32_t>(hit.length);
    }
    if (words.empty()) words.push_back(whole);
    return words;
}

}  // namespace zdbs::sql
