/** The manners in which an engine's nodes can be kept: what the answers must not depend on. */
#ifndef TESTS_EXHAUSTIVE_KEEPING_H
#define TESTS_EXHAUSTIVE_KEEPING_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/exhaustive/renaming.h"
#include "tests/zdbs/support/memory_node_table.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "zdbs/engine/engine.h"

namespace exhaustive {

/** How an engine comes to the nodes of a forest. */
enum class Way {
    byNode,  ///< a node table alone
    byPath,  ///< a node table with its nodes by path
    stored,  ///< a database on disk
};

std::string nameOf(Way way);

/** A manner of keeping nodes by path. */
struct Keeping {
    Naming naming = Naming::alike;
    std::uint32_t nodesPerSegment = 0xffffffff;
    std::uint32_t deepestLevel = 0xffffffff;  ///< nodes further down are irregular
    std::size_t mostPaths = 0xffffffff;       ///< nodes of further ones are irregular
    bool hasRemoved = false;                  ///< rows of removed documents before, between, behind
};

/** Every combination of the above, each option with some values. */
const std::vector<Keeping> &everyKeeping();

std::string nameOf(const Keeping &keeping);

/** A forest as it is kept, and the database of it. */
class KeptForest {
public:
    /** By node. The forest must outlive it. */
    explicit KeptForest(const zdbs::testing::MemoryNodeTable &forest);

    /** By path, in memory or stored. */
    KeptForest(const zdbs::testing::MemoryNodeTable &forest, const Keeping &keeping, Way way);

    const zdbs::OpenDatabase &database() const { return *database_; }

    /** The nodes that are present. */
    const zdbs::embedded::NodeTable &nodes() const { return *nodes_; }

    /** For messages: its shape, and how it is kept. */
    std::string description() const;

private:
    KeptForest(std::shared_ptr<const zdbs::embedded::NodeTable> nodes, std::string manner);

    std::shared_ptr<const zdbs::embedded::NodeTable> nodes_;
    std::unique_ptr<zdbs::OpenDatabase> database_;
    std::string manner_;
};

}  // namespace exhaustive

#endif
