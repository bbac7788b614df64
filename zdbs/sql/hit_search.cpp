#include "zdbs/sql/hit_search.h"

#include <algorithm>

#include "zdbs/sql/selection.h"

namespace zdbs::sql {
namespace {

void addHits(std::string_view value, const FieldTerm &term, std::vector<HitRange> &hits) {
    if (value.empty()) return;
    if (term.relation != Relation::contains || term.text.empty())
        return hits.push_back({0, value.size()});
    for (std::size_t at = value.find(term.text); at != std::string_view::npos;
         at = value.find(term.text, at + term.text.size()))
        hits.push_back({at, term.text.size()});
}

constexpr std::string_view white = " \t\r\n";

bool isWhite(char each) {
    return white.find(each) != std::string_view::npos;
}

/** Words are what white space separates; white space belongs to the word behind it. */
std::int32_t wordAt(std::string_view value, std::size_t offset) {
    const std::size_t begin = std::min(value.find_first_not_of(white, offset), value.size());
    std::int32_t words = 0;
    for (std::size_t at = 0; at < value.size() && at <= begin; ++at) {
        if (!isWhite(value[at]) && (at == 0 || isWhite(value[at - 1]))) ++words;
    }
    return std::max(words, 1);
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
    std::sort(hits.begin(), hits.end(),
              [](const HitRange &a, const HitRange &b) { return a.offset < b.offset; });
    std::vector<HitRange> merged;
    for (const HitRange &hit : hits) {
        const std::size_t end = merged.empty() ? 0 : merged.back().offset + merged.back().length;
        if (hit.offset >= end)
            merged.push_back(hit);
        else
            merged.back().length = std::max(end, hit.offset + hit.length) - merged.back().offset;
    }
    return merged;
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
    HitWord word;
    word.part = part;
    word.field = static_cast<std::int32_t>(Field::id);
    std::vector<HitWord> words;
    Statement statement;
    Selection selection(set.state->summary, statement);
    const RowRanges ranges = {{row.part, row.id, row.id}};
    selection.limitTo(ranges);
    selectLeaves(statement, selection, set.state->summary, set.leaves, nullptr, "n.value");
    if (statement.text.empty()) return {word};
    const Rows rows = connection.ask(statement, "c int, value text");
    Conditions conditions;
    for (int each = 0; each < rows.size(); ++each)
        addConditions(conditions, *set.leaves[static_cast<std::size_t>(rows.number(each, 0))]);
    const std::string_view value = rows.size() > 0 ? rows.text(0, 1) : std::string_view();
    for (const HitRange &hit : hitsIn(value, conditions)) {
        word.field = static_cast<std::int32_t>(Field::value);
        word.word = wordAt(value, hit.offset);
        word.length = static_cast<std::int32_t>(hit.length);
        words.push_back(word);
    }
    if (words.empty()) words.push_back(word);
    return words;
}

}  // namespace zdbs::sql
