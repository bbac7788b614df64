/** How terms are put together, and set 0. */
#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/embedded/evaluate/desk.h"
#include "zdbs/base/status.h"

namespace zdbs::embedded {
namespace {

using testing::Desk;

struct Fact {
    std::string condition;
    std::string nodes;
};

void check(const Desk &desk, const std::vector<Fact> &facts) {
    for (const Fact &fact : facts) {
        EXPECT_EQ(desk.ids(fact.condition), fact.nodes) << fact.condition;
    }
}

TEST(Conditions, IntersectSubtractAndUnite) {
    // 1 a, 2 @x, 3 b, 4 @x, 5 text, 6 b, 7 c
    Desk desk("<a x='1'><b x='2'>t</b><b/><c/></a>");
    desk.find({"N_NAME=\"b\"", "N_TYPE=ELEMENT", "N_TYPE=ATTRIBUTE"});
    check(desk, {
                    {"S=1", "3 6"},
                    {"S=1 AND S=2", "3 6"},
                    {"S=2 AND.T S=1", "3 6"},
                    {"S=1 AND.R S=3", ""},
                    {"S=2 NOT S=1", "1 7"},
                    {"S=2 NOT.T S=1", "1 7"},
                    {"S=1 NOT S=2", ""},
                    {"S=1 OR S=3", "2 3 4 6"},
                    {"(S=1 OR S=3)", "2 3 4 6"},
                    {"S=1 OR S=1", "3 6"},
                    {"S=2 NOT S=1 OR S=3", "1 2 4 7"},
                    {"S=2 NOT (S=1 OR S=3)", "1 7"},
                    {"S=3 OR S=2 AND S=1", "2 3 4 6"},
                    {" N_ID=$ NOT.T S=2 ", "2 4 5"},
                    {"N_ID=$ NOT.T N_TYPE=ELEMENT", "2 4 5"},
                    {"S=2 AND N_NAME=\"b\"", "3 6"},
                    {"N_NAME=\"b\" AND S=2", "3 6"},
                    {"S=2 NOT N_NAME=\"b\"", "1 7"},
                    {"N_TYPE=ELEMENT NOT S=1", "1 7"},
                    {"N_TYPE=ELEMENT NOT S=1 AND N_ID>1", "7"},
                    {"S=2 AND N_ID>1 NOT S=1", "7"},
                    {"S=2 NOT N_ID>1 OR N_NAME=\"x\" AND N_PARENT=3", "1 4"},
                    {"S=2 AND (N_NAME=\"b\" OR N_NAME=\"c\") AND N_ID<7", "3 6"},
                });
}

TEST(Conditions, TakeSetZeroForEveryNode) {
    Desk desk("<a x='1'><b/></a>");
    check(desk, {
                    {"S=0", "1 2 3"},
                    {"S=0 AND N_TYPE=ELEMENT", "1 3"},
                    {"S=0 NOT N_TYPE=ELEMENT", "2"},
                    {"N_TYPE=ELEMENT NOT S=0", ""},
                    {"N_TYPE=ELEMENT OR S=0", "1 2 3"},
                    {"XPATH(self,0,0,1)", "1 3"},
                    {"XPATH(self,0,0,2)", "1 3"},
                    {"XPATH(attribute,0,0,2)", "2"},
                    {"XPATH(attribute,0,0,1)", "1"},
                    {"XPATH(child,0,0,2)", "1 3"},
                    {"XPATH(child,0,0,1)", "1"},
                    {"XPATH(descendant-or-self,0,0,2)", "1 3"},
                });
}

/** A set that was set 0 when it was made is an ordinary set: its attributes count. */
TEST(Conditions, MakeAnOrdinarySetOfSetZero) {
    Desk desk("<a x='1'><b/></a>");
    desk.find({"S=0"});
    check(desk, {
                    {"XPATH(self,1,0,1)", "1 2 3"},
                    {"XPATH(child,1,0,2)", "3"},
                    {"XPATH(parent,1,0,1)", "2 3"},
                });
}

TEST(Conditions, FailOnSetsThatAreNot) {
    Desk desk("<a/>");
    desk.find({"N_ID=$"});
    for (const char *condition : {"S=2", "S=1 AND S=2", "S=1 OR S=9", "XPATH(child,2,1,1)",
                                  "XPATH(child,1,2,1)", "XPATH(SELF,2,2,1,EQ,1)"}) {
        EXPECT_THROW(desk.ids(condition), Failure) << condition;
    }
}

/** XPATH over two documents: nothing leads from one to the other. */
TEST(Conditions, KeepDocumentsApart) {
    Desk desk({{"one", "<a><b/></a>"}, {"two", "<c><d/></c>"}});  // 1 a, 2 b, 3 c, 4 d
    check(desk, {
                    {"XPATH(following,0,0,2)", ""},
                    {"XPATH(preceding,0,0,2)", ""},
                    {"XPATH(following-sibling,0,0,2)", ""},
                    {"XPATH(ancestor,0,0,2)", "1 3"},
                    {"XPATH(SELF,0,0,1,EQ,1)", "1 2 3 4"},
                    {"XPATH(SELF,0,0,1,EQ,-1)", "1 2 3 4"},
                });
}

TEST(Conditions, WorkOnAnEmptyDatabase) {
    Desk desk(std::vector<testing::XmlSource>{});
    desk.find({"N_ID=$", "S=0"});
    for (const char *condition :
         {"N_ID=$", "S=1", "S=0", "XPATH(child,0,0,2)", "XPATH(descendant,0,1,2)",
          "XPATH(child,1,2,1)", "XPATH(SELF,1,1,1,EQ,1)", "XPATH(SELF,0,0,1,NE,1)",
          "N_TVALUE=$a$"}) {
        EXPECT_EQ(desk.ids(condition), "") << condition;
    }
}

TEST(Conditions, MayBeNestedAsDeeplyAsTheyCanBeWritten) {
    Desk desk("<a/>");
    EXPECT_EQ(desk.ids(std::string(1000, '(') + "N_ID=1" + std::string(1000, ')')), "1");
}

TEST(Plans, SayHowRecordsWereFound) {
    Desk desk("<a><b>1</b></a>");
    desk.find({"N_TYPE=ELEMENT", "XPATH(child,0,1,2)"});
    auto plan = [&](const std::string &condition) {
        return desk.database().plan(*desk.evaluate(condition));
    };
    EXPECT_EQ(plan("N_ID=$"), "scan of all nodes");
    EXPECT_EQ(plan("S=1 AND N_ID=1"), "sets, scan of the set");
    EXPECT_EQ(plan("XPATH(child,1,2,1)"), "general join on child");
    EXPECT_EQ(plan("XPATH(SELF,1,1,1,EQ,1)"), "general positions");
    EXPECT_EQ(plan("S=1 OR S=2 OR N_ID=1"), "sets, scan of all nodes");
    EXPECT_EQ(plan("(N_TYPE=ELEMENT OR N_TYPE=TEXT) AND.T N_NAME=\"a\""),
              "scan of all nodes, scan of the set");
}

}  // namespace
}  // namespace zdbs::embedded
