#include "tests/zdbs/embedded/check/segment_image.h"

#include <cstring>
#include <stdexcept>

#include "tests/support/temporary_directory.h"

namespace zdbs::embedded {

namespace {

template <typename Record>
Record taken(std::string &bytes) {
    if (bytes.size() < sizeof(Record)) throw std::runtime_error("the segment is too short");
    Record record;
    std::memcpy(&record, bytes.data(), sizeof record);
    bytes.erase(0, sizeof record);
    return record;
}

std::string takenBytes(std::string &bytes, std::size_t size) {
    std::string part = bytes.substr(0, size);
    bytes.erase(0, size);
    return part;
}

template <typename Record>
void append(std::string &bytes, const Record &record) {
    bytes.append(reinterpret_cast<const char *>(&record), sizeof record);
}

std::uint32_t sizeOf(const std::string &bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

}  // namespace

SegmentImage::SegmentImage(const std::filesystem::path &file) {
    std::string rest = support::readFile(file.native());
    header = taken<SegmentHeader>(rest);
    for (std::uint32_t i = 0; i < header.stretchCount; ++i)
        stretches.push_back(taken<SegmentStretch>(rest));
    for (std::uint32_t i = 0; i < header.pathCount; ++i)
        directory.push_back(taken<SegmentPath>(rest));
    takenBytes(rest, header.blockCount * sizeof(std::uint32_t));
    pathOfNode = takenBytes(rest, header.pathOfNodeBytes);
    declarationElements = takenBytes(rest, header.declarationElementsBytes);
    declarationNames = takenBytes(rest, header.declarationNamesBytes);
    valuePaths = takenBytes(rest, header.valuePathsBytes);
    words = takenBytes(rest, header.wordsBytes);
    for (const SegmentPath &path : directory) {
        auto &here = columns.emplace_back();
        for (std::size_t i = 0; i < segmentColumnCount; ++i)
            here[i] = takenBytes(rest, path.sizes[i]);
    }
}

std::string SegmentImage::bytes() {
    const std::string common = pathOfNode + declarationElements + declarationNames;
    std::string body = common + valuePaths + words;
    for (std::size_t local = 0; local < directory.size(); ++local) {
        std::string all;
        for (std::size_t i = 0; i < segmentColumnCount; ++i) {
            directory[local].sizes[i] = sizeOf(columns[local][i]);
            all += columns[local][i];
        }
        body += all;
    }
    header.pathOfNodeBytes = sizeOf(pathOfNode);
    header.declarationElementsBytes = sizeOf(declarationElements);
    header.declarationNamesBytes = sizeOf(declarationNames);
    header.valuePathsBytes = sizeOf(valuePaths);
    header.wordsBytes = words.size();
    header.stretchCount = static_cast<std::uint32_t>(stretches.size());
    header.pathCount = static_cast<std::uint32_t>(directory.size());
    std::string lists;
    for (const SegmentStretch &stretch : stretches)
        append(lists, stretch);
    for (const SegmentPath &path : directory)
        append(lists, path);
    BlockChecksums checksums;
    checksums.add(body);
    header.blockCount = static_cast<std::uint32_t>(checksums.checksums().size());
    for (const std::uint32_t checksum : checksums.checksums())
        append(lists, checksum);
    header.fileBytes = sizeof header + lists.size() + body.size();
    std::string front;
    append(front, header);
    header.frontChecksum = crc32Of((front + lists).substr(frontChecksumBegin));
    front.clear();
    append(front, header);
    return front + lists + body;
}

std::vector<std::uint32_t> unpacked(const std::string &column) {
    const PackedColumn view(column);
    std::vector<std::uint32_t> numbers(view.size());
    view.read(0, numbers);
    return numbers;
}

std::string packed(const std::vector<std::uint32_t> &numbers) {
    std::string bytes;
    pack(numbers, bytes);
    return bytes;
}

void edit(std::string &column, const std::function<void(std::vector<std::uint32_t> &)> &change) {
    std::vector<std::uint32_t> numbers = unpacked(column);
    change(numbers);
    column = packed(numbers);
}

ValueParts::ValueParts(const std::string &column) : head(column.substr(0, 8)) {
    std::size_t at = 8 + 4 * (parts.size() - 1);
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
        std::uint32_t size = 0;
        std::memcpy(&size, column.data() + 8 + 4 * i, sizeof size);
        parts[i] = column.substr(at, size);
        at += size;
    }
    parts.back() = column.substr(at);
}

std::string ValueParts::bytes() const {
    std::string bytes = head;
    for (std::size_t i = 0; i + 1 < parts.size(); ++i)
        append(bytes, sizeOf(parts[i]));
    for (const std::string &part : parts)
        bytes += part;
    return bytes;
}

}  // namespace zdbs::embedded
