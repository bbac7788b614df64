#include "zdbs/embedded/columns/trigram_blocks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstring>

namespace zdbs::embedded {
namespace {

/** Trigrams of a needle that are looked for, and of the next block that a signature covers. */
constexpr std::size_t reach = 64;

/** Part of the bits that may be set, in percent. */
constexpr std::size_t mostSet = 60;

/** One byte a hash: set where a block has the trigram. Bytes, as they are set faster than bits. */
using Seen = std::array<std::uint8_t, TrigramBlocks::hashes>;

std::size_t hashAt(const char *text) {
    auto byte = [text](std::size_t i) {
        return std::uint32_t{static_cast<unsigned char>(text[i])};
    };
    std::uint32_t trigram = byte(0) | byte(1) << 8U | byte(2) << 16U;
    return (trigram * 0x9E3779B1U) >> (32U - 14U);
}
static_assert(TrigramBlocks::hashes == std::size_t{1} << 14U);

/** What a block's signature covers. */
std::string_view coveredBy(std::size_t block, std::string_view text) {
    std::size_t begin = block * TrigramBlocks::blockSize;
    // A trigram that begins in the reach has two bytes behind it.
    return text.substr(begin, TrigramBlocks::blockSize + reach + 2);
}

void see(std::string_view covered, Seen &seen) {
    seen.fill(0);
    for (std::size_t i = 0; i + 3 <= covered.size(); ++i)
        seen[hashAt(covered.data() + i)] = 1;
}

/** Sets a block's bits in signatures at `out`; answers how many. */
std::size_t setBits(const Seen &seen, std::size_t block, std::size_t blocks, char *out) {
    std::size_t count = 0;
    for (std::size_t hash = 0; hash < seen.size(); ++hash) {
        if (seen[hash] == 0) continue;
        std::size_t bit = hash * blocks + block;
        out[bit / 8] =
            static_cast<char>(static_cast<unsigned char>(out[bit / 8]) | 1U << (bit % 8));
        ++count;
    }
    return count;
}

}  // namespace

TrigramBlocks::TrigramBlocks(std::string_view bytes, std::size_t textSize)
    : bytes_(bytes), textSize_(textSize), blocks_(blocksOf(textSize)) {
    assert(bytes.size() == bytesFor(textSize));
}

bool TrigramBlocks::has(std::size_t hash, std::size_t block) const {
    std::size_t bit = hash * blocks_ + block;
    return (static_cast<unsigned char>(bytes_[bit / 8]) >> (bit % 8) & 1U) != 0;
}

/** Keeps the blocks that have the hash. */
void TrigramBlocks::keep(std::size_t hash, std::vector<std::uint64_t> &blocks) const {
    constexpr std::size_t step = 32;
    for (std::size_t block = 0; block < blocks_; block += step) {
        std::size_t bit = hash * blocks_ + block;
        std::uint64_t bits = 0;
        std::memcpy(&bits, bytes_.data() + bit / 8, std::min(sizeof bits, bytes_.size() - bit / 8));
        blocks[block / step] &= bits >> (bit % 8);
    }
}

std::vector<TrigramBlocks::Stretch> TrigramBlocks::candidates(std::string_view needle) const {
    assert(needle.size() >= shortestNeedle);
    std::vector<std::uint64_t> blocks((blocks_ + 31) / 32, 0xFFFFFFFFU);
    needle = needle.substr(0, reach + 2);
    for (std::size_t i = 0; i + 3 <= needle.size(); ++i)
        keep(hashAt(needle.data() + i), blocks);

    std::vector<Stretch> result;
    for (std::size_t block = 0; block < blocks_; ++block) {
        if ((blocks[block / 32] >> (block % 32) & 1U) == 0) continue;
        std::size_t begin = block * blockSize;
        std::size_t end = std::min(begin + blockSize, textSize_);
        if (!result.empty() && result.back().end == begin)
            result.back().end = end;
        else
            result.push_back({begin, end});
    }
    return result;
}

std::size_t TrigramBlocks::firstWrong(std::string_view text) const {
    Seen seen;
    for (std::size_t block = 0; block < blocks_; ++block) {
        see(coveredBy(block, text), seen);
        for (std::size_t hash = 0; hash < hashes; ++hash)
            if (seen[hash] != 0 && !has(hash, block)) return block;
    }
    return blocks_;
}

bool packTrigrams(std::string_view text, std::string &bytes) {
    std::size_t begin = bytes.size();
    std::size_t blocks = TrigramBlocks::blocksOf(text.size());
    bytes.resize(begin + TrigramBlocks::bytesFor(text.size()));
    std::size_t set = 0;
    Seen seen;
    for (std::size_t block = 0; block < blocks; ++block) {
        see(coveredBy(block, text), seen);
        set += setBits(seen, block, blocks, bytes.data() + begin);
    }
    if (set * 100 <= mostSet * TrigramBlocks::hashes * blocks) return true;
    bytes.resize(begin);
    return false;
}

}  // namespace zdbs::embedded
