/** One committed state of a database, read straight from the map of its file. */
#ifndef ZDBS_STORE_SNAPSHOT_H
#define ZDBS_STORE_SNAPSHOT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "zdbs/engine/node_table.h"
#include "zdbs/store/records.h"

namespace zdbs {

class Environment;
class ReadTransaction;

/** Sizes of a database, for `zdbs info`. */
struct StoreSizes {
    std::uint64_t file;       ///< bytes that the data file takes on disk
    std::uint64_t nodes;      ///< bytes of pages of the node blocks
    std::uint64_t documents;  ///< … of the documents and the index of their names
    std::uint64_t names;      ///< … of the dictionary of names
    std::uint64_t unused;     ///< the rest: free pages and what the store itself needs
};

/**
 * The node table of one committed state. It holds a read transaction: its pages
 * are not reused while it lives, so a snapshot that is kept for long makes the
 * file grow under a writer. Any thread may read, and several at once.
 */
class Snapshot : public NodeTable {
public:
    /** Reads the state that is newest now. Throws Failure: homeDamaged, homeVersion, storeFailed.
     */
    explicit Snapshot(std::shared_ptr<Environment> environment);
    ~Snapshot() override;
    Snapshot(const Snapshot &) = delete;
    Snapshot &operator=(const Snapshot &) = delete;

    std::span<const DocumentRange> documents() const override { return documents_; }
    NodeKind kind(NodeId node) const override;
    NodeId parent(NodeId node) const override;
    NodeId lastBelow(NodeId node) const override;
    NodeName name(NodeId node) const override;
    std::string_view value(NodeId node) const override;
    std::vector<NamespaceDeclaration> namespaces(NodeId node) const override;

    /** Number of the state: grows by one with every commit that changed the database. */
    std::uint64_t state() const { return state_.state; }

    /** Number of nodes of all documents. */
    std::uint64_t nodeCount() const { return state_.nodes; }

    /** The document of that name, if there is one. */
    std::optional<DocumentRange> findDocument(std::string_view name) const;

    /** Size in bytes of the XML that documents()[index] was loaded from, uncompressed. */
    std::uint64_t xmlBytes(std::size_t index) const { return xmlBytes_[index]; }

    /** Number of the name of a node: below nameCount(); nodes without name have none. */
    std::optional<std::uint32_t> nameNumber(NodeId node) const;
    std::size_t nameCount() const { return names_.size(); }
    const NodeName &nameOf(std::uint32_t number) const { return names_[number]; }

    /** What the structures of this state take on disk. */
    const StoreSizes &sizes() const { return sizes_; }

    /** Number of the newest committed state. Throws as the constructor. */
    static std::uint64_t newestState(const std::shared_ptr<Environment> &environment);

    const std::shared_ptr<Environment> &environment() const { return environment_; }

private:
    /** A block of consecutive nodes as it lies in the map; node_block.h says what is in it. */
    struct Block {
        NodeId first;
        std::uint32_t count;
        const std::byte *data;
    };

    void readNames();
    void readDocuments();
    void readBlocks();
    void readLongElements();
    void checkBlocks() const;
    void indexBlocks();
    void measure();
    const Block &blockOf(NodeId node) const;
    [[noreturn]] void failDamaged(std::string_view what) const;

    std::shared_ptr<Environment> environment_;
    std::unique_ptr<ReadTransaction> transaction_;
    StateRecord state_;
    StoreSizes sizes_{};
    std::vector<NodeName> names_;
    std::vector<DocumentRange> documents_;
    std::vector<std::uint64_t> xmlBytes_;
    std::vector<Block> blocks_;
    std::vector<std::uint32_t> firstBlock_;  ///< by node number / nodesPerBucket
    std::vector<LongElement> longElements_;  ///< by node
};

}  // namespace zdbs

#endif
