/** How many bits of a word are set, where the processor is not known to have an instruction. */
#ifndef FOUNDATION_BIT_COUNT_H
#define FOUNDATION_BIT_COUNT_H

#include <cstdint>

/**
 * As std::popcount(), which is a call to the compiler's library unless the program is built for
 * newer processors. Sums bits side by side (Warren: "Hacker's Delight", 2nd ed., section 5-1).
 */
constexpr std::uint32_t bitCount(std::uint64_t word) {
    word -= word >> 1 & 0x5555555555555555;
    word = (word & 0x3333333333333333) + (word >> 2 & 0x3333333333333333);
    word = (word + (word >> 4)) & 0x0f0f0f0f0f0f0f0f;
    return static_cast<std::uint32_t>(word * 0x0101010101010101 >> 56);
}

#endif
