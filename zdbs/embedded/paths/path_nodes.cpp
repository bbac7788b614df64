#include "zdbs/embedded/paths/path_nodes.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace zdbs::embedded {
namespace {

bool isBefore(const PathPart &a, const PathPart &b) {
    return a.path < b.path;
}

/** Rows that are a part of both or either of `a` and `b`: as one of them when they are that. */
RowSetPtr sharedWith(const RowSetPtr &a, const RowSetPtr &b, RowSet &&rows) {
    const std::uint64_t count = rows.cardinality();
    if (count == a->cardinality()) return a;
    if (count == b->cardinality()) return b;
    return std::make_shared<const RowSet>(std::move(rows));
}

/** Goes through two sets path by path; `both` is called where both have the path. */
template <typename OnlyA, typename OnlyB, typename Both>
void walk(const PathNodes &a, const PathNodes &b, OnlyA onlyA, OnlyB onlyB, Both both) {
    auto x = a.begin();
    auto y = b.begin();
    while (x != a.end() || y != b.end()) {
        if (y == b.end() || (x != a.end() && x->path < y->path)) {
            onlyA(*x++);
        } else if (x == a.end() || y->path < x->path) {
            onlyB(*y++);
        } else {
            both(*x++, *y++);
        }
    }
}

constexpr auto skip = [](const PathPart &) {};

}  // namespace

RowSetPtr sharedRows(const PathTable &table, PathId path, RowSet &&rows) {
    if (rows.isEmpty()) return nullptr;
    const RowSetPtr &live = table.liveRows(path);
    if (rows.cardinality() == live->cardinality()) return live;
    return std::make_shared<const RowSet>(std::move(rows));
}

const PathPart *partOf(const PathNodes &nodes, PathId path) {
    const auto place =
        std::lower_bound(nodes.begin(), nodes.end(), path,
                         [](const PathPart &part, PathId number) { return part.path < number; });
    return place != nodes.end() && place->path == path ? &*place : nullptr;
}

PathNodes wholePaths(const PathTable &table, std::span<const PathId> paths) {
    PathNodes result;
    result.reserve(paths.size());
    for (PathId path : paths) {
        const RowSetPtr &live = table.liveRows(path);
        if (!live->isEmpty()) result.push_back({path, live});
    }
    return result;
}

bool isWhole(const PathTable &table, const PathPart &part) {
    return part.rows == table.liveRows(part.path);
}

std::uint64_t sizeOf(const PathNodes &nodes) {
    std::uint64_t size = 0;
    for (const PathPart &part : nodes)
        size += part.rows->cardinality();
    return size;
}

PathNodes intersected(const PathNodes &a, const PathNodes &b) {
    PathNodes result;
    walk(a, b, skip, skip, [&](const PathPart &x, const PathPart &y) {
        if (x.rows == y.rows) return result.push_back(x);
        RowSet rows = *x.rows & *y.rows;
        if (rows.isEmpty()) return;
        result.push_back({x.path, sharedWith(x.rows, y.rows, std::move(rows))});
    });
    return result;
}

namespace {

/** So many times fewer parts are put in one by one. */
constexpr std::size_t manyTimes = 64;

void add(const PathTable &table, const PathPart &part, PathNodes &nodes) {
    const auto place = std::lower_bound(nodes.begin(), nodes.end(), part, isBefore);
    if (place == nodes.end() || place->path != part.path) {
        nodes.insert(place, part);
    } else if (place->rows != part.rows && !isWhole(table, *place)) {
        place->rows = isWhole(table, part)
                          ? part.rows
                          : sharedRows(table, part.path, *place->rows | *part.rows);
    }
}

}  // namespace

PathNodes united(const PathTable &table, PathNodes a, const PathNodes &b) {
    if (b.size() * manyTimes <= a.size()) {
        for (const PathPart &part : b)
            add(table, part, a);
        return a;
    }
    PathNodes result;
    result.reserve(std::max(a.size(), b.size()));
    const auto take = [&](const PathPart &part) { result.push_back(part); };
    walk(a, b, take, take, [&](const PathPart &x, const PathPart &y) {
        if (x.rows == y.rows || isWhole(table, x)) return result.push_back(x);
        if (isWhole(table, y)) return result.push_back(y);
        result.push_back({x.path, sharedRows(table, x.path, *x.rows | *y.rows)});
    });
    return result;
}

PathNodes subtracted(const PathNodes &a, const PathNodes &b) {
    PathNodes result;
    const auto take = [&](const PathPart &part) { result.push_back(part); };
    walk(a, b, take, skip, [&](const PathPart &x, const PathPart &y) {
        if (x.rows == y.rows) return;
        RowSet rows = *x.rows - *y.rows;
        if (rows.isEmpty()) return;
        result.push_back({x.path, sharedWith(x.rows, x.rows, std::move(rows))});
    });
    return result;
}

bool contains(const PathTable &table, const PathNodes &nodes, NodeId node) {
    const PathRow place = table.locate(node);
    const PathPart *part = partOf(nodes, place.path);
    return part != nullptr && part->rows->contains(place.row);
}

}  // namespace zdbs::embedded
