/** The conversions between character sets, function by function; the process runs in C.UTF-8. */
#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <memory>
#include <string>

#include "prg/xml/xpath/utils/vexa/nls_conversion.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

class NlsConversion : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr); }

    static std::string converted(const std::string &text, int32_t length) {
        return Vexa::nls2utf(text.c_str(), length, nullptr).get();
    }
};

TEST_F(NlsConversion, negativeLengthMeansTheWholeText) {
    EXPECT_EQ(converted("a\xc3\xa9z", -1), "a\xc3\xa9z");
    EXPECT_EQ(converted("a\xc3\xa9z", -7), "a\xc3\xa9z");
}

TEST_F(NlsConversion, lengthLimitsTheText) {
    EXPECT_EQ(converted("a\xc3\xa9z", 3), "a\xc3\xa9");
    EXPECT_EQ(converted("abc", 0), "");
    EXPECT_EQ(converted("", -1), "");
}

TEST_F(NlsConversion, lengthOutIsNotWritten) {
    int32_t length = 4711;
    EXPECT_STREQ(Vexa::nls2utf("abc", -1, &length).get(), "abc");
    EXPECT_EQ(length, 4711);
}

TEST_F(NlsConversion, charactersOutsideTheFirstPlaneSurvive) {
    EXPECT_EQ(converted("\xf0\x9d\x84\x9e", -1), "\xf0\x9d\x84\x9e");
}

TEST_F(NlsConversion, everyByteCanBeConverted) {
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += static_cast<char>(byte);
    const std::string result = converted(all, -1);
    EXPECT_EQ(result.substr(0, 127), all.substr(0, 127));
    EXPECT_NE(result.find("\xef\xbf\xbd"), std::string::npos);
}

TEST_F(NlsConversion, longTextIsConvertedWhole) {
    std::string text;
    for (int i = 0; i < 100000; ++i)
        text += "\xe2\x82\xac";
    EXPECT_EQ(converted(text, -1), text);
}

TEST_F(NlsConversion, lengthWrittenIsTold) {
    std::array<char16_t, 16> ucs{};
    EXPECT_EQ(nls2ucs(ucs.data(), 16, "a\xc3\xa9z", 4), 3);
    EXPECT_EQ(std::u16string(ucs.data()), u"a\u00e9z");
    std::array<char, 16> utf{};
    EXPECT_EQ(ucs2utf(utf.data(), 16, ucs.data(), 3), 4);
    EXPECT_STREQ(utf.data(), "a\xc3\xa9z");
}

TEST_F(NlsConversion, oneMoreIsToldWhenTheLengthWasMinusOne) {
    std::array<char16_t, 16> ucs{};
    EXPECT_EQ(nls2ucs(ucs.data(), 16, "abc", -1), 4);
    std::array<char, 16> utf{};
    EXPECT_EQ(ucs2utf(utf.data(), 16, ucs.data(), -1), 4);
    EXPECT_STREQ(utf.data(), "abc");
}

TEST_F(NlsConversion, lengthToldNeverExceedsTheRoomThereIs) {
    std::array<char16_t, 2> ucs{};
    EXPECT_EQ(nls2ucs(ucs.data(), 2, "abcdef", 6), 2);
    EXPECT_EQ(ucs[1], u'b');
    std::array<char, 2> utf{};
    EXPECT_EQ(ucs2utf(utf.data(), 2, u"abcdef", 6), 2);
    EXPECT_EQ(utf[1], 'b');
}

}  // namespace
