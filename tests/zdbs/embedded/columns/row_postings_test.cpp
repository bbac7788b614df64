#include "zdbs/embedded/columns/row_postings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace zdbs::embedded {
namespace {

using Numbers = std::vector<std::uint32_t>;

Numbers between(const Numbers &numbers, std::uint32_t first, std::uint32_t end) {
    Numbers result;
    std::copy_if(numbers.begin(), numbers.end(), std::back_inserter(result),
                 [&](std::uint32_t number) { return number >= first && number < end; });
    return result;
}

/** Numbers below a limit in the bytes that hold them. */
class Packed {
public:
    Packed(const Numbers &numbers, std::uint32_t limit)
        : shape_{static_cast<std::uint32_t>(numbers.size()), limit} {
        packPostings(numbers, shape_, bytes_);
        EXPECT_EQ(bytes_.size(), shape_.bytes());
    }

    Numbers read(std::uint32_t first, std::uint32_t end) const {
        Numbers result;
        RowPostings(bytes_, shape_).forNumbers(first, end, [&](std::uint32_t number) {
            result.push_back(number);
        });
        return result;
    }

    const RowPostings::Shape &shape() const { return shape_; }
    std::string &bytes() { return bytes_; }

private:
    RowPostings::Shape shape_;
    std::string bytes_;
};

TEST(RowPostings, GiveEverySmallSetBackFromEachPlaceOn) {
    constexpr std::uint32_t limit = 11;
    for (std::uint32_t set = 1; set < 1U << limit; ++set) {
        Numbers numbers;
        for (std::uint32_t number = 0; number < limit; ++number)
            if ((set >> number & 1) != 0) numbers.push_back(number);
        const Packed packed(numbers, limit);
        for (std::uint32_t first = 0; first <= limit; ++first)
            for (std::uint32_t end = first; end <= limit + 1; ++end)
                ASSERT_EQ(packed.read(first, end), between(numbers, first, end))
                    << set << ": " << first << " to " << end;
    }
}

Numbers someNumbers(std::uint32_t limit, std::uint32_t oneIn, std::mt19937 &random) {
    Numbers numbers;
    for (std::uint32_t number = random() % oneIn; number < limit; number += 1 + random() % oneIn)
        numbers.push_back(number);
    if (numbers.empty()) numbers.push_back(limit - 1);
    return numbers;
}

TEST(RowPostings, GiveSparseAndDenseNumbersBack) {
    std::mt19937 random(1);
    for (const std::uint32_t limit : {1U, 63U, 64U, 65U, 1000U, 70000U, 1U << 22U}) {
        for (const std::uint32_t oneIn : {1U, 2U, 3U, 10U, 700U, 100000U}) {
            const Numbers numbers = someNumbers(limit, oneIn, random);
            const Packed packed(numbers, limit);
            ASSERT_EQ(packed.read(0, limit), numbers) << limit << " " << oneIn;
            for (int i = 0; i < 20; ++i) {
                const auto first = static_cast<std::uint32_t>(random() % limit);
                const auto end = first + static_cast<std::uint32_t>(random() % (limit - first + 1));
                ASSERT_EQ(packed.read(first, end), between(numbers, first, end))
                    << limit << " " << oneIn << ": " << first << " to " << end;
            }
        }
    }
}

TEST(RowPostings, TakeABitForEachPlaceAtMostAndFewForRareNumbers) {
    std::mt19937 random(2);
    for (const std::uint32_t oneIn : {1U, 3U, 20U, 3000U}) {
        const Numbers numbers = someNumbers(1000000, oneIn, random);
        const Packed packed(numbers, 1000000);
        const auto bits = static_cast<double>(packed.shape().bytes() * 8);
        EXPECT_LE(bits, 1000007);
        EXPECT_LE(bits / static_cast<double>(numbers.size()), 2 + std::bit_width(oneIn));
    }
}

TEST(RowPostings, GiveOnlyNumbersBelowTheLimitWhenDamaged) {
    std::mt19937 random(3);
    for (const std::uint32_t oneIn : {2U, 30U, 3000U}) {
        Packed packed(someNumbers(50000, oneIn, random), 50000);
        for (int round = 0; round < 100; ++round) {
            for (int i = 0; i < 10; ++i)
                packed.bytes()[random() % packed.bytes().size()] = static_cast<char>(random());
            for (const std::uint32_t number : packed.read(100, 60000)) {
                ASSERT_GE(number, 100U);
                ASSERT_LT(number, 50000U);
            }
        }
    }
}

}  // namespace
}  // namespace zdbs::embedded
