#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "foundation/string_util.h"

namespace {

TEST(StringConvert, ItoaWritesTheNumberInTheRadixAndReturnsTheBuffer) {
    struct Fact {
        int value, radix;
        const char *text;
    };
    const Fact facts[] = {
        {0, 10, "0"},
        {7, 10, "7"},
        {-42, 10, "-42"},
        {INT_MAX, 10, "2147483647"},
        {INT_MIN, 10, "-2147483648"},
        {255, 16, "ff"},
        {0, 2, "0"},
        {10, 2, "1010"},
        {-1, 16, "ffffffff"},
        {-1, 2, "11111111111111111111111111111111"},
        {-1, 8, "37777777777"},
        {INT_MIN, 16, "80000000"},
        {35, 36, "z"},
        {36, 36, "10"},
        {11, 12, "b"},
        {5, 1, ""},
        {5, 0, ""},
        {-5, 37, ""},
    };
    for (const Fact &fact : facts) {
        char buffer[33] = "untouched";
        EXPECT_EQ(itoa(fact.value, buffer, fact.radix), buffer);
        EXPECT_STREQ(buffer, fact.text) << fact.value << " in radix " << fact.radix;
    }
}

TEST(StringConvert, XtoaNegatesWhenTold) {
    struct Fact {
        unsigned long value;
        int radix;
        bool negative;
        const char *text;
    };
    const Fact facts[] = {
        {0, 10, false, "0"},
        {0, 10, true, "-0"},
        {42, 10, false, "42"},
        {0UL - 42, 10, true, "-42"},
        {0UL - 255, 16, true, "-ff"},
        {ULONG_MAX, 10, false, "18446744073709551615"},
        {ULONG_MAX, 16, false, "ffffffffffffffff"},
        {ULONG_MAX, 10, true, "-1"},
        {1UL << 63, 10, true, "-9223372036854775808"},
        {10, 11, false, "a"},
        {11, 12, false, "b"},
    };
    for (const Fact &fact : facts) {
        char buffer[66] = "untouched";
        xtoa(fact.value, buffer, fact.radix, fact.negative);
        EXPECT_STREQ(buffer, fact.text) << fact.value << " in radix " << fact.radix;
    }
}

TEST(StringConvert, XtoaNeedsNoMoreThan66Bytes) {
    char buffer[66];
    xtoa(1UL << 63, buffer, 2, true);
    EXPECT_EQ(buffer, "-1" + std::string(63, '0'));
}

TEST(StringConvert, TrimStringRemovesWhiteSpaceAtBothEnds) {
    struct Fact {
        const char *text, *trimmed;
    };
    const Fact facts[] = {
        {"", ""},
        {"a", "a"},
        {"   ", ""},
        {"  a", "a"},
        {"a  ", "a"},
        {" a b ", "a b"},
        {" \t\n\v\f\ra b\r\f\v\n\t ", "a b"},
        {"XFIND //a;\r\n", "XFIND //a;"},
        {"\xA0 a", "\xA0 a"},
    };
    for (const Fact &fact : facts) {
        std::string text = fact.text;
        TrimString(text.data());
        EXPECT_STREQ(text.c_str(), fact.trimmed);
    }
}

TEST(StringConvert, TrimStringIgnoresNull) {
    TrimString(nullptr);
}

}  // namespace
