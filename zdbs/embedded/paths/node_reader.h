/** Reads nodes of a path table by number, quickly when asked for near ones. */
#ifndef ZDBS_EMBEDDED_PATHS_NODE_READER_H
#define ZDBS_EMBEDDED_PATHS_NODE_READER_H

#include <deque>
#include <span>
#include <string_view>
#include <vector>

#include "zdbs/embedded/paths/path_table.h"

namespace zdbs::embedded {

/**
 * A place in the rows of one path. It remembers where it is: going forward costs the
 * logarithm of the distance, and to the next row next to nothing. Numbers that damage has
 * brought out of order are found out, so that who goes forward gets to the end. For one
 * thread.
 */
class PathCursor {
public:
    /** The table must outlive it. */
    PathCursor(const PathTable &table, PathId path) : runs_(table.runs(path)) {}

    /**
     * Goes to the first row whose node is not less than `node`, which becomes node(); that is
     * noMoreNodes when there is none. Throws Failure(homeDamaged).
     */
    NodeId seek(NodeId node) {
        if (node >= sought_ && node <= node_) return node_;
        return move(node);
    }

    /** Goes to a row. Throws Failure(homeDamaged) when there is none of that number. */
    NodeId seekRow(RowId row);

    NodeId node() const { return node_; }

    // REQUIRES of all others that node() is a node.
    const PathRun &run() const { return runs_[run_]; }
    RowId row() const { return run().firstRow + row_; }
    RowId parentRow() const { return run().parentBase + run().parents.at(row_) - 1; }
    std::uint32_t rowInRun() const { return row_; }
    std::string_view value() const { return run().values.at(row_); }

private:
    NodeId move(NodeId node);
    void findRun(NodeId node);

    std::span<const PathRun> runs_;
    std::size_t run_ = 0;
    std::uint32_t row_ = 0;  ///< in the run
    NodeId sought_ = 1;      ///< what is between it and node_ leads here, both included
    NodeId node_ = noNode;
};

/**
 * Paths and rows of nodes. Keeps the paths of some neighbouring nodes, and a cursor for
 * each path that was asked for. For one thread.
 */
class NodeReader {
public:
    /** The table must outlive it. */
    explicit NodeReader(const PathTable &table);

    const PathTable &table() const { return table_; }
    const PathSummary &summary() const { return summary_; }

    /** REQUIRES that the node is present. Throws Failure(homeDamaged). */
    PathId pathOf(NodeId node) {
        if (node - window_.first >= window_.count) table_.readPaths(node, window_);
        return window_.paths[node - window_.first];
    }

    /** Stays where it is as long as the reader lives. */
    PathCursor &cursor(PathId path) {
        PathCursor *const known = cursors_[path];
        return known != nullptr ? *known : makeCursor(path);
    }

    /** The cursor of the path, at the row of a node of it. Throws Failure(homeDamaged). */
    PathCursor &at(PathId path, NodeId node) {
        PathCursor &cursor = this->cursor(path);
        if (cursor.seek(node) != node) failAt(node);
        return cursor;
    }

    /** Last node below a node of an element path; the node itself when nothing is below. */
    NodeId lastBelow(PathId path, NodeId node) {
        return table_.lastBelow(PathRow{path, at(path, node).row()});
    }

    /** Whether some node between two, both included, is irregular. */
    bool hasIrregular(NodeId first, NodeId last);

    /** Throws Failure(homeDamaged). */
    [[noreturn]] static void failAt(NodeId node);

private:
    PathCursor &makeCursor(PathId path);

    const PathTable &table_;
    const PathSummary &summary_;
    PathWindow window_;
    std::vector<PathCursor *> cursors_;  ///< by path; null until asked for
    std::deque<PathCursor> made_;
};

}  // namespace zdbs::embedded

#endif
