/** Positions: in which order and among which nodes they are counted. */
#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/embedded/evaluate/desk.h"

namespace zdbs::embedded {
namespace {

using testing::Desk;

std::string element(const std::string &name) {
    return "N_TYPE=ELEMENT AND.T N_NAME=\"" + name + "\"";
}

std::string position(int set, const std::string &test) {
    std::string number = std::to_string(set);
    return "XPATH(SELF," + number + "," + number + ",1," + test + ")";
}

struct Fact {
    std::string test;
    std::string nodes;
};

TEST(Positions, SatisfyTheComparison) {
    Desk desk("<r><a/><a/><a/><a/></r>");  // 2 3 4 5
    desk.find({element("a")});
    const std::vector<Fact> facts{
        {"EQ,1", "2"},
        {"EQ,4", "5"},
        {"EQ,5", ""},
        {"EQ,0", ""},
        {"EQ,-1", "5"},
        {"EQ,-4", "2"},
        {"EQ,-5", ""},
        {"NE,1", "3 4 5"},
        {"NE,-1", "2 3 4"},
        {"NE,9", "2 3 4 5"},
        {"NE,-9", "2 3 4 5"},
        {"NE,0", "2 3 4 5"},
        {"LT,3", "2 3"},
        {"LT,1", ""},
        {"LT,-1", "2 3 4"},
        {"LE,3", "2 3 4"},
        {"LE,0", ""},
        {"LE,-2", "2 3 4"},
        {"GT,3", "5"},
        {"GT,4", ""},
        {"GT,-2", "5"},
        {"GT,-9", "2 3 4 5"},
        {"GE,3", "4 5"},
        {"GE,-2", "4 5"},
        {"GE,0", "2 3 4 5"},
        {"EQ,2.5", ""},
        {"NE,2.5", "2 3 4 5"},
        {"LT,2.5", "2 3"},
        {"LE,2.5", "2 3"},
        {"GT,1.5", "3 4 5"},
        {"GE,1.5", "3 4 5"},
        {"GT,-1.5", "5"},
        {"EQ,2.0", "3"},
        {"EQ,(2)", "3"},
        {"GT,99999999999999999999", ""},
        {"LT,99999999999999999999", "2 3 4 5"},
        {"GT,-99999999999999999999", "2 3 4 5"},
        {"EQ,-0", ""},
    };
    for (const Fact &fact : facts) {
        EXPECT_EQ(desk.ids(position(1, fact.test)), fact.nodes) << fact.test;
    }
}

TEST(Positions, OfASetWithoutAStepCountAmongSiblings) {
    // 1 r; 2 a, 3 b, 4 a(5 a, 6 a), 7 a
    Desk desk("<r><a/><b/><a><a/><a/></a><a/></r>");
    desk.find({element("a"), "N_ID=$"});
    EXPECT_EQ(desk.ids(position(1, "EQ,1")), "2 5");
    EXPECT_EQ(desk.ids(position(1, "EQ,2")), "4 6");
    EXPECT_EQ(desk.ids(position(1, "EQ,-1")), "6 7");
    EXPECT_EQ(desk.ids(position(2, "EQ,2")), "3 6");
    EXPECT_EQ(desk.ids(position(0, "EQ,2")), "3 6");
}

TEST(Positions, AtTheTopCountInTheDocument) {
    Desk desk({{"one", "<!--c--><a/><!--d-->"}, {"two", "<a/><!--e-->"}});  // 1 2 3 | 4 5
    desk.find({"N_ID=$", "XPATH(child,0,0,2)"});
    for (int set : {1, 2}) {
        EXPECT_EQ(desk.ids(position(set, "EQ,1")), "1 4");
        EXPECT_EQ(desk.ids(position(set, "EQ,2")), "2 5");
        EXPECT_EQ(desk.ids(position(set, "EQ,-1")), "3 5");
    }
}

TEST(Positions, OfAStepCountForEachContext) {
    // 1 r; 2 a(3 b, 4 b), 5 a(6 b), 7 x(8 b, 9 b)
    Desk desk("<r><a><b/><b/></a><a><b/></a><x><b/><b/></x></r>");
    desk.find({element("a"), element("b"), "XPATH(child,1,2,2)", "XPATH(descendant,0,2,2)"});
    EXPECT_EQ(desk.ids(position(3, "EQ,1")), "3 6") << "a/b[1]";
    EXPECT_EQ(desk.ids(position(3, "EQ,2")), "4") << "a/b[2]";
    EXPECT_EQ(desk.ids(position(3, "EQ,-1")), "4 6") << "a/b[last()]";
    EXPECT_EQ(desk.ids(position(4, "EQ,1")), "3 6 8")
        << "every node is a context of descendant, and r sees 3 first";
    EXPECT_EQ(desk.ids(position(4, "EQ,5")), "9") << "the fifth seen from r and from the root";
}

TEST(Positions, OnReverseAxesCountBackwards) {
    // 1 r; 2 a, 3 a, 4 x(5 a, 6 y)
    Desk desk("<r><a/><a/><x><a/><y/></x></r>");
    desk.find({element("a"), element("y"), element("x"), "XPATH(preceding,2,1,2)",
               "XPATH(preceding-sibling,3,1,2)", "XPATH(ancestor,2,0,2)",
               "XPATH(ancestor-or-self,2,0,2)"});
    EXPECT_EQ(desk.ids(position(4, "EQ,1")), "5");
    EXPECT_EQ(desk.ids(position(4, "EQ,2")), "3");
    EXPECT_EQ(desk.ids(position(4, "EQ,-1")), "2");
    EXPECT_EQ(desk.ids(position(5, "EQ,1")), "3");
    EXPECT_EQ(desk.ids(position(5, "GT,1")), "2");
    EXPECT_EQ(desk.ids(position(6, "EQ,1")), "4");
    EXPECT_EQ(desk.ids(position(6, "EQ,-1")), "1");
    EXPECT_EQ(desk.ids(position(7, "EQ,1")), "6");
    EXPECT_EQ(desk.ids(position(7, "LE,2")), "4 6");
}

TEST(Positions, OfAttributesCountInTheOrderWritten) {
    Desk desk("<r><a x='1' y='2'/><a y='3'/></r>");  // 2 a, 3 @x, 4 @y, 5 a, 6 @y
    desk.find({element("a"), "N_TYPE=ATTRIBUTE", "XPATH(attribute,1,2,2)", "XPATH(child,1,2,2)"});
    EXPECT_EQ(desk.ids(position(3, "EQ,1")), "3 6");
    EXPECT_EQ(desk.ids(position(3, "EQ,2")), "4");
    EXPECT_EQ(desk.ids(position(4, "EQ,-1")), "4 6") << "called children";
}

TEST(Positions, OfANodeInSeveralContextsCountInEach) {
    // a following-sibling::a of each of three: 3 is first of 2's; 4 is second of 2's, first of 3's
    Desk desk("<r><a/><a/><a/></r>");
    desk.find(
        {element("a"), "XPATH(following-sibling,1,1,2)", position(2, "EQ,1"), position(2, "EQ,2")});
    EXPECT_EQ(desk.ids("S=3"), "3 4");
    EXPECT_EQ(desk.ids("S=4"), "4");
    EXPECT_EQ(desk.ids(position(3, "EQ,2")), "") << "in each context one pair is left";
    EXPECT_EQ(desk.ids(position(4, "EQ,1")), "4");
    EXPECT_EQ(desk.ids("XPATH(self,3,4,1)"), "4");
}

TEST(Positions, AreKeptByDirectionOneForTheNodesThatStay) {
    // a/b[c][2]: 2 a(3 b, 4 b(c), 6 b(c)), 8 a(9 b(c))
    Desk desk("<r><a><b/><b><c/></b><b><c/></b></a><a><b><c/></b></a></r>");
    desk.find({element("a"), element("b"), element("c"), "XPATH(child,1,2,2)", "XPATH(child,4,3,1)",
               "XPATH(descendant,1,2,2)", "XPATH(child,6,3,1)"});
    EXPECT_EQ(desk.ids(position(5, "EQ,2")), "6");
    EXPECT_EQ(desk.ids(position(5, "EQ,1")), "4 9");
    EXPECT_EQ(desk.ids(position(7, "EQ,2")), "6");
}

TEST(Positions, OfAnIntersectionCountThePairsThatBothSidesHave) {
    Desk desk("<r><a/><b/><a/><b/></r>");  // 2 a, 3 b, 4 a, 5 b
    desk.find({element("a"), element("b"), "N_TYPE=ELEMENT", "XPATH(following-sibling,1,3,2)",
               "XPATH(following-sibling,2,3,2)", "S=4 AND.T S=5", "S=4 AND.T S=2",
               "S=2 AND.T S=4"});
    // S4: 2 -> 3 4 5, 4 -> 5. S5: 3 -> 4 5. No context is common.
    EXPECT_EQ(desk.ids("S=6"), "4 5");
    EXPECT_EQ(desk.ids(position(6, "GE,1")), "");
    // One side counts among siblings: the pairs of the other are kept, whichever comes first.
    EXPECT_EQ(desk.ids(position(7, "EQ,2")), "5");
    EXPECT_EQ(desk.ids(position(7, "EQ,1")), "3 5");
    EXPECT_EQ(desk.ids(position(8, "EQ,2")), "5");
}

TEST(Positions, OfADifferenceCountTheRemainingNodesOfTheFirst) {
    Desk desk("<r><a/><b/><a/><b/></r>");
    desk.find({element("a"), element("b"), "N_TYPE=ELEMENT", "XPATH(following-sibling,1,3,2)",
               "S=4 NOT.T S=1"});
    EXPECT_EQ(desk.ids("S=5"), "3 5");
    EXPECT_EQ(desk.ids(position(5, "EQ,2")), "5") << "2 -> 3 5, 4 -> 5";
}

TEST(Positions, OfAUnionOverOneStepAreMerged) {
    Desk desk("<r><a/><a/><a/><a/></r>");  // 2 3 4 5
    desk.find({element("a"), "XPATH(following-sibling,1,1,2)", position(2, "EQ,1"),
               position(2, "EQ,3"), "S=3 OR S=4", "XPATH(preceding-sibling,1,1,2)", "S=3 OR S=6"});
    // S5: 2 -> 3 5, 3 -> 4, 4 -> 5
    EXPECT_EQ(desk.ids(position(5, "EQ,2")), "5");
    EXPECT_EQ(desk.ids(position(5, "EQ,1")), "3 4 5");
    EXPECT_EQ(desk.ids(position(5, "EQ,3")), "");
    // Over different steps there is nothing to merge: the union counts among siblings.
    EXPECT_EQ(desk.ids("S=7"), "2 3 4 5");
    EXPECT_EQ(desk.ids(position(7, "EQ,4")), "5");
}

TEST(Positions, OfAUnionOnAReverseAxisAreMergedInAxisOrder) {
    Desk desk("<r><a/><a/><a/><a/></r>");
    desk.find({element("a"), "N_ID=5", "XPATH(preceding-sibling,2,1,2)", position(3, "EQ,1"),
               position(3, "EQ,3"), "S=5 OR S=4"});
    EXPECT_EQ(desk.ids(position(6, "EQ,1")), "4");
    EXPECT_EQ(desk.ids(position(6, "EQ,2")), "2");
}

TEST(Positions, TakenTwiceCountWhatIsLeft) {
    Desk desk("<r><a/><a/><a/><a/></r>");
    desk.find({element("a"), position(1, "GT,1"), position(2, "LT,3"),
               "XPATH(following-sibling,1,1,2)", position(4, "GT,1"), position(5, "EQ,1")});
    EXPECT_EQ(desk.ids("S=3"), "3 4");
    EXPECT_EQ(desk.ids("S=6"), "4 5") << "2 -> 4 5, 3 -> 5";
}

TEST(Positions, OfAFieldConditionOnASetCountItsPairs) {
    Desk desk("<r><a/><b/><a/></r>");  // 2 a, 3 b, 4 a
    desk.find({"N_ID=2", "N_TYPE=ELEMENT", "XPATH(following-sibling,1,2,2)",
               "S=3 AND.T N_NAME=\"a\"", "N_NAME=\"a\" AND.T S=3"});
    EXPECT_EQ(desk.ids(position(4, "EQ,1")), "4");
    EXPECT_EQ(desk.ids(position(5, "EQ,1")), "4");
}

/** How `a[z/position()=2]` is put: a counted path, climbed by a direct test. */
TEST(Positions, OfAPathInAPredicateAnswerItsFirstStep) {
    Desk desk("<r><a><z/></a><a><z/><z/></a></r>");  // 2 a(3 z), 4 a(5 z, 6 z)
    desk.find({element("a"), element("z"), "XPATH(child,1,2,2)", position(3, "EQ,2")});
    EXPECT_EQ(desk.ids("S=4"), "6");
    EXPECT_EQ(desk.ids("XPATH(child,1,4,1)"), "4");
}

}  // namespace
}  // namespace zdbs::embedded
