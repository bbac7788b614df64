#include "zdbs/embedded/paths/row_collector.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

#include "foundation/bit_count.h"

namespace zdbs::embedded {
namespace {

/** Says that no chunk is stored as runs (the format's SERIAL_COOKIE_NO_RUNCONTAINER). */
constexpr std::uint32_t noRunsCookie = 12346;

/** A set with such a range may be smaller as runs. */
constexpr std::uint32_t longRange = 64;

template <typename T>
void append(std::string &bytes, T number) {
    char raw[sizeof number];
    std::memcpy(raw, &number, sizeof number);
    bytes.append(raw, sizeof number);
}

constexpr std::uint16_t lowHalf(std::uint32_t number) {
    return static_cast<std::uint16_t>(number & 0xffffU);
}

}  // namespace

void RowCollector::add(RowId row) {
    openChunk(row / chunkSize);
    makeRoomFor(1);
    if (isBits_) {
        const std::uint32_t low = row % chunkSize;
        words_[low / 64] |= std::uint64_t{1} << (low % 64);
    } else {
        low_[inChunk_] = lowHalf(row);
    }
    ++inChunk_;
}

void RowCollector::add(std::span<const RowId> rows) {
    while (!rows.empty()) {
        const std::uint32_t chunk = rows.front() / chunkSize;
        auto end = rows.end();
        if (rows.back() / chunkSize != chunk) {
            end = std::lower_bound(rows.begin(), rows.end(), (chunk + 1) * chunkSize);
        }
        const auto count = static_cast<std::size_t>(end - rows.begin());
        openChunk(chunk);
        makeRoomFor(static_cast<std::uint32_t>(count));
        if (isBits_) {
            for (RowId row : rows.first(count))
                words_[row % chunkSize / 64] |= std::uint64_t{1} << (row % 64);
        } else {
            std::transform(rows.begin(), end, low_.begin() + inChunk_, lowHalf);
        }
        inChunk_ += static_cast<std::uint32_t>(count);
        rows = rows.subspan(count);
    }
}

void RowCollector::addRange(RowId first, RowId end) {
    hasRanges_ = hasRanges_ || (first < end && end - first >= longRange);
    while (first < end) {
        const std::uint32_t chunk = first / chunkSize;
        const std::uint32_t low = first % chunkSize;
        const std::uint32_t count = std::min(end - first, chunkSize - low);
        openChunk(chunk);
        makeRoomFor(count);
        if (isBits_) {
            setBits(low, low + count);
        } else {
            for (std::uint32_t i = 0; i < count; ++i)
                low_[inChunk_ + i] = lowHalf(first + i);
        }
        inChunk_ += count;
        first += count;
    }
}

void RowCollector::addBits(std::span<const std::uint64_t> words) {
    for (std::uint32_t chunk = 0; !words.empty(); ++chunk) {
        const auto part = words.first(std::min(words.size(), words_.size()));
        words = words.subspan(part.size());
        std::uint32_t count = 0;
        for (std::uint64_t word : part)
            count += bitCount(word);
        if (count == 0) continue;
        openChunk(chunk);
        if (count > largestArray) {
            isBits_ = true;
            words_.fill(0);
            std::copy(part.begin(), part.end(), words_.begin());
            inChunk_ = count;
        } else {
            addFew(part);
        }
    }
}

/** Adds the bits of a chunk of few rows. */
void RowCollector::addFew(std::span<const std::uint64_t> words) {
    std::uint32_t base = 0;
    for (std::uint64_t word : words) {
        for (; word != 0; word &= word - 1)
            low_[inChunk_++] = lowHalf(base + static_cast<std::uint32_t>(std::countr_zero(word)));
        base += 64;
    }
}

RowSet RowCollector::finish() {
    closeChunk();
    rowCount_ = 0;
    chunk_ = 0;
    if (keys_.empty()) return {};
    const auto count = static_cast<std::uint32_t>(keys_.size() / 4);
    const auto header = static_cast<std::uint32_t>(8 + keys_.size() + offsets_.size());
    std::string bytes;
    bytes.reserve(header + chunks_.size());
    append(bytes, noRunsCookie);
    append(bytes, count);
    bytes += keys_;
    for (std::size_t i = 0; i < offsets_.size(); i += 4) {
        std::uint32_t offset = 0;
        std::memcpy(&offset, offsets_.data() + i, sizeof offset);
        append(bytes, header + offset);
    }
    bytes += chunks_;
    keys_.clear();
    offsets_.clear();
    chunks_.clear();
    RowSet result = RowSet::readSafe(bytes.data(), bytes.size());
    if (hasRanges_) result.runOptimize();
    hasRanges_ = false;
    return result;
}

RowSetPtr RowCollector::finishPart(const PathTable &table, PathId path, const RowSetPtr &among) {
    if (size() == 0) return nullptr;
    if (size() == among->cardinality()) return forget(among);
    const RowSetPtr &live = table.liveRows(path);
    if (size() == live->cardinality()) return forget(live);
    return std::make_shared<const RowSet>(finish());
}

/** Answers `rows` instead of the same rows that were collected. */
RowSetPtr RowCollector::forget(const RowSetPtr &rows) {
    keys_.clear();
    offsets_.clear();
    chunks_.clear();
    chunk_ = 0;
    inChunk_ = 0;
    isBits_ = false;
    rowCount_ = 0;
    hasRanges_ = false;
    return rows;
}

void RowCollector::openChunk(std::uint32_t chunk) {
    if (chunk == chunk_) return;
    assert(chunk > chunk_);
    closeChunk();
    chunk_ = chunk;
}

/** Goes over to bits when the array does not hold so many more. */
void RowCollector::makeRoomFor(std::uint32_t count) {
    if (isBits_ || inChunk_ + count <= largestArray) return;
    isBits_ = true;
    words_.fill(0);
    for (Low low : std::span(low_).first(inChunk_))
        words_[low / 64U] |= std::uint64_t{1} << (low % 64U);
}

void RowCollector::setBits(std::uint32_t first, std::uint32_t end) {
    const std::uint64_t firstMask = ~std::uint64_t{0} << (first % 64);
    const std::uint64_t lastMask = ~std::uint64_t{0} >> (63 - (end - 1) % 64);
    const std::uint32_t lastWord = (end - 1) / 64;
    if (first / 64 == lastWord) {
        words_[lastWord] |= firstMask & lastMask;
        return;
    }
    words_[first / 64] |= firstMask;
    std::fill(words_.begin() + first / 64 + 1, words_.begin() + lastWord, ~std::uint64_t{0});
    words_[lastWord] |= lastMask;
}

void RowCollector::closeChunk() {
    if (inChunk_ == 0) return;
    append(keys_, lowHalf(chunk_));
    append(keys_, lowHalf(inChunk_ - 1));
    append(offsets_, static_cast<std::uint32_t>(chunks_.size()));
    if (isBits_) {
        const std::size_t place = chunks_.size();
        chunks_.resize(place + sizeof words_);
        std::memcpy(chunks_.data() + place, words_.data(), sizeof words_);
    } else {
        const std::size_t place = chunks_.size();
        chunks_.resize(place + inChunk_ * sizeof(Low));
        std::memcpy(chunks_.data() + place, low_.data(), inChunk_ * sizeof(Low));
    }
    rowCount_ += inChunk_;
    inChunk_ = 0;
    isBits_ = false;
}

}  // namespace zdbs::embedded
