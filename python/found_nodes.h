/** Nodes that were found: the set, stretches of it, and what is told of each. */
#ifndef PYTHON_FOUND_NODES_H
#define PYTHON_FOUND_NODES_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "python/database_state.h"

namespace zdbs::python {

/** What is told of a node. */
enum class Fact : std::uint8_t { document, path, value, xml };
constexpr std::size_t factCount = 4;

/**
 * Neighbours of a set. Their facts are found together, in document order, for whoever asks for that
 * of one node goes on to the next: up to 64 KiB of text ahead. Any thread may ask.
 */
class NodeBatch {
public:
    NodeBatch(DatabaseStatePtr state, std::vector<RecordId> records);

    std::size_t size() const { return records_.size(); }
    RecordId record(std::size_t place) const { return records_[place]; }
    const DatabaseStatePtr &state() const { return state_; }

    /** Throws Failure. */
    std::string text(Fact fact, std::size_t place);

private:
    using Texts = std::vector<std::optional<std::string>>;

    void describe(Fact fact, std::size_t place, Texts &texts) const;
    void write(std::size_t place, Texts &texts) const;

    DatabaseStatePtr state_;
    std::vector<RecordId> records_;
    std::array<Texts, factCount> texts_;
};

/** A node, as a place in a batch. */
struct FoundNode {
    std::shared_ptr<NodeBatch> batch;
    std::size_t place;

    RecordId record() const { return batch->record(place); }
    std::string text(Fact fact) const { return batch->text(fact, place); }
    bool operator==(const FoundNode &other) const {
        return batch->state() == other.batch->state() && record() == other.record();
    }
};

/** A set of nodes in document order; keeps its state. Any thread may ask. */
class FoundNodes {
public:
    /** REQUIRES that the size of the set is known. */
    FoundNodes(DatabaseStatePtr state, ResultSetPtr set);

    std::uint64_t size() const { return static_cast<std::uint64_t>(set_->size()); }

    /** Throws Failure. REQUIRES place < size(), and of a part that it does not end behind it. */
    FoundNode at(std::uint64_t place) const;
    FoundNodes part(std::uint64_t from, std::uint64_t count) const;

private:
    friend class NodeIterator;

    DatabaseStatePtr state_;
    ResultSetPtr set_;
};

/** Goes through a set, a batch at a time. Any thread may ask. */
class NodeIterator {
public:
    explicit NodeIterator(FoundNodes nodes) : nodes_(std::move(nodes)) {}

    /** Nothing at the end. Throws Failure. */
    std::optional<FoundNode> next();

private:
    bool isReady() const { return batch_ != nullptr && next_ < batch_->size(); }
    void refill();

    const FoundNodes nodes_;
    std::unique_ptr<RecordCursor> cursor_;
    std::span<const RecordId> ahead_;
    std::shared_ptr<NodeBatch> batch_;
    std::size_t next_ = 0;
};

}  // namespace zdbs::python

#endif
