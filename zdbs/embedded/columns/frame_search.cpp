#include "zdbs/embedded/columns/frame_search.h"

#include <immintrin.h>

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

#include "foundation/bit_count.h"

namespace zdbs::embedded {
namespace {

/** Places marked in a part up to which they are looked at one by one. */
constexpr std::uint32_t fewPlaces = 16;

/** Places to mark: bits and ranks go to `marks` and `before`, one word for 64 places. */
struct Stretch {
    const char *text;
    std::size_t places;
    std::size_t readable;  ///< bytes of the text, and of what is behind the last place
    std::uint64_t *marks;
    std::uint32_t *before;
};

/** Where values end and begin in a stretch, and what is counted of each. */
struct Values {
    std::span<const std::uint32_t> ends;
    std::size_t begin;  ///< of the stretch
    std::size_t needleSize;
    const std::uint64_t *marks;
    const std::uint32_t *before;
    std::uint32_t *each;
};

/** Marks of 64 places at which `count` bytes stand. */
template <std::size_t count>
std::uint64_t marksOfSixteens(const char *text, const char *needle) {
    std::uint64_t result = 0;
    for (unsigned part = 0; part < 4; ++part) {
        __m128i all = _mm_set1_epi8(-1);
        for (std::size_t i = 0; i < count; ++i) {
            const char *from = text + std::size_t{part} * 16 + i;
            auto bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
            all = _mm_and_si128(all, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(needle[i])));
        }
        auto mask = static_cast<std::uint32_t>(_mm_movemask_epi8(all));
        result |= std::uint64_t{mask} << (part * 16U);
    }
    return result;
}

template <std::size_t count>
[[gnu::target("avx2,popcnt,bmi,bmi2")]] inline std::uint64_t marksOfThirtyTwos(const char *text,
                                                                               const char *needle) {
    __m256i low = _mm256_set1_epi8(-1);
    __m256i high = low;
    for (std::size_t i = 0; i < count; ++i) {
        const __m256i byte = _mm256_set1_epi8(needle[i]);
        auto left = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(text + i));
        auto right = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(text + i + 32));
        low = _mm256_and_si256(low, _mm256_cmpeq_epi8(left, byte));
        high = _mm256_and_si256(high, _mm256_cmpeq_epi8(right, byte));
    }
    auto lowMask = static_cast<std::uint32_t>(_mm256_movemask_epi8(low));
    auto highMask = static_cast<std::uint32_t>(_mm256_movemask_epi8(high));
    return std::uint64_t{lowMask} | std::uint64_t{highMask} << 32U;
}

/** Marks of the places behind which there are too few bytes to read 64 at once. */
std::uint64_t marksAtEnd(std::string_view rest, std::string_view needle) {
    std::uint64_t result = 0;
    for (std::size_t i = 0; i + needle.size() <= rest.size() && i < 64; ++i)
        if (std::memcmp(rest.data() + i, needle.data(), needle.size()) == 0)
            result |= std::uint64_t{1} << i;
    return result;
}

/** The last word's bits that are places. */
std::uint64_t lastBits(std::size_t places) {
    return places % 64 == 0 ? ~std::uint64_t{0} : (std::uint64_t{1} << (places % 64)) - 1;
}

/*
 * The two widths are written out: what is inlined into a function of more instructions has to
 * be compiled as a part of it. Each answers how many places are marked.
 */

template <std::size_t count>
std::uint32_t markBySixteens(const Stretch &stretch, const char *needle) {
    std::uint32_t sum = 0;
    std::size_t word = 0;
    for (std::size_t place = 0; place < stretch.places; place += 64, ++word) {
        const std::size_t rest = stretch.readable - place;
        std::uint64_t marks = rest >= 63 + count
                                  ? marksOfSixteens<count>(stretch.text + place, needle)
                                  : marksAtEnd({stretch.text + place, rest}, {needle, count});
        if (place + 64 > stretch.places) marks &= lastBits(stretch.places);
        stretch.marks[word] = marks;
        stretch.before[word] = sum;
        sum += bitCount(marks);
    }
    stretch.marks[word] = 0;
    stretch.before[word] = sum;
    return sum;
}

