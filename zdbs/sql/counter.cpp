#include "zdbs/sql/counter.h"

#include <algorithm>
#include <map>
#include <set>

#include "zdbs/base/status.h"
#include "zdbs/base/utf8.h"
#include "zdbs/sql/hit_search.h"
#include "zdbs/sql/selection.h"

namespace zdbs::sql {
namespace {

constexpr std::size_t mostSelections = 16;  ///< that a set or its pairs may take in a statement

constexpr std::size_t mostAsked = 4000;  ///< of a statement

/** What a row of the answer counts. */
enum Code : int { others, attributes, pieces, firstTerm };

/** Whether hits of two texts can have a character in common. */
bool canOverlap(const std::string &a, const std::string &b) {
    if (a.find(b) != std::string::npos || b.find(a) != std::string::npos) return true;
    for (std::size_t size = 1; size < std::min(a.size(), b.size()); ++size) {
        if (a.ends_with(b.substr(0, size)) || b.ends_with(a.substr(0, size))) return true;
    }
    return false;
}

/** The nodes of a set whose hits are pieces of their values, and by which texts. */
struct Pieces {
    explicit Pieces(const SqlSet &set) {
        PathSet whole;
        for (const LeafPtr &leaf : set.leaves) {
            if (!leaf->hitsPieces()) {
                whole = unionOf(whole, *leaf->nodes);
                continue;
            }
            for (const FieldTerm &term : leaf->terms)
                terms[term.text] = unionOf(terms[term.text], *leaf->nodes);
        }
        for (const auto &[text, nodes] : terms)
            all = unionOf(all, nodes);
        all = difference(intersection(*set.paths, all), whole);
        for (auto &[text, nodes] : terms)
            nodes = intersection(all, nodes);
    }

    bool canBeCounted() const {
        for (auto a = terms.begin(); a != terms.end(); ++a) {
            for (auto b = std::next(a); b != terms.end(); ++b) {
                if (canOverlap(a->first, b->first)) return false;
            }
        }
        return true;
    }

    PathSet all;
    std::map<std::string, PathSet> terms;
};

std::size_t selectionsIn(std::string_view text) {
    constexpr std::string_view word = "select ";
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string_view::npos;
         at = text.find(word, at + word.size()))
        ++count;
    return count;
}

/** A planner takes memory and time for each of them, and nobody can stop it. */
void requireAskable(const Statement &statement) {
    const std::size_t selections = selectionsIn(statement.text);
    if (selections > mostAsked)
        throw Failure(Status::unsupported,
                      {"a condition on so many levels at once takes " + std::to_string(selections) +
                       " selections of at most " + std::to_string(mostAsked)});
}

/** One statement that counts several things. */
class CountStatement {
public:
    explicit CountStatement(const State &state)
        : state_(state), selection_(state.summary, statement_) {
        selection_.limitTo(state.live);
    }

    void addRecords(const PathSet &set) {
        for (const PathGroup &group : groupsOf(set, state_.summary, Levels::whereNeeded))
            add(group, group.isAttribute ? attributes : others);
    }

    void addPieces(const Pieces &hits, bool isAll) {
        if (!isAll) {
            for (const PathGroup &group : groupsOf(hits.all, state_.summary, Levels::whereNeeded))
                add(group, pieces);
        }
        int code = firstTerm;
        for (const auto &[text, nodes] : hits.terms) {
            for (const PathGroup &group : groupsOf(nodes, state_.summary, Levels::whereNeeded))
                append("select " + std::to_string(code) +
                       " as c, sum(length(n.value) - length(replace(n.value, " +
                       statement_.bind(text) + ", ''))) as n" + selection_.fromGroup(group));
            ++code;
        }
    }

    void requireAskable() const { sql::requireAskable(statement_); }
    bool isAsked() const { return !statement_.text.empty(); }

    std::map<int, std::int64_t> run(Connection &connection) {
        if (isAsked()) {
            const Rows rows = connection.ask(statement_, "c int, n bigint");
            for (int row = 0; row < rows.size(); ++row)
                counts_[static_cast<int>(rows.number(row, 0))] += rows.number(row, 1);
        }
        return counts_;
    }

private:
    void add(const PathGroup &group, int code) {
        if (group.predicate) return append(selection_.countOf(group, code));
        for (const PathNumber path : group.paths)
            counts_[code] += static_cast<std::int64_t>(state_.summary[path].nodes);
    }

    void append(const std::string &selection) {
        if (!statement_.text.empty()) statement_.text += " union all ";
        statement_.text += selection;
    }

