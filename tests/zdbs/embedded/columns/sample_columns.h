/** Columns of values for tests: of every encoding, with and without each index. */
#ifndef TESTS_ZDBS_EMBEDDED_COLUMNS_SAMPLE_COLUMNS_H
#define TESTS_ZDBS_EMBEDDED_COLUMNS_SAMPLE_COLUMNS_H

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/columns/value_column.h"

namespace zdbs::embedded {

using Texts = std::vector<std::string>;

/** What values of a column are like. */
enum class Kind {
    ids,      ///< distinct, with a beginning in common
    numbers,  ///< mostly numbers in many spellings, some texts
    few,      ///< few distinct ones
    many,     ///< some hundreds of distinct ones, numbers among them
    letters,  ///< short ones of the same few letters, also the empty one
    words,    ///< sentences
    bytes,    ///< any bytes
};

constexpr Kind allKinds[] = {Kind::ids,     Kind::numbers, Kind::few,  Kind::many,
                             Kind::letters, Kind::words,   Kind::bytes};

Texts sampleTexts(Kind kind, std::size_t size, std::mt19937 &random);

/** The bytes of the column of these values. */
std::string columnOf(const Texts &texts);

/** Literals that have a chance to match: fixed ones, values and pieces of neighbouring values. */
Texts sampleLiterals(const Texts &texts, std::mt19937 &random);

/** Every relation to a literal, compared both ways. */
std::vector<ValueTest> testsFor(const std::string &literal);

/** The rows that pass, tested one by one. */
std::vector<std::uint32_t> rowsOf(const ValueColumn &column, const ValueTest &test);

std::string describe(const ValueTest &test);

}  // namespace zdbs::embedded

#endif
