#include "zdbs/embedded/embedded_tree.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/embedded_set.h"
#include "zdbs/embedded/paths/row_collector.h"
#include "zdbs/embedded/paths/row_reader.h"
#include "zdbs/embedded/positions/list_joins.h"
#include "zdbs/embedded/set_facts.h"

namespace zdbs::embedded {
namespace {

ContextList contextsOf(const NodesAndRoots &side) {
    ContextList list{nodesOf(*side.nodes)->nodes(), nullptr};
    if (!side.roots.empty()) list.roots = std::make_shared<const DocumentIndexes>(side.roots);
    return list;
}

bool holdsOf(const NodePattern &pattern, const NodeName &name) {
    return (!pattern.local || *pattern.local == name.local) &&
           (!pattern.uri || *pattern.uri == name.uri);
}

/** The rows of an irregular path whose names match. */
RowSet irregularRows(const PathTable &table, PathId path, const NodePattern &pattern) {
    std::unordered_map<std::uint32_t, bool> decided;  // by number of a name
    auto kept = std::make_unique<RowCollector>();
    RowReader reader(table, path, *table.liveRows(path));
    for (RowBatch batch; reader.next(batch);) {
        for (const RowId row : batch.rows) {
            const auto name = batch.run->names.at(row - batch.run->firstRow);
            const auto [entry, isNew] = decided.try_emplace(name, false);
            if (isNew) entry->second = holdsOf(pattern, table.nameOf(name));
            if (entry->second) kept->add(row);
        }
    }
    return kept->finish();
}

class EmbeddedTree : public NodeTree {
public:
    EmbeddedTree(std::shared_ptr<const NodeTable> table, const DatabaseState &state)
        : table_(std::move(table)), state_(state) {
        for (const DocumentRange &document : table_->documents())
            documents_.push_back({document.first, document.last});
    }

    std::span<const DocumentSpan> documents() const override { return documents_; }

    ResultSetPtr listed(std::span<const RecordId> records) const override {
        return made(makeList(NodeIds(records.begin(), records.end())));
    }

    ResultSetPtr picked(const ResultSet &set, std::span<const RecordId> records) const override {
        const PathTable *const paths = table_->paths();
        if (!paths) return listed(records);
        return intact(*table_, [&] {
            const NodeIds nodes(records.begin(), records.end());
            return made(makeList(*paths, byPathAmong(*paths, nodes, listOf(set)->byPath(*paths))));
        });
    }

    ResultSetPtr matching(const NodePattern &pattern) const override {
        heedStop();
        if (!state_.summary) return made(makeList(matchingOneByOne(pattern)));
        const bool hasName = pattern.local || pattern.uri;
        if (!hasName) return made(state_.summary->nodesOfKind(pattern.kind));
        const PathTable &paths = *table_->paths();
        PathNodes nodes;
        const auto candidates = pattern.local ? state_.summary->named(pattern.kind, *pattern.local)
                                              : state_.summary->ofKind(pattern.kind);
        for (const PathId path : candidates)
            add(paths, path, pattern, nodes);
        return made(makeList(paths, std::move(nodes)));
    }

    ResultSetPtr united(const ResultSet &a, const ResultSet &b) const override {
        const std::array lists{listOf(a), listOf(b)};
        return intact(*table_, [&] { return made(embedded::united(lists)); });
    }

    ResultSetPtr common(const ResultSet &a, const ResultSet &b) const override {
        return intact(*table_, [&] { return made(intersected(listOf(a), listOf(b))); });
    }

    ResultSetPtr without(const ResultSet &a, const ResultSet &b) const override {
        return intact(*table_, [&] { return made(subtracted(listOf(a), listOf(b))); });
    }

    ResultSetPtr reached(Axis axis, const NodesAndRoots &contexts,
                         const ResultSet &among) const override {
        heedStop();
        return intact(*table_, [&] {
            return made(keepSecond(*table_, Step{axis, false}, contextsOf(contexts), listOf(among),
                                   nullptr));
        });
    }

