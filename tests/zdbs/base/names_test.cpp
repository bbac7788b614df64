#include "zdbs/base/names.h"

#include <gtest/gtest.h>

#include <string>

#include "zdbs/base/status.h"

namespace zdbs {
namespace {

struct NameCase {
    std::string name;
    bool valid;
};

TEST(Names, AreLettersDigitsAndThreeMarksUpTo63Bytes) {
    const NameCase cases[] = {
        {"a", true},
        {"Z", true},
        {"0", true},
        {"_", true},
        {"-", true},
        {"plays", true},
        {"a.b", true},
        {"a.", true},
        {"a..b", true},
        {"-rf", true},
        {"x_1-2.3", true},
        {std::string(63, 'n'), true},
        {"", false},
        {".", false},
        {"..", false},
        {".a", false},
        {std::string(64, 'n'), false},
        {"a/b", false},
        {"../a", false},
        {"a\\b", false},
        {"a b", false},
        {" a", false},
        {"a\n", false},
        {"a\tb", false},
        {"*", false},
        {"a*", false},
        {"a:b", false},
        {"\xc3\xa4", false},
        {"\xe4", false},
        {std::string("a\0b", 3), false},
        {std::string("\0", 1), false},
        {"a\x7f", false},
        {"a@b", false},
        {"a[", false},
        {"a`", false},
        {"a{", false},
    };
    for (const NameCase &row : cases)
        EXPECT_EQ(isValidName(row.name), row.valid) << row.name;
}

TEST(Names, OfOneByteAreValidForExactly64BytesAndTheDotOnlyInside) {
    int alone = 0;
    int inside = 0;
    for (int byte = 0; byte < 256; ++byte) {
        alone += isValidName(std::string(1, static_cast<char>(byte)));
        inside += isValidName("a" + std::string(1, static_cast<char>(byte)) + "b");
    }
    EXPECT_EQ(alone, 26 + 26 + 10 + 2);
    EXPECT_EQ(inside, 26 + 26 + 10 + 3);
}

TEST(Names, RequiredOnesThrowBadNameWithTheName) {
    EXPECT_NO_THROW(requireValidName("plays"));
    try {
        requireValidName("a/b");
        FAIL();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), Status::badName);
        EXPECT_NE(std::string(failure.what()).find("a/b"), std::string::npos) << failure.what();
    }
}

}  // namespace
}  // namespace zdbs
