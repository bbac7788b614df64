#include "zdbs/load/utf8_input.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/zdbs/load/recode.h"
#include "zdbs/base/status.h"

namespace zdbs {
namespace {

/** Bytes in pieces of one size, as they may come through a pipe. */
class Pieces final : public Input {
public:
    Pieces(std::string bytes, std::size_t piece) : bytes_(std::move(bytes)), piece_(piece) {}

    std::size_t read(std::span<char> buffer) override {
        const std::size_t size = bytes_.copy(buffer.data(), std::min(piece_, buffer.size()), at_);
        at_ += size;
        return size;
    }

    std::uint64_t consumed() const override { return at_; }

private:
    std::string bytes_;
    std::size_t piece_;
    std::size_t at_ = 0;
};

std::string readAll(Utf8Input &input, std::size_t room) {
    std::string all;
    std::string buffer(room, '\0');
    while (const std::size_t size = input.read(buffer))
        all.append(buffer, 0, size);
    return all;
}

std::string someText(std::size_t size, const std::vector<std::string> &characters) {
    std::mt19937 random(7);
    std::string text;
    while (text.size() < size)
        text += characters[random() % characters.size()];
    return text;
}

struct Case {
    const char *encoding;
    std::vector<std::string> characters;
};

TEST(Utf8Input, IsTheSameHoweverItsBytesComeAndGo) {
    const Case cases[] = {
        {"UTF-8", {"a", "é", "€", "😀"}},
        {"UTF-16BE", {"a", "é", "€", "😀"}},
        {"UTF-16LE", {"😀"}},
        {"UTF-32LE", {"a", "€", "😀"}},
        {"GB18030", {"a", "é", "中", "😀"}},
        {"Shift_JIS", {"a", "ｱ", "日", "本"}},
        {"ISO-2022-JP", {"a", "b", "日", "本"}},
        {"EUC-JP", {"a", "日", "本"}},
        {"IBM1047", {"a", "é"}},
    };
    for (const Case &row : cases) {
        const std::string xml = "<?xml version='1.0' encoding='" + std::string(row.encoding) +
                                "'?><a>" + someText(20000, row.characters) + "</a>";
        const std::string bytes = recode(xml, row.encoding);
        for (const std::size_t piece : {1U, 2U, 3U, 5U, 1000U, 1000000U})
            for (const std::size_t room : {4U, 5U, 7U, 1000U, 1000000U}) {
                Pieces pieces(bytes, piece);
                Utf8Input input(pieces, "f");
                EXPECT_TRUE(readAll(input, room) == xml)
                    << row.encoding << ' ' << piece << ' ' << room;
                EXPECT_EQ(input.size(), bytes.size());
            }
    }
}

TEST(Utf8Input, OfManyTimesItsBuffersIsAllOfIt) {
    for (const char *encoding : {"UTF-16LE", "GB18030", "UTF-32BE"}) {
        const std::string xml = "<?xml version='1.0' encoding='" + std::string(encoding) +
                                "'?><a>x" + someText(3000000, {"😀", "😁", "x"}) + "</a>";
        Pieces pieces(recode(xml, encoding), 300000);
        Utf8Input input(pieces, "f");
        EXPECT_TRUE(readAll(input, 256 * 1024) == xml) << encoding;
    }
}

TEST(Utf8Input, TakesNoMoreThanItNeedsToTellTheEncoding) {
    Pieces pieces("<a>" + std::string(100000, 'x'), 10);
    const Utf8Input input(pieces, "f");
    EXPECT_EQ(pieces.consumed(), 10U);
    Pieces declared("<?xml version='1.0'?>" + std::string(100000, 'x'), 10);
    const Utf8Input other(declared, "f");
    EXPECT_EQ(declared.consumed(), 30U);
}

TEST(Utf8Input, HandsOutWhatStandsInFrontOfBadBytes) {
    for (const std::size_t piece : {1U, 4U, 1000U}) {
        Pieces pieces(recode("<a>\r\n😀é", "UTF-16LE") + std::string("\0\xdc", 2), piece);
        Utf8Input input(pieces, "f");
        std::string all;
        std::string buffer(100, '\0');
        try {
            while (const std::size_t size = input.read(buffer))
                all.append(buffer, 0, size);
            ADD_FAILURE() << "no failure";
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), Status::malformed);
            EXPECT_TRUE(std::string(failure.what()).starts_with("f:2:3: ")) << failure.what();
        }
        EXPECT_EQ(all, "<a>\r\n😀é");
    }
}

TEST(TextPlace, CountsLinesAsXmlDoesAndCharacters) {
    const std::pair<const char *, const char *> cases[] = {
        {"", "1:1"},     {"a", "1:2"},       {"é€😀", "1:4"},     {"\n", "2:1"},
        {"\r", "2:1"},   {"\r\n", "2:1"},    {"\r\r\n", "3:1"},  {"\n\r", "3:1"},
        {"\n\n", "3:1"}, {"a\r\nbc", "2:3"}, {"a\rb\nc", "3:2"}, {"\r\n\na", "3:2"},
    };
    for (const auto &[text, place] : cases) {
        TextPlace whole;
        whole.pass(text);
        EXPECT_EQ(whole.text(), place) << text;
        TextPlace byByte;
        for (const char &byte : std::string_view(text))
            byByte.pass({&byte, 1});
        EXPECT_EQ(byByte.text(), place) << text;
    }
}

}  // namespace
}  // namespace zdbs
