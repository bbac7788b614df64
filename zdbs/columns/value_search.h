/** Finding values in the encodings of columns. */
#ifndef ZDBS_COLUMNS_VALUE_SEARCH_H
#define ZDBS_COLUMNS_VALUE_SEARCH_H

#include <cstdint>
#include <optional>
#include <vector>

#include "zdbs/columns/value_column.h"
#include "zdbs/columns/value_layout.h"

namespace zdbs {

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

/*
 * For each encoding: which index finds the values that pass a test; the rows of those,
 * ascending; and a bound on how many they are. REQUIRE that answerForAll() has no answer.
 */
ValueIndex indexFor(const ShortValues &values, const ValueTest &test);
ValueIndex indexFor(const PlainValues &values, const ValueTest &test);
ValueIndex indexFor(const DictionaryValues &values, const ValueTest &test);
std::vector<std::uint32_t> select(const ShortValues &values, const ValueTest &test);
std::vector<std::uint32_t> select(const PlainValues &values, const ValueTest &test);
std::vector<std::uint32_t> select(const DictionaryValues &values, const ValueTest &test);
std::uint32_t estimate(const ShortValues &values, const ValueTest &test);
std::uint32_t estimate(const PlainValues &values, const ValueTest &test);
std::uint32_t estimate(const DictionaryValues &values, const ValueTest &test);

}  // namespace zdbs

#endif
