#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "zdbs/base/number.h"
#include "zdbs/embedded/columns/value_column.h"
#include "zdbs/embedded/columns/value_layout.h"

namespace zdbs::embedded {
namespace {

using Findings = std::vector<std::string>;

std::string at(const char *what, std::uint32_t place) {
    return std::string(what) + std::to_string(place);
}

/** Whether each value ends where it can, the last one with the bytes. */
template <typename EndOf>
void checkEnds(std::uint32_t rows, std::size_t size, EndOf endOf, Findings &findings) {
    std::size_t begin = 0;
    for (std::uint32_t row = 0; row < rows; ++row) {
        std::size_t end = endOf(row);
        bool fits = end >= begin && (row + 1 == rows ? end == size : end <= size);
        if (!fits) return findings.push_back(at("the end of the value at row ", row));
        begin = end;
    }
}

void checkPacked(const char *what, std::string_view bytes, Findings &findings) {
    if (!bytes.empty() && !PackedColumn::isSound(bytes))
        findings.push_back(std::string("the packing of ") + what);
}

/** The rows of an order must be below `size` and ascend by what they are ordered by, then by row:
 *  then none is there twice. */
template <typename KeyOf>
void checkOrder(const char *what, const PackedColumn &order, std::uint32_t size, KeyOf keyOf,
                Findings &findings) {
    std::optional<decltype(std::pair(keyOf(0), std::uint32_t{0}))> before;
    for (std::uint32_t place = 0; place < order.size(); ++place) {
        std::uint32_t row = order.at(place);
        if (row >= size) return findings.push_back(at(what, place));
        auto key = std::pair(keyOf(row), row);
        if (before && !(*before < key)) return findings.push_back(at(what, place));
        before = key;
    }
}

void checkTextOrder(const PlainValues &values, Findings &findings) {
    if (!values.isInOrder()) {
        checkOrder(
            "the order of texts at place ", values.textOrder(), values.size(),
            [&values](std::uint32_t row) { return values.at(row); }, findings);
        return;
    }
    for (std::uint32_t row = 1; row < values.size(); ++row)
        if (values.at(row) < values.at(row - 1))
            return findings.push_back(at("the order of texts at row ", row));
}

void checkNumberOrder(const PlainValues &values, Findings &findings) {
    // Values that are no number, which have no business there, come as what orders nowhere.
    auto keyOf = [&values](std::uint32_t row) { return numberOf(values.at(row)); };
    const PackedColumn &order = values.numberOrder();
    checkOrder("the order of numbers at place ", order, values.size(), keyOf, findings);
    if (!values.hasOrders()) return;
    std::uint32_t numbers = 0;
    for (std::uint32_t row = 0; row < values.size(); ++row)
        numbers += keyOf(row) ? 1 : 0;
    if (numbers != order.size()) findings.push_back("the count of numbers in their order");
    for (std::uint32_t place = 0; place < order.size(); ++place)
        if (!keyOf(values.rowByNumber(place)))
            return findings.push_back(
                at("a value that is no number, in their order at place ", place));
}

void check(const ShortValues &values, std::string_view /*bytes*/, Findings &findings) {
    checkEnds(
        values.size(), values.values().size(),
        [&values](std::uint32_t row) { return values.end(row); }, findings);
}

void check(const PlainValues &values, std::string_view bytes, Findings &findings) {
    auto [ends, text, number, signatures, all] = partsOf<4>(bytes);
    checkPacked("the ends", ends, findings);
    checkPacked("the order of texts", text, findings);
    checkPacked("the order of numbers", number, findings);
    checkEnds(
        values.size(), all.size(), [&values](std::uint32_t row) { return values.ends().at(row); },
        findings);
    checkTextOrder(values, findings);
    checkNumberOrder(values, findings);
    if (!values.hasTrigrams()) return;
    std::size_t block = values.trigrams().firstWrong(all);
    if (block < TrigramBlocks::blocksOf(all.size()))
        findings.push_back(at("the signature of block ", static_cast<std::uint32_t>(block)));
}

void checkDistinct(const DictionaryValues &values, Findings &findings) {
    ValueColumn distinct(values.distinct());
    for (std::string &finding : distinct.check())
        findings.push_back("in the dictionary: " + finding);
    for (std::uint32_t code = 1; code < distinct.size(); ++code)
        if (distinct.at(code) <= distinct.at(code - 1))
            return findings.push_back(at("the order of the dictionary at value ", code));
}

/** Whether the starts are what counting the codes gives. */
void checkStarts(const DictionaryValues &values, Findings &findings) {
    std::vector<std::uint32_t> counts(values.distinctSize());
    for (std::uint32_t row = 0; row < values.size(); ++row) {
        std::uint32_t code = values.codes().at(row);
        if (code >= counts.size()) return findings.push_back(at("the code of row ", row));
        ++counts[code];
    }
    std::uint32_t sum = 0;
    for (std::uint32_t code = 0; code < counts.size(); ++code) {
        bool right = values.starts().at(code) == sum && counts[code] > 0;
        if (!right) return findings.push_back(at("the start of value ", code));
        sum += counts[code];
    }
    if (values.starts().at(values.distinctSize()) != sum) findings.push_back("the last start");
}

void check(const DictionaryValues &values, std::string_view bytes, Findings &findings) {
    auto [distinct, codes, starts, postings, rest] = partsOf<4>(bytes);
    checkPacked("the codes", codes, findings);
    checkPacked("the starts", starts, findings);
    checkPacked("the rows by value", postings, findings);
    checkDistinct(values, findings);
    checkStarts(values, findings);
    checkOrder(
        "the rows by value at place ", values.rowsByCode(), values.size(),
        [&values](std::uint32_t row) { return values.codes().at(row); }, findings);
}

/** Whether there are orders only where the flags have them. */
bool ordersFitFlags(const PlainValues &values) {
    auto [text, number, trigrams] = values.indexSizes();
    bool mayHaveText = values.hasOrders() && !values.isInOrder();
    bool mayHaveTrigrams = !values.hasWords();
    return (mayHaveText || text == 0) && (values.hasOrders() || number == 0) &&
           (mayHaveTrigrams || trigrams == 0);
}

/** Bits of the header that mean nothing, and must be 0. */
void checkHeader(std::string_view bytes, Findings &findings) {
    ValueHeader header(bytes);
    bool isShort = header.encoding == ValueEncoding::shortValues;
    bool isPlain = header.encoding == ValueEncoding::plain;
    unsigned known = isPlain ? valuesInOrder | valuesHaveOrders | valuesHaveWords : 0U;
    bool right = (header.flags & ~known) == 0;
    if (isPlain) right = right && ordersFitFlags(PlainValues(bytes));
    if (!isShort) right = right && bytes[6] == 0 && bytes[7] == 0;
    if (isShort) right = right && header.rows <= ShortValues::maxRows;
    if (!right) findings.push_back("the header");
}

}  // namespace

std::vector<std::string> ValueColumn::check() const {
    Findings findings;
    if (bytes_.empty()) return findings;
    checkHeader(bytes_, findings);
    visitValues(bytes_, encoding_, nullptr,
                [&](const auto &values) { embedded::check(values, bytes_, findings); });
    return findings;
}

}  // namespace zdbs::embedded