    NodesAndRoots leading(Axis axis, const NodesAndRoots &contexts,
                          const NodesAndRoots &targets) const override {
        heedStop();
        const ContextList kept = intact(*table_, [&] {
            return keepFirst(*table_, Step{axis, false}, contextsOf(contexts), contextsOf(targets),
                             nullptr);
        });
        return {made(kept.nodes), kept.roots ? *kept.roots : DocumentIndexes()};
    }

    ResultSetPtr atPosition(const ResultSet &set, Relation relation, double place) const override {
        heedStop();
        return made(selectByPosition(*table_, nullptr, listOf(set), {relation, place}, nullptr));
    }

    ResultSetPtr withValue(const ResultSet &set, const ValuePattern &pattern) const override {
        heedStop();
        const Comparing comparing = pattern.asNumber ? Comparing::asNumbers : Comparing::asTexts;
        ValueTest test(pattern.relation, pattern.literal, comparing);
        const PathTable *const paths = table_->paths();
        if (!paths) return made(makeList(passing(listOf(set)->numbers(), test)));
        PathNodes candidates = listOf(set)->byPath(*paths);
        std::erase_if(candidates, [paths](const PathPart &part) {
            return paths->summary()[part.path].kind == NodeKind::element;
        });
        auto conditions = std::make_shared<const ValueConditions>(
            ValueConditions{ValueCondition{std::move(test), false}});
        return made(std::make_shared<const NodeList>(
            *paths, PendingNodes(*paths, std::move(candidates), std::move(conditions), nullptr)));
    }

    ResultSetPtr withOneText(const ResultSet &elements) const override {
        heedStop();
        const PathTable *const paths = table_->paths();
        if (!paths || !paths->summary().irregular().empty()) return listed({});
        return intact(*table_, [&] {
            PathNodes nodes = listOf(elements)->byPath(*paths);
            std::erase_if(nodes,
                          [&](const PathPart &part) { return !hasOneText(*paths, part.path); });
            return made(makeList(*paths, std::move(nodes)));
        });
    }

    bool isKeptTogether(const ResultSet &set) const override {
        const PathTable *const paths = table_->paths();
        if (!paths) return false;
        return intact(*table_, [&] {
            return std::ranges::all_of(listOf(set)->byPath(*paths),
                                       [&](const PathPart &part) { return isWhole(*paths, part); });
        });
    }

    std::vector<RecordId> numbers(const ResultSet &set) const override {
        return intact(*table_, [&] {
            const NodeIds &ids = numbersOf(listOf(set));
            return std::vector<RecordId>(ids.begin(), ids.end());
        });
    }

    std::vector<RecordId> parents(const ResultSet &set) const override {
        return intact(*table_, [&] {
            const NodeListPtr &list = listOf(set);
            return parentsOf(*table_, *list, numbersOf(list));
        });
    }

    std::vector<RecordId> ends(const ResultSet &set) const override {
        return intact(*table_, [&] {
            const NodeListPtr &list = listOf(set);
            return endsOf(*table_, *list, numbersOf(list));
        });
    }

    std::vector<std::string_view> values(const ResultSet &set) const override {
        return intact(*table_, [&] {
            const NodeListPtr &list = listOf(set);
            return valuesOf(*table_, *list, numbersOf(list));
        });
    }

    NamesOfNodes names(const ResultSet &set) const override {
        return intact(*table_, [&] {
            const NodeListPtr &list = listOf(set);
            return namesOf(*table_, *list, numbersOf(list));
        });
    }

    std::vector<ResultSetPtr> byName(const ResultSet &set) const override {
        const PathTable *const paths = table_->paths();
        if (!paths || !paths->summary().irregular().empty()) return NodeTree::byName(set);
        return intact(*table_, [&] {
            constexpr auto nameless = std::numeric_limits<std::uint32_t>::max();
            std::map<std::uint32_t, PathNodes> named;
            for (const PathPart &part : listOf(set)->byPath(*paths)) {
                const Path &path = paths->summary()[part.path];
                const bool hasName = path.kind != NodeKind::text && path.kind != NodeKind::comment;
                if (!part.rows->isEmpty()) named[hasName ? path.name : nameless].push_back(part);
            }
            std::vector<ResultSetPtr> parts;
            for (auto &[name, nodes] : named)
                parts.push_back(made(makeList(*paths, std::move(nodes))));
            return parts;
        });
    }

