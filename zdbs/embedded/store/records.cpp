#include "zdbs/embedded/store/records.h"

#include <cstring>
#include <type_traits>
#include <utility>

#include "zdbs/embedded/columns/checked_blocks.h"

namespace zdbs::embedded {

namespace {

template <typename Number>
void append(std::string &bytes, Number number) {
    static_assert(std::is_unsigned_v<Number>);
    bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
}

// Takes a number off the front; REQUIRES that it is there.
template <typename Number>
Number take(std::string_view &bytes) {
    Number number;
    std::memcpy(&number, bytes.data(), sizeof number);
    bytes.remove_prefix(sizeof number);
    return number;
}

std::string bigEndian(std::uint64_t number, std::size_t size) {
    std::string key(size, '\0');
    for (std::size_t i = size; i-- > 0; number >>= 8)
        key[i] = static_cast<char>(number & 0xff);
    return key;
}

std::uint32_t sealOf(Table table, std::string_view key, std::string_view record) {
    const auto number = static_cast<char>(table);
    return crc32Of(record, crc32Of(key, crc32Of({&number, 1})));
}

/** In front of what is in a later part than the first; no number of a node has this bit. */
constexpr std::uint32_t partMark = 0x80000000;

/** The version's record is the same in every format, those without checksums included. */
bool isSealed(Table table, std::string_view key) {
    return table != Table::meta || key != versionKey;
}

}  // namespace

std::string sealed(Table table, std::string_view key, std::string_view record) {
    std::string bytes(record);
    if (isSealed(table, key)) append(bytes, sealOf(table, key, record));
    return bytes;
}

std::optional<std::string_view> unsealed(Table table, std::string_view key,
                                         std::string_view bytes) {
    if (!isSealed(table, key)) return bytes;
    if (bytes.size() < sizeof(std::uint32_t)) return std::nullopt;
    const std::string_view record = bytes.substr(0, bytes.size() - sizeof(std::uint32_t));
    std::string_view seal = bytes.substr(record.size());
    if (take<std::uint32_t>(seal) != sealOf(table, key, record)) return std::nullopt;
    return record;
}

std::string encodeKey(RecordId record) {
    if (partOf(record) == 0) return bigEndian(record, sizeof(NodeId));
    return bigEndian(record | recordOf(partMark, 0), sizeof record);
}

std::optional<RecordId> decodeKey(std::string_view key) {
    const bool isLonger = key.size() == sizeof(RecordId);
    if (!isLonger && key.size() != sizeof(NodeId)) return std::nullopt;
    RecordId number = 0;
    for (const char byte : key)
        number = number << 8 | static_cast<unsigned char>(byte);
    if (!isLonger) return number;
    const PartNumber marked = partOf(number);
    if (marked <= partMark) return std::nullopt;
    return recordOf(marked - partMark, nodeOf(number));
}

std::string documentNameKey(std::string_view document) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : document) {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 0x100000001b3;
    }
    return bigEndian(hash, sizeof hash);
}

std::string encodeNumber(std::uint32_t number) {
    std::string bytes;
    append(bytes, number);
    return bytes;
}

std::optional<std::uint32_t> decodeNumber(std::string_view bytes) {
    if (bytes.size() != sizeof(std::uint32_t)) return std::nullopt;
    return take<std::uint32_t>(bytes);
}

std::string encodeState(const StateRecord &state) {
    std::string bytes;
    append(bytes, state.state);
    append(bytes, state.documents);
    append(bytes, state.nodes);
    append(bytes, state.nextNode);
    append(bytes, state.nameCount);
    append(bytes, state.pathCount);
    append(bytes, state.nextSegment);
    if (state.lastPart != 0) append(bytes, state.lastPart);
    return bytes;
}

std::optional<StateRecord> decodeState(std::string_view bytes) {
    constexpr std::size_t size = 3 * sizeof(std::uint64_t) + 4 * sizeof(std::uint32_t);
    const bool hasParts = bytes.size() == size + sizeof(PartNumber);
    if (!hasParts && bytes.size() != size) return std::nullopt;
    StateRecord state;
    state.state = take<std::uint64_t>(bytes);
    state.documents = take<std::uint64_t>(bytes);
    state.nodes = take<std::uint64_t>(bytes);
    state.nextNode = take<std::uint32_t>(bytes);
    state.nameCount = take<std::uint32_t>(bytes);
    state.pathCount = take<std::uint32_t>(bytes);
    state.nextSegment = take<std::uint32_t>(bytes);
    if (!hasParts) return state;
    state.lastPart = take<PartNumber>(bytes);
    // A part has had a segment before the next one began.
    if (state.lastPart == 0 || state.lastPart >= state.nextSegment) return std::nullopt;
    return state;
}

