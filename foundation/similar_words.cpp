#include "foundation/similar_words.h"

#include <algorithm>
#include <numeric>
#include <vector>

std::size_t distanceOf(std::string_view a, std::string_view b) {
    // Rows of the table of distances between beginnings: of i - 2, i - 1 and i characters of a.
    std::vector<std::size_t> older(b.size() + 1);
    std::vector<std::size_t> old(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        older.swap(old);
        old.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = old[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({old[j] + 1, row[j - 1] + 1, replaced});
            const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (isSwapped) row[j] = std::min(row[j], older[j - 2] + 1);
        }
    }
    return row[b.size()];
}

std::optional<std::string> mostSimilar(std::string_view word, std::span<const std::string> words) {
    constexpr std::size_t longest = 64;
    if (word.size() > longest) return std::nullopt;
    const std::string *nearest = nullptr;
    std::size_t least = std::min<std::size_t>(2, word.size() / 2) + 1;
    for (const std::string &candidate : words) {
        const std::size_t distance = distanceOf(word, candidate);
        if (distance >= least) continue;
        least = distance;
        nearest = &candidate;
    }
    if (nearest == nullptr) return std::nullopt;
    return *nearest;
}
