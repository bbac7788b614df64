/** Columns of values with the indexes that find them. */
#ifndef ZDBS_EMBEDDED_COLUMNS_VALUE_COLUMN_H
#define ZDBS_EMBEDDED_COLUMNS_VALUE_COLUMN_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/columns/checked_blocks.h"
#include "zdbs/embedded/columns/found_rows.h"
#include "zdbs/embedded/columns/value_encoding.h"
#include "zdbs/embedded/values/value_key.h"
#include "zdbs/embedded/values/value_test.h"

namespace zdbs::embedded {

class WordIndex;
struct ColumnWords;
struct FoundWords;

/**
 * A view of the values of consecutive rows, each a string of bytes. The bytes must
 * outlive the view and need no alignment. Damaged bytes give wrong values, but
 * nothing outside them is ever read. Any thread may read.
 *
 * Bytes that have a check are verified as far as an operation looks at them, and none but
 * check() answers from others: they throw Failure(homeDamaged).
 */
class ValueColumn {
public:
    ValueColumn() = default;

    /** REQUIRES isWhole(bytes). */
    explicit ValueColumn(std::string_view bytes);

    /** The same of bytes that `check` watches, and outlives this. */
    ValueColumn(std::string_view bytes, PartCheck &check);

    /** Whether the bytes can be a column: its parts fit into it. Constant time. */
    static bool isWhole(std::string_view bytes);

    /** Whether the index of words has the words of this column. */
    bool hasWords() const;

    /** Has words found in an index, which outlives this and knows the column by a path. */
    void useWords(const WordIndex &words, std::uint32_t path) {
        words_ = &words;
        path_ = path;
    }

    std::uint32_t size() const { return size_; }

    /** REQUIRES row < size(). The view points into the bytes. */
    std::string_view at(std::uint32_t row) const;

    /** The rows whose value passes the test: the same as by testing each with matches(). */
    FoundRows find(const ValueTest &test) const;

    /** How many those are, where that takes no search of all values; cheaper than find(). */
    std::optional<FoundCount> count(const ValueTest &test) const;

    /**
     * Appends to `rows`, ascending, `base` + each row whose value passes the test. The same
     * as find(), for those who want to have a list.
     */
    void select(const ValueTest &test, std::uint32_t base, std::vector<std::uint32_t> &rows) const;

    /** Most rows that select() can find, without finding them; cheap. */
    std::uint32_t estimate(const ValueTest &test) const;

    /** Which index select() would use. */
    ValueIndex indexFor(const ValueTest &test) const;

    /** Bytes of each part, for `zdbs info`. */
    struct Sizes {
        std::uint64_t values = 0;     ///< the values and where they end, the dictionary
        std::uint64_t textOrder = 0;  ///< with the rows by distinct value
        std::uint64_t numberOrder = 0;
        std::uint64_t trigrams = 0;
    };
    Sizes sizes() const;

    /**
     * Compares every index with the values; answers what is wrong, in a few words each
     * ("the order of numbers at row 17"), nothing when all is well. Reads everything.
     */
    std::vector<std::string> check() const;

private:
    std::optional<bool> answerForAll(const ValueTest &test) const;
    void requireHeaders() const;
    void requireRow(std::uint32_t row) const;
    PartCheck *requireIndexes() const;
    std::shared_ptr<const FoundWords> wordsFor(const ValueTest &test) const;

    std::string_view bytes_;
    PartCheck *check_ = nullptr;

    // Most of many columns can tell by this that they have no number, without being looked at.
    std::uint32_t size_ = 0;
    ValueEncoding encoding_ = ValueEncoding::shortValues;
    bool mayHaveNumbers_ = false;

    const WordIndex *words_ = nullptr;  ///< null: none has its words,
    std::uint32_t path_ = 0;            ///< which are those of this path
};

/**
 * Collects values row by row and writes them as a column. Once moved from, a builder can only be
 * assigned to or go.
 */
class ValueColumnBuilder {
public:
    /** Most rows, and bytes of values, that a column can have. */
    static constexpr std::size_t maxRows = std::size_t{1} << 27U;
    static constexpr std::size_t maxBytes = 0xFFFFFFFF;

    ValueColumnBuilder();
    ~ValueColumnBuilder();
    ValueColumnBuilder(ValueColumnBuilder &&) noexcept;
    ValueColumnBuilder &operator=(ValueColumnBuilder &&) noexcept;

    /** REQUIRES that the column does not become larger than it can be. */
    void add(std::string_view value);

    std::uint32_t size() const;

    /** Bytes of memory that the values take so far. */
    std::size_t bytes() const;

    /** Forgets the last rows so that `size` are left. */
    void truncate(std::uint32_t size);

    /** Appends the column to `bytes` and is empty again. May run in another thread than add(). */
    void finish(std::string &bytes);

    /** The same, and the keys of its values to `keys`: of each distinct value at least once. */
    void finish(std::string &bytes, std::vector<ValueKey> &keys);

    /** The same, and its words, which the column says to be in the index of words; nothing for
     *  one that is to be searched otherwise. */
    void finish(std::string &bytes, std::vector<ValueKey> &keys, std::optional<ColumnWords> &words);

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace zdbs::embedded

#endif
