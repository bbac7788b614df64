#include "zdbs/embedded/columns/trigram_blocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace zdbs::embedded {
namespace {

constexpr std::size_t blockSize = TrigramBlocks::blockSize;

std::string words(std::size_t size) {
    std::mt19937 random(1);
    std::string text;
    while (text.size() < size)
        text += "w" + std::to_string(random() % 500) + " ";
    text.resize(size);
    return text;
}

bool isCandidate(const TrigramBlocks &blocks, std::string_view needle, std::size_t place) {
    auto stretches = blocks.candidates(needle);
    return std::any_of(stretches.begin(), stretches.end(), [place](const auto &stretch) {
        return stretch.begin <= place && place < stretch.end;
    });
}

TEST(TrigramBlocks, KeepEveryBlockInWhichANeedleBegins) {
    for (std::size_t size : {blockSize, blockSize + 1, 3 * blockSize + 777, 35 * blockSize}) {
        std::string text = words(size);
        std::string bytes;
        ASSERT_TRUE(packTrigrams(text, bytes));
        ASSERT_EQ(bytes.size(), TrigramBlocks::bytesFor(size));
        TrigramBlocks blocks(bytes, size);
        for (std::size_t length : {3U, 4U, 10U, 64U, 66U, 67U, 1000U}) {
            for (std::size_t place = 0; place + length <= size; place += 9973)
                ASSERT_TRUE(
                    isCandidate(blocks, std::string_view(text).substr(place, length), place))
                    << length << " bytes at " << place;
            ASSERT_TRUE(
                isCandidate(blocks, std::string_view(text).substr(size - length), size - length));
        }
    }
}

TEST(TrigramBlocks, KeepTheBlockOfANeedleThatCrossesIntoTheNext) {
    std::string text = words(3 * blockSize);
    std::string needle;
    for (int i = 0; i < 100; ++i)
        needle += "<" + std::to_string(i * 7919) + ">";
    for (std::size_t inside = 1; inside <= 300; inside += inside < 80 ? 3 : 31) {
        std::size_t place = blockSize - inside;
        std::string copy = text;
        copy.replace(place, needle.size(), needle);
        std::string bytes;
        ASSERT_TRUE(packTrigrams(copy, bytes));
        ASSERT_TRUE(isCandidate(TrigramBlocks(bytes, copy.size()), needle, place)) << inside;
    }
}

TEST(TrigramBlocks, LeaveOutBlocksThatLackANeedle) {
    std::string text = words(40 * blockSize);
    text.replace(7 * blockSize + 100, 8, "Zanzibar");
    std::string bytes;
    ASSERT_TRUE(packTrigrams(text, bytes));
    TrigramBlocks blocks(bytes, text.size());
    auto stretches = blocks.candidates("Zanzibar");
    ASSERT_EQ(stretches.size(), 1U);
    EXPECT_EQ(stretches[0].begin, 7 * blockSize);
    EXPECT_EQ(stretches[0].end, 8 * blockSize);
    EXPECT_TRUE(blocks.candidates("Mozambique").empty());
}

TEST(TrigramBlocks, JoinNeighboursToOneStretch) {
    std::string text = words(5 * blockSize + 9000);
    std::string bytes;
    ASSERT_TRUE(packTrigrams(text, bytes));
    auto stretches = TrigramBlocks(bytes, text.size()).candidates("w12");
    ASSERT_EQ(stretches.size(), 1U);
    EXPECT_EQ(stretches[0].begin, 0U);
    EXPECT_EQ(stretches[0].end, text.size());
}

TEST(TrigramBlocks, AreNotKeptOfTextsThatHaveMostTrigrams) {
    std::mt19937 random(2);
    std::string text(4 * blockSize, ' ');
    for (char &c : text)
        c = static_cast<char>(random());
    std::string bytes = "before";
    EXPECT_FALSE(packTrigrams(text, bytes));
    EXPECT_EQ(bytes, "before");
}

TEST(TrigramBlocks, AreFoundWrongWhereABitIsMissing) {
    std::string text = words(3 * blockSize);
    std::string bytes;
    ASSERT_TRUE(packTrigrams(text, bytes));
    EXPECT_EQ(TrigramBlocks(bytes, text.size()).firstWrong(text), 3U);
    for (std::size_t i = 0; i < bytes.size(); i += 101) {
        auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte == 0) continue;
        bytes[i] = static_cast<char>(byte & (byte - 1));
        EXPECT_LT(TrigramBlocks(bytes, text.size()).firstWrong(text), 3U) << i;
        bytes[i] = static_cast<char>(byte);
    }
}

}  // namespace
}  // namespace zdbs::embedded
