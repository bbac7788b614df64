/** Columns of unsigned integers, packed, read where they lie. */
#ifndef ZDBS_COLUMNS_PACKED_COLUMN_H
#define ZDBS_COLUMNS_PACKED_COLUMN_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace zdbs {

/**
 * A view of a column of 32-bit numbers in frames of 64: each frame has its smallest
 * number and the rest of each in as few bits as the frame's largest needs (frame of
 * reference coding; Goldstein, Ramakrishnan, Shaft: "Compressing Relations and
 * Indexes", ICDE 1998). One number is read in constant time.
 *
 * The bytes must outlive the view and need no alignment. Bytes that are damaged give
 * wrong numbers, but nothing outside the bytes is ever read. Any thread may read.
 */
class PackedColumn {
public:
    static constexpr std::uint32_t frameSize = 64;

    /** A column of nothing. */
    PackedColumn() = default;

    /** REQUIRES isWhole(bytes). */
    explicit PackedColumn(std::string_view bytes);

    /** Whether the bytes can be a column: its parts fit into it. Constant time. */
    static bool isWhole(std::string_view bytes);

    /** Whether every frame is as pack() writes it; reads the whole column. */
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
    const char *frames_ = nullptr;
    const char *words_ = nullptr;
    std::uint32_t size_ = 0;
    std::uint32_t wordCount_ = 0;
};

/** Appends the column of these numbers to `bytes`. */
void pack(std::span<const std::uint32_t> numbers, std::string &bytes);

}  // namespace zdbs

#endif