template <std::size_t count>
[[gnu::target("avx2,popcnt,bmi,bmi2")]] std::uint32_t markByThirtyTwos(const Stretch &stretch,
                                                                       const char *needle) {
    std::uint32_t sum = 0;
    std::size_t word = 0;
    for (std::size_t place = 0; place < stretch.places; place += 64, ++word) {
        const std::size_t rest = stretch.readable - place;
        std::uint64_t marks = rest >= 63 + count
                                  ? marksOfThirtyTwos<count>(stretch.text + place, needle)
                                  : marksAtEnd({stretch.text + place, rest}, {needle, count});
        if (place + 64 > stretch.places) marks &= lastBits(stretch.places);
        stretch.marks[word] = marks;
        stretch.before[word] = sum;
        sum += static_cast<std::uint32_t>(__builtin_popcountll(marks));
    }
    stretch.marks[word] = 0;
    stretch.before[word] = sum;
    return sum;
}

/** Number of marks before a place. */
inline std::uint32_t rankAt(const Values &values, std::size_t place) {
    const std::uint64_t below = (std::uint64_t{1} << (place % 64)) - 1;
    const std::uint64_t marks = values.marks[place / 64] & below;
    return values.before[place / 64] + bitCount(marks);
}

[[gnu::target("avx2,popcnt,bmi,bmi2")]] inline std::uint32_t wideRankAt(const Values &values,
                                                                        std::size_t place) {
    const std::uint64_t below = (std::uint64_t{1} << (place % 64)) - 1;
    const std::uint64_t marks = values.marks[place / 64] & below;
    return values.before[place / 64] + static_cast<std::uint32_t>(__builtin_popcountll(marks));
}

/** The last places of a value are too near to its end for the needle. */
inline std::size_t lastPlace(std::size_t begin, std::size_t end, std::size_t needleSize) {
    return std::max(begin, end + 1 - std::min(needleSize, end + 1));
}

/** Counts by ranks; answers a bit for each value that is hit. A needle of one byte fits in up to
 *  the end of a value, so that one rank is enough. */
template <bool isOneByte>
std::uint64_t countByRanks(const Values &values) {
    std::uint64_t rows = 0;
    std::size_t begin = 0;
    std::uint32_t before = 0;
    for (std::size_t i = 0; i < values.ends.size(); ++i) {
        const std::size_t end = values.ends[i] - values.begin;
        const std::uint32_t rank = rankAt(values, end);
        const std::uint32_t hits =
            (isOneByte ? rank : rankAt(values, lastPlace(begin, end, values.needleSize))) - before;
        values.each[i] = hits;
        rows |= std::uint64_t{hits != 0} << i;
        before = rank;
        begin = end;
    }
    return rows;
}

template <bool isOneByte>
[[gnu::target("avx2,popcnt,bmi,bmi2")]] std::uint64_t countByWideRanks(const Values &values) {
    std::uint64_t rows = 0;
    std::size_t begin = 0;
    std::uint32_t before = 0;
    for (std::size_t i = 0; i < values.ends.size(); ++i) {
        const std::size_t end = values.ends[i] - values.begin;
        const std::uint32_t rank = wideRankAt(values, end);
        const std::uint32_t hits =
            (isOneByte ? rank : wideRankAt(values, lastPlace(begin, end, values.needleSize))) -
            before;
        values.each[i] = hits;
        rows |= std::uint64_t{hits != 0} << i;
        before = rank;
        begin = end;
    }
    return rows;
}

/** What counts by ranks with a width. */
std::uint64_t countWith(TextSearch::Width width, const Values &values) {
    const bool isOneByte = values.needleSize == 1;
    if (width == TextSearch::Width::thirtyTwo)
        return isOneByte ? countByWideRanks<true>(values) : countByWideRanks<false>(values);
    return isOneByte ? countByRanks<true>(values) : countByRanks<false>(values);
}

