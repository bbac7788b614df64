#include "zdbs/embedded/columns/word_index.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "sample_columns.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/columns/value_column.h"
#include "zdbs/embedded/columns/value_search.h"
#include "zdbs/embedded/columns/word_runs.h"

namespace zdbs::embedded {
namespace {

/** Columns and the index of their words; each is known by twice its place. */
class IndexedColumns {
public:
    explicit IndexedColumns(const std::vector<Texts> &columns) {
        std::vector<std::optional<ColumnWords>> words(columns.size());
        std::vector<WordIndex::Column> indexed;
        for (std::uint32_t place = 0; place < columns.size(); ++place) {
            ValueColumnBuilder builder;
            for (const std::string &text : columns[place])
                builder.add(text);
            std::vector<ValueKey> keys;
            builder.finish(columns_.emplace_back(), keys, words[place]);
            if (words[place]) indexed.push_back({place * 2, &*words[place]});
        }
        packWords(indexed, bytes_);
        if (!bytes_.empty()) index_.emplace(bytes_);
    }

    std::size_t size() const { return columns_.size(); }
    const std::string &bytes() const { return bytes_; }
    const WordIndex &index() const { return *index_; }
    bool isIndexed(std::uint32_t place) const { return scanned(place).hasWords(); }

    /** A column that does not know the index, and one that does. */
    ValueColumn scanned(std::uint32_t place) const { return ValueColumn(columns_[place]); }
    ValueColumn indexed(std::uint32_t place) const {
        ValueColumn column(columns_[place]);
        column.useWords(*index_, place * 2);
        return column;
    }

