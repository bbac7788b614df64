#include "zdbs/embedded/columns/found_rows.h"

#include <cassert>
#include <utility>

#include "foundation/bit_count.h"

namespace zdbs::embedded {

FoundRows FoundRows::range(std::uint32_t first, std::uint32_t end, bool others,
                           std::uint32_t size) {
    assert(first <= end && end <= size);
    FoundRows found(size);
    found.others_ = others;
    found.first_ = first;
    found.end_ = end;
    found.count_ = others ? size - (end - first) : end - first;
    found.hits_ = found.count_;
    return found;
}

FoundRows FoundRows::list(std::vector<std::uint32_t> rows, bool others, std::uint32_t size) {
    assert(rows.size() <= size);
    FoundRows found(size);
    found.form_ = Form::list;
    found.others_ = others;
    const auto listed = static_cast<std::uint32_t>(rows.size());
    found.count_ = others ? size - listed : listed;
    found.hits_ = found.count_;
    found.list_ = std::move(rows);
    return found;
}

FoundRows FoundRows::bits(std::vector<std::uint64_t> words, std::uint32_t size) {
    assert(words.size() == wordsFor(size));
    FoundRows found(size);
    found.form_ = Form::bits;
    for (std::uint64_t word : words)
        found.count_ += bitCount(word);
    found.hits_ = found.count_;
    found.words_ = std::move(words);
    return found;
}

FoundRows &&FoundRows::foundBy(ValueIndex index) && {
    index_ = index;
    return std::move(*this);
}

FoundRows &&FoundRows::withHits(std::uint64_t hits) && {
    hits_ = hits;
    return std::move(*this);
}

void FoundRows::flip() {
    if (form_ == Form::bits) {
        for (std::uint64_t &word : words_)
            word = ~word;
        if (size_ % 64 != 0) words_.back() &= (std::uint64_t{1} << (size_ % 64)) - 1;
    } else {
        others_ = !others_;
    }
    count_ = size_ - count_;
    hits_ = count_;
}

}  // namespace zdbs::embedded
