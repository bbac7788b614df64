#include "zdbs/embedded/columns/contains_search.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <span>
#include <string_view>

#include "zdbs/embedded/columns/text_search.h"

namespace zdbs::embedded {
namespace {

/** Bytes that values have on average from which places are searched for one by one. */
constexpr std::size_t longValues = 1024;

/** Makes ends that damage has mixed up those of values one behind the other. */
void putInOrder(std::span<std::uint32_t> ends, std::size_t begin, std::size_t size) {
    bool isRight = ends.front() >= begin && ends.back() <= size;
    for (std::size_t i = 1; i < ends.size(); ++i)
        isRight &= ends[i - 1] <= ends[i];
    if (isRight) return;
    auto last = static_cast<std::uint32_t>(begin);
    for (std::uint32_t &end : ends)
        last = end = std::clamp(end, last, static_cast<std::uint32_t>(size));
}

/** Counts hits of one row after the other, found place by place. */
class RowHits {
public:
    explicit RowHits(HitSink &sink) : sink_(sink) {}

    void add(std::uint32_t row) {
        if (row != row_) {
            flush();
            row_ = row;
        }
        ++hits_;
    }

    void flush() {
        if (hits_ != 0) sink_.takeRow(row_, hits_);
        hits_ = 0;
    }

private:
    HitSink &sink_;
    std::uint32_t row_ = 0;
    std::uint64_t hits_ = 0;
};

/**
 * Searches the values as the one text that their bytes are, and looks up whose value each hit is.
 * A hit that crosses into the next value is none; the search goes on behind a hit, and at the next
 * value where none fits any more.
 */
class PlaceSearch {
public:
    PlaceSearch(const PlainValues &values, std::string_view literal, HitSink &sink)
        : values_(values), literal_(literal), search_(literal), hits_(sink) {}

    /** Takes the hits that begin in a stretch, which must not lie before one searched already. */
    void search(const TrigramBlocks::Stretch &stretch) {
        // A hit that begins in the stretch may end behind it.
        const std::string_view text = values_.values().substr(0, stretch.end + literal_.size() - 1);
        from_ = std::max(from_, stretch.begin);
        values_.requireValues(from_, text.size());
        while (from_ < stretch.end) {
            const std::size_t hit = search_.find(text, from_);
            if (hit == TextSearch::npos || !take(hit)) return;
        }
    }

    void finish() { hits_.flush(); }

private:
    /** False where there are no more rows, which is so in damaged columns only. */
    bool take(std::size_t hit) {
        if (hit >= end_) {
            row_ = values_.ends().lowerBound(static_cast<std::uint32_t>(hit + 1), row_);
            if (row_ == values_.size()) return false;
            end_ = std::max<std::size_t>(values_.ends().at(row_), hit + 1);
        }
        const bool isInside = hit + literal_.size() <= end_;
        if (isInside) hits_.add(row_);
        from_ = isInside ? hit + literal_.size() : end_;
        return true;
    }

    const PlainValues &values_;
    std::string_view literal_;
    TextSearch search_;
    RowHits hits_;
    std::size_t from_ = 0;
    std::uint32_t row_ = 0;
    std::size_t end_ = 0;  ///< of the value of row_
};

/** Counts in frame after frame, but not in those in which nothing begins. */
class ColumnFrames {
public:
    ColumnFrames(const PlainValues &values, std::string_view literal, HitSink &sink)
        : values_(values),
          text_(values.values()),
          needleSize_(literal.size()),
          places_(literal),
          search_(literal),
          sink_(sink) {}

    /** Takes what begins in a stretch, which must not lie before one searched already. */
    void search(const TrigramBlocks::Stretch &stretch) {
        const std::string_view text = text_.substr(0, stretch.end + needleSize_ - 1);
        std::size_t from = std::max(begin_, stretch.begin);
        values_.requireValues(from, text.size());
        bool isLikely = false;  // to be in the next frame as it was in the one before
        while (row_ < values_.size() && from < stretch.end) {
            const std::size_t place = isLikely ? from : places_.find(text, from);
            if (place == TextSearch::npos || !goTo(place)) return;
            isLikely = searchFrame();
            from = std::max(begin_, from);
        }
    }

private:
    /** Goes to the frame of the value that has a byte; false if none has in damaged columns. */
    bool goTo(std::size_t place) {
        const std::uint32_t last = std::min(row_ + PackedColumn::frameSize, values_.size()) - 1;
        if (values_.ends().at(last) > place) return true;
        const std::uint32_t row =
            values_.ends().lowerBound(static_cast<std::uint32_t>(place + 1), last);
        if (row == values_.size()) return false;
        row_ = row / PackedColumn::frameSize * PackedColumn::frameSize;
        begin_ = row_ == 0 ? 0 : std::min<std::size_t>(values_.ends().at(row_ - 1), text_.size());
        return true;
    }

