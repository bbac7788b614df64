/** What a search in a column finds. */
#ifndef ZDBS_EMBEDDED_COLUMNS_FOUND_ROWS_H
#define ZDBS_EMBEDDED_COLUMNS_FOUND_ROWS_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zdbs::embedded {

/** What finds the values that pass a test. */
enum class ValueIndex : std::uint8_t {
    none,         ///< all values, or no value can pass
    dictionary,   ///< the distinct values, then the rows that have them
    textOrder,    ///< rows in order of text
    numberOrder,  ///< rows in order of number
    words,        ///< words that have the literal, then the rows that they are in
    trigrams,     ///< blocks of values that can hold the literal, then a scan of those
    scan,         ///< a scan of all values
};

/** How many rows pass a test. */
struct FoundCount {
    std::uint32_t rows = 0;

    /** What "contains" finds in their values: from the left, not overlapping; else one a row. */
    std::uint64_t hits = 0;

    ValueIndex index = ValueIndex::none;  ///< by which they were found
};

/**
 * The rows of a column that pass a test, in the form in which the search comes by them; one
 * range, a list, or a bit for each row. A range or a list may name those that do not pass
 * instead: a test that nearly every value passes costs no more than its opposite.
 */
class FoundRows {
public:
    enum class Form : std::uint8_t { range, list, bits };

    /** None of `size` rows. */
    explicit FoundRows(std::uint32_t size) : size_(size) {}

    /** Those from `first` up to `end`, that one not included, or all others. */
    static FoundRows range(std::uint32_t first, std::uint32_t end, bool others, std::uint32_t size);

    /** Those listed, ascending, each below `size`; or all others. */
    static FoundRows list(std::vector<std::uint32_t> rows, bool others, std::uint32_t size);

    /** Row i where bit i is set. REQUIRES wordsFor(size) words, no bit behind the last row. */
    static FoundRows bits(std::vector<std::uint64_t> words, std::uint32_t size);

    /** Words that have a bit for each row. */
    static constexpr std::size_t wordsFor(std::uint32_t size) {
        return (std::size_t{size} + 63) / 64;
    }

    Form form() const { return form_; }

    /** Whether the range or the list is of the rows that do not pass. */
    bool isOthers() const { return others_; }

    std::uint32_t first() const { return first_; }
    std::uint32_t end() const { return end_; }
    const std::vector<std::uint32_t> &listed() const { return list_; }
    const std::vector<std::uint64_t> &words() const { return words_; }

    /** Rows of the column. */
    std::uint32_t size() const { return size_; }

    std::uint32_t count() const { return count_; }

    /** Of FoundCount. */
    std::uint64_t hits() const { return hits_; }
    ValueIndex index() const { return index_; }
    FoundRows &&foundBy(ValueIndex index) &&;
    FoundRows &&withHits(std::uint64_t hits) &&;
    FoundCount counts() const { return {count_, hits_, index_}; }

    /** The rows that do not pass, instead; each with one hit. */
    void flip();

    /** Calls `take` with the first row of each stretch of rows that pass, and the row behind it. */
    template <typename Take>
    void forStretches(Take take) const;

private:
    template <typename Take>
    void forListed(Take take) const;
    template <typename Take>
    void forBits(Take take) const;

    std::uint32_t size_;
    Form form_ = Form::range;
    bool others_ = false;
    ValueIndex index_ = ValueIndex::none;
    std::uint32_t first_ = 0;
    std::uint32_t end_ = 0;
    std::vector<std::uint32_t> list_;
    std::vector<std::uint64_t> words_;
    std::uint32_t count_ = 0;
    std::uint64_t hits_ = 0;
};

template <typename Take>
void FoundRows::forListed(Take take) const {
    for (std::size_t i = 0; i < list_.size();) {
        const std::size_t first = i++;
        while (i < list_.size() && list_[i] == list_[i - 1] + 1)
            ++i;
        take(list_[first], list_[i - 1] + 1);
    }
}

template <typename Take>
void FoundRows::forBits(Take take) const {
    for (std::uint32_t base = 0; const std::uint64_t bits : words_) {
        for (std::uint64_t word = bits; word != 0;) {
            const auto first = static_cast<std::uint32_t>(std::countr_zero(word));
            const auto count = static_cast<std::uint32_t>(std::countr_one(word >> first));
            take(base + first, base + first + count);
            if (first + count == 64) break;
            word &= ~std::uint64_t{0} << (first + count);
        }
        base += 64;
    }
}

template <typename Take>
void FoundRows::forStretches(Take take) const {
    if (form_ == Form::bits) return forBits(take);
    std::uint32_t next = 0;
    const auto takeGap = [&](std::uint32_t first, std::uint32_t end) {
        if (next < first) take(next, first);
        next = end;
    };
    if (form_ == Form::list) {
        others_ ? forListed(takeGap) : forListed(take);
    } else if (first_ < end_) {
        others_ ? takeGap(first_, end_) : take(first_, end_);
    }
    if (others_ && next < size_) take(next, size_);
}

}  // namespace zdbs::embedded

#endif
