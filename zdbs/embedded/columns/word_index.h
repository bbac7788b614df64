/** An index from words to the rows of columns whose values have them. */
#ifndef ZDBS_EMBEDDED_COLUMNS_WORD_INDEX_H
#define ZDBS_EMBEDDED_COLUMNS_WORD_INDEX_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/columns/checked_blocks.h"
#include "zdbs/embedded/columns/column_words.h"
#include "zdbs/embedded/columns/row_postings.h"

namespace zdbs::embedded {

/** A word that a searched text is in, or is to be next to. */
struct FoundWord {
    std::uint32_t number;
    std::uint32_t hits;  ///< how often the text is in it
    RowPostings postings;
};

/** What an index knows of a searched text. */
struct FoundWords {
    std::string literal;

    /** Whether the text has a word at all; one that has none can be anywhere. */
    bool hasWord = false;

    /** Whether the text is one word or in one: then where these are it is, and nowhere else. */
    bool isInside = false;

    /** Those that the text is in; or that one of its words can be, the rarest one. */
    std::vector<FoundWord> words;
    std::uint64_t postings = 0;  ///< of all of them
};

/** Rows of one column. */
struct WordRows {
    std::vector<std::uint64_t> bits;  ///< one for each row, set where one of the words is
    std::uint64_t hits = 0;           ///< of a text that is inside of words
};

/**
 * A view of an index of the words (word_runs.h) in some columns of a segment, each known by a
 * number, its *path*. All their rows are numbered through, column by column; of each word there
 * are the rows that it is in. A text that is in a word, or is one, is found by looking through
 * the words, for they are few; how often it is in a column is known with that. One of several
 * words is to be looked for in the rows of the rarest of its words.
 *
 * The bytes must outlive the view and need no alignment. They are verified by `check`, which
 * outlives the view, too, as far as they are looked at. Any thread may ask; what was last looked
 * for is kept, for the same is asked of one column after the other.
 *
 * The bytes, all integers little-endian:
 *
 *     0    4  rows of all columns
 *     4    4  0
 *     8  8×4  bytes of each of the following parts but the last
 *    40       words: a column of values, short or plain, distinct and in order of text
 *             columns: packed column, the path of each column, ascending
 *             bases: packed column, of each column the number of its first row
 *             counts: packed column, by word, in how many rows it is
 *             ends: packed column, by word, where its postings end among the postings
 *             furtherStarts: packed column, by column, its first place in the next ones; then how
 *             many there are
 *             furtherWords: packed column, by column, ascending: words that come more often than
 *             once in some row of it
 *             further: packed column: how often beyond that
 *             postings: RowPostings of each word, the limit being the number of rows
 */
class WordIndex {
public:
    /** Paths and the words of their columns. */
    struct Column {
        std::uint32_t path;
        const ColumnWords *words;
    };

    /** @param check null: they are verified */
    explicit WordIndex(std::string_view bytes, PartCheck *check = nullptr);

    /** What is known of a text; what was returned last while that is asked for again. REQUIRES a
     *  text that is UTF-8 and not empty. Throws Failure: homeDamaged. */
    std::shared_ptr<const FoundWords> find(std::string_view literal) const;

    /** Whether finding rows of a column by words costs less than a scan of so many bytes. */
    bool isCheap(const FoundWords &found, std::uint32_t path, std::size_t bytes) const;

    /** The rows of a column, which has `rows`. REQUIRES found.hasWord, and that the index has the
     *  path; throws Failure: homeDamaged. */
    WordRows rowsOf(const FoundWords &found, std::uint32_t path, std::uint32_t rows) const;

    /** The paths of the columns. */
    std::vector<std::uint32_t> paths() const;

private:
    static constexpr std::size_t partCount = 8;
    struct Parts;

    /** A column and its rows. */
    struct Place {
        std::uint32_t column;
        std::uint32_t first;
        std::uint32_t end;
    };

    const Parts &parts() const;
    std::optional<Place> placeOf(std::uint32_t path) const;
    std::shared_ptr<const FoundWords> look(std::string_view literal) const;
    void add(std::uint32_t number, std::uint32_t hits, FoundWords &found) const;
    std::uint64_t furtherIn(std::uint32_t column, std::uint32_t word) const;

    std::string_view bytes_;
    PartCheck *check_;
    mutable std::mutex mutex_;
    mutable std::shared_ptr<const Parts> parts_;      ///< once asked for
    mutable std::shared_ptr<const FoundWords> last_;  ///< what was found last
};

/** Appends the index of some columns, by path; nothing where there are none. */
void packWords(std::span<const WordIndex::Column> columns, std::string &bytes);

}  // namespace zdbs::embedded

#endif
