#include "zdbs/xpath/ranks.h"

#include "foundation/bit_count.h"

namespace zdbs::xpath {
namespace {

constexpr std::uint64_t bitsOfWord = 64;

std::uint64_t ordinalOf(Node node) {
    return static_cast<std::uint64_t>(node);
}

}  // namespace

Ranks::Ranks(std::span<const Node> ascending) : nodes_(ascending) {
    if (nodes_.empty()) return;
    const std::uint64_t first = ordinalOf(nodes_.front());
    const std::uint64_t words = (ordinalOf(nodes_.back()) - first) / bitsOfWord + 1;
    if (words / bitsOfWord > nodes_.size()) return;
    words_.resize(words);
    for (const Node node : nodes_) {
        const std::uint64_t at = ordinalOf(node) - first;
        words_[at / bitsOfWord].bits |= std::uint64_t{1} << at % bitsOfWord;
    }
    std::uint64_t before = 0;
    for (Word &word : words_) {
        word.before = before;
        before += bitCount(word.bits);
    }
}

std::uint64_t Ranks::of(Node node) const {
    if (nodes_.empty() || node <= nodes_.front()) return 0;
    if (node > nodes_.back()) return nodes_.size();
    if (words_.empty()) return placeIn(nodes_, node);
    const std::uint64_t at = ordinalOf(node) - ordinalOf(nodes_.front());
    const Word &word = words_[at / bitsOfWord];
    const std::uint64_t below = (std::uint64_t{1} << at % bitsOfWord) - 1;
    return word.before + bitCount(word.bits & below);
}

}  // namespace zdbs::xpath