std::string encodeDocument(const DocumentRecord &document) {
    std::string bytes;
    append(bytes, document.last);
    append(bytes, document.xmlBytes);
    return bytes.append(document.name);
}

std::optional<DocumentRecord> decodeDocument(std::string_view bytes) {
    if (bytes.size() < sizeof(std::uint32_t) + sizeof(std::uint64_t)) return std::nullopt;
    DocumentRecord document;
    document.last = take<std::uint32_t>(bytes);
    document.xmlBytes = take<std::uint64_t>(bytes);
    document.name = bytes;
    return document;
}

void encodeName(std::string &bytes, const NodeName &name) {
    bytes.clear();
    append(bytes, static_cast<std::uint32_t>(name.local.size()));
    append(bytes, static_cast<std::uint32_t>(name.prefix.size()));
    bytes.append(name.local).append(name.prefix).append(name.uri);
}

std::optional<NodeName> decodeName(std::string_view bytes) {
    if (bytes.size() < 2 * sizeof(std::uint32_t)) return std::nullopt;
    const std::size_t local = take<std::uint32_t>(bytes);
    const std::size_t prefix = take<std::uint32_t>(bytes);
    if (bytes.size() < local + prefix) return std::nullopt;
    return NodeName{bytes.substr(0, local), bytes.substr(local, prefix),
                    bytes.substr(local + prefix)};
}

std::string encodePath(const Path &path) {
    std::string bytes;
    append(bytes, path.parent);
    append(bytes, path.name);
    append(bytes, path.isRegular ? path.level : 0);
    append(bytes, static_cast<std::uint32_t>(path.kind));
    return bytes;
}

std::optional<Path> decodePath(std::string_view bytes) {
    if (bytes.size() != 4 * sizeof(std::uint32_t)) return std::nullopt;
    Path path;
    path.parent = take<std::uint32_t>(bytes);
    path.name = take<std::uint32_t>(bytes);
    path.level = take<std::uint32_t>(bytes);
    path.isRegular = path.level != 0;
    const auto kind = take<std::uint32_t>(bytes);
    if (kind > static_cast<std::uint32_t>(NodeKind::processingInstruction)) return std::nullopt;
    path.kind = static_cast<NodeKind>(kind);
    return path;
}

std::string encodeSegment(const SegmentRecord &segment) {
    std::string bytes;
    append(bytes, segment.file);
    append(bytes, segment.last);
    append(bytes, segment.nodes);
    append(bytes, segment.checksum);
    append(bytes, segment.bytes);
    return bytes;
}

std::optional<SegmentRecord> decodeSegment(std::string_view bytes) {
    if (bytes.size() != 4 * sizeof(std::uint32_t) + sizeof(std::uint64_t)) return std::nullopt;
    SegmentRecord segment;
    segment.file = take<std::uint32_t>(bytes);
    segment.last = take<std::uint32_t>(bytes);
    segment.nodes = take<std::uint32_t>(bytes);
    segment.checksum = take<std::uint32_t>(bytes);
    segment.bytes = take<std::uint64_t>(bytes);
    return segment;
}

std::string encodeLongElements(const std::vector<LongElement> &elements) {
    std::string bytes;
    for (const LongElement &element : elements) {
        append(bytes, element.node);
        append(bytes, element.last);
    }
    return bytes;
}

std::optional<std::vector<LongElement>> decodeLongElements(std::string_view bytes) {
    if (bytes.size() % (2 * sizeof(std::uint32_t)) != 0) return std::nullopt;
    std::vector<LongElement> elements;
    while (!bytes.empty()) {
        const auto node = take<std::uint32_t>(bytes);
        elements.push_back({node, take<std::uint32_t>(bytes)});
    }
    return elements;
}

std::string encodeRecords(const std::vector<RecordId> &records) {
    std::string bytes;
    for (const RecordId record : records) {
        if (partOf(record) != 0) append(bytes, partMark | partOf(record));
        append(bytes, nodeOf(record));
    }
    return bytes;
}

std::optional<std::vector<RecordId>> decodeRecords(std::string_view bytes) {
    std::vector<RecordId> records;
    PartNumber part = 0;
    while (bytes.size() >= sizeof(std::uint32_t)) {
        const auto number = take<std::uint32_t>(bytes);
        if (number > partMark && part == 0) {
            part = number - partMark;
            continue;
        }
        records.push_back(recordOf(std::exchange(part, 0), number));
    }
    if (!bytes.empty() || part != 0) return std::nullopt;
    return records;
}

}  // namespace zdbs::embedded
