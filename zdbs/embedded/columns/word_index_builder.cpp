#include <algorithm>
#include <numeric>
#include <utility>

#include "zdbs/embedded/columns/text_numbers.h"
#include "zdbs/embedded/columns/value_layout.h"
#include "zdbs/embedded/columns/word_index.h"

namespace zdbs::embedded {
namespace {

using Numbers = std::vector<std::uint32_t>;

/** A word of a column. */
struct WordPlace {
    std::uint32_t column;
    std::uint32_t word;
};

/** The words of all columns. */
class AllWords {
public:
    explicit AllWords(std::span<const WordIndex::Column> columns) : columns_(columns) {
        for (const WordIndex::Column &column : columns) {
            bases_.push_back(rows_);
            rows_ += column.words->rowCount;
        }
        number();
        sort();
    }

    std::uint32_t rows() const { return rows_; }
    const Numbers &bases() const { return bases_; }
    std::uint32_t size() const { return texts_.size(); }
    std::string_view textAt(std::uint32_t place) const { return texts_.texts()[order_[place]]; }

    /** Where the word at a place of the order is, by column. */
    std::span<const WordPlace> placesOf(std::uint32_t place) const {
        const std::uint32_t number = order_[place];
        return std::span(places_).subspan(starts_[number], starts_[number + 1] - starts_[number]);
    }

private:
    void number() {
        Numbers numbers;
        for (const WordIndex::Column &column : columns_) {
            const RawValues words = column.words->words();
            for (std::uint32_t word = 0; word < words.size(); ++word)
                numbers.push_back(texts_.numberOf(words.at(word)));
        }
        starts_.resize(texts_.size() + std::size_t{1});
        for (const std::uint32_t number : numbers)
            ++starts_[number + 1];
        std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
        Numbers next(starts_.begin(), starts_.end() - 1);
        places_.resize(numbers.size());
        auto number = numbers.begin();
        for (std::uint32_t column = 0; column < columns_.size(); ++column) {
            for (std::uint32_t word = 0; word < columns_[column].words->ends.size(); ++word)
                places_[next[*number++]++] = {column, word};
        }
    }

    void sort() {
        order_.resize(texts_.size());
        std::iota(order_.begin(), order_.end(), 0U);
        std::sort(order_.begin(), order_.end(), [&](std::uint32_t a, std::uint32_t b) {
            return texts_.texts()[a] < texts_.texts()[b];
        });
    }

    std::span<const WordIndex::Column> columns_;
    std::uint32_t rows_ = 0;
    Numbers bases_;  ///< by column
    TextNumbers texts_;
    Numbers starts_;  ///< by number of a word, in
    std::vector<WordPlace> places_;
    Numbers order_;  ///< numbers of words by text
};

/** How often words of a column come beyond once a row, by word. */
struct Further {
    Numbers words;
    Numbers counts;
};

/** Writes the parts of an index one by one. */
class WordIndexWriter {
public:
    explicit WordIndexWriter(std::span<const WordIndex::Column> columns)
        : columns_(columns), words_(columns), further_(columns.size()) {}

    void write(std::string &bytes) {
        for (std::uint32_t place = 0; place < words_.size(); ++place)
            addWord(place);
        const std::string parts[] = {packedWords(),
                                     packed(paths()),
                                     packed(words_.bases()),
                                     packed(counts_),
                                     packed(ends_),
                                     packed(starts()),
                                     packed(joined(&Further::words)),
                                     packed(joined(&Further::counts))};
        append(words_.rows(), bytes);
        append(0, bytes);
        for (const std::string &part : parts)
            append(static_cast<std::uint32_t>(part.size()), bytes);
        for (const std::string &part : parts)
            bytes.append(part);
        bytes.append(postings_);
    }

private:
    static void append(std::uint32_t number, std::string &bytes) {
        bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
    }

    static std::string packed(const Numbers &numbers) {
        std::string bytes;
        pack(numbers, bytes);
        return bytes;
    }

    void addWord(std::uint32_t place) {
        const std::span<const WordPlace> places = words_.placesOf(place);
        rows_.clear();
        for (const WordPlace &at : places)
            addRows(at);
        packPostings(rows_, {static_cast<std::uint32_t>(rows_.size()), words_.rows()}, postings_);
        counts_.push_back(static_cast<std::uint32_t>(rows_.size()));
        ends_.push_back(static_cast<std::uint32_t>(postings_.size()));
        addFurther(place, places);
    }

    std::span<const std::uint32_t> rowsOf(const WordPlace &at) const {
        const ColumnWords &words = *columns_[at.column].words;
        const std::uint32_t begin = words.starts[at.word];
        return std::span(words.rows).subspan(begin, words.starts[at.word + 1] - begin);
    }

    void addRows(const WordPlace &at) {
        const std::uint32_t base = words_.bases()[at.column];
        for (const std::uint32_t row : rowsOf(at))
            rows_.push_back(base + row);
    }

    void addFurther(std::uint32_t place, std::span<const WordPlace> places) {
        for (const WordPlace &at : places) {
            const std::uint32_t count = columns_[at.column].words->further[at.word];
            if (count == 0) continue;
            further_[at.column].words.push_back(place);
            further_[at.column].counts.push_back(count);
        }
    }

    std::string packedWords() const {
        std::string text;
        Numbers ends;
        for (std::uint32_t place = 0; place < words_.size(); ++place) {
            text.append(words_.textAt(place));
            ends.push_back(static_cast<std::uint32_t>(text.size()));
        }
        std::string bytes;
        packInOrder({text, ends}, bytes);
        return bytes;
    }

    Numbers paths() const {
        Numbers paths;
        for (const WordIndex::Column &column : columns_)
            paths.push_back(column.path);
        return paths;
    }

    Numbers starts() const {
        Numbers starts = {0};
        for (const Further &column : further_)
            starts.push_back(starts.back() + static_cast<std::uint32_t>(column.words.size()));
        return starts;
    }

    Numbers joined(Numbers Further::*numbers) const {
        Numbers all;
        for (const Further &column : further_)
            all.insert(all.end(), (column.*numbers).begin(), (column.*numbers).end());
        return all;
    }

    std::span<const WordIndex::Column> columns_;
    AllWords words_;
    Numbers rows_;  ///< of the word in hand
    Numbers counts_;
    Numbers ends_;
    std::string postings_;
    std::vector<Further> further_;  ///< by column
};

}  // namespace

void packWords(std::span<const WordIndex::Column> columns, std::string &bytes) {
    if (!columns.empty()) WordIndexWriter(columns).write(bytes);
}

}  // namespace zdbs::embedded
