#include "zdbs/sql/sql_tree.h"

#include <algorithm>
#include <map>
#include <set>

#include "zdbs/sql/axes.h"
#include "zdbs/sql/field_filter.h"
#include "zdbs/sql/row_reader.h"
#include "zdbs/sql/selection.h"
#include "zdbs/sql/set_algebra.h"

namespace zdbs::sql {
namespace {

constexpr std::size_t mostRanges = 300;      ///< of rows that stand in a statement
constexpr std::uint64_t blockSize = 100000;  ///< nodes that are told by one statement, about

const PathSet &pathsOf(const ResultSet &set) {
    return *sqlSet(set).paths;
}

/** Rows that follow each other are a range. REQUIRES ascending ones. */
std::vector<RowTest::Range> rangesOf(const std::vector<RowId> &rows) {
    std::vector<RowTest::Range> ranges;
    for (const RowId &row : rows) {
        const bool goesOn =
            !ranges.empty() && ranges.back().part == row.part && ranges.back().last + 1 == row.id;
        if (goesOn)
            ++ranges.back().last;
        else
            ranges.push_back({row.part, row.id, row.id});
    }
    return ranges;
}

class SqlTree final : public NodeTree {
public:
    SqlTree(Connection &connection, Counter &counter, StatePtr state)
        : connection_(connection), counter_(counter), state_(std::move(state)) {
        for (const Document &each : state_->documents)
            documents_.push_back({each.first(), each.end() - 1});
    }

    std::span<const DocumentSpan> documents() const override { return documents_; }

    ResultSetPtr listed(std::span<const RecordId> records) const override {
        if (records.empty()) return made({});
        std::vector<RowId> rows;
        for (const RecordId record : records)
            rows.push_back(state_->rowOf(record));
        std::sort(rows.begin(), rows.end());
        const RowTest test{false, false, rangesOf(rows)};
        if (test.ranges.size() > mostRanges) return made(counter_.keptRows(rows));
        const PredicatePtr listed = predicate(test);
        PathSet all = everyNode(state_->summary);
        for (auto &[path, own] : all)
            own = listed;
        const Rows found =
            connection_.ask(selected("n.path", all, state_->live, " group by n.path"), "path int");
        PathSet paths;
        for (int row = 0; row < found.size(); ++row)
            paths.emplace(static_cast<PathNumber>(found.number(row, 0)), listed);
        return made(std::move(paths));
    }

    ResultSetPtr matching(const NodePattern &pattern) const override {
        return those([&](const Path &path) {
            return path.is(pattern.kind) && (!pattern.local || *pattern.local == path.key.local) &&
                   (!pattern.uri || *pattern.uri == path.key.uri);
        });
    }

    ResultSetPtr united(const ResultSet &a, const ResultSet &b) const override {
        return made(unionOf(pathsOf(a), pathsOf(b)));
    }
    ResultSetPtr common(const ResultSet &a, const ResultSet &b) const override {
        return made(intersection(pathsOf(a), pathsOf(b)));
    }
    ResultSetPtr without(const ResultSet &a, const ResultSet &b) const override {
        return made(difference(pathsOf(a), pathsOf(b)));
    }

    ResultSetPtr reached(Axis axis, const NodesAndRoots &contexts,
                         const ResultSet &among) const override {
        return made(
            reachedFrom(state_->summary, {axis, false}, withRoots(contexts), pathsOf(among)));
    }

    NodesAndRoots leading(Axis axis, const NodesAndRoots &contexts,
                          const NodesAndRoots &targets) const override {
        PathSet found =
            leadingTo(state_->summary, {axis, false}, withRoots(contexts), withRoots(targets));
        PathSet roots;
        if (auto root = found.extract(rootPath)) roots.insert(std::move(root));
        return {made(std::move(found)), rootsIn(std::move(roots))};
    }

    ResultSetPtr atPosition(const ResultSet &set, Relation relation, double place) const override {
        return made(*sql::atPosition(SqlSet(state_, pathsOf(set)), relation, place)->paths);
    }

    ResultSetPtr withValue(const ResultSet &set, const ValuePattern &pattern) const override {
        return made(intersection(
            pathsOf(set),
            nodesValued(state_->summary, {pattern.relation, pattern.literal, pattern.asNumber})));
    }

    /** The summary knows those that have no elements; of two texts one is the second. */
    ResultSetPtr withOneText(const ResultSet &elements) const override {
        const Summary &summary = state_->summary;
        PathSet simple = pathsOf(elements);
        std::erase_if(simple,
                      [&](const auto &each) { return !summary[each.first].is(NodeKind::element); });
        PathSet second;
        for (PathNumber path = rootPath + 1; path < summary.size(); ++path) {
            if (summary[path].nodes == 0) continue;
            if (summary[path].is(NodeKind::element)) simple.erase(summary[path].key.parent);
            if (summary[path].is(NodeKind::text))
                second.emplace(path, predicate(OrdinalTest{Relation::equal, 2}));
        }
        return made(difference(simple, leadingTo(summary, {Axis::child, false}, simple, second)));
    }

    std::vector<RecordId> numbers(const ResultSet &set) const override {
        std::vector<RecordId> records;
        tell(set, {}, [&](const Document &document, const Rows &rows, int row) {
            records.push_back(recordOf(document, rows, row, 1));
        });
        return records;
    }

    std::vector<RecordId> parents(const ResultSet &set) const override {
        std::vector<RecordId> records;
        tell(set, {{"parent", "int"}}, [&](const Document &document, const Rows &rows, int row) {
            const bool isTop = rows.number(row, 2) == document.root;
            records.push_back(isTop ? 0 : recordOf(document, rows, row, 2));
        });
        return records;
    }

