/**
 * A segment: an immutable file with the nodes of one or several documents, or of a part
 * of a large one, stored by path. docs/format.md has every byte.
 *
 *   header         sizes of what follows
 *   stretches      which numbers its nodes have
 *   directory      an entry for each path that has nodes here
 *   checksums      of the blocks of what follows
 *   path of node   by place of a node: which entry of the directory it belongs to
 *   declarations   namespace declarations: their elements, and the names that hold them
 *   value paths    which paths have a value: an index over the values of all of them
 *   words          in which rows words are: an index over the long texts of all of them
 *   columns        of each path: nodes, parents, below, names, parentDistances, values
 */
#ifndef ZDBS_EMBEDDED_STORE_SEGMENT_H
#define ZDBS_EMBEDDED_STORE_SEGMENT_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/columns/checked_blocks.h"
#include "zdbs/embedded/columns/packed_column.h"
#include "zdbs/embedded/columns/value_paths.h"
#include "zdbs/embedded/paths/path_table.h"
#include "zdbs/embedded/store/watched_map.h"

namespace zdbs::embedded {

class WordIndex;

static_assert(std::endian::native == std::endian::little, "the files are little-endian");

/** In a column of `below`: the element ends in a later segment, and is in the table longElements.
 */
constexpr std::uint32_t endsLater = 0xffffffff;

/** The columns of a path in a segment; those that do not apply take no bytes. */
enum class SegmentColumn : std::size_t { nodes, parents, below, names, parentDistances, values };

constexpr std::size_t segmentColumnCount = 6;

/** Consecutive node numbers: the one at `firstPlace` is `firstNode`, up to the next stretch. */
struct SegmentStretch {
    NodeId firstNode;
    std::uint32_t firstPlace;
};

/** An entry of the directory, as it lies on disk. */
struct SegmentPath {
    PathId path;
    std::uint32_t count;                                  ///< nodes; at least one
    std::array<std::uint32_t, segmentColumnCount> sizes;  ///< bytes of each column
};

/** What stands at the beginning of the file. */
struct SegmentHeader {
    std::array<char, 8> magic;
    std::uint32_t version;
    std::uint32_t frontChecksum;  ///< CRC-32 of what follows, the checksums of blocks included
    std::uint64_t fileBytes;
    NodeId firstNode;
    NodeId lastNode;
    std::uint32_t nodeCount;
    std::uint32_t pathCount;
    std::uint32_t stretchCount;
    std::uint32_t pathOfNodeBytes;
    std::uint32_t declarationElementsBytes;
    std::uint32_t declarationNamesBytes;
    std::uint32_t valuePathsBytes;
    std::uint32_t blockCount;
    std::uint64_t wordsBytes;
};

constexpr std::array<char, 8> segmentMagic = {'z', 'd', 'b', 's', 's', 'e', 'g', '\0'};
constexpr std::uint32_t segmentVersion = 5;
constexpr std::size_t frontChecksumBegin = 16;  ///< the first byte that frontChecksum covers

static_assert(sizeof(SegmentHeader) == 72 && sizeof(SegmentPath) == 32 &&
              sizeof(SegmentStretch) == 8);

/** What a stretch of the file holds. */
struct SegmentPart {
    std::string name;  ///< "front", "common", "index of values", "index of words", "path 17"
    std::uint64_t offset;
    std::string_view bytes;
};

/**
 * A segment, mapped for reading. Opening looks at the front, all in front of the first block,
 * and verifies its checksum. A block is verified when somebody comes to read it, once for each
 * object: whatever leads to its bytes throws Failure(homeDamaged) where they are not what was
 * written. Views live as long as the object. Any thread may read.
 */
class Segment {
public:
    /** Throws Failure: homeDamaged (naming the file), homeUnreadable; SegmentMissing. */
    static std::shared_ptr<const Segment> open(const std::filesystem::path &file);

    ~Segment();
    Segment(const Segment &) = delete;
    Segment &operator=(const Segment &) = delete;

    const std::filesystem::path &file() const { return file_; }
    const SegmentHeader &header() const { return header_; }
    NodeId firstNode() const { return header_.firstNode; }
    NodeId lastNode() const { return header_.lastNode; }

    /** Nodes that have rows here, those of removed documents included. */
    std::uint32_t nodeCount() const { return header_.nodeCount; }

    std::span<const SegmentStretch> stretches() const { return stretches_; }

    /** The last number of a stretch. */
    NodeId lastOf(std::size_t stretch) const;

