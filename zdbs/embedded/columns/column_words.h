/** The words of a column of values, on their way into the index of words. */
#ifndef ZDBS_EMBEDDED_COLUMNS_COLUMN_WORDS_H
#define ZDBS_EMBEDDED_COLUMNS_COLUMN_WORDS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/columns/raw_values.h"

namespace zdbs::embedded {

/** The distinct words of a column, and in which rows each is. */
struct ColumnWords {
    std::string text;                    ///< the words one behind the other,
    std::vector<std::uint32_t> ends;     ///< and where each ends
    std::vector<std::uint32_t> starts;   ///< of each its first place in `rows`; then where they end
    std::vector<std::uint32_t> rows;     ///< by word, ascending, each once
    std::vector<std::uint32_t> further;  ///< of each how often it comes beyond once a row
    std::uint32_t rowCount = 0;          ///< of the column

    RawValues words() const { return {text, ends}; }
};

/**
 * Finds the words (word_runs.h) of values. Nothing where these are few, or where they are not made
 * of words that come again: then an index of words would be large and of little use.
 */
std::optional<ColumnWords> wordsOf(const RawValues &values);

}  // namespace zdbs::embedded

#endif
