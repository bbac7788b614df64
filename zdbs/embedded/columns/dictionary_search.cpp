#include <algorithm>
#include <array>
#include <bit>
#include <optional>
#include <span>
#include <utility>

#include "zdbs/embedded/columns/row_list.h"
#include "zdbs/embedded/columns/value_search.h"

namespace zdbs::embedded {
namespace {

/** Codes, and bytes of distinct values, up to which an estimate looks for the codes that pass. */
constexpr std::uint32_t codesForEstimate = 1024;
constexpr std::size_t bytesForEstimate = std::size_t{32} * 1024;

/** Rows for each one found up to which looking at the codes of all rows beats sorting. */
constexpr std::uint32_t rowsForEachList = 16;

std::uint32_t countOf(const DictionaryValues &values, std::uint32_t firstCode,
                      std::uint32_t lastCode) {
    std::uint32_t begin = values.start(firstCode);
    return std::max(values.start(lastCode), begin) - begin;
}

/** How many rows have codes that were found. */
std::uint32_t countOf(const DictionaryValues &values, const FoundRows &codes) {
    std::uint64_t count = 0;
    codes.forStretches(
        [&](std::uint32_t first, std::uint32_t end) { count += countOf(values, first, end); });
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, values.size()));
}

/** Marks codes that are hit, and adds up the hits in all the rows that have them. */
class MarkedCodes : public HitSink {
public:
    explicit MarkedCodes(const DictionaryValues &values)
        : values_(values), codes_(values.distinctSize()) {}

    void takeFrame(std::uint32_t first, const FrameHits &hits) override {
        for (std::uint64_t rest = hits.rows; rest != 0; rest &= rest - 1) {
            const auto place = static_cast<std::uint32_t>(std::countr_zero(rest));
            takeRow(first + place, hits.each[place]);
        }
    }

    void takeRow(std::uint32_t code, std::uint64_t hits) override {
        codes_.takeRow(code, hits * countOf(values_, code, code + 1));
    }

    FoundRows codes() && { return std::move(codes_).rows(); }

private:
    const DictionaryValues &values_;
    MarkedRows codes_;
};

FoundRows codesContaining(const DictionaryValues &values, const ValueTest &test) {
    MarkedCodes codes(values);
    visitDistinct(values, [&](const auto &distinct) { findContaining(distinct, test, codes); });
    return std::move(codes).codes();
}

/** The codes whose values pass; with the hits in all rows where the test is one that can hit a
 * value more than once, and otherwise with those of the codes. */
FoundRows codesFor(const DictionaryValues &values, const ValueTest &test) {
    if (test.relation() == Relation::contains) return codesContaining(values, test);
    return visitDistinct(values, [&test](const auto &distinct) { return find(distinct, test); });
}

/**
 * Stretches of codes with all that can pass, where the distinct values have such for the test:
 * codes are their rows, and their places in the order of text as well.
 */
std::optional<std::vector<Places>> stretchesOfCodes(const DictionaryValues &values,
                                                    const ValueTest &test) {
    const ValueIndex index =
        visitDistinct(values, [&test](const auto &distinct) { return indexFor(distinct, test); });
    switch (index) {
        case ValueIndex::textOrder:
            return std::vector{placesByText(PlainValues(values.distinct()), test)};
        case ValueIndex::trigrams:
            return rowsThatMayContain(PlainValues(values.distinct()), test);
        case ValueIndex::none:
        case ValueIndex::dictionary:
        case ValueIndex::numberOrder:
        case ValueIndex::words:
        case ValueIndex::scan:
            break;
    }
    return std::nullopt;
}

std::uint32_t countOf(const DictionaryValues &values, const std::vector<Places> &stretches) {
    std::uint64_t sum = 0;
    for (const Places &codes : stretches) {
        std::uint32_t count = countOf(values, codes.first, codes.last);
        sum += codes.others ? values.size() - count : count;
    }
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(sum, values.size()));
}

