#include "zdbs/language/command_parser.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/language/command_text.h"

namespace zdbs {
namespace {

using testing::parsed;

struct Fact {
    std::string line;
    std::string meaning;
};

void check(const std::vector<Fact> &facts) {
    for (const Fact &fact : facts)
        EXPECT_EQ(parsed(fact.line), fact.meaning) << fact.line;
}

TEST(Commands, AreReadInAnyCaseWithBlanksWhereverTokensEnd) {
    check({
        {"BASE plays", "base plays"},
        {"base plays", "base plays"},
        {"  Base \t plays-2.x_ ", "base plays-2.x_"},
        {"DELETE S=1", "delete 1"},
        {"DELETE           S              =1", "delete 1"},
        {"delete s = 1 , S=3,S=2", "delete 1 3 2"},
        {"RENUMBER", "renumber"},
        {" renumber ", "renumber"},
        {"DEFINE HITS", "define hits"},
        {"define hits", "define hits"},
        {"DEFINE FIND MIN=0", "define min 0"},
        {"DEFINE FIND MIN = 5", "define min 5"},
        {"Define\nFind\tMin=0", "define min 0"},
        {"FIND S=3", "find [[S3]]"},
        {"find s = 3", "find [[S3]]"},
        {"FIND(S=3)", "find [[[[S3]]]]"},
        {"FIND S=0", "find [[S0]]"},
        {"FIND  N_ID=$ ", "find [[id:given:]]"},
    });
}

TEST(Conditions, BindAndTighterThanOrAndRunLeftToRight) {
    check({
        {"FIND S=1 OR S=2", "find [[S1] | [S2]]"},
        {"FIND S=1 AND S=2", "find [[S1 & S2]]"},
        {"FIND S=1 AND.T S=2 AND.R S=3", "find [[S1 & S2 & S3]]"},
        {"FIND S=1 NOT S=2 NOT.T S=3", "find [[S1 - S2 - S3]]"},
        {"FIND S=1 OR S=2 AND S=3 OR S=4", "find [[S1] | [S2 & S3] | [S4]]"},
        {"FIND S=1 NOT S=2 AND S=3", "find [[S1 - S2 & S3]]"},
        {"FIND (S=1 OR S=2) AND S=3", "find [[[[S1] | [S2]] & S3]]"},
        {"FIND S=12 AND (S=4 OR S=7)", "find [[S12 & [[S4] | [S7]]]]"},
        {"FIND (S=3 or S=5)", "find [[[[S3] | [S5]]]]"},
        {"FIND (S=3 and.t S=5)", "find [[[[S3 & S5]]]]"},
        {"FIND ((S=1))", "find [[[[[[S1]]]]]]"},
        {"FIND S=1 AND(S=2)", "find [[S1 & [[S2]]]]"},
        {"FIND S=12 AND.R S=4", "find [[S12 & S4]]"},
        {"FIND  N_ID=$ NOT.T S=4 ", "find [[id:given: - S4]]"},
    });
}

TEST(FieldTerms, KnowEveryFieldAndEveryRelation) {
    check({
        {"FIND N_ID=5", "find [[id:eq:5]]"},
        {"FIND N_ID=\"5\"", "find [[id:eq:5]]"},
        {"FIND N_ID=&5&", "find [[id:eq:5]]"},
        {"FIND N_ID<>5", "find [[id:ne:5]]"},
        {"FIND N_ID<5", "find [[id:lt:5]]"},
        {"FIND N_ID<=\"5\"", "find [[id:le:5]]"},
        {"FIND N_ID>\"5\"", "find [[id:gt:5]]"},
        {"FIND N_ID >= 2.5", "find [[id:ge:2.5]]"},
        {"FIND N_PARENT=0", "find [[parent:eq:0]]"},
        {"FIND N_PARENT=$", "find [[parent:given:]]"},
        {"FIND N_PARENT=0 AND.T N_TYPE=ELEMENT", "find [[parent:eq:0 & type:eq:ELEMENT]]"},
        {"FIND N_TYPE=TEXT", "find [[type:eq:TEXT]]"},
        {"FIND n_type=TEXT", "find [[type:eq:TEXT]]"},
        {"FIND N_TYPE<>\"TEXT\"", "find [[type:ne:TEXT]]"},
        {"FIND (N_TYPE=ELEMENT OR N_TYPE=TEXT)", "find [[[[type:eq:ELEMENT] | [type:eq:TEXT]]]]"},
        {"FIND N_NAME=\"a\"", "find [[name:eq:a]]"},
        {"FIND N_NAME = \"a\"", "find [[name:eq:a]]"},
        {"FIND N_NAME=a", "find [[name:eq:a]]"},
        {"FIND N_NAME=\"*\"", "find [[name:eq:*]]"},
        {"FIND N_NAME=*", "find [[name:eq:*]]"},
        {"FIND N_NAME=\"\"", "find [[name:any:]]"},
        {"FIND N_NAME=$", "find [[name:given:]]"},
        {"FIND N_NAME=$a$", "find [[name:contains:a]]"},
        {"FIND N_NAME=&a&", "find [[name:eq:a]]"},
        {"FIND N_NAME=\"a\" AND.T N_NAMESPACE=\"p\"", "find [[name:eq:a & namespace:eq:p]]"},
        {"FIND N_NAMESPACE=\"http://a/b#c\"", "find [[namespace:eq:http://a/b#c]]"},
        {"FIND N_NAMESPACE=http://a/b#c", "find [[namespace:eq:http://a/b#c]]"},
        {"FIND N_NAME=$ AND.T N_NAME=$a$", "find [[name:given: & name:contains:a]]"},
        {"FIND (N_NAME=$) OR N_NAME=$a$", "find [[[[name:given:]]] | [name:contains:a]]"},
        {"FIND N_ID=$ AND.T N_NAME=$a$", "find [[id:given: & name:contains:a]]"},
        {"FIND N_TVALUE=$", "find [[value:given:]]"},
        {"FIND (N_TVALUE=$)", "find [[[[value:given:]]]]"},
        {"FIND N_TVALUE=\"\"", "find [[value:any:]]"},
        {"FIND N_TVALUE=$abc$", "find [[value:contains:abc]]"},
        {"FIND N_TVALUE=$$", "find [[value:contains:]]"},
        {"FIND N_TVALUE=&abc&", "find [[value:eq:abc]]"},
        {"FIND N_TVALUE=&&", "find [[value:eq:]]"},
        {"FIND N_TVALUE=\"abc\"", "find [[value:eq:abc]]"},
        {"FIND N_TVALUE=abc", "find [[value:eq:abc]]"},
        {"FIND N_TVALUE=-5", "find [[value:eq:-5]]"},
        {"FIND N_TVALUE<>\"abc\"", "find [[value:ne:abc]]"},
        {"FIND N_TVALUE<>\"\"", "find [[value:ne:]]"},
        {"FIND N_TVALUE<\"abc\"", "find [[value:lt:abc]]"},
        {"FIND N_TVALUE>\"abc\"", "find [[value:gt:abc]]"},
        {"FIND N_TVALUE<=\"abc\"", "find [[value:le:abc]]"},
        {"FIND N_TVALUE>=\"abc\"", "find [[value:ge:abc]]"},
        {"FIND N_TVALUE <> \"abc\"", "find [[value:ne:abc]]"},
        {"FIND N_TVALUE=abc AND.T N_TYPE=TEXT", "find [[value:eq:abc & type:eq:TEXT]]"},
        {"FIND N_TVALUE=$ AND.T N_TYPE=TEXT", "find [[value:given: & type:eq:TEXT]]"},
        {"FIND N_TYPE=ATTRIBUTE AND.T N_NAME=\"id\" AND.T N_TVALUE=&5&",
         "find [[type:eq:ATTRIBUTE & name:eq:id & value:eq:5]]"},
    });
}

TEST(StructuralTerms, KnowTheThirteenAxes) {
    for (const char *axis : {"child", "attribute", "descendant", "ancestor", "ancestor-or-self",
                             "descendant-or-self", "self", "following-sibling", "preceding-sibling",
                             "parent", "following", "preceding", "namespace"}) {
        std::string name(axis);
        EXPECT_EQ(parsed("FIND XPATH(" + name + ",0,4,2)"), "find [[" + name + "(0,4,2)]]");
    }
}

TEST(StructuralTerms, ReadTheirArguments) {
    check({
        {"FIND XPATH(descendant,0,4,2)", "find [[descendant(0,4,2)]]"},
        {"FIND xpath ( Child , 1 , 2 , 1 )", "find [[child(1,2,1)]]"},
        {"FIND XPATH(SELF,3,4,1)", "find [[self(3,4,1)]]"},
        {"FIND XPATH(self,3,4,2)", "find [[self(3,4,2)]]"},
        {"FIND XPATH(SELF,3,3,1,EQ,2)", "find [[position(3,eq,2)]]"},
        {"FIND XPATH(SELF,3,3,1,NE,2)", "find [[position(3,ne,2)]]"},
        {"FIND XPATH(SELF,3,3,1,LT,2)", "find [[position(3,lt,2)]]"},
        {"FIND XPATH(SELF,3,3,1,LE,2)", "find [[position(3,le,2)]]"},
        {"FIND XPATH(SELF,3,3,1,GT,2)", "find [[position(3,gt,2)]]"},
        {"FIND XPATH(SELF,3,3,1,GE,2)", "find [[position(3,ge,2)]]"},
        {"FIND XPATH(self, 3, 3, 1, eq, -1)", "find [[position(3,eq,-1)]]"},
        {"FIND XPATH(SELF,3,3,1,GT,1.5)", "find [[position(3,gt,1.5)]]"},
        {"FIND XPATH(SELF,3,3,1,GT,.5)", "find [[position(3,gt,0.5)]]"},
        {"FIND XPATH(SELF,3,3,1,EQ,(2))", "find [[position(3,eq,2)]]"},
        {"FIND XPATH(SELF,3,3,1,EQ,((2) ) )", "find [[position(3,eq,2)]]"},
        {"FIND XPATH(SELF,0,0,1,EQ,1)", "find [[position(0,eq,1)]]"},
        {"FIND S=1 AND XPATH(child,1,2,1) NOT XPATH(SELF,1,1,1)",
         "find [[S1 & child(1,2,1) - self(1,1,1)]]"},
        {"FIND (XPATH(SELF,3,3,1,EQ,2))", "find [[[[position(3,eq,2)]]]]"},
        {"FIND ( (XPATH(SELF,3,3,1,EQ,(2)) ) ) ", "find [[[[[[position(3,eq,2)]]]]]]"},
    });
}

TEST(Conditions, MayBeNestedAThousandDeepAndNoDeeper) {
    auto nested = [](std::size_t depth) {
        return "FIND " + std::string(depth, '(') + "S=1" + std::string(depth, ')');
    };
    EXPECT_EQ(parsed(nested(maximalNesting)).substr(0, 4), "find");
    EXPECT_EQ(parsed(nested(maximalNesting + 1)),
              "126: The condition is nested too deeply: more than 1000 levels at column 1006.");
    EXPECT_EQ(parsed(nested(200000)).substr(0, 4), "126:");
}

TEST(Conditions, MayBeLong) {
    std::string line = "FIND S=1";
    for (int i = 0; i < 20000; ++i)
        line += " OR S=1 AND S=1";
    EXPECT_EQ(parsed(line).substr(0, 4), "find");
}

}  // namespace
}  // namespace zdbs
