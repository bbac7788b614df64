#include "zdbs/embedded/values/value_key.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <optional>

#include "zdbs/base/number.h"

namespace zdbs::embedded {
namespace {

static_assert(std::endian::native == std::endian::little, "words are loaded as they stand");

// Digits of pi behind the point, the last bit set.
constexpr std::uint64_t multiplier1 = 0x243f6a8885a308d3;
constexpr std::uint64_t multiplier2 = 0x13198a2e03707345;
constexpr std::uint64_t multiplier3 = 0xa4093822299f31d1;

constexpr std::size_t wordSize = 8;

/** The upper half of the product of both, and the lower one. */
std::uint64_t folded(std::uint64_t left, std::uint64_t right) {
    __extension__ using Product = unsigned __int128;
    const Product product = Product{left} * right;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

/** Eight bytes from an offset on; 0 for those behind the end. */
std::uint64_t wordAt(std::string_view text, std::size_t offset) {
    if (offset >= text.size()) return 0;
    std::uint64_t word = 0;
    const std::size_t rest = text.size() - offset;
    if (rest >= wordSize)
        std::memcpy(&word, text.data() + offset, wordSize);
    else
        std::memcpy(&word, text.data() + offset, rest);
    return word;
}

std::uint64_t hashOf(std::string_view text) {
    std::uint64_t hash = text.size() * multiplier3;
    for (std::size_t offset = 0; offset < text.size(); offset += 2 * wordSize)
        hash = folded(wordAt(text, offset) ^ hash ^ multiplier1,
                      wordAt(text, offset + wordSize) ^ multiplier2);
    return folded(hash ^ multiplier3, multiplier1);
}

std::uint64_t hashOf(double number) {
    return folded(std::bit_cast<std::uint64_t>(number + 0.0) ^ multiplier2, multiplier3);
}

}  // namespace

ValueKey valueKeyOf(std::string_view value) {
    const std::optional<double> number = numberOf(value);
    return static_cast<ValueKey>((number ? hashOf(*number) : hashOf(value)) >> 32U);
}

}  // namespace zdbs::embedded