    /** Searches the next frame, which is that of row_, where its values begin at begin_. Answers
     *  whether there is something. */
    bool searchFrame() {
        const auto ends =
            std::span(ends_).first(std::min(PackedColumn::frameSize, values_.size() - row_));
        values_.ends().read(row_, ends);
        putInOrder(ends, begin_, text_.size());
        values_.requireValues(begin_, ends.back());
        search_.search(text_, begin_, ends, hits_);
        if (hits_.rows != 0) sink_.takeFrame(row_, hits_);
        row_ += PackedColumn::frameSize;
        begin_ = ends.back();
        return hits_.rows != 0;
    }

    const PlainValues &values_;
    std::string_view text_;
    std::size_t needleSize_;
    TextSearch places_;
    FrameSearch search_;
    HitSink &sink_;
    std::uint32_t row_ = 0;  ///< the first of the next frame
    std::size_t begin_ = 0;  ///< of its value
    std::array<std::uint32_t, PackedColumn::frameSize> ends_;
    FrameHits hits_;
};

void findByPlaces(const ShortValues &values, std::string_view literal, HitSink &sink) {
    const TextSearch search(literal);
    const std::string_view text = values.values();
    RowHits hits(sink);
    std::uint32_t row = 0;
    for (std::size_t hit = search.find(text, 0); hit != TextSearch::npos;) {
        while (row < values.size() && values.end(row) <= hit)
            ++row;
        if (row == values.size()) break;
        const bool isInside = hit + literal.size() <= values.end(row);
        if (isInside) hits.add(row);
        hit = search.find(text, isInside ? hit + literal.size() : values.end(row));
    }
    hits.flush();
}

}  // namespace

void findContaining(const ShortValues &values, const ValueTest &test, HitSink &sink) {
    assert(!test.literal().empty() && test.isWellFormed());
    if (test.literal().size() > FrameSearch::longestNeedle ||
        values.size() > PackedColumn::frameSize)
        return findByPlaces(values, test.literal(), sink);
    if (values.size() == 0) return;
    std::array<std::uint32_t, PackedColumn::frameSize> buffer;
    const auto ends = std::span(buffer).first(values.size());
    for (std::uint32_t row = 0; row < ends.size(); ++row)
        ends[row] = static_cast<std::uint32_t>(values.end(row));
    putInOrder(ends, 0, values.values().size());
    FrameSearch search(test.literal());
    FrameHits hits;
    search.search(values.values(), 0, ends, hits);
    if (hits.rows != 0) sink.takeFrame(0, hits);
}

void findContaining(const PlainValues &values, const ValueTest &test, HitSink &sink) {
    assert(!test.literal().empty() && test.isWellFormed());
    const bool areLong = values.values().size() / longValues >= values.size();
    if (test.literal().size() <= FrameSearch::longestNeedle && !areLong) {
        ColumnFrames frames(values, test.literal(), sink);
        for (const TrigramBlocks::Stretch &stretch : stretchesFor(values, test))
            frames.search(stretch);
        return;
    }
    PlaceSearch places(values, test.literal(), sink);
    for (const TrigramBlocks::Stretch &stretch : stretchesFor(values, test))
        places.search(stretch);
    places.finish();
}

std::vector<TrigramBlocks::Stretch> stretchesFor(const PlainValues &values, const ValueTest &test) {
    const bool isLong = test.literal().size() >= TrigramBlocks::shortestNeedle;
    if (!isLong || !values.hasTrigrams()) return {{0, values.values().size()}};
    return values.trigrams().candidates(test.literal());
}

}  // namespace zdbs::embedded
