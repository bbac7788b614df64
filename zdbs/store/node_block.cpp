#include "zdbs/store/node_block.h"

#include <cassert>

namespace zdbs {

namespace {

void append(std::string &bytes, std::uint32_t number) {
    bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
}

void append(std::string &bytes, const std::vector<std::uint32_t> &column) {
    bytes.append(reinterpret_cast<const char *>(column.data()), column.size() * sizeof column[0]);
}

}  // namespace

bool NodeBlock::isWhole(std::string_view bytes) {
    if (bytes.size() < headerBytes) return false;
    std::uint32_t header[4];
    std::memcpy(header, bytes.data(), sizeof header);
    const std::uint64_t count = header[0];
    const std::uint64_t size = headerBytes + (count + 3) / 4 * 4 +
                               columnCount * count * sizeof(std::uint32_t) +
                               2 * sizeof(std::uint32_t) * std::uint64_t{header[1]} + header[2];
    return count > 0 && count <= maxBlockNodes && size == bytes.size();
}

std::string_view NodeBlock::value(std::uint32_t index) const {
    const std::uint32_t begin = index == 0 ? 0 : column(3, index - 1);
    const std::size_t values = namespacesOffset() + 2 * sizeof(std::uint32_t) * number(4);
    return {reinterpret_cast<const char *>(data_ + values + begin), column(3, index) - begin};
}

std::vector<std::uint32_t> NodeBlock::namespaces(std::uint32_t index) const {
    const auto pair = [&](std::uint32_t at, std::size_t half) {
        return number(namespacesOffset() + (2 * std::size_t{at} + half) * sizeof(std::uint32_t));
    };
    const std::uint32_t count = number(4);
    std::uint32_t low = 0;
    for (std::uint32_t high = count; low < high;) {
        const std::uint32_t middle = low + (high - low) / 2;
        if (pair(middle, 0) < index)
            low = middle + 1;
        else
            high = middle;
    }
    std::vector<std::uint32_t> names;
    for (; low < count && pair(low, 0) == index; ++low)
        names.push_back(pair(low, 1));
    return names;
}

void NodeBlockBuilder::start(NodeId first) {
    first_ = first;
    kinds_.clear();
    parents_.clear();
    belows_.clear();
    names_.clear();
    valueEnds_.clear();
    namespaces_.clear();
    values_.clear();
}

bool NodeBlockBuilder::hasRoomFor(std::size_t valueBytes) const {
    if (kinds_.size() >= maxBlockNodes) return false;
    return empty() || values_.size() + valueBytes <= maxBlockValueBytes;
}

void NodeBlockBuilder::add(NodeKind kind, std::uint32_t parentDistance, std::uint32_t name,
                           std::string_view value) {
    assert(hasRoomFor(value.size()));
    kinds_.push_back(static_cast<std::uint8_t>(kind));
    parents_.push_back(parentDistance);
    belows_.push_back(0);
    names_.push_back(name);
    values_.append(value);
    valueEnds_.push_back(static_cast<std::uint32_t>(values_.size()));
}

void NodeBlockBuilder::addNamespace(std::uint32_t name) {
    assert(!empty());
    namespaces_.emplace_back(static_cast<std::uint32_t>(kinds_.size() - 1), name);
}

std::string NodeBlockBuilder::encode() const {
    std::string bytes;
    bytes.reserve(kinds_.size() * 18 + namespaces_.size() * 8 + values_.size() + 32);
    append(bytes, static_cast<std::uint32_t>(kinds_.size()));
    append(bytes, static_cast<std::uint32_t>(namespaces_.size()));
    append(bytes, static_cast<std::uint32_t>(values_.size()));
    append(bytes, 0);
    bytes.append(kinds_.begin(), kinds_.end());
    bytes.resize((bytes.size() + 3) / 4 * 4);
    for (const auto *column : {&parents_, &belows_, &names_, &valueEnds_})
        append(bytes, *column);
    for (const auto &[index, name] : namespaces_) {
        append(bytes, index);
        append(bytes, name);
    }
    return bytes += values_;
}

}  // namespace zdbs
