#include "zdbs/embedded/store/segment.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstring>
#include <numeric>
#include <system_error>
#include <utility>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/columns/word_index.h"

namespace zdbs::embedded {

namespace {

constexpr std::size_t at(SegmentColumn column) {
    return static_cast<std::size_t>(column);
}

template <typename Record>
void copyRecords(std::string_view bytes, std::vector<Record> &records) {
    if (!records.empty())
        std::memcpy(records.data(), bytes.data(), records.size() * sizeof(Record));
}

std::uint64_t bytesOf(const SegmentPath &path) {
    return std::accumulate(path.sizes.begin(), path.sizes.end(), std::uint64_t{0});
}

}  // namespace

std::shared_ptr<const Segment> Segment::open(const std::filesystem::path &file) {
    std::shared_ptr<Segment> segment(new Segment(file));
    segment->map();
    segment->readHeader();
    segment->readStretches();
    segment->readDirectory();
    segment->readChecksums();
    segment->readCommon();
    segment->readValuePaths();
    segment->readWords();
    segment->requireIntact();
    return segment;
}

Segment::Segment(std::filesystem::path file) : file_(std::move(file)) {}

Segment::~Segment() {
    watch_ = WatchedMap();
    // munmap() takes pages through a pointer to non-const, and does not write to them.
    if (!bytes_.empty()) ::munmap(const_cast<char *>(bytes_.data()), bytes_.size());
}

void Segment::map() {
    const FileDescriptor opened(::open(file_.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (!opened && errno == ENOENT) throw SegmentMissing{file_};
    if (!opened || ::fstat(opened.get(), &status) != 0)
        throw Failure(Status::homeUnreadable,
                      {file_.native(), std::system_category().message(errno)});
    const auto size = static_cast<std::size_t>(status.st_size);
    diskBytes_ = static_cast<std::uint64_t>(status.st_blocks) * 512;
    if (size < sizeof(SegmentHeader)) failDamaged("the file is too short");
    void *mapped = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, opened.get(), 0);
    if (mapped == MAP_FAILED && errno == ENOMEM) throw Failure(Status::outOfMemory);
    if (mapped == MAP_FAILED)
        throw Failure(Status::homeUnreadable,
                      {file_.native(), std::system_category().message(errno)});
    bytes_ = {static_cast<const char *>(mapped), size};
    watch_ = WatchedMap(bytes_);
    // What is read is announced block by block; around it the system need not guess.
    static_cast<void>(::madvise(mapped, size, MADV_RANDOM));
}

void Segment::readHeader() {
    std::memcpy(&header_, bytes_.data(), sizeof header_);
    if (header_.magic != segmentMagic) failDamaged("it is no segment");
    if (header_.version != segmentVersion) failDamaged("the version of the segment");
    if (header_.fileBytes != bytes_.size()) failDamaged("the length of the file");
    if (commonOffset() > bytes_.size()) failDamaged("the sizes in the header");
    const auto front = bytes_.substr(frontChecksumBegin, commonOffset() - frontChecksumBegin);
    readAhead(front);
    if (crc32Of(front) != header_.frontChecksum)
        failDamaged("the checksum of the header and the directory");
    const bool isEmpty = header_.nodeCount == 0 || header_.pathCount == 0;
    if (isEmpty || header_.firstNode == noNode || header_.lastNode < header_.firstNode ||
        header_.lastNode > lastNodeId)
        failDamaged("the numbers of its nodes");
}

std::uint64_t Segment::directoryOffset() const {
    return sizeof(SegmentHeader) + header_.stretchCount * std::uint64_t{sizeof(SegmentStretch)};
}

std::uint64_t Segment::checksumsOffset() const {
    return directoryOffset() + header_.pathCount * std::uint64_t{sizeof(SegmentPath)};
}

std::uint64_t Segment::commonOffset() const {
    return checksumsOffset() + header_.blockCount * std::uint64_t{sizeof(std::uint32_t)};
}

std::uint64_t Segment::valuePathsOffset() const {
    return commonOffset() + header_.pathOfNodeBytes + header_.declarationElementsBytes +
           header_.declarationNamesBytes;
}

std::uint64_t Segment::wordsOffset() const {
    return valuePathsOffset() + header_.valuePathsBytes;
}

void Segment::readStretches() {
    stretches_.resize(header_.stretchCount);
    copyRecords(bytes_.substr(sizeof(SegmentHeader)), stretches_);
    if (stretches_.empty() || stretches_[0].firstNode != header_.firstNode ||
        stretches_[0].firstPlace != 0)
        failDamaged("its stretches of nodes");
    for (std::size_t i = 1; i < stretches_.size(); ++i) {
        const SegmentStretch &before = stretches_[i - 1];
        const std::uint32_t count = stretches_[i].firstPlace - before.firstPlace;
        if (stretches_[i].firstPlace <= before.firstPlace ||
            stretches_[i].firstNode <= before.firstNode ||
            stretches_[i].firstNode - before.firstNode < count)
            failDamaged("its stretches of nodes");
    }
    const SegmentStretch &last = stretches_.back();
    if (last.firstPlace >= header_.nodeCount || last.firstNode > header_.lastNode ||
        header_.lastNode - last.firstNode != header_.nodeCount - 1 - last.firstPlace)
        failDamaged("its stretches of nodes");
}

void Segment::readDirectory() {
    directory_.resize(header_.pathCount);
    copyRecords(bytes_.substr(directoryOffset()), directory_);
    if (header_.wordsBytes > bytes_.size()) failDamaged("the sizes in the header");
    std::uint64_t offset = wordsOffset() + header_.wordsBytes;
    std::uint64_t nodes = 0;
    offsets_.reserve(directory_.size());
    for (const SegmentPath &entry : directory_) {
        const bool ascends = &entry == directory_.data() || (&entry)[-1].path < entry.path;
        if (!ascends || entry.count == 0) failDamaged("an entry of the directory");
        offsets_.push_back(offset);
        offset += bytesOf(entry);
        nodes += entry.count;
    }
    if (offset != bytes_.size() || nodes != header_.nodeCount)
        failDamaged("the sizes in the directory");
}

void Segment::readChecksums() {
    const std::string_view bytes = bytes_.substr(commonOffset());
    if (header_.blockCount != CheckedBlocks::countFor(bytes.size()))
        failDamaged("the number of checksums");
    std::vector<std::uint32_t> checksums(header_.blockCount);
    copyRecords(bytes_.substr(checksumsOffset()), checksums);
    blocks_ = CheckedBlocks(bytes, std::move(checksums), file_.native());
    common_.watch(blocks_, commonBytes());
    valuePathsCheck_.watch(blocks_, valuePathsBytes());
    wordsCheck_.watch(blocks_, wordsBytes());
    valuesChecks_ = std::make_unique<PartCheck[]>(directory_.size());
    for (std::uint32_t local = 0; local < directory_.size(); ++local)
        valuesChecks_[local].watch(blocks_, columnBytes(local, SegmentColumn::values));
}

// What is taken from the bytes here is verified when somebody comes to use it.
void Segment::readCommon() {
    std::string_view rest = bytes_.substr(commonOffset());
    const auto take = [&](std::uint32_t size, std::string_view what) {
        const auto column = wholeColumn(rest.substr(0, size), what);
        rest.remove_prefix(size);
        return column;
    };
    pathOfNode_ = take(header_.pathOfNodeBytes, "the paths of nodes");
    declarationElements_ = take(header_.declarationElementsBytes, "the namespace declarations");
    declarationNames_ = take(header_.declarationNamesBytes, "the namespace declarations");
    if (pathOfNode_.size() != header_.nodeCount) failDamaged("the paths of nodes");
    if (declarationElements_.size() != declarationNames_.size())
        failDamaged("the namespace declarations");
}

std::string_view Segment::commonBytes() const {
    return bytes_.substr(commonOffset(), valuePathsOffset() - commonOffset());
}

std::string_view Segment::valuePathsBytes() const {
    return bytes_.substr(valuePathsOffset(), header_.valuePathsBytes);
}

void Segment::readValuePaths() {
    const std::string_view bytes = valuePathsBytes();
    if (bytes.empty()) return;
    if (!ValuePaths::isWhole(bytes)) failDamaged("the index of values");
    valuePaths_ = ValuePaths(bytes, valuePathsCheck_);
}

std::string_view Segment::wordsBytes() const {
    return bytes_.substr(wordsOffset(), header_.wordsBytes);
}

void Segment::readWords() {
    const std::string_view bytes = wordsBytes();
    if (!bytes.empty()) words_ = std::make_unique<const WordIndex>(bytes, &wordsCheck_);
}

PackedColumn Segment::wholeColumn(std::string_view bytes, std::string_view what) const {
    if (bytes.empty()) return {};
    if (!PackedColumn::isWhole(bytes)) failDamaged(what);
    return PackedColumn(bytes);
}

NodeId Segment::lastOf(std::size_t stretch) const {
    if (stretch + 1 == stretches_.size()) return header_.lastNode;
    const SegmentStretch &here = stretches_[stretch];
    return here.firstNode + (stretches_[stretch + 1].firstPlace - here.firstPlace) - 1;
}

std::optional<std::uint32_t> Segment::placeOf(NodeId node) const {
    if (node < header_.firstNode || node > header_.lastNode) return std::nullopt;
    const auto behind = std::upper_bound(
        stretches_.begin(), stretches_.end(), node,
        [](NodeId number, const SegmentStretch &stretch) { return number < stretch.firstNode; });
    const auto stretch = static_cast<std::size_t>(behind - stretches_.begin()) - 1;
    if (node > lastOf(stretch)) return std::nullopt;
    return stretches_[stretch].firstPlace + (node - stretches_[stretch].firstNode);
}

NodeId Segment::nodeAtPlace(std::uint32_t place) const {
    assert(place < header_.nodeCount);
    const auto behind = std::upper_bound(stretches_.begin(), stretches_.end(), place,
                                         [](std::uint32_t number, const SegmentStretch &stretch) {
                                             return number < stretch.firstPlace;
                                         });
    const SegmentStretch &stretch = *(behind - 1);
    return stretch.firstNode + (place - stretch.firstPlace);
}

std::uint32_t Segment::localPathAt(std::uint32_t place) const {
    const std::uint32_t local = pathOfNode().at(place);
    if (local >= directory_.size()) failDamaged("the path of a node");
    return local;
}

void Segment::readPaths(NodeId node, PathWindow &window) const {
    static_assert(PathWindow::maxCount == PackedColumn::frameSize);
    const auto behind = std::upper_bound(
        stretches_.begin(), stretches_.end(), node,
        [](NodeId number, const SegmentStretch &stretch) { return number < stretch.firstNode; });
    if (behind == stretches_.begin()) failDamaged("the number of a node");
    const auto stretch = static_cast<std::size_t>(behind - stretches_.begin()) - 1;
    const SegmentStretch &here = stretches_[stretch];
    const NodeId last = lastOf(stretch);
    if (node > last) failDamaged("the number of a node");
    const std::uint32_t place = here.firstPlace + (node - here.firstNode);
    const std::uint32_t first =
        std::max(place / PackedColumn::frameSize * PackedColumn::frameSize, here.firstPlace);
    const std::uint32_t end = std::min(
        first / PackedColumn::frameSize * PackedColumn::frameSize + PackedColumn::frameSize,
        here.firstPlace + (last - here.firstNode) + 1);
    window.count = 0;  // until all of it is there
    pathOfNode().read(first, std::span(window.paths).first(end - first));
    for (PathId &path : std::span(window.paths).first(end - first)) {
        if (path >= directory_.size()) failDamaged("the path of a node");
        path = directory_[path].path;
    }
    window.first = here.firstNode + (first - here.firstPlace);
    window.count = end - first;
}

std::string_view Segment::columnBytes(std::uint32_t local, SegmentColumn column) const {
    const SegmentPath &entry = directory_[local];
    std::uint64_t offset = offsets_[local];
    for (std::size_t before = 0; before < at(column); ++before)
        offset += entry.sizes[before];
    return bytes_.substr(offset, entry.sizes[at(column)]);
}

PackedColumn Segment::numbers(std::uint32_t local, SegmentColumn column) const {
    assert(column != SegmentColumn::values);
    const std::string_view bytes = columnBytes(local, column);
    if (bytes.empty()) return {};
    blocks_.require(bytes);
    const bool isWhole = PackedColumn::isWhole(bytes);
    if (!isWhole || PackedColumn(bytes).size() != directory_[local].count)
        failDamaged("a column of path " + std::to_string(directory_[local].path));
    return PackedColumn(bytes);
}

ValueColumn Segment::values(std::uint32_t local) const {
    const std::string_view bytes = columnBytes(local, SegmentColumn::values);
    if (bytes.empty()) return {};
    const bool isWhole = ValueColumn::isWhole(bytes);
    if (!isWhole || ValueColumn(bytes).size() != directory_[local].count)
        failDamaged("the values of path " + std::to_string(directory_[local].path));
    ValueColumn column(bytes, valuesChecks_[local]);
    if (words_ && column.hasWords()) column.useWords(*words_, local);
    return column;
}

PathRun Segment::run(std::uint32_t local, const Path &path) const {
    const bool isElement = path.kind == NodeKind::element;
    const bool isNamed = path.kind != NodeKind::text && path.kind != NodeKind::comment;
    const std::array<bool, segmentColumnCount> expected = {true,
                                                           path.isRegular && path.parent != noPath,
                                                           isElement,
                                                           !path.isRegular && isNamed,
                                                           !path.isRegular,
                                                           !isElement};
    const SegmentPath &entry = directory_[local];
    for (std::size_t column = 0; column < segmentColumnCount; ++column) {
        if ((entry.sizes[column] > 0) != expected[column])
            failDamaged("the columns of path " + std::to_string(entry.path));
    }
    PathRun run;
    run.count = entry.count;
    run.firstNode = header_.firstNode;
    run.nodes = numbers(local, SegmentColumn::nodes);
    run.parents = numbers(local, SegmentColumn::parents);
    run.below = numbers(local, SegmentColumn::below);
    run.names = numbers(local, SegmentColumn::names);
    run.parentDistances = numbers(local, SegmentColumn::parentDistances);
    run.values = values(local);
    run.valuePaths = &valuePaths_;
    run.localPath = local;
    return run;
}

std::vector<SegmentPart> Segment::parts() const {
    std::vector<SegmentPart> parts;
    const auto add = [&](std::string name, std::uint64_t offset, std::uint64_t size) {
        parts.push_back({std::move(name), offset, bytes_.substr(offset, size)});
    };
    add("front", frontChecksumBegin, commonOffset() - frontChecksumBegin);
    add("common", commonOffset(), commonBytes().size());
    add("index of values", valuePathsOffset(), header_.valuePathsBytes);
    add("index of words", wordsOffset(), header_.wordsBytes);
    for (std::size_t local = 0; local < directory_.size(); ++local)
        add("path " + std::to_string(directory_[local].path), offsets_[local],
            bytesOf(directory_[local]));
    return parts;
}

SegmentPart Segment::block(std::uint32_t number) const {
    const std::uint64_t offset = commonOffset() + std::uint64_t{number} * CheckedBlocks::blockSize;
    return {"block " + std::to_string(number), offset,
            bytes_.substr(offset, CheckedBlocks::blockSize)};
}

void Segment::failDamaged(std::string_view what) const {
    throw Failure(Status::homeDamaged, {file_.native(), what});
}

}  // namespace zdbs::embedded
