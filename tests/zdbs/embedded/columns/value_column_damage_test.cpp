#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "sample_columns.h"
#include "zdbs/embedded/columns/trigram_blocks.h"
#include "zdbs/embedded/columns/value_column.h"

namespace zdbs::embedded {
namespace {

using Rows = std::vector<std::uint32_t>;

/** Bytes in an allocation of their size: what reads behind them is found out. */
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

/** Uses all that a column can do. */
void useAll(const ValueColumn &column) {
    std::size_t bytes = 0;
    for (std::uint32_t row = 0; row < column.size(); ++row)
        for (char c : column.at(row))
            bytes += c == 'a' ? 1 : 0;
    ASSERT_LE(bytes, std::size_t{column.size()} * 1000000);
    for (const char *literal : {"5", "open_auction7919", "w17"}) {
        for (const ValueTest &test : testsFor(literal)) {
            Rows rows;
            column.select(test, 0, rows);
            ASSERT_TRUE(std::all_of(rows.begin(), rows.end(),
                                    [&](std::uint32_t row) { return row < column.size(); }));
            column.estimate(test);
            column.count(test);
            column.indexFor(test);
        }
    }
    column.sizes();
    column.check();
}

bool answersRight(const ValueColumn &column, const Texts &literals) {
    for (const std::string &literal : literals) {
        for (const ValueTest &test : testsFor(literal)) {
            Rows rows;
            column.select(test, 0, rows);
            if (rows != rowsOf(column, test)) return false;
        }
    }
    return true;
}

std::string withBit(std::string bytes, std::size_t bit) {
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << (bit % 8)));
    return bytes;
}

/** Where no change is found, the column must still answer as its values say. */
void expectBitsChecked(Kind kind, std::size_t size, std::size_t step, const Texts &literals) {
    std::mt19937 random(1);
    std::string good = columnOf(sampleTexts(kind, size, random));
    std::size_t found = 0;
    for (std::size_t bit = 0; bit < good.size() * 8; bit += step) {
        ExactBytes bytes(withBit(good, bit));
        bool isFound =
            !ValueColumn::isWhole(bytes.view()) || !ValueColumn(bytes.view()).check().empty();
        if (isFound)
            ++found;
        else
            ASSERT_TRUE(answersRight(ValueColumn(bytes.view()), literals))
                << "kind " << static_cast<int>(kind) << " byte " << bit / 8 << " bit " << bit % 8;
    }
    EXPECT_GT(found, 0U);
}

TEST(ValueColumnDamage, OfBitsOfSmallColumnsIsFoundOrHarmless) {
    for (Kind kind : allKinds)
        for (std::size_t size : {1U, 5U, 64U})
            expectBitsChecked(kind, size, size < 10 ? 1 : 37, {"5", "a"});
}

TEST(ValueColumnDamage, OfBitsOfIndexedColumnsIsFoundOrHarmless) {
    for (Kind kind : {Kind::ids, Kind::numbers, Kind::few, Kind::letters, Kind::bytes})
        expectBitsChecked(kind, 70, 7, {"5", "a"});
    expectBitsChecked(Kind::many, 500, 29, {"5"});
}

struct Part {
    std::string name;
    std::size_t begin;
    std::size_t end;
};

std::size_t number32(const std::string &bytes, std::size_t at) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

/** The parts by the sizes in the header, without the last, which has none there. */
std::vector<Part> partsOf(const std::string &bytes, const std::vector<std::string> &names) {
    std::vector<Part> parts;
    std::size_t begin = 8 + 4 * names.size();
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::size_t size = number32(bytes, 8 + 4 * i);
        parts.push_back({names[i], begin, begin + size});
        begin += size;
    }
    return parts;
}

/** Whether changes in a part, some of them, are all found. */
void expectFound(const std::string &good, const Part &part) {
    ASSERT_LT(part.begin, part.end) << part.name;
    std::mt19937 random(1);
    for (int i = 0; i < 40; ++i) {
        std::size_t bit = part.begin * 8 + random() % ((part.end - part.begin) * 8);
        std::string bytes = withBit(good, bit);
        bool isFound = !ValueColumn::isWhole(bytes) || !ValueColumn(bytes).check().empty();
        EXPECT_TRUE(isFound) << part.name << " byte " << bit / 8 - part.begin;
    }
}

