#include "zdbs/embedded/columns/packed_column.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace zdbs::embedded {
namespace {

using Numbers = std::vector<std::uint32_t>;

constexpr std::size_t sizes[] = {0, 1, 2, 63, 64, 65, 127, 128, 129, 191, 192, 193, 1000};

std::string packed(const Numbers &numbers) {
    std::string bytes;
    pack(numbers, bytes);
    return bytes;
}

/** Numbers of at most `width` bits above `least`, the largest among them in every frame. */
Numbers randomNumbers(std::size_t size, unsigned width, std::uint32_t least, std::mt19937 &random) {
    std::uint32_t most = width == 0 ? 0 : 0xFFFFFFFFU >> (32 - width);
    Numbers numbers(size);
    for (std::size_t i = 0; i < size; ++i) {
        bool isEdge = i % 64 < 2;
        std::uint32_t rest = isEdge ? (i % 2 == 0 ? 0 : most) : random() & most;
        numbers[i] = least + rest;
    }
    return numbers;
}

Numbers ascendingNumbers(std::size_t size, std::uint32_t largestStep, std::mt19937 &random) {
    Numbers numbers(size);
    std::uint32_t number = random() % 100;
    for (std::uint32_t &entry : numbers)
        entry = number += random() % (largestStep + 1);
    return numbers;
}

/** Bytes at the end of an allocation, with nothing behind them that could be read unnoticed. */
class ExactBytes {
public:
    explicit ExactBytes(std::string_view bytes)
        : size_(bytes.size()), bytes_(std::make_unique<char[]>(bytes.size())) {
        std::memcpy(bytes_.get(), bytes.data(), size_);
    }
    std::string_view view() const { return {bytes_.get(), size_}; }

private:
    std::size_t size_;
    std::unique_ptr<char[]> bytes_;
};

TEST(PackedColumn, ReadsBackNumbersOfEveryWidthAndSize) {
    std::mt19937 random(1);
    for (unsigned width = 0; width <= 32; ++width) {
        for (std::size_t size : sizes) {
            std::uint32_t least = width == 32 ? 0 : (0xFFFFFFFFU >> width) & random();
            Numbers numbers = randomNumbers(size, width, width == 0 ? 77 : least % 1000, random);
            ExactBytes bytes(packed(numbers));
            ASSERT_TRUE(PackedColumn::isWhole(bytes.view()));
            ASSERT_TRUE(PackedColumn::isSound(bytes.view()));
            PackedColumn column(bytes.view());
            ASSERT_EQ(column.size(), size);
            for (std::uint32_t row = 0; row < size; ++row)
                ASSERT_EQ(column.at(row), numbers[row]) << "width " << width << " row " << row;
            Numbers all(size);
            column.read(0, all);
            ASSERT_EQ(all, numbers) << "width " << width;
        }
    }
}

TEST(PackedColumn, ReadsAnyStretch) {
    std::mt19937 random(2);
    Numbers numbers = randomNumbers(500, 13, 5, random);
    std::string bytes = packed(numbers);
    PackedColumn column(bytes);
    for (std::uint32_t first = 0; first <= 200; first += 7) {
        for (std::uint32_t size = 0; first + size <= 500; size += 13) {
            Numbers out(size);
            column.read(first, out);
            ASSERT_TRUE(std::equal(out.begin(), out.end(), numbers.begin() + first))
                << first << " " << size;
        }
    }
}

TEST(PackedColumn, MixesFramesOfDifferentWidths) {
    std::mt19937 random(3);
    Numbers numbers;
    for (unsigned width : {32, 0, 1, 31, 0, 0, 7, 32, 16}) {
        Numbers frame = randomNumbers(64, width, 0, random);
        numbers.insert(numbers.end(), frame.begin(), frame.end());
    }
    numbers.push_back(0xFFFFFFFF);
    std::string bytes = packed(numbers);
    Numbers all(numbers.size());
    PackedColumn(bytes).read(0, all);
    EXPECT_EQ(all, numbers);
}

TEST(PackedColumn, TakesNoMoreBytesThanItsNumbersNeed) {
    EXPECT_EQ(packed({}).size(), 8U);
    EXPECT_EQ(packed({5}).size(), 16U);
    EXPECT_EQ(packed(Numbers(640, 9)).size(), 8U + 10 * 8);
    EXPECT_EQ(packed({0, 1}).size(), 24U);
}

TEST(PackedColumn, IsLaidOutAsDescribed) {
    // count 3, one word; smallest 5, width 3, first word 0; then 0, 2, 4 in three bits each
    const std::string expected("\3\0\0\0\1\0\0\0\5\0\0\0\3\0\0\0\x10\1\0\0\0\0\0\0", 24);
    EXPECT_EQ(packed({5, 7, 9}), expected);
}

TEST(PackedColumn, AppendsToBytesThatAreThere) {
    std::string bytes = "abc";
    pack(Numbers{1, 2, 3}, bytes);
    EXPECT_EQ(bytes.substr(0, 3), "abc");
    EXPECT_EQ(bytes.substr(3), packed({1, 2, 3}));
}

TEST(PackedColumn, OfNothingIsEmpty) {
    PackedColumn column;
    EXPECT_TRUE(column.empty());
    EXPECT_EQ(column.lowerBound(0), 0U);
    column.read(0, {});
}

TEST(PackedColumn, FindsWhatStdLowerBoundFinds) {
    std::mt19937 random(4);
    for (std::size_t size : sizes) {
        for (std::uint32_t step : {0U, 1U, 3U, 1000U, 4000000U}) {
            Numbers numbers = ascendingNumbers(size, step, random);
            std::string bytes = packed(numbers);
            PackedColumn column(bytes);
            for (int i = 0; i < 300; ++i) {
                auto from = static_cast<std::uint32_t>(random() % (size + 2));
                std::uint32_t number =
                    size == 0 ? random() : numbers[random() % size] + random() % 3;
                auto first = numbers.begin() +
                             static_cast<std::ptrdiff_t>(std::min<std::size_t>(from, size));
                auto expected = std::lower_bound(first, numbers.end(), number) - numbers.begin();
                ASSERT_EQ(column.lowerBound(number, from), expected)
                    << "size " << size << " step " << step << " from " << from;
            }
            ASSERT_EQ(column.lowerBound(0), 0U);
        }
    }
}

TEST(PackedColumn, TakesDuplicatesAcrossFramesForTheFirst) {
    Numbers numbers(300, 4);
    std::fill(numbers.begin(), numbers.begin() + 100, 1);
    std::string bytes = packed(numbers);
    EXPECT_EQ(PackedColumn(bytes).lowerBound(4), 100U);
    EXPECT_EQ(PackedColumn(bytes).lowerBound(4, 250), 250U);
    EXPECT_EQ(PackedColumn(bytes).lowerBound(5), 300U);
}

TEST(PackedColumn, IsNotWholeWhenCutShort) {
    std::mt19937 random(5);
    std::string bytes = packed(randomNumbers(200, 9, 3, random));
    for (std::size_t size = 0; size < bytes.size(); ++size)
        ASSERT_FALSE(PackedColumn::isWhole(std::string_view(bytes).substr(0, size))) << size;
    EXPECT_TRUE(PackedColumn::isWhole(bytes + "x"));
    EXPECT_FALSE(PackedColumn::isSound(bytes + "x"));
}

TEST(PackedColumn, IsNotSoundWithAnyBitOfTheDirectoryOrTheWordsChanged) {
    std::string good = packed({5, 7, 9, 1000, 12, 100000});
    for (std::size_t bit = 0; bit < good.size() * 8; ++bit) {
        std::string bytes = good;
        bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << (bit % 8)));
        Numbers numbers;
        if (PackedColumn::isSound(bytes)) {
            numbers.resize(PackedColumn(bytes).size());
            PackedColumn(bytes).read(0, numbers);
        }
        // A number may have changed into another one; then the bytes are those of that one.
        if (!numbers.empty()) {
            ASSERT_EQ(packed(numbers), bytes) << "bit " << bit;
        }
    }
}

TEST(PackedColumn, ReadsNothingOutsideDamagedBytes) {
    std::mt19937 random(6);
    for (int round = 0; round < 3000; ++round) {
        std::string bytes = packed(randomNumbers(random() % 200, random() % 33, 0, random));
        for (unsigned i = random() % 4; i < 4; ++i)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        if (round % 2 == 0) bytes.resize(random() % (bytes.size() + 1));
        ExactBytes exact(bytes);
        if (!PackedColumn::isWhole(exact.view())) continue;
        PackedColumn column(exact.view());
        Numbers all(column.size());
        column.read(0, all);
        for (std::uint32_t row = 0; row < column.size(); ++row)
            ASSERT_EQ(column.at(row), all[row]);
        ASSERT_LE(column.lowerBound(static_cast<std::uint32_t>(random())), column.size());
        PackedColumn::isSound(exact.view());
    }
}

}  // namespace
}  // namespace zdbs::embedded
