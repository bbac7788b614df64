/** Columns of unsigned integers, packed, read where they lie. */
#ifndef ZDBS_EMBEDDED_COLUMNS_PACKED_COLUMN_H
#define ZDBS_EMBEDDED_COLUMNS_PACKED_COLUMN_H

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace zdbs::embedded {

/**
 * A view of a column of 32-bit numbers in frames of 64: each frame has its smallest
 * number and the rest of each in as few bits as the frame's largest needs (frame of
 * reference coding; Goldstein, Ramakrishnan, Shaft: "Compressing Relations and
 * Indexes", ICDE 1998). One number is read in constant time.
 *
 * The bytes must outlive the view and need no alignment. Bytes that are damaged give
 * wrong numbers, but nothing outside the bytes is ever read. Any thread may read.
 *
 * The bytes, all integers little-endian, F the number of frames, count / 64 rounded up:
 *
 *     0            4  count of numbers, at most 2^27
 *     4            4  count W of words
 *     8            8F directory, an entry a frame:
 *                       bits 0-31   smallest number of the frame
 *                       bits 32-37  width: bits that each number has in the words, 0 to 32
 *                       bits 38-63  first word of the frame
 *     8 + 8F       8W words of 64 bits
 *
 * A frame's numbers, less the smallest, follow each other from the lowest bit of its
 * first word on and may cross from one word to the next. A frame begins with a word of
 * its own; bits behind its last number are 0. Width 0: all are the smallest, no words.
 */
class PackedColumn {
public:
    static constexpr std::uint32_t frameSize = 64;

    /** Most numbers that a column can have. */
    static constexpr std::size_t maxSize = std::size_t{1} << 27U;

    /** A column of nothing. */
    PackedColumn() = default;

    /** REQUIRES isWhole(bytes). Bytes behind the column are not looked at. */
    explicit PackedColumn(std::string_view bytes);

    /** Whether the bytes can be a column: its parts fit into it. Constant time. */
    static bool isWhole(std::string_view bytes);

    /** Whether the bytes are what pack() writes, and nothing behind it; reads the whole column. */
    static bool isSound(std::string_view bytes);

    std::uint32_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

    /** REQUIRES row < size(). */
    std::uint32_t at(std::uint32_t row) const;

    /** Reads the numbers from `first` on. REQUIRES first + out.size() <= size(). */
    void read(std::uint32_t first, std::span<std::uint32_t> out) const;

    /**
     * The first row from `from` on whose number is not less than `number`, or size(). Of
     * ascending columns only. Gallops: costs the logarithm of the distance from `from`.
     */
    std::uint32_t lowerBound(std::uint32_t number, std::uint32_t from = 0) const;

private:
    static constexpr std::size_t headerSize = 8;
    static constexpr std::size_t wordSize = 8;
    static_assert(std::endian::native == std::endian::little, "columns are read where they lie");

    /** An entry of the directory. */
    struct Frame {
        std::uint32_t base;
        std::uint32_t width;
        std::uint64_t firstWord;
    };

    Frame frame(std::uint32_t index) const;
    std::uint32_t base(std::uint32_t index) const;
    void readFrame(std::uint32_t index, std::uint32_t *out) const;
    bool isInside(const Frame &frame) const;
    std::uint32_t lastFrameBelow(std::uint32_t number, std::uint32_t first) const;

    const char *frames_ = nullptr;
    const char *words_ = nullptr;
    std::uint32_t size_ = 0;
    std::uint32_t wordCount_ = 0;
};

/** Appends the column of these numbers to `bytes`. REQUIRES at most PackedColumn::maxSize. */
void pack(std::span<const std::uint32_t> numbers, std::string &bytes);

inline PackedColumn::PackedColumn(std::string_view bytes) : frames_(bytes.data() + headerSize) {
    assert(isWhole(bytes));
    std::memcpy(&size_, bytes.data(), sizeof size_);
    std::memcpy(&wordCount_, bytes.data() + sizeof size_, sizeof wordCount_);
    words_ = frames_ + (std::size_t{size_} + frameSize - 1) / frameSize * wordSize;
}

inline PackedColumn::Frame PackedColumn::frame(std::uint32_t index) const {
    std::uint64_t entry = 0;
    std::memcpy(&entry, frames_ + std::size_t{index} * wordSize, sizeof entry);
    return {static_cast<std::uint32_t>(entry), static_cast<std::uint32_t>(entry >> 32U) & 63U,
            entry >> 38U};
}

inline std::uint32_t PackedColumn::at(std::uint32_t row) const {
    assert(row < size_);
    Frame frame = this->frame(row / frameSize);
    std::uint64_t bit = frame.firstWord * 64 + std::uint64_t{frame.width} * (row % frameSize);
    // The last word is read whole, never past it. Where there are no words the eight bytes before
    // them are read, which exist always, and the width of 0 masks them away.
    auto last = static_cast<std::ptrdiff_t>(std::size_t{wordCount_} * wordSize) - 8;
    std::ptrdiff_t byte = std::min(static_cast<std::ptrdiff_t>(bit / 8), last);
    std::uint64_t word = 0;
    std::memcpy(&word, words_ + byte, sizeof word);
    word >>= (bit - static_cast<std::uint64_t>(byte) * 8) & 63U;
    std::uint64_t mask = (std::uint64_t{1} << frame.width) - 1;
    return frame.base + static_cast<std::uint32_t>(word & mask);
}

}  // namespace zdbs::embedded

#endif