/** Looks at the code of each row. */
FoundRows rowsByScan(const DictionaryValues &values, const FoundRows &codes) {
    std::vector<std::uint8_t> wanted(values.distinctSize());
    codes.forStretches([&](std::uint32_t first, std::uint32_t end) {
        std::fill(wanted.begin() + first, wanted.begin() + end, std::uint8_t{1});
    });
    const std::uint32_t lastCode = values.distinctSize() - 1;
    std::vector<std::uint64_t> words(FoundRows::wordsFor(values.size()));
    std::array<std::uint32_t, PackedColumn::frameSize> read;
    for (std::size_t word = 0; word < words.size(); ++word) {
        const auto first = static_cast<std::uint32_t>(word * 64);
        const std::uint32_t count = std::min(PackedColumn::frameSize, values.size() - first);
        values.codes().read(first, std::span(read).first(count));
        std::uint64_t bits = 0;
        for (std::uint32_t i = 0; i < count; ++i)
            bits |= std::uint64_t{wanted[std::min(read[i], lastCode)]} << i;
        words[word] = bits;
    }
    return FoundRows::bits(std::move(words), values.size());
}

/** Takes the rows of each stretch of codes from where they stand together. */
FoundRows rowsByCode(const DictionaryValues &values, const FoundRows &codes, std::uint32_t count) {
    std::vector<std::uint32_t> rows;
    rows.reserve(count);
    codes.forStretches([&](std::uint32_t first, std::uint32_t end) {
        const std::size_t size = rows.size();
        rows.resize(size + countOf(values, first, end));
        values.rowsByCode().read(values.start(first), std::span(rows).subspan(size));
    });
    sortRows(rows, values.size());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());  // damage repeats some
    return FoundRows::list(std::move(rows), false, values.size());
}

/** The rows with codes that were found, `count` of them. */
FoundRows rowsOf(const DictionaryValues &values, FoundRows codes, std::uint32_t count) {
    const std::uint32_t size = values.size();
    if (count == 0 || count == size) return FoundRows::range(0, 0, count != 0, size);
    const bool others = count > size / 2;
    if (others) {
        codes.flip();
        count = size - count;
    }
    const bool many = count > size / rowsForEachList;
    FoundRows rows = values.rowsByCode().empty() || many ? rowsByScan(values, codes)
                                                         : rowsByCode(values, codes, count);
    if (others) rows.flip();
    return rows;
}

/** Of a test that hits a value once at most, each row is one hit. */
std::uint64_t hitsOf(const FoundRows &codes, const ValueTest &test, std::uint32_t rows) {
    return test.relation() == Relation::contains ? codes.hits() : rows;
}

}  // namespace

ValueIndex indexFor(const DictionaryValues & /*values*/, const ValueTest & /*test*/) {
    return ValueIndex::dictionary;
}

FoundRows find(const DictionaryValues &values, const ValueTest &test) {
    FoundRows codes = codesFor(values, test);
    const std::uint32_t rows = countOf(values, codes);
    const std::uint64_t hits = hitsOf(codes, test, rows);
    return rowsOf(values, std::move(codes), rows).withHits(hits).foundBy(ValueIndex::dictionary);
}

std::optional<FoundCount> count(const DictionaryValues &values, const ValueTest &test) {
    const FoundRows codes = codesFor(values, test);
    const std::uint32_t rows = countOf(values, codes);
    return FoundCount{rows, hitsOf(codes, test, rows), ValueIndex::dictionary};
}

std::uint32_t estimate(const DictionaryValues &values, const ValueTest &test) {
    if (auto stretches = stretchesOfCodes(values, test)) return countOf(values, *stretches);
    bool isCheap = values.distinct().size() <= bytesForEstimate;
    if (!isCheap && test.relation() != Relation::contains)
        isCheap = visitDistinct(values, [&test](const auto &distinct) {
                      return estimate(distinct, test);
                  }) <= codesForEstimate;
    return isCheap ? countOf(values, codesFor(values, test)) : values.size();
}

}  // namespace zdbs::embedded
