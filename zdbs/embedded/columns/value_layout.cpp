#include "zdbs/embedded/columns/value_layout.h"

#include <algorithm>
#include <cassert>

namespace zdbs::embedded {
namespace {

template <typename T>
T load(const char *bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/** What stands from `begin` to `end`; nothing when damage made those senseless. Never null. */
std::string_view slice(std::string_view values, std::size_t begin, std::size_t end) {
    begin = std::min(begin, values.size());
    end = std::clamp(end, begin, values.size());
    return {values.data() + begin, end - begin};
}

bool isColumnOf(std::string_view bytes, std::uint32_t size) {
    return size <= PackedColumn::maxSize && PackedColumn::isWhole(bytes) &&
           PackedColumn(bytes).size() == size;
}

PackedColumn columnIn(std::string_view bytes) {
    return bytes.empty() ? PackedColumn() : PackedColumn(bytes);
}

/** Whether the sizes of the parts fit into the bytes. */
template <std::size_t count>
bool sizesFit(std::string_view bytes) {
    constexpr std::size_t header = 8 + 4 * count;
    if (bytes.size() < header) return false;
    std::uint64_t sum = header;
    for (std::size_t i = 0; i < count; ++i)
        sum += load<std::uint32_t>(bytes.data() + 8 + 4 * i);
    return sum <= bytes.size();
}

std::string_view valueOf(const PackedColumn &ends, std::string_view values, std::uint32_t row) {
    std::size_t begin = row == 0 ? 0 : ends.at(row - 1);
    return slice(values, begin, ends.at(row));
}

}  // namespace

bool ShortValues::isWhole(std::string_view bytes) {
    std::size_t rows = ValueHeader(bytes).rows;
    if (bytes.size() < ValueHeader::size || (bytes.size() - ValueHeader::size) / 2 < rows)
        return false;
    ShortValues values(bytes);
    return values.values().size() == (rows == 0 ? 0 : values.end(values.size() - 1));
}

ShortValues::ShortValues(std::string_view bytes)
    : rows_(ValueHeader(bytes).rows),
      ends_(bytes.data() + ValueHeader::size),
      values_(bytes.substr(ValueHeader::size + std::size_t{rows_} * 2)) {}

std::size_t ShortValues::end(std::uint32_t row) const {
    return load<std::uint16_t>(ends_ + std::size_t{row} * 2);
}

std::string_view ShortValues::at(std::uint32_t row) const {
    return slice(values_, row == 0 ? 0 : end(row - 1), end(row));
}

bool PlainValues::isWhole(std::string_view bytes) {
    if (!sizesFit<4>(bytes)) return false;
    std::uint32_t rows = ValueHeader(bytes).rows;
    auto [ends, text, number, signatures, values] = partsOf<4>(bytes);
    if (rows == 0 || !isColumnOf(ends, rows)) return false;
    if (!text.empty() && !isColumnOf(text, rows)) return false;
    bool needsText =
        (ValueHeader(bytes).flags & (valuesInOrder | valuesHaveOrders)) == valuesHaveOrders;
    if (needsText && text.empty()) return false;
    if (!number.empty() && !PackedColumn::isWhole(number)) return false;
    if (PackedColumn(ends).at(rows - 1) != values.size()) return false;
    return signatures.empty() || signatures.size() == TrigramBlocks::bytesFor(values.size());
}

PlainValues::PlainValues(std::string_view bytes, PartCheck *check) : header_(bytes), check_(check) {
    assert(isWhole(bytes));
    auto [ends, text, number, signatures, values] = partsOf<4>(bytes);
    ends_ = PackedColumn(ends);
    textOrder_ = columnIn(text);
    numberOrder_ = columnIn(number);
    signatures_ = signatures;
    values_ = values;
    indexSizes_ = {text.size(), number.size(), signatures.size()};
}

std::string_view PlainValues::frontOf(std::string_view bytes) {
    std::size_t size = headerSize;
    for (std::size_t at = 8; at < headerSize - 4; at += 4)
        size += load<std::uint32_t>(bytes.data() + at);
    return bytes.substr(0, size);
}

void PlainValues::requirePart(std::size_t begin, std::size_t end) const {
    check_->require(slice(values_, begin, end));
}

std::string_view PlainValues::at(std::uint32_t row) const {
    const std::string_view value = valueOf(ends_, values_, row);
    if (check_ != nullptr) check_->require(value);
    return value;
}

std::uint32_t PlainValues::rowByText(std::uint32_t place) const {
    return isInOrder() ? place : std::min(textOrder_.at(place), size() - 1);
}

std::uint32_t PlainValues::rowByNumber(std::uint32_t place) const {
    return std::min(numberOrder_.at(place), size() - 1);
}

std::string_view PlainValues::valueAt(std::string_view bytes, std::uint32_t row) {
    std::size_t before = headerSize;
    for (std::size_t size = 8; size < headerSize; size += 4)
        before += load<std::uint32_t>(bytes.data() + size);
    return valueOf(PackedColumn(bytes.substr(headerSize)), bytes.substr(before), row);
}

bool DictionaryValues::isWhole(std::string_view bytes) {
    if (!sizesFit<4>(bytes)) return false;
    std::uint32_t rows = ValueHeader(bytes).rows;
    auto [distinct, codes, starts, postings, rest] = partsOf<4>(bytes);
    ValueHeader inner(distinct);
    bool innerWhole = inner.encoding == ValueEncoding::shortValues ? ShortValues::isWhole(distinct)
                      : inner.encoding == ValueEncoding::plain     ? PlainValues::isWhole(distinct)
                                                                   : false;
    if (!innerWhole || inner.rows == 0 || rows == 0 || !rest.empty()) return false;
    if (!isColumnOf(codes, rows) || !isColumnOf(starts, inner.rows + 1)) return false;
    return postings.empty() || isColumnOf(postings, rows);
}

DictionaryValues::DictionaryValues(std::string_view bytes) {
    assert(isWhole(bytes));
    auto [distinct, codes, starts, postings, rest] = partsOf<4>(bytes);
    distinct_ = distinct;
    distinctSize_ = ValueHeader(distinct).rows;
    codes_ = PackedColumn(codes);
    starts_ = PackedColumn(starts);
    rowsByCode_ = columnIn(postings);
    postingsSize_ = starts.size() + postings.size();
}

std::string_view DictionaryValues::valueAt(std::string_view bytes, std::uint32_t row) {
    std::size_t size = load<std::uint32_t>(bytes.data() + 8);
    std::string_view distinct = bytes.substr(headerSize, size);
    ValueHeader inner(distinct);
    std::uint32_t code = PackedColumn(bytes.substr(headerSize + size)).at(row);
    code = std::min(code, inner.rows - 1);
    return inner.encoding == ValueEncoding::plain ? PlainValues::valueAt(distinct, code)
                                                  : ShortValues(distinct).at(code);
}

std::uint32_t DictionaryValues::start(std::uint32_t code) const {
    return std::min(starts_.at(code), size());
}

std::uint32_t DictionaryValues::codeAt(std::uint32_t row) const {
    return std::min(codes_.at(row), distinctSize_ - 1);
}

}  // namespace zdbs::embedded
