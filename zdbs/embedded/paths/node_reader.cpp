#include "zdbs/embedded/paths/node_reader.h"

#include <algorithm>
#include <string>

#include "zdbs/base/status.h"

namespace zdbs::embedded {
namespace {

/** What the column of nodes has for a number, or would have: 0 for what is before the run. */
std::uint32_t stored(const PathRun &run, NodeId node) {
    return node > run.firstNode ? node - run.firstNode : 0;
}

/** The first row from `from` on whose node is not less. Often that is the very first. */
std::uint32_t firstRow(const PathRun &run, NodeId node, std::uint32_t from) {
    const std::uint32_t number = stored(run, node);
    if (from < run.count && run.nodes.at(from) >= number) return from;
    return run.nodes.lowerBound(number, from);
}

NodeId lastOf(const PathRun &run) {
    return run.firstNode + run.nodes.at(run.count - 1);
}

}  // namespace

NodeId PathCursor::move(NodeId node) {
    std::uint32_t from = 0;
    if (node > node_ && node_ != noNode) {
        from = row_ + 1;
    } else {
        findRun(node);
    }
    sought_ = node;
    for (; run_ < runs_.size(); ++run_, from = 0) {
        const PathRun &run = runs_[run_];
        row_ = firstRow(run, node, from);
        if (row_ == run.count) continue;
        node_ = run.firstNode + run.nodes.at(row_);
        if (node_ < node) NodeReader::failAt(node);
        return node_;
    }
    return node_ = noMoreNodes;
}

/** The first run that does not end before the node. */
void PathCursor::findRun(NodeId node) {
    const auto found = std::partition_point(
        runs_.begin(), runs_.end(), [node](const PathRun &run) { return lastOf(run) < node; });
    run_ = static_cast<std::size_t>(found - runs_.begin());
}

NodeId PathCursor::seekRow(RowId row) {
    if (node_ != noNode && node_ != noMoreNodes && this->row() == row) return node_;
    const auto behind =
        std::upper_bound(runs_.begin(), runs_.end(), row,
                         [](RowId number, const PathRun &run) { return number < run.firstRow; });
    if (behind == runs_.begin() || row >= (behind - 1)->endRow()) NodeReader::failAt(noNode);
    run_ = static_cast<std::size_t>(behind - runs_.begin()) - 1;
    row_ = row - runs_[run_].firstRow;
    return sought_ = node_ = runs_[run_].nodeAt(row);
}

NodeReader::NodeReader(const PathTable &table)
    : table_(table), summary_(table.summary()), cursors_(summary_.size()) {}

PathCursor &NodeReader::makeCursor(PathId path) {
    return *(cursors_[path] = &made_.emplace_back(table_, path));
}

bool NodeReader::hasIrregular(NodeId first, NodeId last) {
    const auto paths = summary_.irregular();
    return std::any_of(paths.begin(), paths.end(),
                       [&](PathId path) { return cursor(path).seek(first) <= last; });
}

void NodeReader::failAt(NodeId node) {
    throw Failure(Status::homeDamaged, {"", "the tree at node " + std::to_string(node)});
}

}  // namespace zdbs::embedded
