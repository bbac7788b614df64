#include "zdbs/embedded/store/segment_encoding.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <numeric>
#include <string_view>
#include <utility>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/columns/word_index.h"

namespace zdbs::embedded {

namespace {

template <typename Record>
std::string_view bytesOf(const Record &record) {
    return {reinterpret_cast<const char *>(&record), sizeof record};
}

template <typename Record>
std::string_view bytesOf(const std::vector<Record> &records) {
    return {reinterpret_cast<const char *>(records.data()), records.size() * sizeof(Record)};
}

std::uint32_t checkedSize(std::size_t size) {
    if (size <= std::numeric_limits<std::uint32_t>::max()) return static_cast<std::uint32_t>(size);
    throw Failure(Status::valueTooLong, {"", std::to_string(size)});
}

}  // namespace

SegmentEncoding::SegmentEncoding(SegmentRows rows) : rows_(std::move(rows)) {
    assert(!rows_.empty());
    std::vector<PathRows> &paths = rows_.paths();
    for (std::uint32_t local = 0; local < paths.size(); ++local) {
        if (!paths[local].nodes.empty()) order_.push_back(local);
    }
    std::sort(order_.begin(), order_.end(),
              [&](std::uint32_t a, std::uint32_t b) { return paths[a].id < paths[b].id; });
    directory_.resize(order_.size());
    columns_.resize(order_.size());
    keys_.resize(order_.size());
    columnWords_.resize(order_.size());
    turns_.resize(order_.size());
    std::iota(turns_.begin(), turns_.end(), std::size_t{0});
    const auto weight = [&](std::size_t place) {
        const PathRows &rowsOfPath = paths[order_[place]];
        return (rowsOfPath.values ? rowsOfPath.values->bytes() : 0) + rowsOfPath.nodes.size();
    };
    std::sort(turns_.begin(), turns_.end(),
              [&](std::size_t a, std::size_t b) { return weight(a) > weight(b); });
}

// The turn behind the last path is what all paths have in common.
void SegmentEncoding::help() {
    for (;;) {
        const std::size_t turn = next_.fetch_add(1);
        if (turn > turns_.size()) return;
        std::exception_ptr failure;
        try {
            encode(turn);
        } catch (...) {
            failure = std::current_exception();
        }
        const std::lock_guard lock(mutex_);
        if (failure) failure_ = failure;
        if (++done_ > turns_.size()) allDone_.notify_all();
    }
}

void SegmentEncoding::encode(std::size_t turn) {
    if (turn == turns_.size()) return encodeCommon();
    const std::size_t place = turns_[turn];
    PathRows &rows = rows_.paths()[order_[place]];
    encodePath(rows, place);
    rows = {};
}

void SegmentEncoding::encodePath(PathRows &rows, std::size_t place) {
    SegmentPath &entry = directory_[place];
    std::string &bytes = columns_[place];
    entry.path = rows.id;
    entry.count = static_cast<std::uint32_t>(rows.nodes.size());
    for (std::uint32_t &node : rows.nodes)
        node -= rows_.firstNode();
    const std::vector<std::uint32_t> *const columns[] = {&rows.nodes, &rows.parents, &rows.below,
                                                         &rows.names, &rows.parentDistances};
    std::size_t before = 0;
    const auto noteSize = [&](std::size_t column) {
        entry.sizes[column] = checkedSize(bytes.size() - before);
        before = bytes.size();
    };
    for (std::size_t column = 0; column < std::size(columns); ++column) {
        if (!columns[column]->empty()) pack(*columns[column], bytes);
        noteSize(column);
    }
    if (rows.values) rows.values->finish(bytes, keys_[place], columnWords_[place]);
    noteSize(static_cast<std::size_t>(SegmentColumn::values));
}

void SegmentEncoding::encodeCommon() {
    std::vector<std::uint32_t> placeOf(rows_.paths().size());
    for (std::uint32_t place = 0; place < order_.size(); ++place)
        placeOf[order_[place]] = place;
    for (std::uint32_t &path : rows_.pathOfNode())
        path = placeOf[path];
    pack(rows_.pathOfNode(), common_);
    header_.pathOfNodeBytes = checkedSize(common_.size());
    if (rows_.declarations().empty()) return;
    std::vector<std::uint32_t> elements;
    std::vector<std::uint32_t> names;
    for (const Declaration &declaration : rows_.declarations()) {
        elements.push_back(declaration.element - rows_.firstNode());
        names.push_back(declaration.name);
    }
    pack(elements, common_);
    header_.declarationElementsBytes = checkedSize(common_.size() - header_.pathOfNodeBytes);
    const std::size_t before = common_.size();
    pack(names, common_);
    header_.declarationNamesBytes = checkedSize(common_.size() - before);
}

// When all paths are done.
void SegmentEncoding::encodeValuePaths() {
    std::vector<PathKeys> paths;
    std::size_t count = 0;
    for (std::uint32_t local = 0; local < keys_.size(); ++local) {
        if (!keys_[local].empty()) paths.push_back({local, keys_[local]});
        count += keys_[local].size();
    }
    if (count > 0) packValuePaths(paths, ValuePaths::shapeFor(count, keys_.size()), valuePaths_);
    keys_ = {};
    header_.valuePathsBytes = checkedSize(valuePaths_.size());
}

// The same.
void SegmentEncoding::encodeWords() {
    std::vector<WordIndex::Column> columns;
    for (std::uint32_t local = 0; local < columnWords_.size(); ++local) {
        if (columnWords_[local]) columns.push_back({local, &*columnWords_[local]});
    }
    packWords(columns, words_);
    columnWords_ = {};
    header_.wordsBytes = words_.size();
}

void SegmentEncoding::waitForAll() {
    help();
    std::unique_lock lock(mutex_);
    allDone_.wait(lock, [&] { return done_ > turns_.size(); });
    if (failure_) std::rethrow_exception(failure_);
}

SegmentRecord SegmentEncoding::write(const std::filesystem::path &file) {
    waitForAll();
    encodeValuePaths();
    encodeWords();
    completeHeader();
    const std::string start = front();
    std::vector<std::string_view> parts = blocks();
    parts.insert(parts.begin(), start);
    writePrivateFile(file, parts);
    return {0, header_.lastNode, header_.nodeCount, header_.frontChecksum, header_.fileBytes};
}

/** What is behind the front. */
std::vector<std::string_view> SegmentEncoding::blocks() const {
    std::vector<std::string_view> parts = {common_, valuePaths_, words_};
    parts.insert(parts.end(), columns_.begin(), columns_.end());
    return parts;
}

void SegmentEncoding::completeHeader() {
    header_.magic = segmentMagic;
    header_.version = segmentVersion;
    header_.firstNode = rows_.firstNode();
    header_.lastNode = rows_.lastNode();
    header_.nodeCount = rows_.nodeCount();
    header_.pathCount = static_cast<std::uint32_t>(directory_.size());
    header_.stretchCount = static_cast<std::uint32_t>(rows_.stretches().size());
    BlockChecksums checksums;
    std::uint64_t bytes = 0;
    for (const std::string_view part : blocks()) {
        checksums.add(part);
        bytes += part.size();
    }
    checksums_ = checksums.checksums();
    header_.blockCount = checkedSize(checksums_.size());
    header_.fileBytes = front().size() + bytes;
    header_.frontChecksum = crc32Of(front().substr(frontChecksumBegin));
}

std::string SegmentEncoding::front() const {
    std::string bytes(bytesOf(header_));
    return bytes.append(bytesOf(rows_.stretches()))
        .append(bytesOf(directory_))
        .append(bytesOf(checksums_));
}

}  // namespace zdbs::embedded
