#include "zdbs/embedded/columns/text_search.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace zdbs::embedded {
namespace {

using Width = TextSearch::Width;

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

TEST(TextSearch, FindsWhatStringFindFinds) {
    std::mt19937 random(1);
    for (int round = 0; round < 4000; ++round) {
        std::size_t size = random() % 300;
        std::string text = randomText(size, 1 + random() % 4, random);
        std::string needle =
            randomText(1 + random() % (round % 2 == 0 ? 4 : 40), 1 + random() % 3, random);
        if (round % 3 == 0 && size > 0) needle = text.substr(random() % size, 1 + random() % 40);
        // Nothing may be read behind the text: it ends where its allocation does.
        auto exact = std::make_unique<char[]>(size);
        std::memcpy(exact.get(), text.data(), size);
        std::size_t from = random() % (size + 3);
        TextSearch search(needle);
        for (Width width : widths())
            ASSERT_EQ(search.find({exact.get(), size}, from, width), text.find(needle, from))
                << "'" << needle << "' in '" << text << "' from " << from;
    }
}

TEST(TextSearch, FindsEveryNeedleLengthAtEveryPlace) {
    for (std::size_t size = 1; size <= 70; ++size) {
        std::string needle(size, 'n');
        needle.back() = 'x';
        for (std::size_t place = 0; place < 70; ++place) {
            std::string text = std::string(place, 'n') + needle + std::string(place % 5, 'n');
            for (Width width : widths())
                ASSERT_EQ(TextSearch(needle).find(text, 0, width), place) << size;
        }
    }
}

TEST(TextSearch, FindsBytesThatAreNoText) {
    std::string text(100, '\0');
    text += "\xFF\xFE\x80";
    EXPECT_EQ(TextSearch("\xFE\x80").find(text, 0), 101U);
    EXPECT_EQ(TextSearch(std::string_view("\0\xFF", 2)).find(text, 0), 99U);
}

TEST(TextSearch, GetsThroughTextsMadeToDefeatIt) {
    // Each place of the text fits the needle for thousands of bytes: compared one by one that would
    // be 4 * 10^10 of them.
    std::string text(8000000, 'a');
    std::string needle = std::string(5000, 'a') + "b" + std::string(5000, 'a');
    TextSearch search(needle);
    for (Width width : widths()) {
        EXPECT_EQ(search.find(text, 0, width), TextSearch::npos);
        text.replace(7000000, needle.size(), needle);
        EXPECT_EQ(search.find(text, 0, width), 7000000U);
        text.replace(7000000, needle.size(), needle.size(), 'a');
    }
}

}  // namespace
}  // namespace zdbs::embedded
