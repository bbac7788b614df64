#include "zdbs/embedded/columns/text_numbers.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace zdbs::embedded {
namespace {

/** Texts of 0 to 20 bytes of three kinds, so that many are alike but for one byte or their size. */
std::vector<std::string> similarTexts() {
    std::mt19937 random(1);
    std::vector<std::string> texts(50000);
    for (std::string &text : texts) {
        text.assign(random() % 21, 'a');
        for (int changes = 0; changes < 2 && !text.empty(); ++changes)
            text[random() % text.size()] = "a\xff\0"[random() % 3];
    }
    return texts;
}

TEST(TextNumbers, AreThoseOfTheOrderInWhichTextsFirstCome) {
    const std::vector<std::string> texts = similarTexts();
    std::map<std::string, std::uint32_t> expected;
    TextNumbers numbers;
    for (const std::string &text : texts) {
        const auto number = expected.try_emplace(text, expected.size()).first->second;
        ASSERT_EQ(numbers.numberOf(text), number) << ::testing::PrintToString(text);
    }
    ASSERT_EQ(numbers.size(), expected.size());
    for (const auto &[text, number] : expected)
        EXPECT_EQ(numbers.texts()[number], text);
    EXPECT_GT(numbers.size(), 1000U);
}

TEST(TextNumbers, OfTextsThatDifferAtOnePlaceCollideSeldom) {
    for (const std::string frame : {"#", "#aaaaaaa", "aaa#aaa", "item#", "a rather long text #"}) {
        std::vector<std::string> texts;
        for (int i = 0; i < 9999; ++i)
            texts.push_back(std::string(frame).replace(frame.find('#'), 1, std::to_string(i)));
        TextNumbers numbers;
        for (const std::string &text : texts)
            numbers.numberOf(text);
        EXPECT_LT(numbers.steps(), texts.size()) << frame;
    }
}

}  // namespace
}  // namespace zdbs::embedded
