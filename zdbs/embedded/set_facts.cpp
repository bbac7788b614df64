#include "zdbs/embedded/set_facts.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/paths/path_table.h"
#include "zdbs/embedded/paths/row_reader.h"

namespace zdbs::embedded {
namespace {

/** Finds nodes in a list that has them, in ascending order. */
class Places {
public:
    explicit Places(const NodeIds &ids) : ids_(ids) {}

    std::size_t of(NodeId node) {
        if (ids_[next_] == node) return next_++;
        std::size_t step = 1;
        for (; next_ + step < ids_.size() && ids_[next_ + step] < node; step *= 2)
            next_ += step;
        const auto begin = ids_.begin() + static_cast<std::ptrdiff_t>(next_);
        const auto end =
            ids_.begin() + static_cast<std::ptrdiff_t>(std::min(next_ + step + 1, ids_.size()));
        next_ = static_cast<std::size_t>(std::lower_bound(begin, end, node) - ids_.begin());
        return next_++;
    }

private:
    const NodeIds &ids_;
    std::size_t next_ = 0;
};

/** Calls `take(place, batch, i)` for each row of each part; `part` with each part before. */
template <typename Part, typename Take>
void forRowsOf(const PathTable &table, const NodeList &list, const NodeIds &ids, Part part,
               Take take) {
    std::array<NodeId, RowReader::batchSize> nodes;
    for (const PathPart &each : list.byPath(table)) {
        part(each.path);
        Places places(ids);
        RowReader reader(table, each.path, *each.rows);
        for (RowBatch batch; reader.next(batch);) {
            readNodes(batch, nodes);
            for (std::size_t i = 0; i < batch.rows.size(); ++i)
                take(places.of(nodes[i]), nodes[i], batch, i);
        }
    }
}

/** A fact of each node of a list that is not by path. */
template <typename T, typename Fact>
std::vector<T> oneByOne(const NodeIds &ids, Fact fact) {
    std::vector<T> facts;
    facts.reserve(ids.size());
    StopCounter stop;
    for (const NodeId node : ids) {
        stop.step();
        facts.push_back(fact(node));
    }
    return facts;
}

/** Numbers of the nodes of a path by row; rows are asked for in ascending order mostly. */
class NodesOfRows {
public:
    NodesOfRows(const PathTable &table, PathId path) : table_(table), path_(path) {}

    NodeId at(RowId row) {
        if (row == row_) return node_;
        if (!run_ || row < run_->firstRow || row >= run_->endRow())
            run_ = &table_.runOf({path_, row});
        row_ = row;
        return node_ = run_->nodeAt(row);
    }

private:
    const PathTable &table_;
    PathId path_;
    const PathRun *run_ = nullptr;
    RowId row_ = std::numeric_limits<RowId>::max();
    NodeId node_ = noNode;
};

/** The parents of the nodes of one path. */
class ParentsOfPath {
public:
    ParentsOfPath(const PathTable &table, PathId path)
        : path_(table.summary()[path]), above_(table, path_.parent) {}

    RecordId of(NodeId node, const RowBatch &batch, std::size_t i) {
        if (i == 0) readRows(batch);
        if (!path_.isRegular) {
            const RowId row = batch.rows[i] - batch.run->firstRow;
            const auto distance = batch.run->parentDistances.at(row);
            return distance == 0 ? noNode : node - distance;
        }
        return path_.parent == noPath ? noNode : above_.at(rows_[i]);
    }

private:
    void readRows(const RowBatch &batch) {
        if (path_.isRegular && path_.parent != noPath) readParents(batch, rows_);
    }

    const Path &path_;
    NodesOfRows above_;
    std::array<RowId, RowReader::batchSize> rows_;  ///< of the parents of a batch
};

/** Collects names by their numbers; nodes that get none have an empty one. */
class DistinctNames {
public:
    explicit DistinctNames(std::size_t nodes)
        : names_{{NodeName{}}, std::vector<std::uint32_t>(nodes)} {}

