#include "zdbs/embedded/columns/word_index.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/embedded/columns/found_rows.h"
#include "zdbs/embedded/columns/value_column.h"
#include "zdbs/embedded/columns/value_search.h"
#include "zdbs/embedded/columns/word_runs.h"

namespace zdbs::embedded {
namespace {

/** Words of a searched text that are looked for: one that is rare is enough. */
constexpr std::size_t mostPieces = 16;

// What things cost, in eighths of a nanosecond, about; a scan takes one a byte.
constexpr double costOfWord = 500;
constexpr double costOfPosting = 40;
constexpr double costOfPassing = 0.1;  ///< a posting of another column
constexpr double costOfLook = 1200;    ///< at the value of a row

[[noreturn]] void failDamaged() {
    throw Failure(Status::homeDamaged, {"", "the index of words"});
}

/** A word of a searched text. */
struct Piece {
    std::string_view text;
    bool isOpenInFront;  ///< whether the word in a value may begin before it,
    bool isOpenBehind;   ///< or end behind it
};

std::vector<Piece> piecesOf(std::string_view literal) {
    std::vector<Piece> pieces;
    forWords(literal, [&](std::string_view word) {
        const bool isLast = word.data() + word.size() == literal.data() + literal.size();
        if (pieces.size() < mostPieces || isLast)
            pieces.push_back({word, word.data() == literal.data(), isLast});
    });
    return pieces;
}

/** Words by number, and how often a text is in each. */
using WordHits = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

class WordSink : public HitSink {
public:
    void takeFrame(std::uint32_t first, const FrameHits &hits) override {
        for (std::uint64_t rest = hits.rows; rest != 0; rest &= rest - 1) {
            const auto place = static_cast<std::uint32_t>(std::countr_zero(rest));
            takeRow(first + place, hits.each[place]);
        }
    }

    void takeRow(std::uint32_t word, std::uint64_t hits) override {
        words_.emplace_back(word, static_cast<std::uint32_t>(hits));
    }

    WordHits words() && { return std::move(words_); }

private:
    WordHits words_;
};

WordHits wordsWith(std::string_view words, std::string_view text) {
    const ValueTest test(Relation::contains, std::string(text), Comparing::asTexts);
    WordSink sink;
    const bool isPlain = ValueHeader(words).encoding == ValueEncoding::plain;
    isPlain ? findContaining(PlainValues(words), test, sink)
            : findContaining(ShortValues(words), test, sink);
    return std::move(sink).words();
}

WordHits wordsFor(std::string_view words, const Piece &piece) {
    const ValueColumn column(words);
    if (!piece.isOpenInFront && !piece.isOpenBehind) {
        WordHits one;
        const ValueTest test(Relation::equal, std::string(piece.text), Comparing::asTexts);
        column.find(test).forStretches(
            [&](std::uint32_t first, std::uint32_t /*end*/) { one.emplace_back(first, 1); });
        return one;
    }
    WordHits found = wordsWith(words, piece.text);
    std::erase_if(found, [&](const auto &word) {
        const std::string_view text = column.at(word.first);
        return !((piece.isOpenInFront || text.starts_with(piece.text)) &&
                 (piece.isOpenBehind || text.ends_with(piece.text)));
    });
    return found;
}

PackedColumn wholeColumn(std::string_view bytes, std::size_t size) {
    if (!PackedColumn::isWhole(bytes) || PackedColumn(bytes).size() != size) failDamaged();
    return PackedColumn(bytes);
}

}  // namespace

struct WordIndex::Parts {
    std::uint32_t rows = 0;
    std::string_view words;
    PackedColumn columns;
    PackedColumn bases;
    PackedColumn counts;
    PackedColumn ends;
    PackedColumn furtherStarts;
    PackedColumn furtherWords;
    PackedColumn further;
    std::string_view postings;

