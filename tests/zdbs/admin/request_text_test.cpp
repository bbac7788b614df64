#include "zdbs/admin/request_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "zdbs/base/status.h"

namespace zdbs::admin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string refusal(const std::string &text) {
    try {
        requireRequest(text);
        return "";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), Status::requestFailed);
        return failure.what();
    }
}

TEST(RequestText, OfTheShellIsRefusedWithAHint) {
    for (const char *text : {"XFIND //a", " xfind\t//a", "Xfind //a;"})
        EXPECT_THAT(refusal(text), HasSubstr("XFIND is a word of the shell")) << text;
    EXPECT_THAT(refusal("XGET //a /"), HasSubstr("--fragments"));
    for (const char *text : {"//a;", "//a; \n", ";"})
        EXPECT_THAT(refusal(text), HasSubstr("semicolon")) << text;
}

TEST(RequestText, IsTakenWhenItOnlyLooksLikeThat) {
    for (const char *text : {"XFIND", "XFIND/a", "XFINDER //a", "XFIND ", "//XGET", "//a[b=';']",
                             "//a[b='XFIND //a']", ""})
        EXPECT_EQ(refusal(text), "") << text;
}

TEST(RequestText, HasALongestLength) {
    EXPECT_EQ(refusal(std::string(longestRequest, 'x')), "");
    EXPECT_THAT(refusal(std::string(longestRequest + 1, 'x')), HasSubstr("longer than 67108864"));
}

TEST(RequestText, IsAFindCommandByItsFirstWord) {
    for (const char *text : {"FIND S=1", "find N_NAME=\"a\"", " Find\n(S=1)"})
        EXPECT_TRUE(isFindCommand(text)) << text;
    for (const char *text : {"FIND", "FIND ", "FIND/a", "FINDS S=1", "//FIND a", "", "XFIND //a"})
        EXPECT_FALSE(isFindCommand(text)) << text;
}

TEST(RequestText, IsNamedShortAndVisible) {
    EXPECT_EQ(nameOf(" //a\n"), "//a\\n");
    EXPECT_EQ(nameOf(std::string(61, 'x')), std::string(57, 'x') + "...");
    EXPECT_EQ(nameOf(""), "");
}

std::vector<std::string> linesOf(std::string text) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> stream(
        ::fmemopen(text.data(), text.size(), "r"), std::fclose);
    std::vector<std::string> lines;
    RequestLines reader(stream.get());
    while (auto line = reader.next())
        lines.push_back(*line);
    return lines;
}

TEST(RequestLines, AreThoseThatAreNotBlank) {
    EXPECT_THAT(linesOf("//a\n//b\n"), ElementsAre("//a", "//b"));
    EXPECT_THAT(linesOf("\n \t\n//a\n\r\n\n//b"), ElementsAre("//a", "//b"));
    EXPECT_THAT(linesOf("//a\r\n//b\r\n//c\r"), ElementsAre("//a", "//b", "//c"));
    EXPECT_THAT(linesOf(" //a \n"), ElementsAre(" //a "));
    EXPECT_THAT(linesOf("# no comment\n"), ElementsAre("# no comment"));
    EXPECT_THAT(linesOf(std::string("//a\0b\n//c", 9)),
                ElementsAre(std::string("//a\0b", 5), "//c"));
    EXPECT_THAT(linesOf("\n"), IsEmpty());
}

TEST(RequestLines, OfAStreamThatCannotBeReadFail) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> folder(std::fopen("/", "r"),
                                                                  std::fclose);
    RequestLines reader(folder.get());
    try {
        reader.next();
        ADD_FAILURE();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), Status::fileUnreadable);
        EXPECT_THAT(failure.what(), HasSubstr("Is a directory"));
    }
}

}  // namespace
}  // namespace zdbs::admin
