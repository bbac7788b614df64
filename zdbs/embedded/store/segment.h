/**
 * A segment: an immutable file with the nodes of one or several documents, or of a part
 * of a large one, stored by path. docs/format.md has every byte.
 *
 *   header         sizes of what follows
 *   stretches      which numbers its nodes have
 *   directory      an entry for each path that has nodes here
 *   path of node   by place of a node: which entry of the directory it belongs to
 *   declarations   namespace declarations: their elements, and the names that hold them
 *   value paths    which paths have a value: an index over the values of all of them
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

#include "zdbs/embedded/columns/packed_column.h"
#include "zdbs/embedded/columns/value_paths.h"
#include "zdbs/embedded/paths/path_table.h"

namespace zdbs {

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
    std::uint32_t checksum;                               ///< CRC-32 of the columns
};

/** What stands at the beginning of the file. */
struct SegmentHeader {
    std::array<char, 8> magic;
    std::uint32_t version;
    std::uint32_t
        frontChecksum;  ///< CRC-32 of the rest of the header, the stretches, the directory
    std::uint64_t fileBytes;
    NodeId firstNode;
    NodeId lastNode;
    std::uint32_t nodeCount;
    std::uint32_t pathCount;
    std::uint32_t stretchCount;
    std::uint32_t pathOfNodeBytes;
    std::uint32_t declarationElementsBytes;
    std::uint32_t declarationNamesBytes;
    std::uint32_t commonChecksum;  ///< CRC-32 of `path of node` and the declarations
    std::uint32_t valuePathsBytes;
    std::uint32_t valuePathsChecksum;  ///< CRC-32 of `value paths`
    std::uint32_t reserved;            ///< 0
};

constexpr std::array<char, 8> segmentMagic = {'z', 'd', 'b', 's', 's', 'e', 'g', '\0'};
constexpr std::uint32_t segmentVersion = 3;
constexpr std::size_t frontChecksumBegin = 16;  ///< the first byte that frontChecksum covers

static_assert(sizeof(SegmentHeader) == 72 && sizeof(SegmentPath) == 36 &&
              sizeof(SegmentStretch) == 8);

/** A stretch of the file with a checksum of its own. */
struct SegmentPart {
    std::string name;  ///< "front", "common", "index of values", "path 17"
    std::uint64_t offset;
    std::string_view bytes;  ///< what the checksum is of
    std::uint32_t checksum;  ///< as stored

    bool isSound() const;
};

/** CRC-32 as zlib and Ethernet have it, of `bytes` after what has `checksum`. */
std::uint32_t crc32Of(std::string_view bytes, std::uint32_t checksum = 0);

/**
 * A segment, mapped for reading. Opening looks at the header, the stretches and the
 * directory and verifies their checksum; the rest is verified by nobody but `zdbs check`,
 * so what comes from columns may be wrong in a damaged file, but never leads outside of
 * it. Views live as long as the object. Any thread may read.
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

    /** The columns of a path; checked: whole, and of `count` numbers or none. */
    PackedColumn numbers(std::uint32_t local, SegmentColumn column) const;
    ValueColumn values(std::uint32_t local) const;

    /** The bytes of a column, unchecked. */
    std::string_view columnBytes(std::uint32_t local, SegmentColumn column) const;

    /**
     * The run of a path without its firstRow and parentBase; it points to valuePaths(). Throws
     * Failure(homeDamaged) when a column is missing that such a path has, or one is there that it
     * has not.
     */
    PathRun run(std::uint32_t local, const Path &path) const;

    /** By place of a node: local number of its path. */
    const PackedColumn &pathOfNode() const { return pathOfNode_; }

    /** Namespace declarations by element, ascending: node - firstNode(); and names for them. */
    const PackedColumn &declarationElements() const { return declarationElements_; }
    const PackedColumn &declarationNames() const { return declarationNames_; }

    /**
     * By key of a value: local numbers of paths; in a damaged file also some that there are not.
     * Of no values when no path has any.
     */
    const ValuePaths &valuePaths() const { return valuePaths_; }
    std::string_view valuePathsBytes() const;

    /** Every byte of the file is in one of them, but those in front of frontChecksumBegin. */
    std::vector<SegmentPart> parts() const;

    std::uint64_t fileBytes() const { return bytes_.size(); }

    /** Bytes that the file takes on disk. */
    std::uint64_t diskBytes() const { return diskBytes_; }

    /** Throws Failure: homeDamaged. */
    [[noreturn]] void failDamaged(std::string_view what) const;

private:
    explicit Segment(std::filesystem::path file);
    void map();
    void readHeader();
    void readStretches();
    void readDirectory();
    void readCommon();
    void readValuePaths();
    std::uint64_t commonOffset() const;
    std::uint64_t valuePathsOffset() const;
    PackedColumn wholeColumn(std::string_view bytes, std::string_view what) const;

    std::filesystem::path file_;
    std::string_view bytes_;
    std::uint64_t diskBytes_ = 0;
    SegmentHeader header_{};
    std::vector<SegmentStretch> stretches_;
    std::vector<SegmentPath> directory_;
    std::vector<std::uint64_t> offsets_;  ///< of each path's columns
    PackedColumn pathOfNode_;
    PackedColumn declarationElements_;
    PackedColumn declarationNames_;
    ValuePaths valuePaths_;
};

/** The file is not there: removed by a newer commit, or lost. */
struct SegmentMissing {
    std::filesystem::path file;
};

}  // namespace zdbs

#endif