    Parts(std::string_view bytes, PartCheck *check);
};

WordIndex::Parts::Parts(std::string_view bytes, PartCheck *check) {
    constexpr std::size_t frontSize = 8 + 4 * partCount;
    if (bytes.size() < frontSize) failDamaged();
    if (check != nullptr) check->require(bytes.substr(0, frontSize));
    std::memcpy(&rows, bytes.data(), sizeof rows);
    const auto parts = partsOf<partCount>(bytes);
    if (check != nullptr) check->require(bytes.substr(0, bytes.size() - parts.back().size()));
    words = parts[0];
    const bool isWhole = ValueHeader(words).encoding != ValueEncoding::dictionary &&
                         ValueColumn::isWhole(words) && PackedColumn::isWhole(parts[1]) &&
                         PackedColumn::isWhole(parts[6]);
    if (!isWhole) failDamaged();
    const std::uint32_t count = ValueHeader(words).rows;
    columns = PackedColumn(parts[1]);
    bases = wholeColumn(parts[2], columns.size());
    counts = wholeColumn(parts[3], count);
    ends = wholeColumn(parts[4], count);
    furtherStarts = wholeColumn(parts[5], columns.size() + std::size_t{1});
    furtherWords = PackedColumn(parts[6]);
    further = wholeColumn(parts[7], furtherWords.size());
    postings = parts[8];
}

WordIndex::WordIndex(std::string_view bytes, PartCheck *check) : bytes_(bytes), check_(check) {}

const WordIndex::Parts &WordIndex::parts() const {
    const std::lock_guard lock(mutex_);
    if (!parts_) parts_ = std::make_shared<const Parts>(bytes_, check_);
    return *parts_;
}

std::shared_ptr<const FoundWords> WordIndex::find(std::string_view literal) const {
    {
        const std::lock_guard lock(mutex_);
        if (last_ && last_->literal == literal) return last_;
    }
    auto found = look(literal);
    const std::lock_guard lock(mutex_);
    return last_ = std::move(found);
}

/** Adds a word with its postings. */
void WordIndex::add(std::uint32_t number, std::uint32_t hits, FoundWords &found) const {
    const Parts &all = parts();
    const RowPostings::Shape shape{all.counts.at(number), all.rows};
    const std::size_t begin = number == 0 ? 0 : all.ends.at(number - 1);
    const std::size_t end = all.ends.at(number);
    if (begin > end || end > all.postings.size() || end - begin != shape.bytes()) failDamaged();
    found.words.push_back(
        {number, hits, RowPostings(all.postings.substr(begin, end - begin), shape)});
    found.postings += shape.count;
}

std::shared_ptr<const FoundWords> WordIndex::look(std::string_view literal) const {
    const Parts &all = parts();
    auto best = std::make_shared<FoundWords>();
    best->literal = literal;
    for (const Piece &piece : piecesOf(literal)) {
        FoundWords found;
        found.literal = literal;
        found.hasWord = true;
        found.isInside = piece.text.size() == literal.size();
        for (const auto &[number, hits] : wordsFor(all.words, piece))
            add(number, hits, found);
        if (!best->hasWord || found.postings < best->postings) *best = std::move(found);
    }
    return best;
}

std::optional<WordIndex::Place> WordIndex::placeOf(std::uint32_t path) const {
    const Parts &all = parts();
    const std::uint32_t column = all.columns.lowerBound(path);
    if (column == all.columns.size() || all.columns.at(column) != path) return std::nullopt;
    const bool isLast = column + 1 == all.columns.size();
    const std::uint32_t end = isLast ? all.rows : std::min(all.bases.at(column + 1), all.rows);
    return Place{column, std::min(all.bases.at(column), end), end};
}

bool WordIndex::isCheap(const FoundWords &found, std::uint32_t path, std::size_t bytes) const {
    const std::optional<Place> place = placeOf(path);
    if (!place || !found.hasWord) return false;
    const double share = double(place->end - place->first) / std::max(parts().rows, 1U);
    const double costOfRow = found.isInside ? costOfPosting : costOfLook;
    const double cost = double(found.words.size()) * costOfWord +
                        double(found.postings) * (costOfPassing + share * costOfRow);
    return cost < static_cast<double>(bytes);
}

/** How often a word comes beyond once a row in a column. */
std::uint64_t WordIndex::furtherIn(std::uint32_t column, std::uint32_t word) const {
    const Parts &all = parts();
    const std::uint32_t size = all.furtherWords.size();
    const std::uint32_t end = std::min(all.furtherStarts.at(column + 1), size);
    std::uint32_t first = std::min(all.furtherStarts.at(column), end);
    for (std::uint32_t behind = end; first < behind;) {
        const std::uint32_t middle = first + (behind - first) / 2;
        all.furtherWords.at(middle) < word ? first = middle + 1 : behind = middle;
    }
    return first < end && all.furtherWords.at(first) == word ? all.further.at(first) : 0;
}

WordRows WordIndex::rowsOf(const FoundWords &found, std::uint32_t path, std::uint32_t rows) const {
    const std::optional<Place> place = placeOf(path);
    if (!place || place->end - place->first != rows) failDamaged();
    WordRows result;
    result.bits.resize(FoundRows::wordsFor(rows));
    for (const FoundWord &word : found.words) {
        if (check_ != nullptr) check_->require(word.postings.bytes());
        std::uint64_t count = 0;
        word.postings.forNumbers(place->first, place->end, [&](std::uint32_t number) {
            const std::uint32_t row = number - place->first;
            result.bits[row / 64] |= std::uint64_t{1} << (row % 64);
            ++count;
        });
        if (count > 0) result.hits += word.hits * (count + furtherIn(place->column, word.number));
    }
    return result;
}

std::vector<std::uint32_t> WordIndex::paths() const {
    std::vector<std::uint32_t> result(parts().columns.size());
    parts().columns.read(0, result);
    return result;
}

}  // namespace zdbs::embedded