    std::vector<RecordId> ends(const ResultSet &set) const override {
        std::vector<RecordId> records;
        tell(set, {{"last", "int"}}, [&](const Document &document, const Rows &rows, int row) {
            records.push_back(recordOf(document, rows, row, 2));
        });
        return records;
    }

    /** Of elements the column holds their declarations. */
    std::vector<std::string_view> values(const ResultSet &set) const override {
        std::vector<std::string_view> texts;
        const auto add = [&](const Document &, const Rows &rows, int row) {
            const auto path = static_cast<PathNumber>(rows.number(row, 2));
            const bool hasValue = !state_->summary[path].is(NodeKind::element);
            texts.push_back(hasValue ? rows.text(row, 3) : std::string_view());
        };
        for (Rows &each : tell(set, {{"path", "int"}, {"value", "text"}}, add))
            valued_.push_back(std::move(each));
        return texts;
    }

    NamesOfNodes names(const ResultSet &set) const override {
        NamesOfNodes names;
        std::map<PathNumber, std::uint32_t> places;
        tell(set, {{"path", "int"}}, [&](const Document &, const Rows &rows, int row) {
            const auto path = static_cast<PathNumber>(rows.number(row, 2));
            const auto next = static_cast<std::uint32_t>(names.distinct.size());
            const auto [place, isNew] = places.emplace(path, next);
            if (isNew) names.distinct.push_back(state_->summary[path].name());
            names.which.push_back(place->second);
        });
        return names;
    }

private:
    ResultSetPtr made(PathSet paths) const {
        const auto set = std::make_shared<SqlSet>(state_, std::move(paths));
        counter_.count(*set);
        return set;
    }

    template <typename Test>
    ResultSetPtr those(Test test) const {
        PathSet paths = everyNode(state_->summary);
        std::erase_if(paths, [&](const auto &each) { return !test(state_->summary[each.first]); });
        return made(std::move(paths));
    }

    PathSet withRoots(const NodesAndRoots &side) const {
        PathSet paths = pathsOf(*side.nodes);
        if (side.roots.empty()) return paths;
        std::vector<RowId> rows;
        for (const std::uint32_t root : side.roots)
            rows.push_back({state_->documents[root].part, state_->documents[root].root});
        std::sort(rows.begin(), rows.end());
        const bool isAll = rows.size() == documents_.size();
        paths.emplace(rootPath, isAll ? nullptr : predicate(RowTest{false, false, rangesOf(rows)}));
        return paths;
    }

    std::vector<std::uint32_t> rootsIn(PathSet paths) const {
        std::vector<std::uint32_t> roots;
        const std::vector<RowId> rows =
            rowsIn(connection_, SqlSet(state_, std::move(paths)), state_->live);
        const std::set<RowId> found(rows.begin(), rows.end());
        for (std::uint32_t place = 0; place < documents_.size(); ++place) {
            const Document &document = state_->documents[place];
            if (found.contains({document.part, document.root})) roots.push_back(place);
        }
        return roots;
    }

    static RecordId recordOf(const Document &document, const Rows &rows, int row, int column) {
        return static_cast<RecordId>(document.base + rows.number(row, column));
    }

    struct Column {
        const char *name;
        const char *type;
    };

    /** Tells part, number and what else is asked for, in the order of records. */
    template <typename Visitor>
    std::vector<Rows> tell(const ResultSet &set, const std::vector<Column> &more,
                           Visitor visitor) const {
        std::string columns = "n.part, n.id";
        std::string types = "part int, id int";
        for (const auto &[name, type] : more) {
            columns += std::string(", n.") + name;
            types += std::string(", ") + name + " " + type;
        }
        const PathSet &paths = pathsOf(set);
        const RecordId end = documents_.empty() ? 0 : documents_.back().last + 1;
        const RecordId stride = end / (static_cast<std::uint64_t>(set.size()) / blockSize + 1) + 1;
        std::vector<Rows> told;
        for (RecordId first = 0; first < end && !paths.empty(); first += stride) {
            const RowRanges ranges = state_->rows(first, first + stride);
            if (ranges.empty()) continue;
            told.push_back(connection_.ask(selected(columns, paths, ranges), types));
            tellInOrder(told.back(), visitor);
        }
        return told;
    }

    template <typename Visitor>
    void tellInOrder(const Rows &rows, Visitor visitor) const {
        std::vector<std::pair<RowId, int>> order;
        for (int row = 0; row < rows.size(); ++row)
            order.push_back(
                {{static_cast<int>(rows.number(row, 0)), static_cast<int>(rows.number(row, 1))},
                 row});
        std::sort(order.begin(), order.end(), [this](const auto &a, const auto &b) {
            return state_->recordOf(a.first) < state_->recordOf(b.first);
        });
        for (const auto &[id, row] : order)
            visitor(state_->documentOf(id), rows, row);
    }

    /** "select …" of the rows of a set, each once. */
    Statement selected(const std::string &columns, const PathSet &paths, const RowRanges &ranges,
                       const std::string &end = "") const {
        Statement statement;
        Selection selection(state_->summary, statement);
        selection.limitTo(ranges);
        for (const PathGroup &group : groupsOf(paths, state_->summary, Levels::whereNeeded))
            statement.text += (statement.text.empty() ? "select " : " union all select ") +
                              columns + selection.fromGroup(group) + end;
        return statement;
    }

    Connection &connection_;
    Counter &counter_;
    StatePtr state_;
    std::vector<DocumentSpan> documents_;
    mutable std::vector<Rows> valued_;  ///< that values were told from
};

}  // namespace

std::unique_ptr<NodeTree> makeSqlTree(Connection &connection, Counter &counter, StatePtr state) {
    return std::make_unique<SqlTree>(connection, counter, std::move(state));
}

}  // namespace zdbs::sql
