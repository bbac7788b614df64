#include "bench/generate/vocabulary.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace bench {

namespace {

constexpr std::string_view onsets[] = {"",   "b",  "c",  "d",  "f",  "g",  "h",  "k",  "l",  "m",
                                       "n",  "p",  "r",  "s",  "t",  "v",  "w",  "br", "cl", "dr",
                                       "fl", "gr", "pl", "sh", "st", "th", "tr", "qu"};
constexpr std::string_view vowels[] = {"a", "e", "i", "o", "u", "ai", "ea", "ou"};
constexpr std::string_view codas[] = {"", "", "", "n", "r", "s", "t", "l", "m", "nd", "rk", "st"};

template <std::size_t count>
std::string_view pick(Random &random, const std::string_view (&choices)[count]) {
    return choices[random.below(count)];
}

std::string makeWord(Random &random, std::uint32_t syllables) {
    std::string word;
    for (; syllables > 0; --syllables) {
        word += pick(random, onsets);
        word += pick(random, vowels);
        if (syllables == 1 || random.oneOf(3)) word += pick(random, codas);
    }
    return word;
}

}  // namespace

Vocabulary::Vocabulary(std::uint64_t seed) {
    makeWords(seed);
    shareOut();
}

void Vocabulary::makeWords(std::uint64_t seed) {
    Random random(seed);
    std::unordered_set<std::string> known;
    for (std::uint32_t rank = 0; rank < size; ++rank) {
        const std::uint32_t usual = rank < 200 ? 1 : rank < 3000 ? 2 : 3;
        std::string word;
        do
            word = makeWord(random, usual + (rank < 200 ? 0 : random.repeats(15, 1)));
        while (word.size() < 2 || word.size() > 15 || !known.insert(word).second);
        begins_.push_back(static_cast<std::uint32_t>(letters_.size()));
        letters_ += word;
    }
    begins_.push_back(static_cast<std::uint32_t>(letters_.size()));
}

// Place i of 2^20 belongs to the word in whose share of the harmonic sum it lies.
void Vocabulary::shareOut() {
    double all = 0;
    for (std::uint32_t rank = 0; rank < size; ++rank)
        all += 1.0 / (rank + 1);
    ranks_.resize(std::size_t{1} << drawBits);
    double sum = 0;
    std::size_t from = 0;
    for (std::uint32_t rank = 0; rank < size; ++rank) {
        sum += 1.0 / (rank + 1);
        const auto share =
            static_cast<std::size_t>(std::llround(sum / all * std::ldexp(1, drawBits)));
        const std::size_t to = std::min(ranks_.size(), share);
        std::fill(ranks_.begin() + static_cast<std::ptrdiff_t>(from),
                  ranks_.begin() + static_cast<std::ptrdiff_t>(to),
                  static_cast<std::uint16_t>(rank));
        from = to;
    }
}

}  // namespace bench
