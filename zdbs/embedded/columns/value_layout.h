/** How the bytes of a column of values are laid out. */
#ifndef ZDBS_EMBEDDED_COLUMNS_VALUE_LAYOUT_H
#define ZDBS_EMBEDDED_COLUMNS_VALUE_LAYOUT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "zdbs/embedded/columns/checked_blocks.h"
#include "zdbs/embedded/columns/packed_column.h"
#include "zdbs/embedded/columns/raw_values.h"
#include "zdbs/embedded/columns/trigram_blocks.h"
#include "zdbs/embedded/columns/value_encoding.h"

namespace zdbs::embedded {

/*
 * All integers little-endian, nothing aligned. Every column begins with
 *
 *     0   4   count of rows, at most 2^27
 *     4   1   encoding: 0 short, 1 plain, 2 dictionary
 *     5   1   flags, of plain columns: bit 0 the values are in order of text,
 *             bit 1 the column has its orders, bit 2 its words are in the index of words
 *             (WordIndex); 0 in others
 *
 * Short, of at most 64 rows and 65535 bytes of values; no index:
 *
 *     6   2n  for each row, where its value ends in the values
 *         ..  the values, one behind the other
 *
 * Plain:
 *
 *     6   2   0
 *     8   4   E, bytes of the ends
 *    12   4   T, bytes of the order of text
 *    16   4   N, bytes of the order of number
 *    20   4   S, bytes of the signatures
 *    24   E   ends: packed column, for each row where its value ends in the values
 *         T   order of text: packed column, all rows by the bytes of their values, equal
 *             ones by row. Nothing where flag 0 says that it would be 0, 1, 2 .., or
 *             where flag 1 is not set
 *         N   order of number: packed column, the rows whose value is a number, by that
 *             number, equal ones by row. Nothing where there are none, or flag 1 is not set
 *         S   signatures of blocks of the values (TrigramBlocks), or nothing
 *         ..  the values, one behind the other
 *
 * Dictionary:
 *
 *     6   2   0
 *     8   4   D, bytes of the distinct values
 *    12   4   C, bytes of the codes
 *    16   4   P, bytes of the starts
 *    20   4   R, bytes of the rows by code
 *    24   D   distinct values: a column of values, short or plain, in order of text; the
 *             row of a value in it is its code
 *         C   codes: packed column, for each row the code of its value
 *         P   starts: packed column, for each code how many rows have lesser ones, then
 *             the count of rows
 *         R   rows by code, then by row: packed column; nothing where there are few codes
 */

constexpr std::uint8_t valuesInOrder = 1;
constexpr std::uint8_t valuesHaveOrders = 2;
constexpr std::uint8_t valuesHaveWords = 4;

/** What every column begins with. */
struct ValueHeader {
    static constexpr std::size_t size = 6;

    /** Of a column of nothing when there are too few bytes. */
    explicit ValueHeader(std::string_view bytes) {
        if (bytes.size() < size) return;
        std::memcpy(&rows, bytes.data(), sizeof rows);
        std::memcpy(&encoding, bytes.data() + 4, sizeof encoding);
        std::memcpy(&flags, bytes.data() + 5, sizeof flags);
    }

    std::uint32_t rows = 0;
    ValueEncoding encoding = ValueEncoding::shortValues;
    std::uint8_t flags = 0;
};

/**
 * The parts of a column as they follow its header, as many as there are sizes, the last one taking
 * the rest. Sizes past the end of the bytes are cut short.
 */
template <std::size_t count>
std::array<std::string_view, count + 1> partsOf(std::string_view bytes) {
    constexpr std::size_t sizes = 8;
    std::array<std::string_view, count + 1> parts;
    std::string_view rest = bytes.substr(sizes + 4 * count);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t size = 0;
        std::memcpy(&size, bytes.data() + sizes + 4 * i, sizeof size);
        parts[i] = rest.substr(0, size);
        rest.remove_prefix(parts[i].size());
    }
    parts[count] = rest;
    return parts;
}

/** Values of the short encoding. */
class ShortValues {
public:
    static constexpr std::uint32_t maxRows = 64;
    static constexpr std::size_t maxBytes = 65535;

    static bool isWhole(std::string_view bytes);

    /** REQUIRES isWhole(bytes). */
    explicit ShortValues(std::string_view bytes);

    std::uint32_t size() const { return rows_; }
    std::string_view at(std::uint32_t row) const;

    /** Where the value of a row ends. */
    std::size_t end(std::uint32_t row) const;

    std::string_view values() const { return values_; }

private:
    std::uint32_t rows_;
    const char *ends_;
    std::string_view values_;
};

/** Values of the plain encoding. */
class PlainValues {
public:
    static constexpr std::size_t headerSize = 24;

    static bool isWhole(std::string_view bytes);

