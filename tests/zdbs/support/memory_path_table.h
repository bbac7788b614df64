/** A node table in memory that has its nodes by path too, for tests. */
#ifndef TESTS_ZDBS_SUPPORT_MEMORY_PATH_TABLE_H
#define TESTS_ZDBS_SUPPORT_MEMORY_PATH_TABLE_H

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "tests/zdbs/support/memory_node_table.h"
#include "zdbs/embedded/paths/path_table.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::testing {

using namespace embedded;

struct PathTableOptions {
    /** A segment ends after so many nodes, in the middle of a document or not. */
    std::uint32_t nodesPerSegment = 0xffffffff;

    /** Nodes further down are irregular. */
    std::uint32_t deepestLevel = 0xffffffff;

    /** Nodes of a new path are irregular when there are so many regular ones already. */
    std::size_t mostPaths = 0xffffffff;

    /** Places of documents that have rows but are not present. */
    std::set<DocumentIndex> removed = {};

    /** Whether sets of live rows are stored as runs where that is smaller. */
    bool withRuns = true;

    /** Whether each segment has an index from values to paths. */
    bool withValuePaths = true;
};

/**
 * The nodes of another table, which must outlive it and not change, with their paths.
 * It is a node table without the removed documents, and its paths() are this object.
 */
class MemoryPathTable final : public NodeTable, public PathTable {
public:
    explicit MemoryPathTable(const NodeTable &nodes, const PathTableOptions &options = {});

    MemoryPathTable(const MemoryPathTable &) = delete;
    MemoryPathTable &operator=(const MemoryPathTable &) = delete;

    std::span<const DocumentRange> documents() const override { return documents_; }
    NodeKind kind(NodeId node) const override { return nodes_.kind(node); }
    NodeId parent(NodeId node) const override { return nodes_.parent(node); }
    NodeId lastBelow(NodeId node) const override { return nodes_.lastBelow(node); }
    NodeName name(NodeId node) const override { return nodes_.name(node); }
    std::string_view value(NodeId node) const override { return nodes_.value(node); }
    std::vector<NamespaceDeclaration> namespaces(NodeId node) const override {
        return nodes_.namespaces(node);
    }
    const PathTable *paths() const override { return this; }

    const PathSummary &summary() const override { return summary_; }
    const NodeName &nameOf(std::uint32_t number) const override { return names_[number]; }
    std::span<const PathRun> runs(PathId path) const override { return runs_[path]; }
    const RowSetPtr &liveRows(PathId path) const override { return live_[path]; }
    std::optional<std::vector<PathId>> pathsWithKey(ValueKey key) const override;
    PathRow locate(NodeId node) const override;
    NodeId lastBelow(PathRow row) const override;

private:
    /** The columns of a run while they are filled. */
    struct Run {
        std::vector<NodeId> nodes;
        std::vector<RowId> parents;  ///< rows; of regular paths below the top
        std::vector<std::uint32_t> names;
        std::vector<std::uint32_t> parentDistances;
        ValueColumnBuilder values;
        std::vector<ValueKey> keys;  ///< of the values, when the run is finished
    };

    void addDocument(const DocumentRange &document);
    void addNode(NodeId node);
    PathId pathOf(NodeId node);
    PathId addPath(PathId parent, NodeKind kind, std::uint32_t name, std::uint32_t level);
    PathId irregularPath(NodeKind kind);
    std::uint32_t numberOf(const NodeName &name);
    void addRow(PathId path, NodeId node);
    void endSegment();
    void finishRun(PathId path, Run &run);
    void indexValues();
    PackedColumn pack(const std::vector<std::uint32_t> &numbers);
    void findLiveRows(const PathTableOptions &options);

    using PathKey = std::tuple<PathId, NodeKind, std::uint32_t>;
    using NameKey = std::tuple<std::string_view, std::string_view, std::string_view>;

    const NodeTable &nodes_;
    PathTableOptions options_;
    std::vector<DocumentRange> documents_;
    PathSummary summary_;
    std::map<PathKey, PathId> pathByKey_;
    std::map<NodeKind, PathId> irregular_;
    std::deque<NodeName> names_;
    std::map<NameKey, std::uint32_t> nameNumbers_;
    std::vector<std::vector<PathRun>> runs_;
    std::vector<RowSetPtr> live_;
    std::vector<PathRow> places_;     ///< of node n at n
    std::deque<std::string> bytes_;   ///< of the columns
    std::deque<ValuePaths> indexes_;  ///< of the segments; paths have their own numbers there
    std::map<PathId, Run> open_;      ///< runs of the segment that is filled
    std::vector<RowId> segmentBase_;  ///< of each path: rows before this segment
    NodeId segmentFirst_ = noNode;
    std::uint32_t inSegment_ = 0;
};

/** A table of its own nodes, which is kept with them. */
std::shared_ptr<const NodeTable> byPath(MemoryNodeTable nodes,
                                        const PathTableOptions &options = {});

}  // namespace zdbs::testing

#endif
