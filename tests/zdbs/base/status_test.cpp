#include "zdbs/base/status.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace zdbs {
namespace {

std::string fileText(const std::string &path) {
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

/** The enumerators of the header, by number: lines like "    noSet = 28,". */
std::map<int, std::string> enumerators() {
    std::istringstream lines(fileText(std::string(SOURCE_DIRECTORY) + "/zdbs/base/status.h"));
    std::map<int, std::string> result;
    for (std::string line; std::getline(lines, line);) {
        std::size_t sign = line.find(" = ");
        bool isEnumerator = line.starts_with("    ") && line.ends_with(',') &&
                            sign != std::string::npos &&
                            line.find_first_not_of("0123456789,", sign + 3) == std::string::npos;
        if (isEnumerator)
            result.emplace(std::stoi(line.substr(sign + 3)), line.substr(4, sign - 4));
    }
    return result;
}

TEST(StatusTable, HasARowForEachEnumeratorAndNoOther) {
    std::map<int, std::string> expected = enumerators();
    ASSERT_GT(expected.size(), 60U);
    std::map<int, std::string> rows;
    for (const StatusRow &row : statusTable()) {
        rows.emplace(static_cast<int>(row.status), row.name);
    }
    EXPECT_EQ(rows, expected);
    EXPECT_EQ(statusTable().size(), expected.size());
}

TEST(StatusTable, NumbersSuccessOddAndFailuresEven) {
    for (const StatusRow &row : statusTable()) {
        EXPECT_EQ(succeeded(row.status), row.status == Status::ok) << row.name;
    }
}

TEST(StatusTable, SaysSomethingElseForEachStatusInOneSentence) {
    std::set<std::string> sentences;
    for (const StatusRow &row : statusTable()) {
        std::string sentence = sentenceFor(static_cast<int>(row.status));
        EXPECT_TRUE(sentences.insert(sentence).second) << sentence;
        EXPECT_TRUE(sentence.ends_with('.')) << sentence;
        EXPECT_TRUE(sentence[0] >= 'A' && sentence[0] <= 'Z') << sentence;
        EXPECT_EQ(sentence.find_first_of("{}[]"), std::string::npos) << sentence;
        EXPECT_EQ(sentence.find("  "), std::string::npos) << sentence;
        EXPECT_LT(sentence.size(), 256U) << sentence;
    }
}

TEST(StatusTable, ClosesEveryBracketAndNumbersDetailsFromZero) {
    for (const StatusRow &row : statusTable()) {
        std::string sentence(row.sentence);
        bool isOpen = false;
        for (char c : sentence) {
            if (c == '[' || c == ']') {
                EXPECT_EQ(isOpen, c == ']') << sentence;
                isOpen = c == '[';
            }
            if (c != '{') continue;
            EXPECT_TRUE(isOpen) << "a detail that cannot be left out: " << sentence;
        }
        EXPECT_FALSE(isOpen) << sentence;
        std::string all;
        for (int i = 0; sentence.find("{" + std::to_string(i) + "}") != std::string::npos; ++i) {
            all += static_cast<char>('0' + i);
        }
        EXPECT_EQ(std::count(sentence.begin(), sentence.end(), '{'),
                  static_cast<std::ptrdiff_t>(all.size()))
            << sentence;
    }
}

TEST(Failure, FillsInItsDetails) {
    EXPECT_STREQ(Failure(Status::unknownField, {"N_FOO", "6"}).what(),
                 "Unknown field N_FOO at column 6.");
    EXPECT_EQ(Failure(Status::unknownField, {"N_FOO", "6"}).status(), Status::unknownField);
}

TEST(Failure, LeavesOutWhatItIsNotGiven) {
    EXPECT_STREQ(Failure(Status::unknownField, {"N_FOO"}).what(), "Unknown field N_FOO.");
    EXPECT_STREQ(Failure(Status::unknownField, {"", "6"}).what(), "Unknown field at column 6.");
    EXPECT_STREQ(Failure(Status::unknownField).what(), "Unknown field.");
}

TEST(Failure, AddsWhatItIsGivenBeyondTheSentence) {
    EXPECT_STREQ(Failure(Status::noHits, {"really"}).what(), "The search has no hits: really.");
}

TEST(Failure, TakesBracketsAndBracesInDetailsAsText) {
    EXPECT_STREQ(Failure(Status::requestFailed, {"[{0}] {1}"}).what(),
                 "The request failed: [{0}] {1}.");
}

TEST(Failure, EscapesWhatATerminalWouldObeyAndCutsWhatIsLong) {
    EXPECT_STREQ(Failure(Status::requestFailed, {"a\x1b[2J\xc2\x9b\xe2\x80\xae"}).what(),
                 "The request failed: a\\x1b[2J\\x9b\\u202e.");
    const std::string sentence = Failure(Status::requestFailed, {std::string(5000000, 'x')}).what();
    EXPECT_LT(sentence.size(), 1100U);
    EXPECT_TRUE(
        sentence.ends_with("xxx..."
                           "."));
}

TEST(SentenceFor, KnowsEveryNumber) {
    EXPECT_EQ(sentenceFor(1), "Done.");
    EXPECT_EQ(sentenceFor(3), "Done.");
    EXPECT_EQ(sentenceFor(0), "Unknown status 0.");
    EXPECT_EQ(sentenceFor(-2), "Unknown status -2.");
    EXPECT_EQ(sentenceFor(106), "Unknown field.");
}

TEST(MessagesPage, IsWhatTheTableSays) {
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> pipe(popen(STATUS_PAGE, "r"), pclose);
    ASSERT_TRUE(pipe);
    std::string generated;
    std::array<char, 4096> buffer{};
    std::size_t count = 0;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0) {
        generated.append(buffer.data(), count);
    }
    EXPECT_EQ(generated, fileText(std::string(SOURCE_DIRECTORY) + "/docs/messages.md"))
        << "make it anew: " << STATUS_PAGE << " > docs/messages.md";
}

}  // namespace
}  // namespace zdbs
