/** Nodes as expressions meet them: records and roots of documents, in one order. */
#ifndef ZDBS_XPATH_NODES_H
#define ZDBS_XPATH_NODES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "zdbs/base/node.h"

namespace zdbs::xpath {

/** A node; numbers ascend in document order, a root stands before the first record. */
enum class Node : std::uint64_t {};

constexpr Node nodeOf(RecordId record) {
    return static_cast<Node>(record * 2 + 1);
}

/** The root of the document whose first record it is. */
constexpr Node rootBefore(RecordId first) {
    return static_cast<Node>(first * 2);
}

constexpr bool isRoot(Node node) {
    return (static_cast<std::uint64_t>(node) & 1U) == 0;
}

/** Where whatever stands behind a node begins. */
constexpr Node nodeAfter(Node node) {
    return static_cast<Node>(static_cast<std::uint64_t>(node) + 1);
}

/** Of a root the first record of its document. */
constexpr RecordId recordOf(Node node) {
    return static_cast<std::uint64_t>(node) / 2;
}

using Nodes = std::vector<Node>;

/** Whether nodes are in document order, each once. */
bool isAscending(std::span<const Node> nodes);

/** Brings them there. */
void sortNodes(Nodes &nodes);

/** Where a node is among ascending ones. REQUIRES that it is. */
std::size_t placeIn(std::span<const Node> ascending, Node node);

/** Lists of nodes one behind the other. */
class Groups {
public:
    Groups() = default;

    /** @param ends for each group the place behind its last node; ascending */
    Groups(Nodes nodes, std::vector<std::size_t> ends)
        : ends_(std::move(ends)), nodes_(std::move(nodes)) {}

    std::size_t size() const { return ends_.size(); }
    std::span<const Node> nodes() const { return nodes_; }

    std::size_t begin(std::size_t group) const { return group == 0 ? 0 : ends_[group - 1]; }
    std::size_t end(std::size_t group) const { return ends_[group]; }

    std::span<const Node> operator[](std::size_t group) const {
        return nodes().subspan(begin(group), end(group) - begin(group));
    }

    /** To the group that is not closed yet. */
    void add(Node node) { nodes_.push_back(node); }
    void add(std::span<const Node> nodes) {
        nodes_.insert(nodes_.end(), nodes.begin(), nodes.end());
    }

    void close() { ends_.push_back(nodes_.size()); }

    /** Closes the group in document order, each node once. */
    void closeSorted();

    /** Appends all groups of another. */
    void append(const Groups &more);

    void reserve(std::size_t groups, std::size_t nodes);

    /** A group for each node, with it alone. */
    static Groups ofEach(std::span<const Node> nodes);

    /** One group where another has a node for each of the groups: those of its nodes. */
    static Groups joined(const Groups &outer, Groups inner);

    /** One group. */
    static Groups ofOne(Nodes nodes);

private:
    std::vector<std::size_t> ends_;
    Nodes nodes_;
};

/** The nodes of all groups, in document order, each once. */
Nodes distinctNodes(const Groups &groups);

}  // namespace zdbs::xpath

#endif