TEST(ValueColumnDamage, IsFoundInEachPartOfPlainValues) {
    std::mt19937 random(2);
    // Distinct, so that none of the orders is free to change.
    Texts texts;
    for (std::size_t i = 0; i < 3000; ++i)
        texts.push_back(std::to_string((i * 7919) % 1000003));
    std::string good = columnOf(texts);
    auto parts = partsOf(good, {"ends", "order of text", "order of number", "signatures"});
    ASSERT_EQ(parts[3].begin, parts[3].end);
    parts.pop_back();
    for (const Part &part : parts)
        expectFound(good, part);
}

TEST(ValueColumnDamage, IsFoundInEachPartOfADictionary) {
    std::mt19937 random(3);
    std::string good = columnOf(sampleTexts(Kind::many, 3000, random));
    for (const Part &part : partsOf(good, {"distinct", "codes", "starts", "rows by code"}))
        if (part.name != "distinct") expectFound(good, part);
}

TEST(ValueColumnDamage, IsFoundWhereASignatureLacksABit) {
    std::mt19937 random(4);
    std::string good = columnOf(sampleTexts(Kind::words, 5000, random));
    Part part = partsOf(good, {"ends", "order of text", "order of number", "signatures"})[3];
    ASSERT_GE(part.end - part.begin, 4 * TrigramBlocks::hashes / 8);
    int tried = 0;
    for (std::size_t bit = part.begin * 8; bit < part.end * 8; bit += 401) {
        std::string bytes = withBit(good, bit);
        if (static_cast<unsigned char>(bytes[bit / 8]) > static_cast<unsigned char>(good[bit / 8]))
            continue;
        ++tried;
        auto findings = ValueColumn(bytes).check();
        ASSERT_EQ(findings.size(), 1U);
        EXPECT_EQ(findings[0].substr(0, 23), "the signature of block ");
    }
    EXPECT_GT(tried, 3);
}

TEST(ValueColumnDamage, SaysWhatIsWrong) {
    std::mt19937 random(5);
    std::string bytes = columnOf(sampleTexts(Kind::ids, 100, random));
    // The last bytes of the order of text are rows in the second frame.
    Part part = partsOf(bytes, {"ends", "order of text", "order of number", "signatures"})[1];
    bytes[part.end - 10] = static_cast<char>(bytes[part.end - 10] ^ 1);
    auto findings = ValueColumn(bytes).check();
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].substr(0, 28), "the order of texts at place ");
}

TEST(ValueColumnDamage, LeadsToNothingOutsideTheBytes) {
    std::mt19937 random(6);
    for (int round = 0; round < 500; ++round) {
        Kind kind = allKinds[random() % std::size(allKinds)];
        std::string bytes = columnOf(sampleTexts(kind, random() % 200, random));
        for (unsigned i = random() % 4; i < 4; ++i) {
            // Mostly in front, where the sizes and the directories are.
            std::size_t reach =
                random() % 3 == 0 ? bytes.size() : std::min<std::size_t>(bytes.size(), 60);
            bytes[random() % reach] = static_cast<char>(random());
        }
        if (round % 5 == 0) bytes.resize(random() % (bytes.size() + 1));
        ExactBytes exact(bytes);
        if (!ValueColumn::isWhole(exact.view())) continue;
        useAll(ValueColumn(exact.view()));
        if (HasFatalFailure()) FAIL() << "round " << round;
    }
}

TEST(ValueColumnDamage, OfLongTextsLeadsToNothingOutsideTheBytes) {
    std::mt19937 random(7);
    std::string good = columnOf(sampleTexts(Kind::words, 4000, random));
    for (int round = 0; round < 8; ++round) {
        std::string bytes = good;
        for (int i = 0; i < 100; ++i)
            bytes[24 + random() % (bytes.size() - 24)] = static_cast<char>(random());
        ExactBytes exact(bytes);
        if (ValueColumn::isWhole(exact.view())) useAll(ValueColumn(exact.view()));
    }
}

TEST(ValueColumnDamage, CutShortIsNotWhole) {
    std::mt19937 random(8);
    for (Kind kind : allKinds) {
        for (std::size_t size : {3U, 70U, 600U}) {
            std::string bytes = columnOf(sampleTexts(kind, size, random));
            for (std::size_t cut = 1; cut < bytes.size(); cut += 1 + cut / 7)
                EXPECT_FALSE(ValueColumn::isWhole(bytes.substr(0, bytes.size() - cut)))
                    << static_cast<int>(kind) << " " << size << " less " << cut;
        }
    }
}

}  // namespace
}  // namespace zdbs::embedded