    void requireIntact() const override { table_->requireIntact(); }

private:
    static const NodeListPtr &listOf(const ResultSet &set) { return nodesOf(set)->nodes(); }

    /** Several facts are asked of one set, mostly. */
    const NodeIds &numbersOf(const NodeListPtr &list) const {
        if (list != numbered_) {
            numbers_ = list->numbers();
            numbered_ = list;
        }
        return numbers_;
    }

    ResultSetPtr made(NodeListPtr list) const {
        return std::make_shared<EmbeddedSet>(
            table_, makeSet({std::move(list), nullptr, nullptr, {}}), nullptr);
    }

    static void add(const PathTable &table, PathId path, const NodePattern &pattern,
                    PathNodes &nodes) {
        const Path &entry = table.summary()[path];
        RowSetPtr rows;
        if (!entry.isRegular)
            rows = sharedRows(table, path, irregularRows(table, path, pattern));
        else if (holdsOf(pattern, table.nameOf(entry.name)))
            rows = table.liveRows(path);
        if (rows && !rows->isEmpty()) nodes.push_back({path, std::move(rows)});
    }

    /** Whether elements of a path have nothing but one text at most; found out once. */
    bool hasOneText(const PathTable &table, PathId path) const {
        const auto known = oneText_.find(path);
        if (known != oneText_.end()) return known->second;
        return oneText_[path] = findsOneText(table, path);
    }

    static bool findsOneText(const PathTable &table, PathId path) {
        const PathSummary &summary = table.summary();
        std::size_t texts = 0;
        bool hasOne = summary[path].kind == NodeKind::element;
        for (const PathId below : summary.children(path)) {
            const NodeKind kind = summary[below].kind;
            if (kind == NodeKind::text) ++texts;
            hasOne = hasOne && texts <= 1 && kind != NodeKind::element &&
                     (kind != NodeKind::text || isOneOfEach(table, below));
        }
        return hasOne;
    }

    /** Whether no parent has two nodes of a path. */
    static bool isOneOfEach(const PathTable &table, PathId path) {
        std::optional<RowId> last;
        std::array<RowId, RowReader::batchSize> parents;
        RowReader reader(table, path, *table.liveRows(path));
        for (RowBatch batch; reader.next(batch);) {
            readParents(batch, parents);
            for (std::size_t i = 0; i < batch.rows.size(); ++i) {
                if (last == parents[i]) return false;
                last = parents[i];
            }
        }
        return true;
    }

    NodeIds matchingOneByOne(const NodePattern &pattern) const {
        NodeIds nodes;
        for (const NodeId node : state_.universe.set()->ids()) {
            if (table_->kind(node) == pattern.kind && holdsOf(pattern, table_->name(node)))
                nodes.push_back(node);
        }
        return nodes;
    }

    NodeIds passing(NodeIds nodes, const ValueTest &test) const {
        std::erase_if(nodes, [&](NodeId node) {
            return table_->kind(node) == NodeKind::element || !test.matches(table_->value(node));
        });
        return nodes;
    }

    std::shared_ptr<const NodeTable> table_;
    const DatabaseState &state_;
    std::vector<DocumentSpan> documents_;
    mutable std::unordered_map<PathId, bool> oneText_;
    mutable NodeListPtr numbered_;  ///< whose numbers are kept
    mutable NodeIds numbers_;
};

}  // namespace

std::unique_ptr<NodeTree> makeEmbeddedTree(std::shared_ptr<const NodeTable> table,
                                           const DatabaseState &state) {
    return std::make_unique<EmbeddedTree>(std::move(table), state);
}

}  // namespace zdbs::embedded
