#include "zdbs/sql/row_buffer.h"

#include <algorithm>
#include <bit>
#include <tuple>

#include "zdbs/base/number.h"

namespace zdbs::sql {
namespace {

constexpr std::size_t packet = std::size_t{256} * 1024;

// The binary form of COPY: a signature, flags, rows of fields with their lengths, an end.
constexpr std::string_view signature("PGCOPY\n\377\r\n\0\0\0\0\0\0\0\0\0", 19);
constexpr std::string_view ending("\377\377", 2);
constexpr std::uint16_t fixedColumns = 9;

template <typename Number>
void put(std::string &out, Number number) {
    for (int shift = static_cast<int>(sizeof number) * 8 - 8; shift >= 0; shift -= 8)
        out += static_cast<char>(number >> shift & 0xFFU);
}

void putNull(std::string &out) {
    put(out, ~std::uint32_t{0});
}

void putInteger(std::string &out, int number) {
    put(out, std::uint32_t{sizeof(std::uint32_t)});
    put(out, static_cast<std::uint32_t>(number));
}

void putDouble(std::string &out, double number) {
    put(out, std::uint32_t{sizeof(std::uint64_t)});
    put(out, std::bit_cast<std::uint64_t>(number));
}

}  // namespace

void RowBuffer::add(const LoadedRow &row, std::string_view value, std::span<const int> above) {
    rows_.push_back({row, values_.size(), static_cast<std::uint32_t>(value.size()),
                     static_cast<std::uint32_t>(above.size()), above_.size()});
    values_ += value;
    above_.insert(above_.end(), above.begin(), above.end());
}

void RowBuffer::dropFrom(int part, int document) {
    std::erase_if(rows_, [&](const Kept &kept) {
        return kept.row.part == part && kept.row.document >= document;
    });
}

void RowBuffer::send(Connection &connection) {
    if (rows_.empty()) return;
    std::sort(rows_.begin(), rows_.end(), [](const Kept &a, const Kept &b) {
        return std::tie(a.row.path, a.row.part, a.row.id) <
               std::tie(b.row.path, b.row.part, b.row.id);
    });
    std::uint32_t levels = 0;
    for (const Kept &each : rows_)
        levels = std::max(levels, each.levels);
    std::string columns = "part, id, doc, path, parent, last, ord, num, value";
    for (std::uint32_t level = 1; level <= levels; ++level)
        columns += ", a" + std::to_string(level);
    connection.beginCopy("copy node (" + columns + ") from stdin (format binary)");
    std::string out(signature);
    for (const Kept &each : rows_) {
        encode(each, levels, out);
        if (out.size() < packet) continue;
        connection.copy(out);
        out.clear();
    }
    out += ending;
    connection.copy(out);
    connection.endCopy();
    rows_.clear();
    values_.clear();
    above_.clear();
}

void RowBuffer::encode(const Kept &kept, std::uint32_t levels, std::string &out) const {
    const LoadedRow &row = kept.row;
    const std::string_view value = std::string_view(values_).substr(kept.value, kept.valueSize);
    put(out, static_cast<std::uint16_t>(fixedColumns + levels));
    putInteger(out, row.part);
    putInteger(out, row.id);
    putInteger(out, row.document);
    putInteger(out, row.path);
    if (row.parent < 0)
        putNull(out);
    else
        putInteger(out, row.parent);
    putInteger(out, row.last);
    putInteger(out, row.ordinal);
    const auto number = row.canBeNumber ? numberOf(value) : std::nullopt;
    if (number)
        putDouble(out, *number);
    else
        putNull(out);
    if (row.hasValue) {
        put(out, static_cast<std::uint32_t>(value.size()));
        out += value;
    } else {
        putNull(out);
    }
    for (std::uint32_t level = 0; level < levels; ++level) {
        if (level < kept.levels)
            putInteger(out, above_[kept.above + level]);
        else
            putNull(out);
    }
}

}  // namespace zdbs::sql
