/** Stretches of a value that a searched text takes. */
#ifndef ZDBS_BASE_HITS_H
#define ZDBS_BASE_HITS_H

#include <cstddef>
#include <string_view>
#include <vector>

namespace zdbs {

/** A stretch of a node's value, in bytes of UTF-8. */
struct HitRange {
    std::size_t offset;
    std::size_t length;
};

/** Brings stretches in order, and makes one of those that overlap. */
void joinOverlaps(std::vector<HitRange> &hits);

/** Counts the words of a text up to places in it. Words are what white space separates. */
class WordCounter {
public:
    explicit WordCounter(std::string_view text) : text_(text) {}

    /**
     * Number of the word, from 1, that the text from `offset` on begins with, white space
     * before it skipped. Offsets must not decrease from call to call.
     */
    std::size_t at(std::size_t offset);

private:
    std::string_view text_;
    std::size_t place_ = 0;  ///< everything before it is counted
    std::size_t words_ = 0;
};

}  // namespace zdbs

#endif