    /** By words even where a scan is cheaper; nothing where no word tells. */
    std::optional<FoundRows> byWords(std::uint32_t place, const ValueTest &test) const {
        const auto found = index_->find(test.literal());
        if (!found->hasWord) return std::nullopt;
        const PlainValues values(columns_[place]);
        return findByWords(values, test, *found, index_->rowsOf(*found, place * 2, values.size()));
    }

private:
    std::vector<std::string> columns_;
    std::string bytes_;
    std::optional<WordIndex> index_;
};

std::vector<std::uint32_t> listed(const FoundRows &found) {
    std::vector<std::uint32_t> rows;
    found.forStretches([&](std::uint32_t first, std::uint32_t end) {
        for (; first < end; ++first)
            rows.push_back(first);
    });
    return rows;
}

void expectSame(const FoundRows &found, const FoundRows &scanned, const std::string &needle) {
    ASSERT_EQ(found.count(), scanned.count()) << "'" << needle << "'";
    ASSERT_EQ(found.hits(), scanned.hits()) << "'" << needle << "'";
    ASSERT_EQ(found.size(), scanned.size());
    ASSERT_EQ(listed(found), listed(scanned)) << "'" << needle << "'";
}

/** Compares what words find with what a scan finds; answers how often words could tell. */
std::size_t expectAsByScan(const IndexedColumns &columns, const Texts &needles) {
    std::size_t told = 0;
    for (const std::string &needle : needles) {
        const ValueTest test(Relation::contains, needle, Comparing::asTexts);
        for (std::uint32_t place = 0; place < columns.size(); ++place) {
            if (!columns.isIndexed(place)) continue;
            const FoundRows scanned = columns.scanned(place).find(test);
            const ValueColumn column = columns.indexed(place);
            const FoundRows found = column.find(test);
            expectSame(found, scanned, needle);
            EXPECT_EQ(found.index(), column.indexFor(test));
            EXPECT_GE(column.estimate(test), scanned.count());
            if (needle.empty() || !test.isWellFormed()) continue;
            const auto byWords = columns.byWords(place, test);
            if (!byWords) continue;
            ++told;
            expectSame(*byWords, scanned, needle);
            if (::testing::Test::HasFatalFailure()) return told;
        }
    }
    return told;
}

/** Every text of some letters up to a size. */
Texts allTexts(std::string_view letters, std::size_t longest) {
    Texts texts = {""};
    for (std::size_t begin = 0, size = 1; size <= longest; ++size) {
        const std::size_t end = texts.size();
        for (; begin < end; ++begin)
            for (const char letter : letters)
                texts.push_back(texts[begin] + letter);
    }
    return texts;
}

TEST(WordIndex, FindsWhatAScanFindsInEverySmallText) {
    const Texts texts = allTexts("ab .", 7);
    const IndexedColumns columns({texts});
    ASSERT_TRUE(columns.isIndexed(0));
    EXPECT_GT(expectAsByScan(columns, allTexts("ab .", 4)), 300U);
}

TEST(WordIndex, FindsWhatAScanFindsOfBlanksAndOfCharactersOfSeveralBytes) {
    const Texts parts = allTexts("e~ \n", 6);
    Texts texts;
    for (const std::string &part : parts) {
        std::string text;
        for (const char c : part)
            text += c == '~' ? "\xC3\xAB" : std::string(1, c);
        texts.push_back(text +
                        " Stra\xC3\x9F"
                        "e");
    }
    const IndexedColumns columns({texts});
    ASSERT_TRUE(columns.isIndexed(0));
    Texts needles = allTexts("e \n", 4);
    for (const char *needle :
         {"\xC3\xAB", "e\xC3\xAB",
          "\xC3\xAB"
          "e",
          "\xC3\xAB\n", "\n\xC3\xAB e", "\xC3\xAB\xC3\xAB", "\xC3", "\xAB", "STRASSE",
          "stra\xC3\x9F"
          "e",
          "Stra\xC3\x9F",
          "ra\xC3\x9F"
          "e",
          "\xE2\x84\xAA"})
        needles.emplace_back(needle);
    EXPECT_GT(expectAsByScan(columns, needles), needles.size() / 2);
}

/** Prose of words by a rank's frequency, which gives words of every density. */
Texts prose(std::size_t rows, std::size_t words, std::mt19937 &random) {
    Texts texts;
    for (std::size_t row = 0; row < rows; ++row) {
        std::string text;
        for (std::size_t word = random() % 25; word > 0; --word) {
            const double share = static_cast<double>(random() % 10000) / 10000;
            const auto rank = static_cast<std::size_t>(std::pow(double(words), share));
            text += "w" + std::to_string(rank * 7919 % 10007) + (random() % 9 == 0 ? ", " : " ");
        }
        texts.push_back(text + std::to_string(row * 31 % 977));
    }
    return texts;
}

Texts needlesFrom(const Texts &texts, std::size_t count, std::mt19937 &random) {
    Texts needles = {"",
                     " ",
                     "  ",
                     ", ",
                     ",",
                     "w",
                     "1",
                     "w1",
                     "7919",
                     "nowhere",
                     "nowhere at all",
                     "w7919 nowhere",
                     " w7919 ",
                     "w7919",
                     "\xFF",
                     std::string(300, 'w'),
                     texts[7] + texts[8],
                     texts[7] + " " + texts[8]};
    for (std::size_t i = 0; i < count; ++i) {
        const std::string &text = texts[random() % texts.size()];
        const std::size_t begin = random() % (text.size() + 1);
        needles.push_back(text.substr(begin, 1 + random() % (i % 5 == 0 ? 100 : 9)));
    }
    return needles;
}

TEST(WordIndex, FindsWhatAScanFindsInProseOfSeveralColumns) {
    std::mt19937 random(1);
    const std::vector<Texts> texts = {prose(3000, 3000, random), prose(500, 20, random),
                                      prose(20000, 3000, random),
                                      sampleTexts(Kind::words, 2000, random)};
    const IndexedColumns columns(texts);
    ASSERT_TRUE(columns.isIndexed(0) && columns.isIndexed(2) && columns.isIndexed(3));
    ASSERT_FALSE(columns.isIndexed(1)) << "it is small";
    for (const Texts &column : texts)
        EXPECT_GT(expectAsByScan(columns, needlesFrom(column, 60, random)), 60U);
}

TEST(WordIndex, IsUsedWhereItCostsLessThanAScan) {
    std::mt19937 random(2);
    const IndexedColumns columns({prose(20000, 3000, random)});
    const ValueColumn column = columns.indexed(0);
    const auto indexFor = [&](const char *needle) {
        return column.indexFor({Relation::contains, needle, Comparing::asTexts});
    };
    EXPECT_EQ(indexFor("w7919"), ValueIndex::words);
    EXPECT_EQ(indexFor("w9001 w7919, "), ValueIndex::words);
    EXPECT_EQ(indexFor("nowhere"), ValueIndex::words);
    EXPECT_EQ(indexFor("w"), ValueIndex::scan);
    EXPECT_EQ(indexFor(" "), ValueIndex::scan);
}

TEST(WordIndex, IsMadeOfTextsWhoseWordsComeAgain) {
    std::mt19937 random(3);
    const auto isIndexed = [](const Texts &texts) { return IndexedColumns({texts}).isIndexed(0); };
    EXPECT_TRUE(isIndexed(prose(4000, 1000, random)));
    Texts encoded;
    Texts longOnes;
    Texts numbered;
    for (std::size_t row = 0; row < 3000; ++row) {
        std::string text;
        for (int i = 0; i < 100; ++i)
            text += "0123456789abcdefghijklmnopqrstuv"[random() % 32];
        encoded.push_back(text);
        numbered.push_back("category" + std::to_string(row) + " of " + std::to_string(row * 31));
    }
    for (int row = 0; row < 100; ++row) {
        std::string text;
        for (int word = 0; word < 2000; ++word)
            text += "w" + std::to_string(random() % 100) + " ";
        longOnes.push_back(text);
    }
    EXPECT_FALSE(isIndexed(encoded)) << "each is a word of its own";
    EXPECT_FALSE(isIndexed(longOnes)) << "all words are in all rows";
    EXPECT_FALSE(isIndexed(numbered)) << "half of the words are in one row only";
    EXPECT_FALSE(isIndexed(Texts(20000, "some words that come again and again")))
        << "it is a dictionary";
}

TEST(WordIndex, IsTheSameForTheSameColumns) {
    std::mt19937 random(4);
    const std::vector<Texts> texts = {prose(3000, 3000, random), prose(4000, 20, random)};
    const IndexedColumns one(texts);
    const IndexedColumns another(texts);
    EXPECT_EQ(one.bytes(), another.bytes());
    EXPECT_EQ(one.index().paths(), (std::vector<std::uint32_t>{0, 2}));
}

TEST(WordIndex, LeadsToNothingOutsideTheBytesWhenDamaged) {
    std::mt19937 random(5);
    const Texts texts = prose(3000, 3000, random);
    const IndexedColumns columns({texts});
    const Texts needles = needlesFrom(texts, 20, random);
    for (int round = 0; round < 300; ++round) {
        std::string damaged = columns.bytes();
        for (int i = 0; i < 8; ++i) {
            const std::size_t reach = random() % 2 == 0 ? 60 : damaged.size();
            damaged[random() % reach] = static_cast<char>(random());
        }
        if (round % 5 == 0) damaged.resize(random() % damaged.size());
        const std::vector<char> exact(damaged.begin(), damaged.end());
        const WordIndex index(std::string_view(exact.data(), exact.size()));
        ValueColumn column = columns.scanned(0);
        column.useWords(index, 0);
        for (const std::string &needle : needles) {
            try {
                const FoundRows found =
                    column.find({Relation::contains, needle, Comparing::asTexts});
                ASSERT_LE(found.count(), column.size());
            } catch (const Failure &failure) {
                ASSERT_EQ(failure.status(), Status::homeDamaged);
            }
        }
    }
}

TEST(WordRuns, AreOfOneClassAndNoSingleSpace) {
    const auto wordsIn = [](std::string_view text) {
        std::vector<std::string> words;
        forWords(text, [&](std::string_view word) { words.emplace_back(word); });
        return words;
    };
    using Words = std::vector<std::string>;
    EXPECT_EQ(wordsIn(""), Words());
    EXPECT_EQ(wordsIn(" "), Words());
    EXPECT_EQ(wordsIn("a b"), (Words{"a", "b"}));
    EXPECT_EQ(wordsIn("  a\tb."), (Words{"  ", "a", "\t", "b", "."}));
    EXPECT_EQ(wordsIn("Zo\xC3\xAB's 1-2"), (Words{"Zo\xC3\xAB", "'", "s", "1", "-", "2"}));
}

}  // namespace
}  // namespace zdbs::embedded