    /** False where the number was not added yet. */
    bool addKnown(std::size_t place, std::uint32_t number) {
        if (number >= places_.size() || places_[number] == 0) return false;
        names_.which[place] = places_[number];
        return true;
    }

    void add(std::size_t place, std::uint32_t number, const NodeName &name) {
        if (number >= places_.size()) places_.resize(number + 1);
        names_.which[place] = places_[number] = static_cast<std::uint32_t>(names_.distinct.size());
        names_.distinct.push_back(name);
    }

    NamesOfNodes take() { return std::move(names_); }

private:
    NamesOfNodes names_;
    std::vector<std::uint32_t> places_;  ///< by number of a name; 0: not added yet
};

}  // namespace

std::vector<RecordId> parentsOf(const NodeTable &table, const NodeList &list, const NodeIds &ids) {
    const PathTable *const paths = table.paths();
    if (!paths) return oneByOne<RecordId>(ids, [&](NodeId node) { return table.parent(node); });
    std::vector<RecordId> parents(ids.size());
    std::optional<ParentsOfPath> above;
    forRowsOf(
        *paths, list, ids, [&](PathId path) { above.emplace(*paths, path); },
        [&](std::size_t place, NodeId node, const RowBatch &batch, std::size_t i) {
            parents[place] = above->of(node, batch, i);
        });
    return parents;
}

std::vector<RecordId> endsOf(const NodeTable &table, const NodeList &list, const NodeIds &ids) {
    const PathTable *const paths = table.paths();
    if (!paths) return oneByOne<RecordId>(ids, [&](NodeId node) { return table.lastBelow(node); });
    std::vector<RecordId> ends(ids.size());
    PathId path = noPath;
    bool isElement = false;
    const auto enter = [&](PathId next) {
        path = next;
        isElement = paths->summary()[path].kind == NodeKind::element;
    };
    forRowsOf(*paths, list, ids, enter,
              [&](std::size_t place, NodeId node, const RowBatch &batch, std::size_t i) {
                  ends[place] = isElement ? paths->lastBelow({path, batch.rows[i]}) : node;
              });
    return ends;
}

std::vector<std::string_view> valuesOf(const NodeTable &table, const NodeList &list,
                                       const NodeIds &ids) {
    const PathTable *const paths = table.paths();
    if (!paths)
        return oneByOne<std::string_view>(ids, [&](NodeId node) { return table.value(node); });
    std::vector<std::string_view> values(ids.size());
    bool hasValues = false;
    const auto enter = [&](PathId path) {
        hasValues = paths->summary()[path].kind != NodeKind::element;
    };
    forRowsOf(*paths, list, ids, enter,
              [&](std::size_t place, NodeId, const RowBatch &batch, std::size_t i) {
                  if (!hasValues) return;
                  values[place] = batch.run->values.at(batch.rows[i] - batch.run->firstRow);
              });
    return values;
}

NamesOfNodes namesOf(const NodeTable &table, const NodeList &list, const NodeIds &ids) {
    const PathTable *const paths = table.paths();
    DistinctNames names(ids.size());
    if (!paths) {
        for (std::size_t place = 0; place < ids.size(); ++place)
            names.add(place, static_cast<std::uint32_t>(place), table.name(ids[place]));
        return names.take();
    }
    const Path *path = nullptr;
    forRowsOf(
        *paths, list, ids, [&](PathId next) { path = &paths->summary()[next]; },
        [&](std::size_t place, NodeId, const RowBatch &batch, std::size_t i) {
            if (path->kind == NodeKind::text || path->kind == NodeKind::comment) return;
            const auto row = batch.rows[i] - batch.run->firstRow;
            const std::uint32_t name = path->isRegular ? path->name : batch.run->names.at(row);
            if (!names.addKnown(place, name)) names.add(place, name, paths->nameOf(name));
        });
    return names.take();
}

}  // namespace zdbs::embedded
