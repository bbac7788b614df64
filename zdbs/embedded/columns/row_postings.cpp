#include "zdbs/embedded/columns/row_postings.h"

#include <cassert>

#include "foundation/bit_count.h"

namespace zdbs::embedded {
namespace {

/** Sets bits of bytes that are clear. */
class BitSetter {
public:
    explicit BitSetter(char *bytes) : bytes_(bytes) {}

    void set(std::uint64_t bit) {
        char &byte = bytes_[bit / 8];
        byte = static_cast<char>(static_cast<unsigned char>(byte) | 1U << (bit % 8));
    }

    void setNumber(std::uint64_t bit, std::uint64_t number) {
        for (; number != 0; number &= number - 1)
            set(bit + static_cast<std::uint64_t>(std::countr_zero(number)));
    }

private:
    char *bytes_;
};

/** The place behind so many clear bits of a word, which has them. */
std::uint64_t behindClear(std::uint64_t bits, std::uint64_t clear) {
    if (clear == 0) return 0;
    std::uint64_t rest = ~bits;
    for (; clear > 1; --clear)
        rest &= rest - 1;
    return static_cast<std::uint64_t>(std::countr_zero(rest)) + 1;
}

std::uint64_t allFrom(std::uint64_t place) {
    return place >= 64 ? 0 : ~std::uint64_t{0} << place;
}

}  // namespace

/** Bits of the high parts; behind those all are clear. */
std::uint64_t RowPostings::highAt(std::uint64_t base) const {
    const std::uint64_t high = shape_.highBits();
    if (base >= high) return 0;
    const std::uint64_t bits = bitsAt(base);
    return high - base < wordBits ? bits & ((std::uint64_t{1} << (high - base)) - 1) : bits;
}

RowPostings::Place RowPostings::placeBehindClear(std::uint32_t clear) const {
    const std::uint64_t high = shape_.highBits();
    Place at{0, highAt(0), 0};
    while (at.base < high) {
        const std::uint32_t set = bitCount(at.bits);
        if (wordBits - set >= clear) break;
        clear -= wordBits - set;
        at.before += set;
        at.base += wordBits;
        at.bits = highAt(at.base);
    }
    const std::uint64_t skipped = behindClear(at.bits, clear);
    at.before += skipped - clear;
    at.bits &= allFrom(skipped);
    return at;
}

void packPostings(std::span<const std::uint32_t> numbers, const RowPostings::Shape &shape,
                  std::string &bytes) {
    assert(numbers.size() == shape.count && (numbers.empty() || numbers.back() < shape.limit));
    const std::size_t begin = bytes.size();
    bytes.resize(begin + shape.bytes());
    BitSetter bits(bytes.data() + begin);
    if (shape.isBitmap()) {
        for (const std::uint32_t number : numbers)
            bits.set(number);
        return;
    }
    const std::uint32_t low = shape.lowBits();
    const std::uint64_t mask = (std::uint64_t{1} << low) - 1;
    std::uint64_t place = 0;
    std::uint64_t lowPlace = shape.highBits();
    for (const std::uint32_t number : numbers) {
        bits.set((number >> low) + place++);
        bits.setNumber(lowPlace, number & mask);
        lowPlace += low;
    }
}

}  // namespace zdbs::embedded
