/** Hit words and ranges of value conditions. */
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/zdbs/embedded/evaluate/desk.h"
#include "tests/zdbs/support/told.h"

namespace zdbs::embedded {
namespace {

using testing::Desk;
using testing::ToldHits;

/** The hit words of a set: "record: part/field/word/length ...", record after record. */
std::string hitWords(const Desk &desk, const std::string &condition) {
    ResultSetPtr set = desk.evaluate(condition);
    std::string text;
    for (std::int64_t i = 1; i <= set->size(); ++i) {
        RecordId record = desk.database().record(*set, i);
        text += (text.empty() ? "" : "; ") + std::to_string(record) + ":";
        for (const HitWord &word : desk.database().hitWords(*set, record)) {
            text += " " + std::to_string(word.part) + "/" + std::to_string(word.field) + "/" +
                    std::to_string(word.word) + "/" + std::to_string(word.length);
            EXPECT_EQ(word.paragraph, 1);
            EXPECT_EQ(word.item, 1);
        }
    }
    return text;
}

std::int64_t hits(const Desk &desk, const std::string &condition) {
    return desk.evaluate(condition)->hits();
}

// 1 a, 2 @x, 3 text, 4 b, 5 text
const char *const song = "<a x='row boat'>row row row your boat<b>boat</b></a>";

TEST(HitWords, AreTheOccurrencesOfWhatWasSearched) {
    Desk desk({{"one", song}, {"two", "<a>boats, row</a>"}});  // 6 a, 7 text
    EXPECT_EQ(hitWords(desk, "N_TVALUE=$row$"),
              "2: 1/6/1/3; 3: 1/6/1/3 1/6/2/3 1/6/3/3; "
              "7: 2/6/2/3");
    EXPECT_EQ(hitWords(desk, "N_TYPE=TEXT AND.T N_TVALUE=$boat$"),
              "3: 1/6/5/4; 5: 1/6/1/4; 7: 2/6/1/4");
    EXPECT_EQ(hitWords(desk, "N_TVALUE=&boat&"), "5: 1/6/1/4");
    EXPECT_EQ(hitWords(desk, "N_TVALUE<\"boats\""), "5: 1/6/1/4");
    EXPECT_EQ(hits(desk, "N_TVALUE=$row$"), 5);
}

TEST(HitWords, AreAtLeastOnePerRecord) {
    Desk desk({{"one", song}, {"two", "<a/>"}});
    EXPECT_EQ(hitWords(desk, "N_TYPE=ELEMENT"), "1: 1/1/1/0; 4: 1/1/1/0; 6: 2/1/1/0");
    EXPECT_EQ(hits(desk, "N_TYPE=ELEMENT"), 3);
    EXPECT_EQ(hits(desk, "N_ID<0"), 0);
    Desk empty("<a x=''/>");
    EXPECT_EQ(hitWords(empty, "N_TVALUE=\"\""), "2: 1/1/1/0") << "an empty value has no stretch";
}

TEST(HitWords, AreCarriedThroughTheOperations) {
    Desk desk(song);
    desk.find({"N_TYPE=TEXT AND.T N_TVALUE=$boat$", "N_TYPE=TEXT AND.T N_TVALUE=$row$",
               "N_TYPE=ELEMENT", "N_TYPE=TEXT", "N_TYPE=ELEMENT AND.T N_NAME=\"b\""});
    EXPECT_EQ(hitWords(desk, "S=1"), "3: 1/6/5/4; 5: 1/6/1/4");
    EXPECT_EQ(hitWords(desk, "S=1 AND.T S=4"), "3: 1/6/5/4; 5: 1/6/1/4");
    EXPECT_EQ(hitWords(desk, "S=4 AND.T S=1"), "3: 1/6/5/4; 5: 1/6/1/4");
    EXPECT_EQ(hitWords(desk, "S=1 AND.T S=2"), "3: 1/6/1/3 1/6/2/3 1/6/3/3 1/6/5/4");
    EXPECT_EQ(hitWords(desk, "S=2 OR S=1"), "3: 1/6/1/3 1/6/2/3 1/6/3/3 1/6/5/4; 5: 1/6/1/4");
    EXPECT_EQ(hitWords(desk, "S=1 NOT.T S=2"), "5: 1/6/1/4");
    EXPECT_EQ(hitWords(desk, "S=4 NOT.T S=2"), "5: 1/1/1/0") << "not by what was taken away";
    EXPECT_EQ(hitWords(desk, "XPATH(child,3,1,2)"), "3: 1/6/5/4; 5: 1/6/1/4");
    EXPECT_EQ(hitWords(desk, "XPATH(child,5,1,1)"), "4: 1/1/1/0");
    EXPECT_EQ(hitWords(desk, "XPATH(parent,1,5,1)"), "5: 1/6/1/4");
    EXPECT_EQ(hitWords(desk, "XPATH(SELF,1,1,1,EQ,1)"), "3: 1/6/5/4; 5: 1/6/1/4");
    EXPECT_EQ(hitWords(desk, "S=1 AND N_ID=5"), "5: 1/6/1/4");
}

TEST(HitWords, AreThoseOfTheConditionThatTheNodeSatisfied) {
    Desk desk(song);
    // The attribute is hit by what was searched in it, the text by its number.
    EXPECT_EQ(hitWords(desk, "N_ID=5 OR (N_TYPE=ATTRIBUTE AND.T N_TVALUE=$row$)"),
              "2: 1/6/1/3; 5: 1/1/1/0");
    desk.find({"N_TYPE=ATTRIBUTE AND.T N_TVALUE=$row$", "N_TYPE=TEXT AND.T N_TVALUE=$boat$"});
    EXPECT_EQ(hitWords(desk, "S=1 OR S=2"), "2: 1/6/1/3; 3: 1/6/5/4; 5: 1/6/1/4");
    EXPECT_EQ(hitWords(desk, "N_TYPE=TEXT NOT N_TVALUE=$row$"), "5: 1/1/1/0");
}

TEST(HitRanges, AreThoseOfAllTheSetsOfARequest) {
    Desk desk(song);
    desk.find({"N_TYPE=TEXT AND.T N_TVALUE=$row$", "N_TYPE=ELEMENT", "XPATH(child,2,1,1)",
               "N_TYPE=TEXT AND.T N_TVALUE=&boat&"});
    const std::vector<ResultSetPtr> sets{desk.setByPath(1), desk.setByPath(2), desk.setByPath(3),
                                         desk.setByPath(4)};
    const std::map<RecordId, std::string> expected{{3, "0+3 4+3 8+3 "}, {5, "0+4 "}};
    EXPECT_EQ(ToldHits::of(desk.databaseByPath(), sets), expected) << "of no attribute";
}

TEST(HitRanges, ThatOverlapAreOne) {
    Desk desk("<a>banana split</a>");
    desk.find({"N_TVALUE=$ana$", "N_TVALUE=$nan$", "N_TVALUE=$split$", "N_TVALUE=$a $",
               "S=1 AND.T S=2 AND.T S=3 AND.T S=4"});
    const std::vector<ResultSetPtr> sets{desk.setByPath(5), desk.setByPath(5)};
    EXPECT_EQ(ToldHits::of(desk.databaseByPath(), sets).at(2), "1+4 5+2 7+5 ");
    EXPECT_EQ(hits(desk, "S=5"), 3);
}

TEST(HitWords, OfALongValueAreFoundInOnePass) {
    std::string text;
    for (int i = 0; i < 100000; ++i)
        text += "word ";
    Desk desk("<a>" + text + "</a>");
    EXPECT_EQ(hits(desk, "N_TVALUE=$word$"), 100000);
    ResultSetPtr set = desk.evaluate("N_TVALUE=$word$");
    EXPECT_EQ(desk.database().hitWords(*set, 2).back().word, 100000);
}

/** Texts of a few letters, in which what is searched is everywhere, overlapping itself. */
std::string lettersDocument(std::mt19937 &random) {
    std::string xml = "<r>";
    for (unsigned i = 0; i < 90; ++i) {
        const auto letters = [&random](unsigned longest) {
            std::string text(1 + random() % longest, 'a');
            for (char &c : text)
                c = static_cast<char>('a' + random() % 2);
            return text;
        };
        xml += "<p x='" + letters(9) + "'>" + letters(2) + "</p><q>" + letters(40) + "</q>";
    }
    return xml + "</r>";
}

TEST(HitWords, AreAsManyHoweverNodesAreKept) {
    std::mt19937 random(1);
    for (int round = 0; round < 12; ++round) {
        Desk desk({{"one", lettersDocument(random)}, {"two", lettersDocument(random)}});
        for (const char *needle : {"a", "b", "aa", "ab", "aba", "abab", "bbbb", "aabab", "c"}) {
            const std::string contained = "N_TVALUE=$" + std::string(needle) + "$";
            // The desk compares records, hits and hit words of all that it finds.
            desk.find({contained, "N_TYPE=TEXT AND.T " + contained, "N_TVALUE=$ba$",
                       "N_ID>" + std::to_string(random() % 400) + " AND.T " + contained});
            EXPECT_GE(hits(desk, contained), hits(desk, "N_TYPE=TEXT AND.T " + contained));
        }
        desk.ids("S=1 AND.T S=3");
        desk.ids("S=1 AND.T N_TVALUE=$bb$");
        desk.ids("S=2 OR S=3");
        desk.ids("S=2 NOT.T S=3");
        desk.ids("N_TVALUE=$a$ NOT.T N_TVALUE=$bb$");
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

}  // namespace
}  // namespace zdbs::embedded
