#include "zdbs/embedded/columns/value_order.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>
#include <span>

#include "zdbs/base/number.h"

namespace zdbs::embedded {
namespace {

constexpr std::size_t keySize = 8;

/** A row with what it is sorted by: eight bytes of its text, or its number. There are many. */
struct [[gnu::packed]] Keyed {
    std::uint64_t key;
    std::uint32_t row;
};

constexpr auto byKeyAndRow = [](const Keyed &left, const Keyed &right) {
    return left.key != right.key ? left.key < right.key : left.row < right.row;
};

/** Eight bytes from `offset` on, the first the most significant; 0 behind the end. */
std::uint64_t keyAt(std::string_view value, std::size_t offset) {
    if (offset >= value.size()) return 0;
    std::uint64_t key = 0;
    std::size_t rest = value.size() - offset;
    if (rest >= keySize)
        std::memcpy(&key, value.data() + offset, keySize);
    else
        std::memcpy(&key, value.data() + offset, rest);
    return __builtin_bswap64(key);
}

/** Length of the beginning that both have, up to `most`. */
std::size_t commonPrefix(std::string_view left, std::string_view right, std::size_t most) {
    most = std::min({most, left.size(), right.size()});
    auto ends = std::mismatch(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(most),
                              right.begin());
    return static_cast<std::size_t>(ends.first - left.begin());
}

/**
 * Sorts by text eight bytes at a time: rows that have the same eight are sorted by the
 * eight from where they differ on, and so on. What texts have in common at their
 * beginning is looked at once, however many and long they are.
 */
class TextSorter {
public:
    TextSorter(const RawValues &values, std::span<const std::uint32_t> rows)
        : values_(values), keyed_(rows.size()), repeats_(rows.size()) {
        for (std::size_t i = 0; i < rows.size(); ++i)
            keyed_[i].row = rows[i];
    }

    /** Sorts all rows. */
    explicit TextSorter(const RawValues &values)
        : values_(values), keyed_(values.size()), repeats_(values.size()) {
        for (std::uint32_t row = 0; row < values.size(); ++row)
            keyed_[row].row = row;
    }

    TextOrder sort() {
        if (!keyed_.empty()) groups_.push_back({0, keyed_.size(), 0});
        while (!groups_.empty()) {
            Group group = groups_.back();
            groups_.pop_back();
            sortGroup(group);
        }
        TextOrder order{{}, std::move(repeats_)};
        order.rows.reserve(keyed_.size());
        for (const Keyed &keyed : keyed_)
            order.rows.push_back(keyed.row);
        return order;
    }

private:
    /** Rows whose texts have the first `depth` bytes in common, those that end before padded by 0.
     */
    struct Group {
        std::size_t begin;
        std::size_t end;
        std::size_t depth;
    };

    std::size_t sizeOf(std::size_t place) const {
        std::uint32_t row = keyed_[place].row;
        return values_.ends[row] - values_.begin(row);
    }

    void sortGroup(Group group) {
        group.depth = commonDepth(group);
        for (std::size_t i = group.begin; i < group.end; ++i)
            keyed_[i].key = keyAt(values_.at(keyed_[i].row), group.depth);
        auto first = keyed_.begin();
        std::sort(first + static_cast<std::ptrdiff_t>(group.begin),
                  first + static_cast<std::ptrdiff_t>(group.end), byKeyAndRow);
        splitGroup(group);
    }

    /** How far the texts of a group go together. */
    std::size_t commonDepth(const Group &group) const {
        std::string_view first = values_.at(keyed_[group.begin].row);
        if (first.size() <= group.depth) return group.depth;
        first.remove_prefix(group.depth);
        std::size_t common = first.size();
        for (std::size_t i = group.begin; i < group.end && common > 0; ++i) {
            std::string_view value = values_.at(keyed_[i].row);
            value.remove_prefix(std::min(group.depth, value.size()));
            common = commonPrefix(first, value, common);
        }
        return group.depth + common;
    }

    /** Takes up the runs of equal keys in a group that is sorted by its keys. */
    void splitGroup(const Group &group) {
        std::size_t begin = group.begin;
        for (std::size_t i = begin + 1; i <= group.end; ++i) {
            if (i < group.end && keyed_[i].key == keyed_[begin].key) continue;
            if (i - begin > 1) takeRun({begin, i, group.depth + keySize});
            begin = i;
        }
    }

    /** Either the texts of a run go on, or they differ at most in the zeros that they end with. */
    void takeRun(const Group &run) {
        bool goesOn = false;
        bool sameSize = true;
        for (std::size_t i = run.begin; i < run.end; ++i) {
            goesOn = goesOn || sizeOf(i) > run.depth;
            sameSize = sameSize && sizeOf(i) == sizeOf(run.begin);
        }
        if (goesOn) {
            groups_.push_back(run);
            return;
        }
        if (!sameSize) sortBySize(run);
        for (std::size_t i = run.begin + 1; i < run.end; ++i)
            repeats_[i] = sizeOf(i) == sizeOf(i - 1);
    }

    void sortBySize(const Group &run) {
        for (std::size_t i = run.begin; i < run.end; ++i)
            keyed_[i].key = sizeOf(i);
        auto first = keyed_.begin();
        std::sort(first + static_cast<std::ptrdiff_t>(run.begin),
                  first + static_cast<std::ptrdiff_t>(run.end), byKeyAndRow);
    }

    RawValues values_;
    std::vector<Keyed> keyed_;
    std::vector<bool> repeats_;
    std::vector<Group> groups_;
};

/** Unsigned integers that order as the numbers do; both zeros are one. */
std::uint64_t keyOf(double number) {
    constexpr std::uint64_t sign = std::uint64_t{1} << 63U;
    auto bits = std::bit_cast<std::uint64_t>(number + 0.0);
    return (bits & sign) != 0 ? ~bits : bits | sign;
}

}  // namespace

TextOrder orderTexts(const RawValues &values) {
    return TextSorter(values).sort();
}

TextOrder orderTexts(const RawValues &values, std::span<const std::uint32_t> rows) {
    return TextSorter(values, rows).sort();
}

std::vector<std::uint32_t> orderNumbers(const RawValues &values) {
    std::vector<Keyed> keyed;
    for (std::uint32_t row = 0; row < values.size(); ++row)
        if (std::optional<double> number = numberOf(values.at(row)))
            keyed.push_back({keyOf(*number), row});
    std::sort(keyed.begin(), keyed.end(), byKeyAndRow);

    std::vector<std::uint32_t> rows;
    rows.reserve(keyed.size());
    for (const Keyed &entry : keyed)
        rows.push_back(entry.row);
    return rows;
}

}  // namespace zdbs::embedded
