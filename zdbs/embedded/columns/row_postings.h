/** Sets of ascending numbers in few bits each. */
#ifndef ZDBS_EMBEDDED_COLUMNS_ROW_POSTINGS_H
#define ZDBS_EMBEDDED_COLUMNS_ROW_POSTINGS_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace zdbs::embedded {

/**
 * A view of `count` distinct numbers below `limit`, as bits, each byte's lowest first. Either one
 * bit for each number below the limit, set where it is there; or, where that takes fewer bits,
 * the numbers cut in two (P. Elias, "Efficient Storage and Retrieval by Content and Address of
 * Static Files", JACM 1974; R. Fano 1971): of each number the lowest L bits, L the logarithm of
 * limit / count rounded down, one behind the other, and in front of those for each number one
 * set bit with as many clear ones before it, all in all, as the rest of the number says.
 *
 * Bytes that are damaged give wrong numbers below the limit; nothing else is read.
 */
class RowPostings {
public:
    /** How many numbers there are, and what they are below. */
    struct Shape {
        std::uint32_t count;
        std::uint32_t limit;

        std::uint32_t lowBits() const {
            return count == 0 ? 0 : std::uint32_t(std::bit_width(std::max(limit / count, 1U))) - 1;
        }
        std::uint64_t highBits() const {
            return limit == 0 ? 0 : std::uint64_t{count} + ((limit - 1) >> lowBits()) + 1;
        }
        bool isBitmap() const { return limit <= highBits() + std::uint64_t{count} * lowBits(); }
        std::size_t bytes() const {
            const std::uint64_t bits =
                isBitmap() ? limit : highBits() + std::uint64_t{count} * lowBits();
            return static_cast<std::size_t>((bits + 7) / 8);
        }
    };

    /** REQUIRES bytes.size() == shape.bytes(). */
    RowPostings(std::string_view bytes, const Shape &shape) : bytes_(bytes), shape_(shape) {}

    std::string_view bytes() const { return bytes_; }

    /** Calls `take` with each number from `first` up to `end`, that one not included. */
    template <typename Take>
    void forNumbers(std::uint32_t first, std::uint32_t end, Take take) const {
        end = std::min(end, shape_.limit);
        if (first >= end) return;
        shape_.isBitmap() ? forBits(first, end, take) : forCut(first, end, take);
    }

private:
    static constexpr std::uint32_t wordBits = 64;

    /** 64 bits from one on; those behind the last byte are clear. */
    std::uint64_t bitsAt(std::uint64_t bit) const {
        const std::size_t byte = static_cast<std::size_t>(bit / 8);
        const auto shift = static_cast<unsigned>(bit % 8);
        std::uint64_t word = 0;
        if (byte + sizeof word < bytes_.size()) {
            std::memcpy(&word, bytes_.data() + byte, sizeof word);
            if (shift == 0) return word;
            const auto next = static_cast<unsigned char>(bytes_[byte + sizeof word]);
            return word >> shift | std::uint64_t{next} << (wordBits - shift);
        }
        if (byte >= bytes_.size()) return 0;
        std::memcpy(&word, bytes_.data() + byte, bytes_.size() - byte);
        return word >> shift;
    }

    template <typename Take>
    void forBits(std::uint32_t first, std::uint32_t end, Take take) const {
        for (std::uint32_t base = first; base < end; base += std::min(wordBits, end - base)) {
            std::uint64_t bits = bitsAt(base);
            if (end - base < wordBits) bits &= (std::uint64_t{1} << (end - base)) - 1;
            for (; bits != 0; bits &= bits - 1)
                take(base + static_cast<std::uint32_t>(std::countr_zero(bits)));
        }
    }

    /** Goes to where the high part of `first` begins, and on from there. */
    template <typename Take>
    void forCut(std::uint32_t first, std::uint32_t end, Take take) const {
        const std::uint32_t low = shape_.lowBits();
        const std::uint64_t lowMask = (std::uint64_t{1} << low) - 1;
        const std::uint64_t high = shape_.highBits();
        for (Place at = placeBehindClear(first >> low); at.base < high;
             at.base += wordBits, at.bits = highAt(at.base)) {
            for (; at.bits != 0; at.bits &= at.bits - 1, ++at.before) {
                const auto bit = static_cast<std::uint64_t>(std::countr_zero(at.bits));
                const std::uint64_t number =
                    (at.base + bit - at.before) << low | (bitsAt(high + at.before * low) & lowMask);
                if (number >= end || at.before >= shape_.count) return;
                if (number >= first) take(static_cast<std::uint32_t>(number));
            }
        }
    }

    /** A word of the high parts, with the set bits that are still to come. */
    struct Place {
        std::uint64_t base;    ///< its first bit
        std::uint64_t bits;    ///< of it
        std::uint64_t before;  ///< set bits in front of those
    };

    Place placeBehindClear(std::uint32_t clear) const;
    std::uint64_t highAt(std::uint64_t base) const;

    std::string_view bytes_;
    Shape shape_;
};

/** Appends numbers. REQUIRES that they ascend, each once, below the limit of the shape, and that
 *  its count is theirs. */
void packPostings(std::span<const std::uint32_t> numbers, const RowPostings::Shape &shape,
                  std::string &bytes);

}  // namespace zdbs::embedded

#endif
