// The nodes of a part by path.
#include <algorithm>
#include <bit>
#include <utility>

#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/snapshot.h"

namespace zdbs::embedded {

std::span<const PathRun> Snapshot::runs(PathId path) const {
    PathState &state = pathStates_[path];
    if (!state.hasRuns.load(std::memory_order_acquire)) {
        const std::lock_guard lock(mutex_);
        if (!state.hasRuns.load(std::memory_order_relaxed)) {
            readRuns(path, state);
            state.hasRuns.store(true, std::memory_order_release);
        }
    }
    return state.runs;
}

// Rows of the parent's path are numbered over all segments; a run's parents count from the
// first one of its own segment.
void Snapshot::readRuns(PathId path, PathState &state) const {
    const PathId parent = summary()[path].parent;
    std::uint32_t parentRun = parent == noPath ? 0 : firstRuns_[parent];
    const std::uint32_t parentEnd = parent == noPath ? 0 : firstRuns_[parent + 1];
    RowId firstRow = 0;
    RowId parentBase = 0;
    std::vector<PathRun> runs;
    for (std::uint32_t i = firstRuns_[path]; i < firstRuns_[path + 1]; ++i) {
        const RunSource &source = sources_[i];
        for (; parentRun < parentEnd && sources_[parentRun].segment < source.segment; ++parentRun) {
            const RunSource &above = sources_[parentRun];
            parentBase += segments_[above.segment].file->directory()[above.local].count;
        }
        PathRun &run =
            runs.emplace_back(segments_[source.segment].file->run(source.local, summary()[path]));
        run.firstRow = firstRow;
        run.parentBase = parentBase;
        firstRow += run.count;
    }
    state.runs = std::move(runs);
}

// Opening a database asks this of every path, so the columns are looked at only where some
// documents are gone: their pages may not be in memory yet.
const RowSetPtr &Snapshot::liveRows(PathId path) const {
    PathState &state = pathStates_[path];
    if (!state.hasLiveRows.load(std::memory_order_acquire)) {
        const auto all = hasRemovedRows(path) ? runs(path) : std::span<const PathRun>();
        const std::lock_guard lock(mutex_);
        if (!state.hasLiveRows.load(std::memory_order_relaxed)) {
            readLiveRows(path, all, state);
            state.hasLiveRows.store(true, std::memory_order_release);
        }
    }
    return state.liveRows;
}

bool Snapshot::hasRemovedRows(PathId path) const {
    const auto sources = std::span(sources_).subspan(firstRuns_[path]);
    return std::any_of(
        sources.begin(), sources.begin() + (firstRuns_[path + 1] - firstRuns_[path]),
        [this](const RunSource &source) { return !segments_[source.segment].isWhole; });
}

void Snapshot::readLiveRows(PathId path, std::span<const PathRun> all, PathState &state) const {
    RowSet rows;
    std::uint64_t firstRow = 0;
    for (std::uint32_t i = firstRuns_[path]; i < firstRuns_[path + 1]; ++i) {
        const OpenSegment &segment = segments_[sources_[i].segment];
        const std::uint32_t count = segment.file->directory()[sources_[i].local].count;
        if (segment.isWhole)
            rows.addRange(firstRow, firstRow + count);
        else
            addPresent(segment, all[i - firstRuns_[path]], rows);
        firstRow += count;
    }
    rows.runOptimize();
    rows.shrinkToFit();
    state.ownedRows = std::make_unique<const RowSet>(std::move(rows));
    // Without a count of owners: sets of hundreds of whole paths are copied all the time.
    state.liveRows = RowSetPtr(RowSetPtr(), state.ownedRows.get());
}

// Of a segment with nodes of removed documents: the rows of those that are there.
void Snapshot::addPresent(const OpenSegment &segment, const PathRun &run, RowSet &rows) const {
    auto document = std::ranges::lower_bound(documents(), segment.first, {}, &DocumentRange::last);
    std::uint32_t row = 0;
    for (; document != documents().end() && document->first <= segment.last; ++document) {
        const NodeId first = std::max(document->first, segment.first);
        row = run.nodes.lowerBound(first - run.firstNode, row);
        const std::uint32_t end = run.nodes.lowerBound(document->last + 1 - run.firstNode, row);
        rows.addRange(std::uint64_t{run.firstRow} + row, std::uint64_t{run.firstRow} + end);
        row = end;
    }
}

std::optional<std::vector<PathId>> Snapshot::pathsWithKey(ValueKey key) const {
    constexpr std::size_t wordBits = 64;
    std::vector<std::uint64_t> found(summary().size() / wordBits + 1);
    for (const OpenSegment &segment : segments_) {
        const auto directory = segment.file->directory();
        segment.file->valuePaths().forPathsOf(key, [&](std::uint32_t local) {
            if (local >= directory.size()) return;  // the index is damaged
            const PathId path = directory[local].path;
            found[path / wordBits] |= std::uint64_t{1} << path % wordBits;
        });
    }
    std::vector<PathId> paths;
    for (std::size_t word = 0; word < found.size(); ++word) {
        for (std::uint64_t bits = found[word]; bits != 0; bits &= bits - 1)
            paths.push_back(static_cast<PathId>(word * wordBits +
                                                static_cast<unsigned>(std::countr_zero(bits))));
    }
    return paths;
}

PathRow Snapshot::locate(NodeId node) const {
    const RunRow found = rowOf(node);
    const Place place = placeOf(node);
    return {segments_[place.segment].file->directory()[place.local].path,
            found.run->firstRow + found.row};
}

// The frame of the column that the node is in, as far as the numbers are of one stretch.
void Snapshot::readPaths(NodeId node, PathWindow &window) const {
    const auto behind = std::upper_bound(firstNodes_.begin(), firstNodes_.end(), node);
    if (behind == firstNodes_.begin()) failDamaged("the number of a node");
    const Segment &segment =
        *segments_[static_cast<std::size_t>(behind - firstNodes_.begin()) - 1].file;
    segment.readPaths(node, window);
}

NodeId Snapshot::lastBelow(PathRow row) const {
    const PathRun &run = runOf(row);
    const NodeId node = run.nodeAt(row.row);
    return run.below.empty() ? node : endOf(node, run.below.at(row.row - run.firstRow));
}

}  // namespace zdbs::embedded
