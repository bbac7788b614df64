/** One committed state of a database, read straight from the maps of its files. */
#ifndef ZDBS_EMBEDDED_STORE_SNAPSHOT_H
#define ZDBS_EMBEDDED_STORE_SNAPSHOT_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "zdbs/embedded/paths/path_table.h"
#include "zdbs/embedded/store/records.h"
#include "zdbs/embedded/store/segment.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

class Environment;
class ReadTransaction;

/** What all parts of a committed state have in common; lasts as long as one of them. */
struct StateTables {
    std::shared_ptr<Environment> environment;
    std::unique_ptr<ReadTransaction> transaction;
    StateRecord state;
    std::vector<NodeName> names;
    PathSummary summary;

    /** Throws Failure(homeDamaged), naming the database. */
    [[noreturn]] void failDamaged(std::string_view what) const;
};

/** What a part of a state is made of; its views live as long as the state's tables. */
struct PartContent {
    struct OpenSegment {
        NodeId first;
        NodeId last;
        std::shared_ptr<const Segment> file;
    };

    PartNumber number = 0;
    std::vector<OpenSegment> segments;      ///< in the order of their nodes
    std::vector<DocumentRange> documents;   ///< likewise
    std::vector<std::uint64_t> xmlBytes;    ///< of each document
    std::vector<LongElement> longElements;  ///< by node
};

/**
 * The nodes of a part of a committed state, by number and by path. It holds a read transaction of
 * the catalogue and the segments mapped: a snapshot that is kept for long makes the
 * catalogue grow under a writer, and keeps the space of segments that are removed. Any
 * thread may read, and several at once.
 *
 * Opening reads the directories of the segments; columns are looked at
 * when they are asked for. What a damaged column says wrongly is found out where it would
 * lead outside: then the operation throws Failure(homeDamaged).
 */
class Snapshot : public NodeTable, public PathTable {
public:
    /** Throws Failure: homeDamaged, where segments do not have the nodes of the documents. */
    Snapshot(std::shared_ptr<const StateTables> tables, PartContent content);
    ~Snapshot() override;
    Snapshot(const Snapshot &) = delete;
    Snapshot &operator=(const Snapshot &) = delete;

    // The nodes by number.
    std::span<const DocumentRange> documents() const override { return content_.documents; }
    NodeKind kind(NodeId node) const override;
    NodeId parent(NodeId node) const override;
    NodeId lastBelow(NodeId node) const override;
    NodeName name(NodeId node) const override;
    std::string_view value(NodeId node) const override;
    std::vector<NamespaceDeclaration> namespaces(NodeId node) const override;
    NodeId nextDeclaring(NodeId from) const override;
    const PathTable *paths() const override { return this; }
    void requireIntact() const override;

    // The nodes by path.
    const PathSummary &summary() const override { return tables_->summary; }
    const NodeName &nameOf(std::uint32_t number) const override {
        if (number >= tables_->names.size()) failDamaged("the name of a node");
        return tables_->names[number];
    }
    std::span<const PathRun> runs(PathId path) const override;
    const RowSetPtr &liveRows(PathId path) const override;
    std::optional<std::vector<PathId>> pathsWithKey(ValueKey key) const override;
    PathRow locate(NodeId node) const override;
    void readPaths(NodeId node, PathWindow &window) const override;
    NodeId lastBelow(PathRow row) const override;

    /** Number of the state: grows by one with every commit that changed the database. */
    std::uint64_t state() const override { return tables_->state.state; }

    /** Number of nodes of all documents. */
    std::uint64_t nodeCount() const { return nodes_; }

    /** The document of that name, if there is one. */
    std::optional<DocumentRange> findDocument(std::string_view name) const;

    /** Size in bytes of the XML that documents()[index] was loaded from, uncompressed. */
    std::uint64_t xmlBytes(std::size_t index) const { return content_.xmlBytes[index]; }

    /** Number of the name of a node: below nameCount(); nodes without name have none. */
    std::optional<std::uint32_t> nameNumber(NodeId node) const;
    std::size_t nameCount() const { return tables_->names.size(); }

    /** The segments in the order of their nodes. */
    std::size_t segmentCount() const { return segments_.size(); }
    const Segment &segment(std::size_t index) const { return *segments_[index].file; }

private:
    /** A segment in use, with what is known about its paths in the whole part. */
    struct OpenSegment {
        NodeId first;
        NodeId last;
        std::shared_ptr<const Segment> file;
        bool isWhole = true;                    ///< all its nodes are in documents
        std::vector<std::uint32_t> runNumbers;  ///< by local number: which of the path's runs
    };

    /** A run of a path: where it comes from. */
    struct RunSource {
        std::uint32_t segment;
        std::uint32_t local;
    };

    /** What is found out about a path when it is first asked for. */
    struct PathState {
        std::atomic<bool> hasRuns = false;
        std::atomic<bool> hasLiveRows = false;
        std::vector<PathRun> runs;
        std::unique_ptr<const RowSet> ownedRows;
        RowSetPtr liveRows;
    };

    /** Where a node is: its path's number in its segment, and its row in that run. */
    struct Place {
        std::uint32_t segment;
        std::uint32_t local;
    };
    struct RunRow {
        const PathRun *run;
        const Path *path;
        std::uint32_t row;  ///< from the beginning of the run
    };

    void numberRuns();
    void checkDocuments();
    Place placeOf(NodeId node) const;
    RunRow rowOf(NodeId node) const;
    const Path &pathAt(const Place &place) const;
    NodeId endOf(NodeId node, std::uint32_t below) const;
    NodeId parentOf(NodeId node, const RunRow &row) const;
    void readRuns(PathId path, PathState &state) const;
    bool hasRemovedRows(PathId path) const;
    void readLiveRows(PathId path, std::span<const PathRun> all, PathState &state) const;
    void addPresent(const OpenSegment &segment, const PathRun &run, RowSet &rows) const;
    [[noreturn]] void failDamaged(std::string_view what) const { tables_->failDamaged(what); }

    std::shared_ptr<const StateTables> tables_;
    PartContent content_;   ///< but for the segments
    std::uint64_t serial_;  ///< different for all snapshots of the process
    std::uint64_t nodes_ = 0;
    std::vector<OpenSegment> segments_;
    std::vector<NodeId> firstNodes_;        ///< of the segments
    std::vector<std::uint32_t> firstRuns_;  ///< by path: its first one in sources_; and the end
    std::vector<RunSource> sources_;        ///< by path, then by segment
    mutable std::mutex mutex_;              ///< of filling in pathStates_
    std::unique_ptr<PathState[]> pathStates_;
};

}  // namespace zdbs::embedded

#endif
