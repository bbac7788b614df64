/**
 * Keys and records of the tables of a database; docs/format.md has the whole
 * list. Keys are big-endian, so that their order is the order of the numbers;
 * what stands in records is little-endian.
 */
#ifndef ZDBS_EMBEDDED_STORE_RECORDS_H
#define ZDBS_EMBEDDED_STORE_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/paths/path_summary.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

enum class Table : std::size_t {
    meta,
    documents,
    documentNames,
    names,
    paths,
    segments,
    longElements
};

constexpr std::size_t tableCount = 7;

/** The format of a database of one part, and of one with more; another one is refused. */
constexpr std::uint32_t formatVersion = 5;
constexpr std::uint32_t formatOfParts = 6;

constexpr std::string_view versionKey = "version";
constexpr std::string_view stateKey = "state";

/** The record under stateKey: what of the other tables counts. */
struct StateRecord {
    std::uint64_t state = 0;  ///< grows by one with every commit
    std::uint64_t documents = 0;
    std::uint64_t nodes = 0;
    std::uint32_t nextNode = 1;  ///< the first number never given in the last part
    std::uint32_t nameCount = 0;
    std::uint32_t pathCount = 0;
    std::uint32_t nextSegment = 1;  ///< the first number of a file never given
    PartNumber lastPart = 0;        ///< the one that grows

    /** Whether a node can be there: its number was given. */
    bool hasGiven(PartNumber part, NodeId node) const {
        return part < lastPart ? node <= lastNodeId : part == lastPart && node < nextNode;
    }
};

/** The record of a segment, which is in one part; its key is its first node. */
struct SegmentRecord {
    std::uint32_t file = 0;      ///< number of the file
    NodeId last = noNode;        ///< last node
    std::uint32_t nodes = 0;     ///< that have rows in it, of removed documents too
    std::uint32_t checksum = 0;  ///< SegmentHeader::frontChecksum of the file
    std::uint64_t bytes = 0;     ///< length of the file
};

struct DocumentRecord {
    NodeId last = noNode;
    std::uint64_t xmlBytes = 0;
    std::string_view name;
};

/** A segment with its key. */
struct StoredSegment {
    RecordId first = noNode;
    SegmentRecord record;

    PartNumber part() const { return partOf(first); }
    RecordId last() const { return recordOf(part(), record.last); }
};

/** Nodes of a document, or some of them: of one part. */
struct RecordRange {
    RecordId first;
    RecordId last;

    std::uint64_t size() const { return last - first + 1; }
};

/** An element that ended when the segment that it is in was written already. */
struct LongElement {
    NodeId node;
    NodeId last;
};

/**
 * What is stored of a record: itself, and a checksum of it with its table and its key; of the
 * version only itself.
 */
std::string sealed(Table table, std::string_view key, std::string_view record);

/** The record in it; nothing when it is not what was stored under that key. */
std::optional<std::string_view> unsealed(Table table, std::string_view key, std::string_view bytes);

/** Of a number, or a node in its part: the keys of later parts are longer, and behind. */
std::string encodeKey(RecordId record);
std::optional<RecordId> decodeKey(std::string_view key);

/** Key of the documents whose names have this hash (64-bit FNV-1a). */
std::string documentNameKey(std::string_view document);

// Each decoder answers nothing when the bytes cannot be such a record; views
// in the answer point into the bytes.
std::string encodeNumber(std::uint32_t number);
std::optional<std::uint32_t> decodeNumber(std::string_view bytes);
std::string encodeState(const StateRecord &state);
std::optional<StateRecord> decodeState(std::string_view bytes);
std::string encodeDocument(const DocumentRecord &document);
std::optional<DocumentRecord> decodeDocument(std::string_view bytes);
void encodeName(std::string &bytes, const NodeName &name);  // replaces what is in `bytes`
std::optional<NodeName> decodeName(std::string_view bytes);
std::string encodePath(const Path &path);
std::optional<Path> decodePath(std::string_view bytes);
std::string encodeSegment(const SegmentRecord &segment);
std::optional<SegmentRecord> decodeSegment(std::string_view bytes);
std::string encodeLongElements(const std::vector<LongElement> &elements);
std::optional<std::vector<LongElement>> decodeLongElements(std::string_view bytes);
std::string encodeRecords(const std::vector<RecordId> &records);
std::optional<std::vector<RecordId>> decodeRecords(std::string_view bytes);

}  // namespace zdbs::embedded

#endif