    const State &state_;
    Statement statement_;
    Selection selection_;
    std::map<int, std::int64_t> counts_;
};

std::size_t selectionsOf(const SqlSet &set) {
    Statement statement;
    return selectionsIn(Selection(set.state->summary, statement).rowsOf(*set.paths));
}

Pairs pairsOf(const SqlSet &set) {
    Pairs pairs = *set.pairs;
    pairs.nodes = set.paths;
    return pairs;
}

/** Pairs of a step are made of sets that are no larger than they may be; others grow. */
bool isCompound(const Pairs &pairs) {
    return std::holds_alternative<CommonPairs>(pairs.made) ||
           std::holds_alternative<MergedPairs>(pairs.made) ||
           std::holds_alternative<PairsAtPlace>(pairs.made);
}

std::size_t selectionsOfPairs(const SqlSet &set) {
    Statement statement;
    return selectionsIn(Selection(set.state->summary, statement).pairsOf(pairsOf(set)));
}

/** What was matched last is what is kept. */
void replaceLeaves(SqlSet &set, const PathSetPtr &kept) {
    for (LeafPtr &leaf : set.leaves) {
        if (leaf->nodes == set.paths) leaf = std::make_shared<Leaf>(Leaf{leaf->terms, kept});
    }
}

void leaveOut(SqlSet &set, bool ofAttributes) {
    const auto isOfKind = [&](const auto &each) {
        return set.state->summary[each.first].isAttribute() == ofAttributes;
    };
    if (std::none_of(set.paths->begin(), set.paths->end(), isOfKind)) return;
    auto paths = std::make_shared<PathSet>(*set.paths);
    std::erase_if(*paths, isOfKind);
    set.paths = std::move(paths);
}

}  // namespace

void Counter::count(SqlSet &set) {
    if (set.isCounted) return;
    if (selectionsOf(set) > mostSelections) keep(set);
    if (set.pairs && isCompound(*set.pairs) && selectionsOfPairs(set) > mostSelections)
        keepPairs(set);
    const Pieces hits(set);
    const bool isAll = hits.all == *set.paths;
    const bool inOneStatement = hits.canBeCounted();
    CountStatement statement(*set.state);
    statement.addRecords(*set.paths);
    if (inOneStatement) statement.addPieces(hits, isAll);
    if (statement.isAsked()) set.plan = "a statement of the server";
    statement.requireAskable();
    auto counts = statement.run(connection_);
    set.records = counts[others] + counts[attributes];
    if (counts[others] == 0) leaveOut(set, false);
    if (counts[attributes] == 0) leaveOut(set, true);
    set.hitWords = set.records - (isAll ? set.records : counts[pieces]);
    int code = firstTerm;
    for (const auto &[text, nodes] : hits.terms)
        set.hitWords += counts[code++] / static_cast<std::int64_t>(characterCount(text));
    if (!inOneStatement) set.hitWords = set.records + furtherHits(connection_, set);
    set.isCounted = true;
}

void Counter::keep(SqlSet &set) {
    const KeptRowsPtr rows = keeper_.next();
    auto paths = std::make_shared<PathSet>();
    Statement statement;
    Selection selection(set.state->summary, statement);
    selection.limitTo(set.state->live);
    const std::string number = statement.bind(rows->number());
    for (const PathGroup &group : groupsOf(*set.paths, set.state->summary, Levels::whereNeeded)) {
        if (!group.predicate) {
            for (const PathNumber path : group.paths)
                paths->emplace(path, nullptr);
            continue;
        }
        statement.text += (statement.text.empty() ? "" : " union all ") + std::string("select ") +
                          number + ", n.part, n.id, n.path" + selection.fromGroup(group);
    }
    statement.text = "insert into setnode (number, part, id, path) " + statement.text;
    requireAskable(statement);
    connection_.change(statement);
    paths->merge(pathsOfKept(rows));
    replaceLeaves(set, paths);
    set.paths = std::move(paths);
}

PathSet Counter::keptRows(const std::vector<RowId> &rows) {
    constexpr std::size_t together = 5000;
    const KeptRowsPtr kept = keeper_.next();
    for (std::size_t first = 0; first < rows.size(); first += together) {
        std::map<int, std::string> numbers;
        for (std::size_t i = first; i < std::min(first + together, rows.size()); ++i) {
            std::string &list = numbers[rows[i].part];
            list += (list.empty() ? "" : ", ") + std::to_string(rows[i].id);
        }
        for (const auto &[part, list] : numbers)
            connection_.change(Statement::of(
                "insert into setnode (number, part, id, path) select $1, n.part, n.id, n.path from "
                "node n where n.part = $2 and n.id in (" +
                    list + ")",
                kept->number(), std::int64_t{part}));
    }
    return pathsOfKept(kept);
}

PathSet Counter::pathsOfKept(const KeptRowsPtr &rows) {
    const Rows kept = connection_.ask(
        Statement::of("select path from setnode where number = $1 group by path", rows->number()),
        "path int");
    const PredicatePtr test = predicate(KeptTest{rows});
    PathSet paths;
    for (int row = 0; row < kept.size(); ++row)
        paths.emplace(static_cast<PathNumber>(kept.number(row, 0)), test);
    return paths;
}

void Counter::keepPairs(SqlSet &set) {
    const KeptRowsPtr rows = keeper_.next();
    Statement statement;
    Selection selection(set.state->summary, statement);
    Pairs made = pairsOf(set);
    const std::string number = statement.bind(rows->number());
    statement.text = "insert into setnode (number, part, path, id) select " + number +
                     ", v.part, v.c, v.k from (" + selection.pairsOf(made) + ") v";
    requireAskable(statement);
    connection_.change(statement);
    made.made = KeptPairs{rows};
    set.pairs = std::make_shared<const Pairs>(std::move(made));
}

}  // namespace zdbs::sql
