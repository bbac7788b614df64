#include "foundation/bit_count.h"

#include <gtest/gtest.h>

#include <bit>
#include <random>

namespace {

TEST(BitCount, IsTheNumberOfBitsThatAreSet) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 64; ++i) {
        const std::uint64_t one = std::uint64_t{1} << i;
        for (std::uint64_t word : {one, one - 1, ~one, ~(one - 1), random(), random() & random()})
            ASSERT_EQ(bitCount(word), static_cast<std::uint32_t>(std::popcount(word))) << word;
    }
}

}  // namespace
