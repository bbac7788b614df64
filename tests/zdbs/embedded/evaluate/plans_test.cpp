/** What is told of how records were found, where nodes are by path. */
#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/embedded/evaluate/desk.h"

namespace zdbs::embedded {
namespace {

using testing::Desk;

class PlansByPath : public ::testing::Test {
protected:
    /** The plan of a condition whose records have been found. */
    std::string plan(const std::string &condition) const {
        ResultSetPtr set = desk_.evaluateByPath(condition);
        set->size();
        return desk_.databaseByPath().plan(*set);
    }

    void SetUp() override {
        desk_.find({"N_TYPE=ELEMENT AND.T N_NAME=\"b\"", "N_TYPE=TEXT", "XPATH(child,1,2,2)",
                    "XPATH(ancestor,2,0,2)", "XPATH(following,2,2,2)",
                    "N_TYPE=ELEMENT AND.T N_ID>2", "XPATH(ancestor,2,6,2)",
                    "XPATH(SELF,5,5,1,EQ,1)", "XPATH(parent,2,0,2)"});
    }

    Desk desk_{"<a><b n='1'>one</b><b n='2'>two<c/>three</b></a>"};
};

TEST_F(PlansByPath, AreOnTheSummary) {
    EXPECT_EQ(plan("N_TYPE=ELEMENT AND.T N_NAME=\"b\""), "summary of paths");
    EXPECT_EQ(plan("N_PARENT=0 AND.T N_NAME=\"a\""), "summary of paths");
    EXPECT_EQ(plan("N_TYPE=TEXT AND.T N_ID>3"), "summary of paths, ranges of nodes");
    EXPECT_EQ(plan("N_TYPE=TEXT AND.T N_PARENT=2"), "summary of paths, ranges of nodes");
}

TEST_F(PlansByPath, TellTheIndexOfValues) {
    const std::string found = "summary of paths, index of values, scan of values";
    EXPECT_EQ(plan("N_TYPE=ATTRIBUTE AND.T N_TVALUE=&2&"), found);
    EXPECT_EQ(plan("N_TVALUE=&2&"), found);
    EXPECT_EQ(plan("N_TYPE=TEXT AND.T N_TVALUE=\"three\""), found);
    EXPECT_EQ(plan("S=2 AND.T N_TVALUE=\"three\""), "sets, " + found);
    EXPECT_EQ(plan("N_TVALUE=&no such value&"), "summary of paths, index of values");
    EXPECT_EQ(plan("N_TYPE=ATTRIBUTE AND.T N_TVALUE=&three&"), "summary of paths, index of values");
    EXPECT_EQ(plan("N_TYPE=ATTRIBUTE AND.T N_TVALUE>&2&"), "summary of paths, scan of values");
    EXPECT_EQ(plan("N_TYPE=ATTRIBUTE NOT.T N_TVALUE=&2&"), "summary of paths, scan of values");
    EXPECT_EQ(plan("N_TYPE=TEXT AND.T N_TVALUE=\"\""), "summary of paths");
    EXPECT_EQ(plan("N_TYPE=ELEMENT NOT.T N_TVALUE=&2&"), "summary of paths");
}

TEST_F(PlansByPath, OfPendingSetsGrowWhenRecordsAreFound) {
    ResultSetPtr set = desk_.evaluateByPath("N_TYPE=TEXT AND.T N_TVALUE=$t$");
    EXPECT_EQ(desk_.databaseByPath().plan(*set), "summary of paths");
    EXPECT_EQ(set->size(), 2);
    EXPECT_NE(desk_.databaseByPath().plan(*set), "summary of paths");
}

TEST_F(PlansByPath, OfJoinsAndPositionsTellTheWay) {
    EXPECT_EQ(plan("XPATH(child,1,2,2)"), "join on child by rows");
    EXPECT_EQ(plan("XPATH(child,0,2,2)"), "summary of paths");
    EXPECT_EQ(plan("XPATH(SELF,2,2,1,EQ,1)"), "positions among siblings");
    EXPECT_EQ(plan("XPATH(SELF,3,3,1,EQ,1)"), "positions among siblings");
    EXPECT_EQ(plan("XPATH(SELF,4,4,1,EQ,1)"), "positions by rows");
    EXPECT_EQ(plan("XPATH(SELF,7,7,1,EQ,1)"), "positions by rows");
    EXPECT_EQ(plan("XPATH(SELF,9,9,1,EQ,1)"), "positions among siblings");
    EXPECT_EQ(plan("XPATH(SELF,5,5,1,EQ,1)"), "positions by rows");
    EXPECT_EQ(plan("XPATH(SELF,8,8,1,EQ,1)"), "general positions");
    EXPECT_EQ(plan("S=1 AND.T S=2"), "sets");
}

}  // namespace
}  // namespace zdbs::embedded