    /** Place of a node among those of the segment, if it is here. */
    std::optional<std::uint32_t> placeOf(NodeId node) const;

    /** REQUIRES place < nodeCount(). */
    NodeId nodeAtPlace(std::uint32_t place) const;

    /** By local number of a path, in order of path. */
    std::span<const SegmentPath> directory() const { return directory_; }

    /** The local number of the path of the node at a place. Throws Failure: homeDamaged. */
    std::uint32_t localPathAt(std::uint32_t place) const;

    /**
     * Reads the path of a node and of its neighbours in the same frame of the column and the
     * same stretch. Throws Failure: homeDamaged, also when the node is not here.
     */
    void readPaths(NodeId node, PathWindow &window) const;

    /** The columns of a path: whole, and of `count` numbers or none. Verified; values when read. */
    PackedColumn numbers(std::uint32_t local, SegmentColumn column) const;
    ValueColumn values(std::uint32_t local) const;

    /** The bytes of a column, not verified. */
    std::string_view columnBytes(std::uint32_t local, SegmentColumn column) const;

    /**
     * The run of a path without its firstRow and parentBase; it points to valuePaths(). Throws
     * Failure(homeDamaged) when a column is missing that such a path has, or one is there that it
     * has not.
     */
    PathRun run(std::uint32_t local, const Path &path) const;

    /** By place of a node: local number of its path. */
    const PackedColumn &pathOfNode() const {
        common_.requireAll();
        return pathOfNode_;
    }

    /** Namespace declarations by element, ascending: node - firstNode(); and names for them. */
    const PackedColumn &declarationElements() const {
        if (header_.declarationElementsBytes != 0) common_.requireAll();
        return declarationElements_;
    }
    const PackedColumn &declarationNames() const { return declarationNames_; }

    /** By key of a value: local numbers of paths. Of no values when no path has any. */
    const ValuePaths &valuePaths() const { return valuePaths_; }
    std::string_view valuePathsBytes() const;

    /** By words: rows of columns, by local number of a path. Null when there are none. */
    const WordIndex *words() const { return words_.get(); }
    std::string_view wordsBytes() const;

    /** Path of node, then the declarations; not verified. */
    std::string_view commonBytes() const;

    /** Every byte of the file is in one of them, but those in front of frontChecksumBegin. */
    std::vector<SegmentPart> parts() const;

    /** The bytes of a block with a checksum, and whether they are what was written. */
    std::uint32_t blockCount() const { return header_.blockCount; }
    SegmentPart block(std::uint32_t number) const;
    bool isSound(std::string_view bytes) const { return blocks_.areSound(bytes); }

    std::uint64_t fileBytes() const { return bytes_.size(); }

    /** Bytes that the file takes on disk. */
    std::uint64_t diskBytes() const { return diskBytes_; }

    /** After reading: throws Failure(homeDamaged) when the file became shorter meanwhile. */
    void requireIntact() const { watch_.requireIntact(file_); }

    /** Throws Failure: homeDamaged. */
    [[noreturn]] void failDamaged(std::string_view what) const;

private:
    explicit Segment(std::filesystem::path file);
    void map();
    void readHeader();
    void readStretches();
    void readDirectory();
    void readChecksums();
    void readCommon();
    void readValuePaths();
    void readWords();
    std::uint64_t directoryOffset() const;
    std::uint64_t checksumsOffset() const;
    std::uint64_t commonOffset() const;
    std::uint64_t valuePathsOffset() const;
    std::uint64_t wordsOffset() const;
    PackedColumn wholeColumn(std::string_view bytes, std::string_view what) const;

    std::filesystem::path file_;
    std::string_view bytes_;
    WatchedMap watch_;
    std::uint64_t diskBytes_ = 0;
    SegmentHeader header_{};
    std::vector<SegmentStretch> stretches_;
    std::vector<SegmentPath> directory_;
    std::vector<std::uint64_t> offsets_;  ///< of each path's columns
    CheckedBlocks blocks_;
    mutable PartCheck common_;
    mutable PartCheck valuePathsCheck_;
    mutable PartCheck wordsCheck_;
    std::unique_ptr<PartCheck[]> valuesChecks_;  ///< by local number of a path
    PackedColumn pathOfNode_;
    PackedColumn declarationElements_;
    PackedColumn declarationNames_;
    ValuePaths valuePaths_;
    std::unique_ptr<const WordIndex> words_;
};

/** The file is not there: removed by a newer commit, or lost. */
struct SegmentMissing {
    std::filesystem::path file;
};

}  // namespace zdbs::embedded

#endif
