#include "zdbs/embedded/columns/distinct_values.h"

#include <bit>
#include <cstddef>
#include <functional>
#include <string_view>

namespace zdbs::embedded {
namespace {

/** Rows from one look at how it goes to the next. */
constexpr std::uint32_t trialRows = 1024;

/** Gives values numbers in the order in which they come. */
class ValueNumbers {
public:
    explicit ValueNumbers(const RawValues &values) : values_(values), table_(1024) {}

    std::uint32_t numberOf(std::uint32_t row) {
        if ((firstRows_.size() + 1) * 2 > table_.size()) grow();
        std::string_view value = values_.at(row);
        auto hash = static_cast<std::uint32_t>(std::hash<std::string_view>()(value));
        Slot &slot = find(value, hash);
        if (slot.number == 0) {
            firstRows_.push_back(row);
            hashes_.push_back(hash);
            slot = {hash, static_cast<std::uint32_t>(firstRows_.size())};
        }
        return slot.number - 1;
    }

    const std::vector<std::uint32_t> &firstRows() const { return firstRows_; }

    /** Steps from slot to slot so far: many when values were made to collide. */
    std::uint64_t steps() const { return steps_; }

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t number = 0;  ///< from 1; 0 in a free slot
    };

    /** The slot that a value has or is to have. */
    Slot &find(std::string_view value, std::uint32_t hash) {
        std::size_t mask = table_.size() - 1;
        for (std::size_t place = hash & mask;; place = (place + 1) & mask, ++steps_) {
            Slot &slot = table_[place];
            if (slot.number == 0) return slot;
            if (slot.hash == hash && values_.at(firstRows_[slot.number - 1]) == value) return slot;
        }
    }

    void grow() {
        std::size_t size = table_.size() * 2;
        table_.assign(size, {});
        for (std::size_t i = 0; i < hashes_.size(); ++i) {
            std::size_t place = hashes_[i] & (size - 1);
            while (table_[place].number != 0)
                place = (place + 1) & (size - 1);
            table_[place] = {hashes_[i], static_cast<std::uint32_t>(i + 1)};
        }
    }

    RawValues values_;
    std::vector<Slot> table_;
    std::vector<std::uint32_t> firstRows_;
    std::vector<std::uint32_t> hashes_;
    std::uint64_t steps_ = 0;
};

/**
 * Whether it shows after some rows that too many values are distinct. If half of all rows were, in
 * any order, r of them would have about r * r / rows repeats; so that with less than half as many
 * it is taken as settled.
 */
bool isHopeless(const ValueNumbers &numbers, std::uint64_t done, std::uint64_t rows) {
    std::uint64_t distinct = numbers.firstRows().size();
    bool tooFewRepeats = (done - distinct) * 2 < done * done / rows;
    return distinct > rows / 2 || tooFewRepeats || numbers.steps() > 8 * done;
}

}  // namespace

std::optional<DistinctValues> distinctByHash(const RawValues &values) {
    ValueNumbers numbers(values);
    DistinctValues result;
    result.codes.reserve(values.size());
    for (std::uint32_t row = 0; row < values.size(); ++row) {
        if (row > 0 && row % trialRows == 0 && isHopeless(numbers, row, values.size()))
            return std::nullopt;
        result.codes.push_back(numbers.numberOf(row));
    }

    result.rows = orderTexts(values, numbers.firstRows()).rows;
    std::vector<std::uint32_t> codeOf(values.size());
    for (std::uint32_t code = 0; code < result.rows.size(); ++code)
        codeOf[result.rows[code]] = code;
    for (std::uint32_t &code : result.codes)
        code = codeOf[numbers.firstRows()[code]];
    return result;
}

std::vector<std::uint32_t> distinctRows(const TextOrder &order) {
    std::vector<std::uint32_t> rows;
    for (std::size_t i = 0; i < order.rows.size(); ++i)
        if (!order.repeats[i]) rows.push_back(order.rows[i]);
    return rows;
}

DistinctValues distinctByOrder(const TextOrder &order) {
    DistinctValues result{distinctRows(order), std::vector<std::uint32_t>(order.rows.size())};
    std::uint32_t codes = 0;
    for (std::size_t i = 0; i < order.rows.size(); ++i) {
        codes += order.repeats[i] ? 0 : 1;
        result.codes[order.rows[i]] = codes - 1;
    }
    return result;
}

}  // namespace zdbs::embedded