std::uint32_t mark(const Stretch &stretch, std::string_view needle, TextSearch::Width width) {
    const bool wide = width == TextSearch::Width::thirtyTwo;
    switch (needle.size()) {
        case 1:
            return (wide ? markByThirtyTwos<1> : markBySixteens<1>)(stretch, needle.data());
        case 2:
            return (wide ? markByThirtyTwos<2> : markBySixteens<2>)(stretch, needle.data());
        case 3:
            return (wide ? markByThirtyTwos<3> : markBySixteens<3>)(stretch, needle.data());
        default:
            return (wide ? markByThirtyTwos<4> : markBySixteens<4>)(stretch, needle.data());
    }
}

bool endsAsItBegins(std::string_view needle) {
    for (std::size_t length = 1; length < needle.size(); ++length)
        if (needle.ends_with(needle.substr(0, length))) return true;
    return false;
}

}  // namespace

FrameSearch::FrameSearch(std::string_view needle, TextSearch::Width width)
    : needle_(needle), width_(width), mayOverlap_(endsAsItBegins(needle)) {
    assert(!needle.empty() && needle.size() <= longestNeedle);
}

void FrameSearch::search(std::string_view text, std::size_t begin,
                         std::span<const std::uint32_t> ends, FrameHits &found) {
    assert(ends.size() <= found.each.size());
    found.rows = 0;
    found.hits = 0;
    std::uint32_t row = 0;
    while (row < ends.size()) {
        std::uint32_t next = static_cast<std::uint32_t>(ends.size());
        while (next > row && ends[next - 1] - begin > largestPart)
            --next;
        if (next == row) {
            searchLong(text.substr(begin, ends[row] - begin), row, found);
            ++next;
        } else {
            searchPart(text, begin, ends.subspan(row, next - row), row, found);
        }
        begin = ends[next - 1];
        row = next;
    }
}

void FrameSearch::searchPart(std::string_view text, std::size_t begin,
                             std::span<const std::uint32_t> ends, std::uint32_t first,
                             FrameHits &found) {
    const Stretch stretch{text.data() + begin, ends.back() - begin, text.size() - begin,
                          marks_.data(), before_.data()};
    const std::uint32_t places = mark(stretch, needle_, width_);
    if (places == 0) return;
    if (mayOverlap_ || places <= fewPlaces) return countByPlaces(begin, ends, first, found);
    const Values values{ends,          begin,          needle_.size(),
                        marks_.data(), before_.data(), found.each.data() + first};
    found.rows |= countWith(width_, values) << first;
    for (std::size_t i = 0; i < ends.size(); ++i)
        found.hits += found.each[first + i];
}

/** Goes from one marked place to the next. */
void FrameSearch::countByPlaces(std::size_t begin, std::span<const std::uint32_t> ends,
                                std::uint32_t first, FrameHits &found) const {
    std::size_t free = begin;  // behind the last hit
    std::uint32_t row = 0;
    const std::size_t words = (ends.back() - begin + 63) / 64;
    for (std::size_t word = 0; word < words; ++word) {
        for (std::uint64_t marks = marks_[word]; marks != 0; marks &= marks - 1) {
            const std::size_t place =
                begin + word * 64 + static_cast<std::size_t>(std::countr_zero(marks));
            while (ends[row] <= place)
                ++row;
            if (place < free || place + needle_.size() > ends[row]) continue;
            const std::uint64_t bit = std::uint64_t{1} << (first + row);
            std::uint32_t &hits = found.each[first + row];
            hits = (found.rows & bit) == 0 ? 1 : hits + 1;
            found.rows |= bit;
            ++found.hits;
            free = place + needle_.size();
        }
    }
}

void FrameSearch::searchLong(std::string_view value, std::uint32_t row, FrameHits &found) const {
    const TextSearch search(needle_);
    std::uint32_t hits = 0;
    for (std::size_t place = search.find(value, 0, width_); place != TextSearch::npos;
         place = search.find(value, place + needle_.size(), width_))
        ++hits;
    if (hits == 0) return;
    found.rows |= std::uint64_t{1} << row;
    found.each[row] = hits;
    found.hits += hits;
}

}  // namespace zdbs::embedded
