/** The paths of a database: names and kinds from the roots of documents down. */
#ifndef ZDBS_SQL_SUMMARY_H
#define ZDBS_SQL_SUMMARY_H

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/base/node.h"

namespace zdbs::sql {

using PathNumber = std::int32_t;

constexpr PathNumber rootPath = 0;  ///< of the roots of documents, which are no records
constexpr PathNumber noPath = -1;

/** What tells the nodes of a path from others with the same parents. */
struct PathKey {
    PathNumber parent = noPath;
    NodeKind kind = NodeKind::element;
    std::string prefix;
    std::string local;
    std::string uri;

    auto operator<=>(const PathKey &) const = default;
};

struct Path {
    PathKey key;
    int level = 0;  ///< of roots 0
    std::uint64_t nodes = 0;

    bool isRoot() const { return level == 0; }
    bool is(NodeKind kind) const { return !isRoot() && key.kind == kind; }
    bool isAttribute() const { return is(NodeKind::attribute); }
    NodeName name() const { return {key.local, key.prefix, key.uri}; }
};

/** Begins with the path of the roots. */
class Summary {
public:
    Summary() { paths_.emplace_back(); }

    PathNumber size() const { return static_cast<PathNumber>(paths_.size()); }
    const Path &operator[](PathNumber path) const { return paths_[static_cast<std::size_t>(path)]; }

    /** The number of a path, which is new where it has not been. REQUIRES a known parent. */
    PathNumber add(const PathKey &key);
    void count(PathNumber path, std::int64_t nodes) {
        paths_[static_cast<std::size_t>(path)].nodes += static_cast<std::uint64_t>(nodes);
    }

    /** REQUIRES a level that is not below the path's. */
    PathNumber above(PathNumber path, int level) const;

private:
    std::vector<Path> paths_;
    std::map<PathKey, PathNumber> numbers_;
};

/** As in the path of a node: `p:name`, `text()`. */
std::string writtenName(const Path &path);

}  // namespace zdbs::sql

#endif
