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

class Catalogue;
class Environment;
class ReadTransaction;

/** Sizes of a database in bytes, for `zdbs info`. They come to `all` together. */
struct StoreSizes {
    std::uint64_t all = 0;          ///< that the files take on disk
    std::uint64_t structure = 0;    ///< which nodes a path has, their parents, what is below
    std::uint64_t pathOfNode = 0;   ///< which path a node has
    std::uint64_t values = 0;       ///< the values, and the dictionaries of repeated ones
    std::uint64_t textOrder = 0;    ///< the indexes over values: order of text,
    std::uint64_t numberOrder = 0;  ///< order of number,
    std::uint64_t trigrams = 0;     ///< what they can contain,
    std::uint64_t words = 0;        ///< which words they have,
    std::uint64_t valueIndex = 0;   ///< which paths have a value
    std::uint64_t documents = 0;    ///< the list of documents and the index of their names
    std::uint64_t names = 0;        ///< the dictionary of names
    std::uint64_t paths = 0;        ///< the summary of paths, the directories of the segments
    std::uint64_t unused = 0;       ///< the rest: free pages, and what the store itself needs

    std::uint64_t storedNodes = 0;  ///< nodes that have rows: those of removed documents too
};

/**
 * The nodes of one committed state, by number and by path. It holds a read transaction of
 * the catalogue and the segments mapped: a snapshot that is kept for long makes the
 * catalogue grow under a writer, and keeps the space of segments that are removed. Any
 * thread may read, and several at once.
 *
 * Opening reads the catalogue and the directories of the segments; columns are looked at
 * when they are asked for. What a damaged column says wrongly is found out where it would
 * lead outside: then the operation throws Failure(homeDamaged).
 */
class Snapshot : public NodeTable, public PathTable {
public:
    /** Reads the state that is newest now. Throws Failure: homeDamaged, homeVersion, storeFailed.
     */
    explicit Snapshot(std::shared_ptr<Environment> environment);
    ~Snapshot() override;
    Snapshot(const Snapshot &) = delete;
    Snapshot &operator=(const Snapshot &) = delete;

    // The nodes by number.
    std::span<const DocumentRange> documents() const override { return documents_; }
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
    const PathSummary &summary() const override { return summary_; }
    const NodeName &nameOf(std::uint32_t number) const override {
        if (number >= names_.size()) failDamaged("the name of a node");
        return names_[number];
    }
    std::span<const PathRun> runs(PathId path) const override;
    const RowSetPtr &liveRows(PathId path) const override;
    std::optional<std::vector<PathId>> pathsWithKey(ValueKey key) const override;
    PathRow locate(NodeId node) const override;
    void readPaths(NodeId node, PathWindow &window) const override;
    NodeId lastBelow(PathRow row) const override;

    /** Number of the state: grows by one with every commit that changed the database. */
    std::uint64_t state() const override { return state_.state; }

    /** Whether nothing was committed since, and the database is still there; a microsecond. */
    bool isNewest() const;

    /** Number of nodes of all documents. */
    std::uint64_t nodeCount() const { return state_.nodes; }

    /** The document of that name, if there is one. */
    std::optional<DocumentRange> findDocument(std::string_view name) const;

    /** Size in bytes of the XML that documents()[index] was loaded from, uncompressed. */
    std::uint64_t xmlBytes(std::size_t index) const { return xmlBytes_[index]; }

    /** Number of the name of a node: below nameCount(); nodes without name have none. */
    std::optional<std::uint32_t> nameNumber(NodeId node) const;
    std::size_t nameCount() const { return names_.size(); }

    /** Bytes that the files of this state take on disk; reads no column. */
    std::uint64_t diskBytes() const;

    /** What the structures of this state take on disk. Looks at every column. */
    StoreSizes sizes() const;

    /** Number of the newest committed state. Throws as the constructor. */
    static std::uint64_t newestState(const std::shared_ptr<Environment> &environment);

    const std::shared_ptr<Environment> &environment() const { return environment_; }

    /** The segments in the order of their nodes, for checks. */
    std::size_t segmentCount() const { return segments_.size(); }
    const Segment &segment(std::size_t index) const { return *segments_[index].file; }

private:
    /** A segment in use, with what is known about its paths in the whole database. */
    struct OpenSegment {
        NodeId first;
        NodeId last;
        bool isWhole = true;  ///< all its nodes are in documents
        std::shared_ptr<const Segment> file;
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

    bool openNewest();
    void readTables(const Catalogue &catalogue);
    bool openSegments(const Catalogue &catalogue);
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
    [[noreturn]] void failDamaged(std::string_view what) const;

    std::shared_ptr<Environment> environment_;
    std::unique_ptr<ReadTransaction> transaction_;
    std::uint64_t commit_ = 0;  ///< that the transaction sees
    std::uint64_t serial_;      ///< different for all snapshots of the process
    StateRecord state_;
    std::vector<NodeName> names_;
    PathSummary summary_;
    std::vector<DocumentRange> documents_;
    std::vector<std::uint64_t> xmlBytes_;
    std::vector<OpenSegment> segments_;
    std::vector<NodeId> firstNodes_;         ///< of the segments
    std::vector<std::uint32_t> firstRuns_;   ///< by path: its first one in sources_; and the end
    std::vector<RunSource> sources_;         ///< by path, then by segment
    std::vector<LongElement> longElements_;  ///< by node
    mutable std::mutex mutex_;               ///< of filling in pathStates_
    std::unique_ptr<PathState[]> pathStates_;
};

}  // namespace zdbs::embedded

#endif
