#include <bit>
#include <cassert>
#include <cstring>
#include <initializer_list>
#include <numeric>
#include <optional>
#include <utility>

#include "zdbs/embedded/columns/byte_buffer.h"
#include "zdbs/embedded/columns/column_words.h"
#include "zdbs/embedded/columns/distinct_values.h"
#include "zdbs/embedded/columns/raw_values.h"
#include "zdbs/embedded/columns/trigram_blocks.h"
#include "zdbs/embedded/columns/value_column.h"
#include "zdbs/embedded/columns/value_layout.h"
#include "zdbs/embedded/columns/value_order.h"

namespace zdbs::embedded {
namespace {

/** Bytes of values from which a search in candidate blocks beats one in all of them. */
constexpr std::size_t trigramsFrom = 4 * TrigramBlocks::blockSize;

/** Distinct values from which it is worth it to keep the rows of each. */
constexpr std::size_t rowsByCodeFrom = 8;

template <typename T>
void append(T value, std::string &bytes) {
    char buffer[sizeof value];
    std::memcpy(buffer, &value, sizeof value);
    bytes.append(buffer, sizeof value);
}

void appendHeader(std::uint32_t rows, ValueEncoding encoding, std::uint8_t flags,
                  std::string &bytes) {
    append(rows, bytes);
    append(encoding, bytes);
    append(flags, bytes);
}

void appendSizes(std::initializer_list<std::size_t> sizes, std::string &bytes) {
    append(std::uint16_t{0}, bytes);
    for (std::size_t size : sizes)
        append(static_cast<std::uint32_t>(size), bytes);
}

/** Room for exactly so many more bytes: these columns are large, doubling them would cost. */
void reserveMore(std::size_t more, std::string &bytes) {
    if (bytes.capacity() - bytes.size() < more) bytes.reserve(bytes.size() + more);
}

bool isShort(const RawValues &values) {
    return values.size() <= ShortValues::maxRows && values.bytes.size() <= ShortValues::maxBytes;
}

void writeShort(const RawValues &values, std::string &bytes) {
    appendHeader(values.size(), ValueEncoding::shortValues, 0, bytes);
    for (std::uint32_t end : values.ends)
        append(static_cast<std::uint16_t>(end), bytes);
    bytes.append(values.bytes);
}

std::string packed(std::span<const std::uint32_t> numbers) {
    std::string bytes;
    pack(numbers, bytes);
    return bytes;
}

std::string packedNumberOrder(const RawValues &values) {
    std::vector<std::uint32_t> rows = orderNumbers(values);
    return rows.empty() ? std::string() : packed(rows);
}

/** Writes values plainly; their order of text is given, or packed to nothing when it is that of the
 *  rows. */
void writePlain(const RawValues &values, bool inOrder, const std::string &textOrder, bool hasWords,
                std::string &bytes) {
    bool hasOrders = values.size() > ShortValues::maxRows;
    std::string numberOrder = hasOrders ? packedNumberOrder(values) : std::string();
    std::string signatures;
    if (!hasWords && values.bytes.size() >= trigramsFrom) packTrigrams(values.bytes, signatures);
    std::string ends = packed(values.ends);

    reserveMore(PlainValues::headerSize + ends.size() + textOrder.size() + numberOrder.size() +
                    signatures.size() + values.bytes.size(),
                bytes);
    auto flags = static_cast<std::uint8_t>((inOrder ? valuesInOrder : 0) |
                                           (hasOrders ? valuesHaveOrders : 0) |
                                           (hasWords ? valuesHaveWords : 0));
    appendHeader(values.size(), ValueEncoding::plain, flags, bytes);
    appendSizes({ends.size(), textOrder.size(), numberOrder.size(), signatures.size()}, bytes);
    bytes.append(ends).append(textOrder).append(numberOrder).append(signatures);
    bytes.append(values.bytes);
}

using Keys = std::vector<ValueKey>;

void addKeys(const RawValues &values, Keys &keys) {
    keys.reserve(keys.size() + values.size());
    for (std::uint32_t row = 0; row < values.size(); ++row)
        keys.push_back(valueKeyOf(values.at(row)));
}

/** Writes the column of the distinct values, in the order of their codes. */
std::string packedDistinct(const RawValues &values, const DistinctValues &distinct, Keys &keys) {
    std::string text;
    std::vector<std::uint32_t> ends;
    ends.reserve(distinct.rows.size());
    for (std::uint32_t row : distinct.rows) {
        text.append(values.at(row));
        ends.push_back(static_cast<std::uint32_t>(text.size()));
    }
    addKeys({text, ends}, keys);
    std::string bytes;
    packInOrder({text, ends}, bytes);
    return bytes;
}

/** For each code how many rows have lesser ones, then how many rows there are. */
std::vector<std::uint32_t> startsOf(const DistinctValues &distinct) {
    std::vector<std::uint32_t> starts(distinct.rows.size() + 1);
    for (std::uint32_t code : distinct.codes)
        ++starts[code + 1];
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    return starts;
}

std::vector<std::uint32_t> rowsByCode(const DistinctValues &distinct,
                                      std::vector<std::uint32_t> next) {
    std::vector<std::uint32_t> rows(distinct.codes.size());
    for (std::uint32_t row = 0; row < rows.size(); ++row)
        rows[next[distinct.codes[row]]++] = row;
    return rows;
}

void writeDictionary(const RawValues &values, const DistinctValues &distinct, std::string &bytes,
                     Keys &keys) {
    std::string inner = packedDistinct(values, distinct, keys);
    std::string codes = packed(distinct.codes);
    std::vector<std::uint32_t> starts = startsOf(distinct);
    std::string packedStarts = packed(starts);
    std::string postings;
    if (distinct.rows.size() >= rowsByCodeFrom)
        pack(rowsByCode(distinct, std::move(starts)), postings);

    appendHeader(values.size(), ValueEncoding::dictionary, 0, bytes);
    appendSizes({inner.size(), codes.size(), packedStarts.size(), postings.size()}, bytes);
    bytes.append(inner).append(codes).append(packedStarts).append(postings);
}

std::size_t bitsFor(std::size_t numbers) {
    return static_cast<std::size_t>(std::bit_width(numbers));
}

/** Whether a dictionary takes fewer bytes than the values themselves, roughly. */
bool paysOff(const RawValues &values, const std::vector<std::uint32_t> &distinctRows) {
    std::size_t rows = values.size();
    std::size_t codes = distinctRows.size();
    if (codes > rows / 2) return false;
    std::size_t distinctBytes = 0;
    for (std::uint32_t row : distinctRows)
        distinctBytes += values.at(row).size();

    std::size_t endBits = bitsFor(64 * (values.bytes.size() / rows + 1));
    std::size_t plain = values.bytes.size() + rows * (endBits + bitsFor(rows)) / 8;
    std::size_t postingBits =
        codes < rowsByCodeFrom ? 0 : std::min(bitsFor(rows), bitsFor(64 * codes));
    std::size_t dictionary = distinctBytes + codes * (endBits + bitsFor(rows)) / 8 +
                             rows * (bitsFor(codes) + postingBits) / 8;
    return dictionary < plain;
}

/** Of each distinct value once, looked at in the order of rows, in which they lie. */
void addKeys(const RawValues &values, const TextOrder &order, Keys &keys) {
    std::vector<bool> repeats(values.size());
    for (std::size_t place = 0; place < order.rows.size(); ++place)
        repeats[order.rows[place]] = order.repeats[place];
    for (std::uint32_t row = 0; row < values.size(); ++row)
        if (!repeats[row]) keys.push_back(valueKeyOf(values.at(row)));
}

/** What is made beside a column, for the whole segment. */
struct Extracts {
    Keys &keys;
    std::optional<ColumnWords> *words;  ///< null: they are not asked for
};

/** Answers whether the column has its words extracted. */
bool extractWords(const RawValues &values, const Extracts &extracts) {
    if (extracts.words == nullptr) return false;
    *extracts.words = wordsOf(values);
    return extracts.words->has_value();
}

void writeOrdered(const RawValues &values, std::string &bytes, const Extracts &extracts) {
    TextOrder order = orderTexts(values);
    if (paysOff(values, distinctRows(order)))
        return writeDictionary(values, distinctByOrder(order), bytes, extracts.keys);
    addKeys(values, order, extracts.keys);
    std::string packedOrder = packed(order.rows);
    order = {};
    writePlain(values, false, packedOrder, extractWords(values, extracts), bytes);
}

void writeFew(const RawValues &values, std::string &bytes, const Extracts &extracts) {
    addKeys(values, extracts.keys);
    if (isShort(values))
        writeShort(values, bytes);
    else
        writePlain(values, false, {}, extractWords(values, extracts), bytes);
}

void write(const RawValues &values, std::string &bytes, const Extracts &extracts) {
    if (values.size() <= ShortValues::maxRows) return writeFew(values, bytes, extracts);
    std::optional<DistinctValues> distinct = distinctByHash(values);
    if (distinct && paysOff(values, distinct->rows))
        return writeDictionary(values, *distinct, bytes, extracts.keys);
    distinct.reset();
    writeOrdered(values, bytes, extracts);
}

}  // namespace

void packInOrder(const RawValues &values, std::string &bytes) {
    if (isShort(values))
        writeShort(values, bytes);
    else
        writePlain(values, true, {}, false, bytes);
}

struct ValueColumnBuilder::Parts {
    ByteBuffer values;
    std::vector<std::uint32_t> ends;
};

ValueColumnBuilder::ValueColumnBuilder() : parts_(std::make_unique<Parts>()) {}
ValueColumnBuilder::~ValueColumnBuilder() = default;
ValueColumnBuilder::ValueColumnBuilder(ValueColumnBuilder &&) noexcept = default;
ValueColumnBuilder &ValueColumnBuilder::operator=(ValueColumnBuilder &&) noexcept = default;

void ValueColumnBuilder::add(std::string_view value) {
    assert(parts_->values.size() + value.size() <= maxBytes);
    parts_->values.append(value);
    parts_->ends.push_back(static_cast<std::uint32_t>(parts_->values.size()));
}

std::uint32_t ValueColumnBuilder::size() const {
    return static_cast<std::uint32_t>(parts_->ends.size());
}

std::size_t ValueColumnBuilder::bytes() const {
    return parts_->values.size() + parts_->ends.size() * sizeof(std::uint32_t);
}

void ValueColumnBuilder::truncate(std::uint32_t size) {
    if (size >= parts_->ends.size()) return;
    parts_->ends.resize(size);
    parts_->values.truncate(size == 0 ? 0 : parts_->ends.back());
}

void ValueColumnBuilder::finish(std::string &bytes) {
    std::vector<ValueKey> keys;
    finish(bytes, keys);
}

void ValueColumnBuilder::finish(std::string &bytes, std::vector<ValueKey> &keys) {
    write({parts_->values.view(), parts_->ends}, bytes, {keys, nullptr});
    *parts_ = Parts();
}

void ValueColumnBuilder::finish(std::string &bytes, std::vector<ValueKey> &keys,
                                std::optional<ColumnWords> &words) {
    write({parts_->values.view(), parts_->ends}, bytes, {keys, &words});
    *parts_ = Parts();
}

}  // namespace zdbs::embedded
