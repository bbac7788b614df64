/** Counts how often a short text stands in each of many values. */
#ifndef ZDBS_EMBEDDED_COLUMNS_FRAME_SEARCH_H
#define ZDBS_EMBEDDED_COLUMNS_FRAME_SEARCH_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "zdbs/embedded/columns/text_search.h"

namespace zdbs::embedded {

/** Hits in the values of consecutive rows, 64 at most. */
struct FrameHits {
    std::uint64_t rows = 0;                ///< bit i: value i is hit
    std::uint64_t hits = 0;                ///< of all of them
    std::array<std::uint32_t, 64> each{};  ///< of value i, where it is hit
};

/**
 * Searches values that lie one behind the other for a needle of a few bytes, which is
 * likely to stand everywhere. All places where it begins are marked first, one bit a place;
 * how many are in a value is then the difference of two ranks (G. Jacobson, "Space-efficient
 * Static Trees and Graphs", FOCS 1989), without a branch for what is there and what not.
 * Occurrences that overlap one before them in the same value do not count.
 *
 * Has buffers of its own and is for one thread.
 */
class FrameSearch {
public:
    static constexpr std::size_t longestNeedle = 4;

    /**
     * REQUIRES a needle of 1 to longestNeedle bytes that outlives the search, and that the
     * processor has the width.
     */
    explicit FrameSearch(std::string_view needle, TextSearch::Width width = TextSearch::widest());

    /**
     * Searches values that end at `ends`, the first beginning at `begin`. REQUIRES ascending
     * ends, from `begin` up to the size of the text, 64 at most.
     */
    void search(std::string_view text, std::size_t begin, std::span<const std::uint32_t> ends,
                FrameHits &found);

private:
    /** Bytes of values that are marked together. */
    static constexpr std::size_t largestPart = std::size_t{64} * 1024;

    void searchPart(std::string_view text, std::size_t begin, std::span<const std::uint32_t> ends,
                    std::uint32_t first, FrameHits &found);
    void searchLong(std::string_view value, std::uint32_t row, FrameHits &found) const;
    void countByPlaces(std::size_t begin, std::span<const std::uint32_t> ends, std::uint32_t first,
                       FrameHits &found) const;

    std::string_view needle_;
    TextSearch::Width width_;
    bool mayOverlap_;  ///< whether the needle ends as it begins

    /** Of the part: where the needle begins; how often before each word. */
    std::array<std::uint64_t, largestPart / 64 + 1> marks_;
    std::array<std::uint32_t, largestPart / 64 + 1> before_;
};

}  // namespace zdbs::embedded

#endif