    /**
     * REQUIRES isWhole(bytes). Signatures and values are verified by `check` when they are asked
     * for; what is in front of them is verified already. Null: all is.
     */
    explicit PlainValues(std::string_view bytes, PartCheck *check = nullptr);

    /** The bytes in front of the signatures and the values. */
    static std::string_view frontOf(std::string_view bytes);

    std::uint32_t size() const { return header_.rows; }
    std::string_view at(std::uint32_t row) const;

    const PackedColumn &ends() const { return ends_; }

    /** To be read only where requireValues() was called. */
    std::string_view values() const { return values_; }
    void requireValues(std::size_t begin, std::size_t end) const {
        if (check_ != nullptr) requirePart(begin, end);
    }

    bool isInOrder() const { return (header_.flags & valuesInOrder) != 0; }
    bool hasOrders() const { return (header_.flags & valuesHaveOrders) != 0; }
    bool hasWords() const { return (header_.flags & valuesHaveWords) != 0; }
    bool hasTextOrder() const { return isInOrder() || hasOrders(); }
    bool hasTrigrams() const { return !signatures_.empty(); }

    /** Not to be used where isInOrder() says that it is that of the rows. */
    const PackedColumn &textOrder() const { return textOrder_; }
    const PackedColumn &numberOrder() const { return numberOrder_; }
    TrigramBlocks trigrams() const {
        if (check_ != nullptr) check_->require(signatures_);
        return {signatures_, values_.size()};
    }

    /** The row at a place of an order; some row when that is damaged. */
    std::uint32_t rowByText(std::uint32_t place) const;
    std::uint32_t rowByNumber(std::uint32_t place) const;

    /** Bytes of the order of text, of number, of the signatures. */
    std::array<std::size_t, 3> indexSizes() const { return indexSizes_; }

    /** One value, without looking at more than it takes. */
    static std::string_view valueAt(std::string_view bytes, std::uint32_t row);

private:
    void requirePart(std::size_t begin, std::size_t end) const;

    ValueHeader header_;
    PartCheck *check_;
    PackedColumn ends_;
    PackedColumn textOrder_;
    PackedColumn numberOrder_;
    std::string_view signatures_;
    std::string_view values_;
    std::array<std::size_t, 3> indexSizes_;
};

/** Appends a column of distinct values that come in order of text, short or plain. */
void packInOrder(const RawValues &values, std::string &bytes);

/** Values of the dictionary encoding. */
class DictionaryValues {
public:
    static constexpr std::size_t headerSize = 24;

    static bool isWhole(std::string_view bytes);

    /** REQUIRES isWhole(bytes). */
    explicit DictionaryValues(std::string_view bytes);

    std::uint32_t size() const { return codes_.size(); }

    /** The bytes of the column of distinct values, and how many it has: at least one. */
    std::string_view distinct() const { return distinct_; }
    std::uint32_t distinctSize() const { return distinctSize_; }

    const PackedColumn &codes() const { return codes_; }
    const PackedColumn &rowsByCode() const { return rowsByCode_; }

    /** Rows with lesser codes; all rows for distinctSize(). */
    std::uint32_t start(std::uint32_t code) const;

    /** The code of a row; some code when that is damaged. */
    std::uint32_t codeAt(std::uint32_t row) const;

    const PackedColumn &starts() const { return starts_; }

    /** Bytes of the starts and the rows by code. */
    std::size_t postingsSize() const { return postingsSize_; }

    /** One value, without looking at more than it takes. */
    static std::string_view valueAt(std::string_view bytes, std::uint32_t row);

private:
    std::string_view distinct_;
    std::uint32_t distinctSize_;
    PackedColumn codes_;
    PackedColumn starts_;
    PackedColumn rowsByCode_;
    std::size_t postingsSize_;
};

/** Calls `visit` with the values of a column in the encoding that they have. REQUIRES that the
 *  column is whole, and that it has that encoding; `check` is as for PlainValues. */
template <typename Visit>
auto visitValues(std::string_view bytes, ValueEncoding encoding, PartCheck *check, Visit visit) {
    switch (encoding) {
        case ValueEncoding::plain:
            return visit(PlainValues(bytes, check));
        case ValueEncoding::dictionary:
            return visit(DictionaryValues(bytes));
        case ValueEncoding::shortValues:
            break;
    }
    return visit(ShortValues(bytes));
}

/** The same with the distinct values of a dictionary, which are no dictionary themselves. */
template <typename Visit>
auto visitDistinct(const DictionaryValues &values, Visit visit) {
    const std::string_view bytes = values.distinct();
    const bool isPlain = ValueHeader(bytes).encoding == ValueEncoding::plain;
    return isPlain ? visit(PlainValues(bytes)) : visit(ShortValues(bytes));
}

}  // namespace zdbs::embedded

#endif
