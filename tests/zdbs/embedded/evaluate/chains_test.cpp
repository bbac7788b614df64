/** Paths in predicates: chains, and attributes as children. */
#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/embedded/evaluate/desk.h"

namespace zdbs::embedded {
namespace {

using testing::Desk;

std::string element(const std::string &name) {
    return "N_TYPE=ELEMENT AND.T N_NAME=\"" + name + "\"";
}

std::string attribute(const std::string &name) {
    return "N_TYPE=ATTRIBUTE AND.T N_NAME=\"" + name + "\"";
}

// 1 r; 2 a(3 b(4 c)); 5 a(6 b); 7 a(8 c); 9 a(10 x(11 b(12 c)))
const char *const nested =
    "<r><a><b><c/></b></a><a><b/></a><a><c/></a><a><x><b><c/></b></x></a></r>";

TEST(Chains, AnswerAPathInAPredicateByItsFirstStep) {
    Desk desk(nested);
    desk.find({element("a"), element("b"), element("c"), "XPATH(child,2,3,2)"});
    EXPECT_EQ(desk.ids("S=4"), "4 12");
    EXPECT_EQ(desk.ids("XPATH(child,1,4,1)"), "2") << "a[b/c]";
    EXPECT_EQ(desk.ids("XPATH(descendant,1,4,1)"), "2 9") << "a[descendant::b/c]";
    EXPECT_EQ(desk.ids("XPATH(child,1,4,2)"), "") << "direction 2 takes the set as it is";
    EXPECT_EQ(desk.ids("XPATH(child,1,3,1)"), "7") << "a[c], no chain";
}

TEST(Chains, RestrictTheFirstStepToTheNodesFromWhichTheEndWasReached) {
    Desk desk("<r><a><b/></a><a><b><c><d/></c></b><b/></a><a><b><c/></b></a></r>");
    desk.find({element("a"), element("b"), element("c"), element("d"), "XPATH(child,2,3,2)",
               "XPATH(child,5,4,2)"});
    EXPECT_EQ(desk.ids("XPATH(child,1,5,1)"), "4 9") << "a[b/c]";
    EXPECT_EQ(desk.ids("XPATH(child,1,6,1)"), "4") << "a[b/c/d]";
}

TEST(Chains, MayBeginWithSetZero) {
    // 1 r; 2 a(3 x(4 b)); 5 a(6 b); 7 a
    Desk desk("<r><a><x><b/></x></a><a><b/></a><a/></r>");
    desk.find({element("a"), element("b"), "XPATH(child,0,2,2)"});
    EXPECT_EQ(desk.ids("S=3"), "4 6");
    EXPECT_EQ(desk.ids("XPATH(descendant-or-self,1,3,1)"), "2 5") << "a[.//b]";
    EXPECT_EQ(desk.ids("XPATH(child,1,3,1)"), "2") << "a[*/b]";
    EXPECT_EQ(desk.ids("XPATH(parent,1,3,1)"), "") << "the parent r has no child b";
}

TEST(Chains, ThatBeginWithSetZeroKnowTheDocumentRoot) {
    Desk desk("<b><a><a/></a></b>");  // 1 b, 2 a, 3 a
    desk.find({element("a"), element("b"), "XPATH(child,0,2,2)"});
    EXPECT_EQ(desk.ids("XPATH(ancestor,1,3,1)"), "2 3") << "a[ancestor::node()/b]";
    EXPECT_EQ(desk.ids("XPATH(parent,2,3,1)"), "1") << "b[parent::node()/b]";
    EXPECT_EQ(desk.ids("XPATH(parent,1,3,1)"), "");
    EXPECT_EQ(desk.ids("XPATH(ancestor-or-self,1,3,1)"), "2 3");
}

TEST(Chains, AreTestedDirectlyFromTheirOwnSets) {
    Desk desk(nested);
    desk.find({element("a"), element("b"), element("c"), "XPATH(child,1,2,2)", "XPATH(child,4,3,2)",
               "XPATH(SELF,4,4,1,EQ,1)"});
    EXPECT_EQ(desk.ids("XPATH(child,1,4,1)"), "2 5") << "the first set of the chain";
    EXPECT_EQ(desk.ids("XPATH(child,4,5,1)"), "3") << "a set inside the chain";
    EXPECT_EQ(desk.ids("XPATH(descendant,1,5,1)"), "2") << "the first set, two steps up";
    EXPECT_EQ(desk.ids("XPATH(self,4,4,1)"), "3 6") << "the set itself";
    EXPECT_EQ(desk.ids("XPATH(self,4,6,1)"), "3 6") << "the end that a position was taken of";
    EXPECT_EQ(desk.ids("XPATH(self,6,4,1)"), "3 6") << "and the other way round";
}

TEST(Chains, AreTestedDirectlyFromSetZeroWhenTheyBeginThere) {
    Desk desk("<a><b/></a>");
    desk.find({element("b"), "XPATH(child,0,1,2)"});
    EXPECT_EQ(desk.ids("XPATH(child,0,2,1)"), "1");
}

TEST(Chains, AreKeptByPositions) {
    Desk desk("<r><a><b><c/></b></a><a><b><c/><c/></b></a></r>");
    desk.find(
        {element("a"), element("b"), element("c"), "XPATH(child,2,3,2)", "XPATH(SELF,4,4,1,EQ,2)"});
    EXPECT_EQ(desk.ids("XPATH(child,1,5,1)"), "5") << "a[b/c[2]]";
}

TEST(Chains, AreKeptByDirectionOne) {
    Desk desk("<r><a><b><c/></b></a><a><b><c><d/></c></b></a></r>");
    desk.find({element("a"), element("b"), element("c"), element("d"), "XPATH(child,2,3,2)",
               "XPATH(child,5,4,1)"});
    EXPECT_EQ(desk.ids("S=6"), "7");
    EXPECT_EQ(desk.ids("XPATH(child,1,6,1)"), "5") << "a[b/c[d]]";
}

TEST(Chains, AreKeptByTheFirstOfAnIntersectionOrADifference) {
    Desk desk("<r><a><b><c x='1'/></b></a><a><b><c/></b></a></r>");
    // 1 r, 2 a, 3 b, 4 c, 5 @x, 6 a, 7 b, 8 c
    desk.find({element("a"), element("b"), element("c"), "XPATH(child,2,3,2)", "N_ID=4",
               "S=4 AND.T S=5", "S=5 AND.T S=4", "S=4 NOT.T S=5", "S=4 AND N_ID=4",
               "N_ID=4 AND S=4"});
    EXPECT_EQ(desk.ids("XPATH(child,1,6,1)"), "2") << "chain AND plain";
    EXPECT_EQ(desk.ids("XPATH(child,1,7,1)"), "") << "plain AND chain has no chain";
    EXPECT_EQ(desk.ids("XPATH(child,1,8,1)"), "6") << "chain NOT plain";
    EXPECT_EQ(desk.ids("XPATH(child,1,9,1)"), "2") << "chain AND field";
    EXPECT_EQ(desk.ids("XPATH(child,1,10,1)"), "") << "field AND chain has no chain";
}

TEST(Chains, AreKeptByAUnionOfSetsThatShareOne) {
    Desk desk("<r><a><b><c/></b></a><a><b><d/></b></a><a><c/></a></r>");
    // 2 a(3 b(4 c)), 5 a(6 b(7 d)), 8 a(9 c)
    desk.find({element("a"), element("b"), element("c"), element("d"), "XPATH(child,2,3,2)",
               "XPATH(child,2,4,2)", "S=5 OR S=6", "S=5 OR S=4", "XPATH(SELF,5,5,1,EQ,1)",
               "S=5 OR S=9"});
    EXPECT_EQ(desk.ids("XPATH(child,1,7,1)"), "2 5") << "both came down from b";
    EXPECT_EQ(desk.ids("XPATH(child,1,8,1)"), "") << "S4 did not come down: no chain";
    EXPECT_EQ(desk.ids("XPATH(child,1,10,1)"), "2") << "one is made of the other";
}

TEST(Chains, AreNotKeptAcrossDirectionTwo) {
    Desk desk(nested);
    desk.find({element("a"), element("b"), element("c"), "XPATH(child,2,3,2)",
               "XPATH(descendant,1,4,2)", element("a")});
    EXPECT_EQ(desk.ids("S=5"), "4 12");
    EXPECT_EQ(desk.ids("XPATH(child,2,5,1)"), "") << "its chain is that of a, not that of b";
    EXPECT_EQ(desk.ids("XPATH(self,6,5,1)"), "2 9") << "it came down from a";
}

TEST(Chains, StayWithAReferenceToTheSetAlone) {
    Desk desk(nested);
    desk.find({element("a"), element("b"), element("c"), "XPATH(child,2,3,2)", "(S=4)"});
    EXPECT_EQ(desk.ids("XPATH(child,1,5,1)"), "2");
    EXPECT_EQ(desk.ids("XPATH(child,2,5,1)"), "3 11") << "tested directly from b";
}

TEST(AttributesAsChildren, AreChildrenWhenTheSetHasNothingElse) {
    Desk desk("<r><a x='1'/><a y='1'/><a/></r>");  // 2 a, 3 @x, 4 a, 5 @y, 6 a
    desk.find({element("a"), attribute("x"), "N_TYPE=ATTRIBUTE", "S=3 OR S=1", "N_ID<0"});
    EXPECT_EQ(desk.ids("XPATH(child,1,2,1)"), "2");
    EXPECT_EQ(desk.ids("XPATH(child,1,3,1)"), "2 4");
    EXPECT_EQ(desk.ids("XPATH(child,1,3,2)"), "3 5");
    EXPECT_EQ(desk.ids("XPATH(child,1,4,1)"), "") << "not in a mixed set";
    EXPECT_EQ(desk.ids("XPATH(child,0,4,2)"), "2 4 6");
    EXPECT_EQ(desk.ids("XPATH(child,1,5,1)"), "");
    EXPECT_EQ(desk.ids("XPATH(descendant,1,3,1)"), "") << "of child only";
    EXPECT_EQ(desk.ids("XPATH(attribute,1,3,1)"), "2 4");
}

TEST(AttributesAsChildren, AreSeenAfterTheChainHasBeenFollowed) {
    Desk desk("<r><a><b x='1'/></a><a x='1'/><a><b/></a></r>");
    // 2 a(3 b @4), 5 a @6, 7 a(8 b)
    desk.find({element("a"), element("b"), attribute("x"), "XPATH(attribute,2,3,2)",
               "XPATH(child,2,3,2)"});
    EXPECT_EQ(desk.ids("XPATH(child,1,4,1)"), "2") << "a[b/@x]: the first step is b";
    EXPECT_EQ(desk.ids("XPATH(child,1,5,1)"), "2") << "the step to @x may be called child";
    EXPECT_EQ(desk.ids("XPATH(child,1,3,1)"), "5") << "a[@x]";
}

/** a[node()/parent::b]: what is left of node() here is an attribute, but no child is. */
TEST(AttributesAsChildren, AreNotMadeOfAFirstStepThatHadOtherNodesToo) {
    Desk desk("<a><b x='1'/></a>");
    desk.find({element("b"), "N_ID=$", "XPATH(parent,2,1,2)"});
    EXPECT_EQ(desk.ids("S=3"), "2");
    desk.find({"N_TYPE=ELEMENT"});
    EXPECT_EQ(desk.ids("XPATH(child,4,3,1)"), "");
}

TEST(AttributesAsChildren, HoldForAFirstStepOfAttributes) {
    Desk desk("<r><a x='1'><b/></a><a><b/></a></r>");  // 2 a, 3 @x, 4 b, 5 a, 6 b
    desk.find({element("a"), attribute("x"), element("b"), "XPATH(following,2,3,2)"});
    EXPECT_EQ(desk.ids("S=4"), "4 6");
    EXPECT_EQ(desk.ids("XPATH(child,1,4,1)"), "2") << "a[@x/following::b]";
}

}  // namespace
}  // namespace zdbs::embedded
