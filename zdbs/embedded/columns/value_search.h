/** Finding values in the encodings of columns. */
#ifndef ZDBS_EMBEDDED_COLUMNS_VALUE_SEARCH_H
#define ZDBS_EMBEDDED_COLUMNS_VALUE_SEARCH_H

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "zdbs/embedded/columns/contains_search.h"
#include "zdbs/embedded/columns/found_rows.h"
#include "zdbs/embedded/columns/value_layout.h"
#include "zdbs/embedded/columns/word_index.h"
#include "zdbs/embedded/values/value_test.h"

namespace zdbs::embedded {

/** What a test answers for every value, when it does not depend on the value. */
std::optional<bool> answerForAll(const ValueTest &test);

/** Places of an order, or rows: those from `first` up to `last`, that one not included, or all
 * others. */
struct Places {
    std::uint32_t first;
    std::uint32_t last;
    bool others;
};

/** The places of what passes in the order of text. REQUIRES that indexFor() is that order. */
Places placesByText(const PlainValues &values, const ValueTest &test);

/** The rows that can pass as far as signatures tell. REQUIRES that indexFor() is trigrams. */
std::vector<Places> rowsThatMayContain(const PlainValues &values, const ValueTest &test);

/** The rows with a text that is contained, given those with its words. */
FoundRows findByWords(const PlainValues &values, const ValueTest &test, const FoundWords &found,
                      WordRows rows);

/** Marks the rows that are hit, and adds up the hits. Where there are none, costs nothing. */
class MarkedRows : public HitSink {
public:
    explicit MarkedRows(std::uint32_t size) : size_(size) {}

    void takeFrame(std::uint32_t first, const FrameHits &hits) override {
        wordOf(first) |= hits.rows;
        hits_ += hits.hits;
    }

    void takeRow(std::uint32_t row, std::uint64_t hits) override {
        wordOf(row) |= std::uint64_t{1} << (row % 64);
        hits_ += hits;
    }

    FoundRows rows() && {
        if (words_.empty()) return FoundRows(size_);
        return FoundRows::bits(std::move(words_), size_).withHits(hits_);
    }

private:
    std::uint64_t &wordOf(std::uint32_t row) {
        if (words_.empty()) words_.resize(FoundRows::wordsFor(size_));
        return words_[row / 64];
    }

    std::vector<std::uint64_t> words_;
    std::uint32_t size_;
    std::uint64_t hits_ = 0;
};

/*
 * For each encoding: which index finds the values that pass a test; the rows of those; how many
 * they are, where that takes no search of all values; and a bound on it. REQUIRE that
 * answerForAll() has no answer.
 */
ValueIndex indexFor(const ShortValues &values, const ValueTest &test);
ValueIndex indexFor(const PlainValues &values, const ValueTest &test);
ValueIndex indexFor(const DictionaryValues &values, const ValueTest &test);
FoundRows find(const ShortValues &values, const ValueTest &test);
FoundRows find(const PlainValues &values, const ValueTest &test);
FoundRows find(const DictionaryValues &values, const ValueTest &test);
std::optional<FoundCount> count(const ShortValues &values, const ValueTest &test);
std::optional<FoundCount> count(const PlainValues &values, const ValueTest &test);
std::optional<FoundCount> count(const DictionaryValues &values, const ValueTest &test);
std::uint32_t estimate(const ShortValues &values, const ValueTest &test);
std::uint32_t estimate(const PlainValues &values, const ValueTest &test);
std::uint32_t estimate(const DictionaryValues &values, const ValueTest &test);

}  // namespace zdbs::embedded

#endif
