#include "zdbs/base/hits.h"

#include <algorithm>
#include <iterator>

namespace zdbs {
namespace {

constexpr std::string_view whiteSpace = " \t\n\r";

}  // namespace

void joinOverlaps(std::vector<HitRange> &hits) {
    if (hits.size() < 2) return;
    std::sort(hits.begin(), hits.end(),
              [](const HitRange &a, const HitRange &b) { return a.offset < b.offset; });
    auto last = hits.begin();
    for (auto next = std::next(last); next != hits.end(); ++next) {
        if (next->offset >= last->offset + last->length)
            *++last = *next;
        else
            last->length = std::max(last->length, next->offset + next->length - last->offset);
    }
    hits.erase(std::next(last), hits.end());
}

std::size_t WordCounter::at(std::size_t offset) {
    std::size_t begin = std::min(text_.find_first_not_of(whiteSpace, offset), text_.size());
    while (place_ < text_.size()) {
        std::size_t word = text_.find_first_not_of(whiteSpace, place_);
        if (word == std::string_view::npos || word > begin) break;
        ++words_;
        place_ = std::min(text_.find_first_of(whiteSpace, word), text_.size());
    }
    return std::max<std::size_t>(words_, 1);
}

}  // namespace zdbs
