/** What is said of a request, and how it is shown. */
#include "prg/xml/xpath/notes/notes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using notes::KnownName;
using notes::Note;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = KnownName::Kind;

std::vector<KnownName> names() {
    return {{Kind::element, "", "person", true},
            {Kind::element, "", "profession", false},
            {Kind::element, "dc", "title", false},
            {Kind::attribute, "xml", "lang", false},
            {Kind::attribute, "", "age", false}};
}

std::vector<std::string> sentences(std::string_view request, std::string_view error = "",
                                   const notes::NameSource &source = names) {
    std::vector<std::string> texts;
    for (const Note &note : notes::notesOn(request, error, source))
        texts.push_back(notes::sentenceOf(note, request));
    return texts;
}

TEST(Notes, ThereAreNoneOnRequestsThatAnswerAsXPathDoes) {
    for (const char *request :
         {"//person", "/person/profession", "//person[profession]", "//person[@age>30]",
          "//person[profession='smith']/@age", "person | profession", "//dc:title",
          "//person[position()>1][position()<4]", "//profession[contains(.,'s')]",
          "//person/../person", "//profession[contains(text(),'1')]", "//person[2]",
          "//person[profession or title]"}) {
        const auto found = sentences(request);
        const bool isAboutRoot =
            found.size() == 1 && std::string(request).find("..") != std::string::npos;
        EXPECT_TRUE(found.empty() || isAboutRoot) << request << ": " << found.front();
    }
}

TEST(Notes, UnknownNamesAreToldWithTheNearest) {
    EXPECT_THAT(sentences("//profesion"),
                ElementsAre("No element of this database is named profesion; the nearest is "
                            "profession."));
    EXPECT_THAT(sentences("//person[@agee]"),
                ElementsAre("No attribute of this database is named agee; the nearest is age."));
    EXPECT_THAT(sentences("//age"),
                ElementsAre("No element of this database is named age, but an attribute is."));
    EXPECT_THAT(sentences("//zzz"), ElementsAre("No element of this database is named zzz."));
}

TEST(Notes, UnknownPrefixesAreToldWithThoseThereAre) {
    EXPECT_THAT(sentences("//dd:title"),
                ElementsAre("No name of this database has the prefix dd; there are dc, xml."));
}

TEST(Notes, NamesAreNotAskedForWithoutNeed) {
    int asked = 0;
    const auto source = [&] {
        ++asked;
        return names();
    };
    sentences("//*[2]", "", source);
    sentences("//person[", "syntax error", source);
    EXPECT_EQ(asked, 0);
    sentences("//person", "", source);
    EXPECT_EQ(asked, 1);
}

TEST(Notes, NothingIsSaidOfNamesThatAreNotKnown) {
    EXPECT_THAT(sentences("//zzz", "", [] { return std::vector<KnownName>(); }), IsEmpty());
    EXPECT_THAT(sentences("//zzz", "", nullptr), IsEmpty());
}

TEST(Notes, PlaceOfASyntaxErrorIsUnderItsColumn) {
    struct {
        const char *request;
        std::size_t place;
    } rows[] = {{"//plant[", 8},        {"//plant]", 7}, {"", 0},     {"//bed[@id=]", 10},
                {"//bed[a b c d]", 12}, {"//bed)", 5},   {"  //", 4}, {"//ä/b[", 7}};
    for (const auto &row : rows) {
        const auto found = notes::notesOn(row.request, "syntax error", nullptr);
        ASSERT_FALSE(found.empty()) << row.request;
        EXPECT_EQ(found.front().place, row.place) << row.request;
    }
}

TEST(Notes, CaretStandsUnderTheCharacterWhateverItsBytes) {
    const std::string request = "//ä/b]";
    const auto found = notes::notesOn(request, "syntax error", nullptr);
    EXPECT_EQ(notes::linesOf(found.front(), request, 80),
              "//ä/b]\n     ^ Not understood from here on.\n");
    EXPECT_EQ(notes::sentenceOf(found.front(), request), "Column 6: Not understood from here on.");
}

TEST(Notes, LongRequestIsCutAroundThePlace) {
    const std::string request = "//" + std::string(100, 'a') + "[)" + std::string(100, 'b');
    const auto found = notes::notesOn(request, "syntax error", nullptr);
    const std::string lines = notes::linesOf(found.front(), request, 40);
    EXPECT_EQ(lines, std::string(19, 'a') + "[)" + std::string(18, 'b') + "\n" +
                         std::string(20, ' ') + "^ Not understood from here on.\n");
}

TEST(Notes, ControlCharactersOfTheRequestAreNotShown) {
    const std::string request = "//a\033[2J\n]";
    const auto found = notes::notesOn(request, "syntax error", nullptr);
    EXPECT_EQ(notes::linesOf(found.front(), request, 80).find('\033'), std::string::npos);
}

TEST(Notes, HugeAndDeepRequestsAreLeftAlone) {
    std::string deep = "//a";
    for (int i = 0; i < 1000; ++i)
        deep += "[b";
    deep += std::string(1000, ']');
    EXPECT_THAT(sentences(deep), IsEmpty());
    EXPECT_THAT(sentences("//" + std::string(1 << 20, 'a') + "[.='x']"), IsEmpty());
}

TEST(Notes, FormOfAPositionAndOfASearchedTextIsNoQuotedNumber) {
    EXPECT_THAT(sentences("//person[4294967297]"),
                ElementsAre("An integer without quotes is taken modulo 2^32."));
}

}  // namespace
