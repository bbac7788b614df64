/** Made-up words, some much more frequent than others. */
#ifndef BENCH_GENERATE_VOCABULARY_H
#define BENCH_GENERATE_VOCABULARY_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bench/generate/random.h"

namespace bench {

/**
 * Twelve thousand different words of two to fifteen small letters. The n-th is drawn
 * about n times as rarely as the first (Zipf), and the frequent ones are short.
 */
class Vocabulary {
public:
    static constexpr std::uint32_t size = 12000;

    explicit Vocabulary(std::uint64_t seed);

    /** By rank, from 0. */
    std::string_view word(std::uint32_t rank) const {
        return {letters_.data() + begins_[rank], begins_[rank + 1] - begins_[rank]};
    }

    /** One at random, by frequency. */
    std::string_view draw(Random &random) const {
        return word(ranks_[random.next() >> (64 - drawBits)]);
    }

private:
    static constexpr int drawBits = 20;  ///< so that the rarest word has its place

    void makeWords(std::uint64_t seed);
    void shareOut();

    std::string letters_;  ///< of all words, one behind the other
    std::vector<std::uint32_t> begins_;
    std::vector<std::uint16_t> ranks_;
};

}  // namespace bench

#endif
