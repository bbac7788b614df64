/**
 * A block: up to maxBlockNodes consecutive nodes of one document as they lie on
 * disk. All integers are little-endian and 32 bits wide unless said otherwise.
 *
 *   count, namespaceCount, valueBytes, 0
 *   kind      8 bits each, NodeKind; padded with zeros to a multiple of four
 *   parent    distance back to the parent; 0 at the top of a document
 *   below     number of nodes below; endsLater when the last one is in a later block
 *   name      number in the dictionary of names; noName for texts and comments
 *   valueEnd  where the node's value ends among the values; it starts where the
 *             one before it ends
 *   pairs (index of the element in the block, number of a name that holds the
 *             prefix and the URI of a namespace declaration), in order
 *   the values, UTF-8, one after the other
 */
#ifndef ZDBS_STORE_NODE_BLOCK_H
#define ZDBS_STORE_NODE_BLOCK_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zdbs/engine/node_table.h"

namespace zdbs {

static_assert(std::endian::native == std::endian::little, "the files are little-endian");

constexpr std::uint32_t maxBlockNodes = 32768;
constexpr std::size_t maxBlockValueBytes = 1 << 20;  ///< more only for a single larger value
constexpr std::size_t maxValueBytes = 2147483647;    ///< of one node
constexpr std::uint32_t endsLater = 0xffffffff;
constexpr std::uint32_t noName = 0xffffffff;

/** Reads a block in place. Does not own the bytes; any alignment will do. */
class NodeBlock {
public:
    /** Are these bytes as long as the numbers in front say, and is there a node? */
    static bool isWhole(std::string_view bytes);

    /** REQUIRES isWhole() of the bytes at `data`. */
    explicit NodeBlock(const std::byte *data)
        : data_(data), count_(number(0)), columns_(headerBytes + (count_ + 3) / 4 * 4) {}

    std::uint32_t count() const { return count_; }
    NodeKind kind(std::uint32_t index) const {
        return static_cast<NodeKind>(data_[headerBytes + index]);
    }
    std::uint32_t parentDistance(std::uint32_t index) const { return column(0, index); }
    std::uint32_t below(std::uint32_t index) const { return column(1, index); }
    std::uint32_t name(std::uint32_t index) const { return column(2, index); }
    std::string_view value(std::uint32_t index) const;

    /** Numbers of the names that hold the namespace declarations of an element. */
    std::vector<std::uint32_t> namespaces(std::uint32_t index) const;

private:
    static constexpr std::size_t headerBytes = 16;
    static constexpr std::size_t columnCount = 4;

    std::uint32_t number(std::size_t offset) const {
        std::uint32_t value;
        std::memcpy(&value, data_ + offset, sizeof value);
        return value;
    }
    std::uint32_t column(std::size_t which, std::uint32_t index) const {
        return number(columns_ + (which * count_ + index) * sizeof(std::uint32_t));
    }
    std::size_t namespacesOffset() const {
        return columns_ + columnCount * count_ * sizeof(std::uint32_t);
    }

    const std::byte *data_;
    std::size_t count_;
    std::size_t columns_;
};

/** Collects the nodes of a block and writes it down. */
class NodeBlockBuilder {
public:
    /** Forgets all nodes; the next one has the number `first`. */
    void start(NodeId first);

    NodeId first() const { return first_; }
    bool empty() const { return kinds_.empty(); }

    /** Is there room for one more node with a value of that size? */
    bool hasRoomFor(std::size_t valueBytes) const;

    void add(NodeKind kind, std::uint32_t parentDistance, std::uint32_t name,
             std::string_view value);

    /** A declaration of the element added last. */
    void addNamespace(std::uint32_t name);

    /** REQUIRES that the node is in this block. */
    void setBelow(NodeId node, std::uint32_t below) { belows_[node - first_] = below; }

    std::string encode() const;

private:
    NodeId first_ = noNode;
    std::vector<std::uint8_t> kinds_;
    std::vector<std::uint32_t> parents_;
    std::vector<std::uint32_t> belows_;
    std::vector<std::uint32_t> names_;
    std::vector<std::uint32_t> valueEnds_;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> namespaces_;
    std::string values_;
};

}  // namespace zdbs

#endif
