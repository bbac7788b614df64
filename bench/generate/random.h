/** Random numbers that are the same everywhere for the same seed. */
#ifndef BENCH_GENERATE_RANDOM_H
#define BENCH_GENERATE_RANDOM_H

#include <bit>
#include <cstdint>

namespace bench {

/** xoshiro256** (Blackman, Vigna: Scrambled linear pseudorandom number generators). */
class Random {
public:
    explicit Random(std::uint64_t seed) {
        for (std::uint64_t &word : state_)
            word = splitMix(seed);
    }

    std::uint64_t next() {
        const std::uint64_t result = std::rotl(state_[1] * 5, 7) * 9;
        const std::uint64_t shifted = state_[1] << 17;
        state_[2] ^= state_[0];
        state_[3] ^= state_[1];
        state_[1] ^= state_[2];
        state_[0] ^= state_[3];
        state_[2] ^= shifted;
        state_[3] = std::rotl(state_[3], 45);
        return result;
    }

    /** From 0 to `limit` - 1; `limit` below 2^32. */
    std::uint32_t below(std::uint32_t limit) {
        return static_cast<std::uint32_t>(((next() >> 32) * limit) >> 32);
    }

    /** From `least` to `most`, both included. */
    std::uint32_t between(std::uint32_t least, std::uint32_t most) {
        return least + below(most - least + 1);
    }

    bool oneOf(std::uint32_t count) { return below(count) == 0; }
    bool percent(std::uint32_t share) { return below(100) < share; }

    /** How often in a row something happens that happens with this chance; at most `most`. */
    std::uint32_t repeats(std::uint32_t chanceInPercent, std::uint32_t most) {
        std::uint32_t count = 0;
        while (count < most && percent(chanceInPercent))
            ++count;
        return count;
    }

private:
    static std::uint64_t splitMix(std::uint64_t &seed) {
        std::uint64_t mixed = seed += 0x9e3779b97f4a7c15;
        mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
        return mixed ^ (mixed >> 31);
    }

    std::uint64_t state_[4];
};

}  // namespace bench

#endif
