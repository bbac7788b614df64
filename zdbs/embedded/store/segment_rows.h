/** The nodes of a segment while it is being filled, row by row of each path. */
#ifndef ZDBS_EMBEDDED_STORE_SEGMENT_ROWS_H
#define ZDBS_EMBEDDED_STORE_SEGMENT_ROWS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "zdbs/embedded/columns/value_column.h"
#include "zdbs/embedded/store/segment.h"

namespace zdbs::embedded {

/** When a segment is full, when a part, and what a document may have. */
struct SegmentLimits {
    std::uint32_t nodes = std::uint32_t{1} << 22;
    std::size_t valueBytes = std::size_t{40} << 20;  ///< exceeded by the last value
    NodeId nodesOfPart = lastNodeId;                 ///< exceeded by a document alone in it
    NodeId nodesOfDocument = lastNodeId;             ///< not less than that
};

/** The rows of one path; columns as in PathRun, but `nodes` are whole numbers of nodes. */
struct PathRows {
    PathId id = noPath;
    PathId parent = noPath;
    bool isRegular = true;
    bool isNamed = true;  ///< of a kind that has names
    std::vector<std::uint32_t> nodes;
    std::vector<std::uint32_t> parents;
    std::vector<std::uint32_t> below;
    std::vector<std::uint32_t> names;
    std::vector<std::uint32_t> parentDistances;
    std::optional<ValueColumnBuilder> values;  ///< none of elements
};

struct NewRow {
    NodeId node;
    NodeId parent;  ///< noNode at the top
    std::uint32_t name;
    std::string_view value;
};

/** Of an element: which of the names holds prefix and namespace name. */
struct Declaration {
    NodeId element;
    std::uint32_t name;
};

/** Where the row of an element is, for setBelow(). */
struct RowPlace {
    std::uint32_t local;
    std::uint32_t row;
};

/**
 * Paths get local numbers in the order of their first row. Nodes come in ascending order;
 * of regular paths the row of the parent is then always the last row of its path, or that
 * of an earlier segment when its path has no row here.
 */
class SegmentRows {
public:
    bool empty() const { return pathOfNode_.empty(); }
    NodeId firstNode() const { return stretches_.front().firstNode; }
    NodeId lastNode() const { return lastNode_; }
    std::uint32_t nodeCount() const { return static_cast<std::uint32_t>(pathOfNode_.size()); }
    std::size_t valueBytes() const { return valueBytes_; }

    bool isFull(const SegmentLimits &limits) const {
        return nodeCount() >= limits.nodes || valueBytes_ >= limits.valueBytes;
    }

    /** The next node, of a path of the database with that number. */
    RowPlace add(PathId id, const Path &path, const NewRow &row);

    /** Of an element that is here: how many nodes are below it. */
    void setBelow(RowPlace place, std::uint32_t below) {
        paths_[place.local].below[place.row] = below;
    }

    /** Of the element added last. */
    void addDeclaration(const Declaration &declaration) { declarations_.push_back(declaration); }

    /** Forgets the nodes from that one on. */
    void truncate(NodeId end);

    /** Makes all numbers less. REQUIRES that the first is greater than that. */
    void renumber(NodeId less);

    /**
     * Adds the nodes of a segment that are in these ranges; behind those that are here.
     * `paths` are those of the database by number.
     */
    void addSegment(const Segment &segment, std::span<const Path> paths,
                    std::span<const DocumentRange> ranges);

    // What is here, for the encoding.
    std::vector<PathRows> &paths() { return paths_; }
    std::vector<std::uint32_t> &pathOfNode() { return pathOfNode_; }
    const std::vector<SegmentStretch> &stretches() const { return stretches_; }
    const std::vector<Declaration> &declarations() const { return declarations_; }

private:
    static constexpr std::uint32_t noLocal = 0xffffffff;

    std::uint32_t localOf(PathId id, const Path &path);
    std::uint32_t rowsOf(PathId id) const;
    void addPlace(NodeId node, std::uint32_t local);
    void addRows(const Segment &segment, std::uint32_t source, std::uint32_t local,
                 const Path &path, std::span<const DocumentRange> ranges);
    void addParents(PathRows &rows, std::size_t firstRow);

    std::vector<PathRows> paths_;
    std::vector<std::uint32_t> locals_;  ///< by number of a path
    std::vector<std::uint32_t> pathOfNode_;
    std::vector<SegmentStretch> stretches_;
    std::vector<Declaration> declarations_;
    NodeId lastNode_ = noNode;
    std::size_t valueBytes_ = 0;
};

}  // namespace zdbs::embedded

#endif
