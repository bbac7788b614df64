#include "zdbs/embedded/columns/column_words.h"

#include <numeric>
#include <utility>

#include "zdbs/embedded/columns/text_numbers.h"
#include "zdbs/embedded/columns/word_runs.h"

namespace zdbs::embedded {
namespace {

/** Bytes of values up to which a scan of all is quick. */
constexpr std::size_t bytesFrom = std::size_t{64} * 1024;

/** Bytes after which it shows, and so often again, whether words repeat. */
constexpr std::size_t trialBytes = std::size_t{256} * 1024;

/** Bytes of a value on average up to which rows are short enough to be found by. */
constexpr std::size_t longestProse = 4096;

/** Bytes that a word has on average at most. */
constexpr std::size_t longestWord = 32;

/** Bytes of values for each distinct word at least. */
constexpr std::size_t bytesForWord = 64;

/** The words of rows, in turn. */
struct WordSequence {
    TextNumbers numbers;
    std::vector<std::uint32_t> words;  ///< numbers of them,
    std::vector<std::uint32_t> ends;   ///< and where those of each row end
};

/** Whether words come again often enough for the words not to cost more than where they are. */
bool areRepeated(const WordSequence &sequence, std::size_t bytes) {
    const std::size_t count = sequence.words.size();
    return count * longestWord >= bytes && sequence.numbers.size() <= bytes / bytesForWord &&
           sequence.numbers.steps() <= 8 * count;
}

/** Whether it shows after some bytes that they are no words. */
bool areHopeless(const WordSequence &sequence, std::size_t bytes) {
    const std::size_t count = sequence.words.size();
    return count * longestWord < bytes || sequence.numbers.size() > count / 10 * 9 ||
           sequence.numbers.steps() > 8 * count;
}

std::optional<WordSequence> sequenceOf(const RawValues &values) {
    WordSequence sequence;
    sequence.ends.reserve(values.size());
    std::size_t nextTrial = trialBytes;
    for (std::uint32_t row = 0; row < values.size(); ++row) {
        forWords(values.at(row), [&](std::string_view word) {
            sequence.words.push_back(sequence.numbers.numberOf(word));
        });
        sequence.ends.push_back(static_cast<std::uint32_t>(sequence.words.size()));
        if (values.ends[row] < nextTrial) continue;
        nextTrial = values.ends[row] + trialBytes;
        if (areHopeless(sequence, values.ends[row])) return std::nullopt;
    }
    if (!areRepeated(sequence, values.bytes.size())) return std::nullopt;
    return sequence;
}

/** Calls `take` with each row and each word of it, also those that come again in it. */
template <typename Take>
void forEachPlace(const WordSequence &sequence, Take take) {
    std::uint32_t place = 0;
    for (std::uint32_t row = 0; row < sequence.ends.size(); ++row) {
        for (; place < sequence.ends[row]; ++place)
            take(row, sequence.words[place]);
    }
}

/** Tells for each word whether it was seen in the same row before. */
class SeenWords {
public:
    explicit SeenWords(std::size_t words) : behindLast_(words) {}

    bool isRepeated(std::uint32_t row, std::uint32_t word) {
        return std::exchange(behindLast_[word], row + 1) == row + 1;
    }

private:
    std::vector<std::uint32_t> behindLast_;
};

void collectRows(const WordSequence &sequence, ColumnWords &words) {
    const std::uint32_t count = sequence.numbers.size();
    words.starts.assign(count + 1, 0);
    words.further.assign(count, 0);
    SeenWords seen(count);
    forEachPlace(sequence, [&](std::uint32_t row, std::uint32_t word) {
        ++(seen.isRepeated(row, word) ? words.further[word] : words.starts[word + 1]);
    });
    std::partial_sum(words.starts.begin(), words.starts.end(), words.starts.begin());
    words.rows.resize(words.starts.back());
    std::vector<std::uint32_t> next(words.starts.begin(), words.starts.end() - 1);
    SeenWords seenAgain(count);
    forEachPlace(sequence, [&](std::uint32_t row, std::uint32_t word) {
        if (!seenAgain.isRepeated(row, word)) words.rows[next[word]++] = row;
    });
}

}  // namespace

std::optional<ColumnWords> wordsOf(const RawValues &values) {
    const std::size_t size = values.bytes.size();
    if (size < bytesFrom || size / longestProse >= values.size()) return std::nullopt;
    const std::optional<WordSequence> sequence = sequenceOf(values);
    if (!sequence) return std::nullopt;
    ColumnWords words;
    words.rowCount = values.size();
    words.ends.reserve(sequence->numbers.size());
    for (const std::string_view word : sequence->numbers.texts()) {
        words.text.append(word);
        words.ends.push_back(static_cast<std::uint32_t>(words.text.size()));
    }
    collectRows(*sequence, words);
    return words;
}

}  // namespace zdbs::embedded
