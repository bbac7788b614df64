/** Search for a text in long stretches of memory. */
#ifndef ZDBS_EMBEDDED_COLUMNS_TEXT_SEARCH_H
#define ZDBS_EMBEDDED_COLUMNS_TEXT_SEARCH_H

#include <cstddef>
#include <string_view>

namespace zdbs::embedded {

/**
 * Finds a needle at the speed of memory. Compares the two of its bytes that are rarest in
 * texts at 16 or 32 places at once, and the rest only where both fit (the method of
 * W. Muła, "SIMD-friendly algorithms for substring searching", with chosen bytes).
 * Texts and needles made to defeat that are left to memmem(), which takes linear time.
 */
class TextSearch {
public:
    static constexpr std::size_t npos = std::string_view::npos;

    /** REQUIRES a needle that is not empty and outlives the search. */
    explicit TextSearch(std::string_view needle);

    /** First place from `from` on at which the needle stands in the text, or npos. */
    std::size_t find(std::string_view text, std::size_t from) const;

    /** What finds candidates: as wide as every processor of the family has it, or wider. */
    enum class Width { sixteen, thirtyTwo };

    /** The widest that this processor has. */
    static Width widest();

    /** find() with a width of one's choice. REQUIRES that the processor has it. */
    std::size_t find(std::string_view text, std::size_t from, Width width) const;

private:
    std::size_t findSlowly(std::string_view text, std::size_t from) const;

    std::string_view needle_;
    std::size_t rare_ = 0;   ///< places of two bytes of the needle,
    std::size_t rarer_ = 0;  ///< different ones where it has two
};

}  // namespace zdbs::embedded

#endif
