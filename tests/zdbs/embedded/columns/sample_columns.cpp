#include "sample_columns.h"

#include <algorithm>

namespace zdbs::embedded {
namespace {

std::string number(std::mt19937 &random) {
    std::string digits = std::to_string(random() % 200);
    switch (random() % 16) {
        case 0:
            return " " + digits + "\n";
        case 1:
            return "-" + digits;
        case 2:
            return digits + ".0";
        case 3:
            return "0" + digits;
        case 4:
            return digits + "e3";
        case 5:
            return random() % 2 == 0 ? "-0" : "0";
        case 6:
            return random() % 10 == 0 ? std::string(400, '9') : digits;
        case 7:
            return random() % 2 == 0 ? "NaN" : "";
        case 8:
            return "+" + digits;
        default:
            return digits + "." + std::to_string(random() % 100);
    }
}

std::string someLetters(std::size_t most, std::mt19937 &random) {
    std::string text;
    for (std::size_t size = random() % (most + 1); size > 0; --size)
        text += static_cast<char>('a' + random() % 2);
    return text;
}

std::string sentence(std::mt19937 &random) {
    std::string text;
    for (std::size_t words = random() % 30; words > 0; --words)
        text += (random() % 9 == 0 ? "Zo\xC3\xAB" : "w" + std::to_string(random() % 300)) + " ";
    return text;
}

std::string someBytes(std::mt19937 &random) {
    std::string text(random() % 6, '\0');
    for (char &c : text)
        c = static_cast<char>(random() % 3 == 0 ? 0 : random());
    return text;
}

std::string sampleText(Kind kind, std::size_t row, std::mt19937 &random) {
    switch (kind) {
        case Kind::ids:
            return "open_auction" + std::to_string((row * 7919) % 1000003);
        case Kind::numbers:
            return number(random);
        case Kind::few:
            return (random() % 2 == 0 ? "Male" : "Female") + std::string(random() % 3, '\n');
        case Kind::many:
            return random() % 3 == 0 ? "category" + std::to_string(random() % 99)
                                     : std::to_string(random() % 200);
        case Kind::letters:
            return someLetters(5, random);
        case Kind::words:
            return sentence(random);
        case Kind::bytes:
            return someBytes(random);
    }
    return {};
}

constexpr Relation allRelations[] = {
    Relation::equal,     Relation::notEqual, Relation::less,
    Relation::lessEqual, Relation::greater,  Relation::greaterEqual,
    Relation::contains,  Relation::notEmpty, Relation::any,
};

}  // namespace

Texts sampleTexts(Kind kind, std::size_t size, std::mt19937 &random) {
    Texts texts(size);
    for (std::size_t row = 0; row < size; ++row)
        texts[row] = sampleText(kind, row, random);
    return texts;
}

std::string columnOf(const Texts &texts) {
    ValueColumnBuilder builder;
    for (const std::string &text : texts)
        builder.add(text);
    std::string bytes;
    builder.finish(bytes);
    return bytes;
}

Texts sampleLiterals(const Texts &texts, std::mt19937 &random) {
    Texts literals{"",
                   "5",
                   "-3",
                   "2.50",
                   "0",
                   "-0",
                   "05",
                   "+5",
                   "1e3",
                   "100",
                   "199.5",
                   "a",
                   "ab",
                   "ba",
                   "aba",
                   "b ",
                   "Male",
                   "w1",
                   "w17 w",
                   "'",
                   "\"",
                   "'\"'",
                   "\n",
                   "Zo\xC3\xAB",
                   "\xC3",
                   "\xFF\xFE",
                   "auction1",
                   "NaN",
                   std::string(400, '9'),
                   "-" + std::string(400, '9'),
                   "no such text",
                   std::string(1, '\0'),
                   "category5",
                   "\xF4\x8F\xBF\xBF"};
    for (int i = 0; i < 8 && !texts.empty(); ++i) {
        std::size_t row = random() % texts.size();
        literals.push_back(texts[row]);
        std::string both = texts[row] + texts[std::min(row + 1, texts.size() - 1)];
        std::size_t from = random() % (both.size() + 1);
        literals.push_back(both.substr(from, 1 + random() % 20));
    }
    return literals;
}

std::vector<ValueTest> testsFor(const std::string &literal) {
    std::vector<ValueTest> tests;
    for (Relation relation : allRelations)
        for (Comparing comparing : {Comparing::asTexts, Comparing::asNumbers})
            tests.emplace_back(relation, literal, comparing);
    return tests;
}

std::vector<std::uint32_t> rowsOf(const ValueColumn &column, const ValueTest &test) {
    std::vector<std::uint32_t> rows;
    for (std::uint32_t row = 0; row < column.size(); ++row)
        if (test.matches(column.at(row))) rows.push_back(row);
    return rows;
}

std::string describe(const ValueTest &test) {
    return "relation " + std::to_string(static_cast<int>(test.relation())) +
           (test.number() ? " as numbers '" : " as texts '") + test.literal() + "'";
}

}  // namespace zdbs::embedded
