/** One committed state of a database: its parts. */
#ifndef ZDBS_EMBEDDED_STORE_COMMITTED_STATE_H
#define ZDBS_EMBEDDED_STORE_COMMITTED_STATE_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "zdbs/embedded/store/snapshot.h"

namespace zdbs::embedded {

class Catalogue;

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

/** By number, at least one. */
using Parts = std::vector<std::shared_ptr<const Snapshot>>;

/**
 * The state that was newest when it was opened. Documents are in one part each, and the parts in
 * document order. Opening reads the catalogue. Any thread may call, and several at once.
 */
class CommittedState {
public:
    /** Throws Failure: homeDamaged, homeVersion, storeFailed. */
    explicit CommittedState(std::shared_ptr<Environment> environment);

    /** By number; they outlive it. */
    const Parts &parts() const { return parts_; }

    /** Number of the state: grows by one with every commit that changed the database. */
    std::uint64_t number() const { return tables_->state.state; }

    std::uint64_t documentCount() const { return tables_->state.documents; }
    std::uint64_t nodeCount() const { return tables_->state.nodes; }
    const StateTables &tables() const { return *tables_; }

    /** Whether nothing was committed since, and the database is still there; a microsecond. */
    bool isNewest() const;

    /** See NodeTable::requireIntact(). */
    void requireIntact() const;

    /** Bytes that the files of this state take on disk; reads no column. */
    std::uint64_t diskBytes() const;

    /** What the structures of this state take on disk. Looks at every column. */
    StoreSizes sizes() const;

    /** Number of the newest committed state. Throws as the constructor. */
    static std::uint64_t newest(const std::shared_ptr<Environment> &environment);

private:
    bool openNewest(const std::shared_ptr<Environment> &environment);
    bool openSegments(const Catalogue &catalogue);
    void readTables(const Catalogue &catalogue, StateTables &tables);
    void makeParts();

    std::shared_ptr<const StateTables> tables_;
    std::uint64_t commit_ = 0;           ///< that the transaction sees
    std::vector<PartContent> contents_;  ///< while it is opened
    Parts parts_;
    mutable std::mutex mutex_;  ///< of the transaction
};

}  // namespace zdbs::embedded

#endif
