/** How LMDB 0.9 lays out its pages on a 64-bit system, and bytes of them read safely. */
#ifndef ZDBS_EMBEDDED_STORE_DATA_PAGES_H
#define ZDBS_EMBEDDED_STORE_DATA_PAGES_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>

#include "zdbs/embedded/store/watched_map.h"

namespace zdbs::embedded::lmdb {

using PageNumber = std::uint64_t;

constexpr PageNumber noPage = ~PageNumber{0};  ///< root of an empty tree

/** In front of every page; in overflow pages only of the first of a chain. */
struct PageHeader {
    PageNumber number;
    std::uint16_t pad;
    std::uint16_t flags;
    std::uint16_t lower;  ///< end of the offsets of nodes; of overflow pages, with
    std::uint16_t upper;  ///< `upper`, the number of pages
};

constexpr std::uint16_t branchPage = 0x01;
constexpr std::uint16_t leafPage = 0x02;
constexpr std::uint16_t overflowPage = 0x04;
constexpr std::uint16_t metaPage = 0x08;

/** A key with a child page, a record, or where the record is. The key follows. */
struct NodeHeader {
    std::uint16_t low;  ///< of the size of the record, or of the child's number
    std::uint16_t high;
    std::uint16_t flags;  ///< of children: the highest bits of the number
    std::uint16_t keySize;
};

constexpr std::uint16_t bigData = 0x01;  ///< the record is the number of an overflow page
constexpr std::uint16_t subTree = 0x02;  ///< the record is a Tree

/** A table, or the list of free pages. */
struct Tree {
    std::uint32_t pad;  ///< of the list of free pages: the size of pages
    std::uint16_t flags;
    std::uint16_t depth;
    std::uint64_t branchPages;
    std::uint64_t leafPages;
    std::uint64_t overflowPages;
    std::uint64_t entries;
    PageNumber root;

    bool operator==(const Tree &) const = default;
};

/** Behind the header of the pages 0 and 1; the one with the higher transaction counts. */
struct Meta {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint64_t address;
    std::uint64_t mapSize;
    Tree free;
    Tree main;
    PageNumber lastPage;
    std::uint64_t transaction;

    bool operator==(const Meta &) const = default;
};

constexpr std::uint32_t metaMagic = 0xBEEFC0DE;
constexpr std::uint32_t dataVersion = 1;
constexpr std::uint16_t integerKeys = 0x08;  ///< flag of the list of free pages

static_assert(sizeof(PageHeader) == 16 && sizeof(NodeHeader) == 8 && sizeof(Tree) == 48 &&
              sizeof(Meta) == 136);

template <typename Record>
Record readAt(std::string_view bytes, std::size_t offset) {
    Record record;
    std::memcpy(&record, bytes.data() + offset, sizeof record);
    return record;
}

/** The file as it is now, mapped. */
class MappedFile {
public:
    /** Throws Failure: homeUnreadable, unknownDatabase. */
    explicit MappedFile(const std::filesystem::path &file);
    ~MappedFile();
    MappedFile(const MappedFile &) = delete;
    MappedFile &operator=(const MappedFile &) = delete;

    std::string_view bytes() const { return bytes_; }

private:
    std::string_view bytes_;
    WatchedMap watch_;  ///< cut short, it has findings
};

}  // namespace zdbs::embedded::lmdb

#endif
