#include "zdbs/embedded/columns/frame_search.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "zdbs/embedded/values/value_test.h"

namespace zdbs::embedded {
namespace {

using Width = TextSearch::Width;
using Counts = std::vector<std::uint64_t>;

std::vector<Width> widths() {
    if (TextSearch::widest() == Width::sixteen) return {Width::sixteen};
    return {Width::sixteen, Width::thirtyTwo};
}

std::string randomText(std::size_t size, unsigned letters, std::mt19937 &random) {
    std::string text(size, 'a');
    for (char &c : text)
        c = static_cast<char>('a' + random() % letters);
    return text;
}

/** Values one behind the other, with something before and behind them that is none of them. */
struct Values {
    std::string text;
    std::size_t begin = 0;
    std::vector<std::uint32_t> ends;

    std::string_view at(std::size_t row) const {
        const std::size_t from = row == 0 ? begin : ends[row - 1];
        return std::string_view(text).substr(from, ends[row] - from);
    }
};

Values valuesOf(const std::vector<std::string> &texts, const std::string &before,
                const std::string &behind) {
    Values values{before, before.size(), {}};
    for (const std::string &text : texts) {
        values.text += text;
        values.ends.push_back(static_cast<std::uint32_t>(values.text.size()));
    }
    values.text += behind;
    return values;
}

/** One value by itself after the other. */
Counts naiveCounts(const Values &values, const std::string &needle) {
    const ValueTest test(Relation::contains, needle, Comparing::asTexts);
    Counts counts;
    for (std::size_t row = 0; row < values.ends.size(); ++row)
        counts.push_back(test.hits(values.at(row)).size());
    return counts;
}

void expectRight(const Values &values, const std::string &needle) {
    // Nothing may be read behind the text: it ends where its allocation does.
    auto exact = std::make_unique<char[]>(values.text.size());
    std::memcpy(exact.get(), values.text.data(), values.text.size());
    const Counts expected = naiveCounts(values, needle);
    for (const Width width : widths()) {
        auto search = std::make_unique<FrameSearch>(needle, width);
        FrameHits found;
        found.rows = ~std::uint64_t{0};  // what was found before is forgotten
        found.hits = 12;
        search->search({exact.get(), values.text.size()}, values.begin, values.ends, found);
        std::uint64_t sum = 0;
        for (std::size_t row = 0; row < 64; ++row) {
            const std::uint64_t hits = row < expected.size() ? expected[row] : 0;
            const bool isHit = (found.rows >> row & 1U) != 0;
            ASSERT_EQ(isHit, hits != 0) << needle << " in value " << row << " of " << values.text;
            if (isHit) {
                ASSERT_EQ(found.each[row], hits) << needle << " in '" << values.at(row) << "'";
            }
            sum += hits;
        }
        ASSERT_EQ(found.hits, sum) << needle;
    }
}

TEST(FrameSearch, CountsWhatIsInEachValueAlone) {
    std::mt19937 random(1);
    for (int round = 0; round < 4000; ++round) {
        const unsigned letters = 1 + random() % 4;
        const unsigned longest = 1 + random() % (round % 8 == 0 ? 200 : 12);
        std::vector<std::string> texts(1 + random() % 64);
        for (std::string &text : texts)
            text = randomText(random() % longest, letters, random);
        const Values values = valuesOf(texts, randomText(random() % 70, letters, random),
                                       randomText(random() % 70, letters, random));
        expectRight(values, randomText(1 + random() % 4, letters, random));
        if (HasFatalFailure()) FAIL() << "round " << round;
    }
}

TEST(FrameSearch, CountsWhatDoesNotOverlapFromTheLeft) {
    const std::vector<std::string> texts{"aaaaa", "", "a", "aa", "aaa", "abababa", "babab", "b"};
    for (const char *needle : {"a", "aa", "aaa", "aaaa", "aba", "abab", "baba", "bb", "ab"})
        expectRight(valuesOf(texts, "aaa", "aaa"), needle);
    EXPECT_EQ(naiveCounts(valuesOf(texts, "", ""), "aa"), (Counts{2, 0, 0, 1, 1, 0, 0, 0}));
}

TEST(FrameSearch, CountsInValuesOfAnyLength) {
    std::mt19937 random(2);
    for (const std::size_t size : {65000U, 65535U, 65536U, 65537U, 200000U}) {
        const std::vector<std::string> texts{"ab",
                                             randomText(size, 2, random),
                                             "",
                                             randomText(size / 2, 3, random),
                                             randomText(size / 2, 3, random),
                                             "b"};
        for (const char *needle : {"a", "ab", "aba", "abbb", "cc", "c"})
            expectRight(valuesOf(texts, "a", "b"), needle);
    }
}

TEST(FrameSearch, FindsBytesThatAreNoText) {
    const std::string zeros(3, '\0');
    const std::vector<std::string> texts{zeros, "\xff\xfe", "", "a" + zeros + "b", "\xff"};
    for (std::size_t length = 1; length <= 3; ++length)
        expectRight(valuesOf(texts, zeros, "\xff"), std::string(length, '\0'));
}

}  // namespace
}  // namespace zdbs::embedded
