#include "zdbs/embedded/columns/text_search.h"

#include <immintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstdint>
#include <cstring>

namespace zdbs::embedded {
namespace {

/** How rare a byte is in texts, roughly: those named here by their place, others rarer. */
constexpr auto rarity = [] {
    constexpr std::string_view commonFirst =
        " etaoinshrdlucmfwypvbgk.,0129384567-TASICMxjqz\nEBPRHDLNFWGOUJ'\"";
    std::array<unsigned char, 256> result{};
    result.fill(static_cast<unsigned char>(commonFirst.size()));
    for (std::size_t i = 0; i < commonFirst.size(); ++i)
        result[static_cast<unsigned char>(commonFirst[i])] = static_cast<unsigned char>(i);
    // The first bytes of characters come again and again in a text of one script.
    for (std::size_t lead = 0xC2; lead < 0xF5; ++lead)
        result[lead] = 0;
    return result;
}();

unsigned rarityOf(char byte) {
    return rarity[static_cast<unsigned char>(byte)];
}

/** Bytes compared by verifications before memmem() takes over: some to start with, then so many
 *  for each byte of text. */
constexpr std::size_t freeWork = 4096;
constexpr std::size_t workPerByte = 8;

/** Places at which both bytes fit: bit i of the mask is for `place` + i. No bits: none before
 * `place`.
 */
struct Candidates {
    std::size_t place;
    std::uint32_t mask;
};

/** Two bytes of a needle, and where in the text they stand for a needle at its beginning. */
struct Pair {
    const char *rareText;
    const char *rarerText;
    char rare;
    char rarer;
};

/** The first candidates from `place` on, 16 places at a time while they end before `end`. */
Candidates nextOfSixteen(const Pair &pair, std::size_t place, std::size_t end) {
    const __m128i rare = _mm_set1_epi8(pair.rare);
    const __m128i rarer = _mm_set1_epi8(pair.rarer);
    for (; place + 16 <= end; place += 16) {
        auto left = _mm_loadu_si128(reinterpret_cast<const __m128i *>(pair.rareText + place));
        auto right = _mm_loadu_si128(reinterpret_cast<const __m128i *>(pair.rarerText + place));
        __m128i both = _mm_and_si128(_mm_cmpeq_epi8(left, rare), _mm_cmpeq_epi8(right, rarer));
        auto mask = static_cast<std::uint32_t>(_mm_movemask_epi8(both));
        if (mask != 0) return {place, mask};
    }
    return {place, 0};
}

/** All bits of the bytes that stand for places at which both bytes fit. */
[[gnu::target("avx2")]] inline __m256i compareWide(const Pair &pair, std::size_t place) {
    auto left = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(pair.rareText + place));
    auto right = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(pair.rarerText + place));
    return _mm256_and_si256(_mm256_cmpeq_epi8(left, _mm256_set1_epi8(pair.rare)),
                            _mm256_cmpeq_epi8(right, _mm256_set1_epi8(pair.rarer)));
}

/** The same, 32 places at a time. */
[[gnu::target("avx2")]] Candidates nextOfThirtyTwo(const Pair &pair, std::size_t place,
                                                   std::size_t end) {
    // Candidates are few, so that four times as many places are looked at in one go.
    for (; place + 128 <= end; place += 128) {
        const __m256i first =
            _mm256_or_si256(compareWide(pair, place), compareWide(pair, place + 32));
        const __m256i second =
            _mm256_or_si256(compareWide(pair, place + 64), compareWide(pair, place + 96));
        if (_mm256_testz_si256(_mm256_or_si256(first, second), _mm256_set1_epi8(-1)) == 0) break;
    }
    for (; place + 32 <= end; place += 32) {
        auto mask = static_cast<std::uint32_t>(_mm256_movemask_epi8(compareWide(pair, place)));
        if (mask != 0) return {place, mask};
    }
    return {place, 0};
}

}  // namespace

TextSearch::TextSearch(std::string_view needle) : needle_(needle) {
    assert(!needle.empty());
    rarer_ = needle.size() - 1;
    for (std::size_t i = 0; i < needle.size(); ++i) {
        if (rarityOf(needle[i]) > rarityOf(needle[rarer_])) {
            rare_ = rarer_;
            rarer_ = i;
        } else if (i != rarer_ && rarityOf(needle[i]) > rarityOf(needle[rare_])) {
            rare_ = i;
        }
    }
}

std::size_t TextSearch::findSlowly(std::string_view text, std::size_t from) const {
    const void *found =
        memmem(text.data() + from, text.size() - from, needle_.data(), needle_.size());
    if (found == nullptr) return npos;
    return static_cast<std::size_t>(static_cast<const char *>(found) - text.data());
}

TextSearch::Width TextSearch::widest() {
    static const bool wide = __builtin_cpu_supports("avx2") != 0;
    return wide ? Width::thirtyTwo : Width::sixteen;
}

std::size_t TextSearch::find(std::string_view text, std::size_t from) const {
    return find(text, from, widest());
}

std::size_t TextSearch::find(std::string_view text, std::size_t from, Width width) const {
    if (text.size() < needle_.size() || from > text.size() - needle_.size()) return npos;
    auto next = width == Width::thirtyTwo ? nextOfThirtyTwo : nextOfSixteen;
    std::size_t lanes = width == Width::thirtyTwo ? 32 : 16;
    // A needle that begins before `end` ends within the text.
    std::size_t end = text.size() - needle_.size() + 1;
    const Pair pair{text.data() + rare_, text.data() + rarer_, needle_[rare_], needle_[rarer_]};
    std::size_t work = 0;
    std::size_t place = from;
    while (work <= freeWork + workPerByte * (place - from)) {
        Candidates found = next(pair, place, end);
        for (std::uint32_t mask = found.mask; mask != 0; mask &= mask - 1) {
            place = found.place + static_cast<std::size_t>(std::countr_zero(mask));
            if (std::memcmp(text.data() + place, needle_.data(), needle_.size()) == 0) return place;
            work += needle_.size();
        }
        place = found.place;
        if (found.mask == 0) break;
        place += lanes;
    }
    return findSlowly(text, place);
}

}  // namespace zdbs::embedded
