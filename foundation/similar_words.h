/** What somebody may have meant. */
#ifndef FOUNDATION_SIMILAR_WORDS_H
#define FOUNDATION_SIMILAR_WORDS_H

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/**
 * How many characters are to be inserted, removed, replaced or exchanged with their
 * neighbour to make one word of the other, each place changed once (optimal string
 * alignment). Costs the product of the lengths.
 */
std::size_t distanceOf(std::string_view a, std::string_view b);

/**
 * The first of the nearest words: at most two steps away, and not more than half the
 * length of `word`.
 */
std::optional<std::string> mostSimilar(std::string_view word, std::span<const std::string> words);

#endif
