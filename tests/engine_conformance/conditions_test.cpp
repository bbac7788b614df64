/** What conditions find: fields, sets, axes, chains, positions. Nodes are told by their place. */
#include <utility>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/finder.h"

namespace zdbs::conformance {
namespace {

/**
 * 1 a, 2 @i, 3 @j, 4 b, 5 "one", 6 comment, 7 <?p?>, 8 b, 9 @k, 10 "two", 11 c, 12 @e, 13 "3";
 * 14 n:r, 15 @n:i, 16 s, 17 "5", 18 s, 19 "05", 20 s, 21 " 5 ", 22 s, 23 comment
 */
const std::vector<NamedDocument> mixed = {
    {"first", "<a i='1' j='two'><b>one</b><!--c--><?p x?><b k='3'>two<c e=''/>3</b></a>"},
    {"second",
     "<n:r xmlns:n='urn:n' xmlns='urn:d' n:i='x y x'><s>5</s><s>05</s><s> 5 </s><s/></n:r>"
     "<!--end-->"},
};

/** 1 r, 2 a, 3 b, 4 a, 5 b, 6 c, 7 @k, 8 c */
const std::vector<NamedDocument> nested = {
    {"nested", "<r><a><b/></a><a><b><c k='1'/></b></a><c/></r>"}};

/** 1 r, 2 x, 3 y, 4 x, 5 x, 6 g, 7 x, 8 x */
const std::vector<NamedDocument> counted = {{"counted", "<r><x/><y/><x/><x/><g><x/><x/></g></r>"}};

/** Conditions one after the other, and the places of the nodes that the last one finds. */
struct Fact {
    const char *conditions;
    const char *places;
};

class Conditions : public OfEngine {
protected:
    template <std::size_t Size>
    void expect(const std::vector<NamedDocument> &documents, const Fact (&facts)[Size],
                const std::string &before = {}) {
        collection.load(documents);
        const auto database = collection.open();
        for (const Fact &fact : facts)
            EXPECT_EQ(Finder(*database).placesOfEach(before + fact.conditions), fact.places)
                << fact.conditions;
    }
};

constexpr Fact fieldFacts[] = {
    {"N_ID=$", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23"},
    {"N_ID<>0", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23"},
    {"N_ID<=0", ""},
    {"N_PARENT=0", "1 14 23"},
    {"N_PARENT<1", "1 14 23"},
    {"N_PARENT>=1 AND N_TYPE=\"COMMENT\"", "6"},
    {"N_TYPE=\"ELEMENT\"", "1 4 8 11 14 16 18 20 22"},
    {"N_TYPE=\"ATTRIBUTE\"", "2 3 9 12 15"},
    {"N_TYPE=\"TEXT\"", "5 10 13 17 19 21"},
    {"N_TYPE=\"COMMENT\"", "6 23"},
    {"N_TYPE=\"PROCESSING_INSTRUCTION\"", "7"},
    {"N_TYPE=\"NONE\"", ""},
    {"N_TYPE=$MENT$", "1 4 6 8 11 14 16 18 20 22 23"},
    {"N_TYPE<>\"ELEMENT\"", "2 3 5 6 7 9 10 12 13 15 17 19 21 23"},
    {"N_NAME=\"b\"", "4 8"},
    {"N_NAME=b", "4 8"},
    {"N_NAME=\"B\"", ""},
    {"N_NAME=\"p\"", "7"},
    {"N_NAME=\"i\"", "2 15"},
    {"N_NAME=\"n:i\"", ""},
    {"N_NAME=\"*\"", "1 2 3 4 7 8 9 11 12 14 15 16 18 20 22"},
    {"N_NAME=\"\"", "1 2 3 4 7 8 9 11 12 14 15 16 18 20 22"},
    {"N_NAME=$", "1 2 3 4 7 8 9 11 12 14 15 16 18 20 22"},
    {"N_NAME<>\"b\"", "1 2 3 7 9 11 12 14 15 16 18 20 22"},
    {"N_NAME<\"c\"", "1 4 8"},
    {"N_NAME<=\"c\"", "1 4 8 11"},
    {"N_NAME>\"p\"", "14 16 18 20 22"},
    {"N_NAME>=\"p\"", "7 14 16 18 20 22"},
    {"N_NAMESPACE=\"n\"", "14 15"},
    {"N_NAMESPACE=\"urn:n\"", "14 15"},
    {"N_NAMESPACE=\"urn:d\"", "16 18 20 22"},
    {"N_NAMESPACE=$rn:$", "14 15 16 18 20 22"},
    {"N_NAMESPACE=$", "14 15 16 18 20 22"},
    {"N_NAMESPACE=\"\"", "1 2 3 4 8 9 11 12 14 15 16 18 20 22"},
    {"N_NAMESPACE<>\"n\"", "1 2 3 4 8 9 11 12 16 18 20 22"},
    {"N_TVALUE=$", "2 3 5 6 7 9 10 13 15 17 19 21 23"},
    {"N_TVALUE=\"\"", "2 3 5 6 7 9 10 12 13 15 17 19 21 23"},
    {"N_TVALUE=&&", "12"},
    {"N_TVALUE=\"two\"", "3 10"},
    {"N_TVALUE=&two &", ""},
    {"N_TVALUE=&5&", "17 19 21"},
    {"N_TVALUE=&5.0&", "17 19 21"},
    {"N_TVALUE=&05&", "19"},
    {"N_TVALUE=& 5 &", "21"},
    {"N_TVALUE<>\"5\"", "2 3 5 6 7 9 10 12 13 15 23"},
    {"N_TVALUE<>\"05\"", "2 3 5 6 7 9 10 12 13 15 17 21 23"},
    {"N_TVALUE<\"4\"", "2 9 13"},
    {"N_TVALUE<=\"3\"", "2 9 13"},
    {"N_TVALUE>\"3\"", "17 19 21"},
    {"N_TVALUE>=\"3\"", "9 13 17 19 21"},
    {"N_TVALUE<\"p\"", "2 5 6 9 12 13 17 19 21 23"},
    {"N_TVALUE>\"two\"", "7 15"},
    {"N_TVALUE>=\"two\"", "3 7 10 15"},
    {"N_TVALUE=$x$", "7 15"},
    {"N_TVALUE=$x y$", "15"},
    {"N_TVALUE=$5$", "17 19 21"},
};

TEST_P(Conditions, OnFieldsFindTheNodesThatHaveThemInTheRelation) {
    expect(mixed, fieldFacts);
}

constexpr Fact setFacts[] = {
    {"N_NAME=\"b\" OR N_NAME=\"c\"", "4 8 11"},
    {"N_TYPE=\"ELEMENT\" NOT N_NAME=\"b\"", "1 11 14 16 18 20 22"},
    {"N_TYPE=\"ELEMENT\" NOT.T N_NAME=\"b\" AND.R N_NAMESPACE=\"n\"", "14"},
    {"N_NAME=\"b\" OR N_TYPE=\"TEXT\" AND N_TVALUE=\"two\"", "4 8 10"},
    {"(N_NAME=\"b\" OR N_TYPE=\"TEXT\") AND.T N_TVALUE=\"two\"", "10"},
    {"N_TYPE=\"ELEMENT\" NOT (N_NAME=\"b\" OR N_NAME=\"s\")", "1 11 14"},
    {"N_NAME=\"b\"; N_NAME=\"c\"; S=1 OR S=2", "4 8 11"},
    {"N_NAME=\"b\"; S=0 NOT S=1 AND N_TYPE=\"ELEMENT\"", "1 11 14 16 18 20 22"},
    {"N_NAME=\"b\"; S=1", "4 8"},
    {"N_NAME=\"b\"; S=1 NOT S=1", ""},
    {"N_NAME=\"i\"; S=0 AND S=1", "2 15"},
    {"N_NAME=\"no\"; S=1 OR S=1; S=0 NOT S=2 AND N_NAME=\"a\"", "1"},
};

TEST_P(Conditions, JoinSetsByAndOrAndNot) {
    expect(mixed, setFacts);
}

/** Of the second b, which is set 2. */
constexpr Fact elementFacts[] = {
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(CHILD,2,0,2)", "10 11 13"},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(ATTRIBUTE,2,0,2)", "9"},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(DESCENDANT,2,0,2)", "10 11 13"},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(DESCENDANT-OR-SELF,2,0,2)", "8 10 11 13"},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(PARENT,2,0,2)", "1"},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(ANCESTOR,2,0,2)", "1"},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(ANCESTOR-OR-SELF,2,0,2)", "1 8"},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(SELF,2,0,2)", "8"},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(FOLLOWING-SIBLING,2,0,2)", ""},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(PRECEDING-SIBLING,2,0,2)", "4 6 7"},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(FOLLOWING,2,0,2)", ""},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(PRECEDING,2,0,2)", "4 5 6 7"},
    {"N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,2); XPATH(NAMESPACE,2,0,2)", ""},
};

/** Of the attribute j, which is set 1. */
constexpr Fact attributeFacts[] = {
    {"N_NAME=\"j\"; XPATH(CHILD,1,0,2)", ""},
    {"N_NAME=\"j\"; XPATH(ATTRIBUTE,1,0,2)", ""},
    {"N_NAME=\"j\"; XPATH(DESCENDANT,1,0,2)", ""},
    {"N_NAME=\"j\"; XPATH(DESCENDANT-OR-SELF,1,0,2)", "3"},
    {"N_NAME=\"j\"; XPATH(PARENT,1,0,2)", "1"},
    {"N_NAME=\"j\"; XPATH(ANCESTOR,1,0,2)", "1"},
    {"N_NAME=\"j\"; XPATH(ANCESTOR-OR-SELF,1,0,2)", "1 3"},
    {"N_NAME=\"j\"; XPATH(SELF,1,0,2)", "3"},
    {"N_NAME=\"j\"; XPATH(FOLLOWING-SIBLING,1,0,2)", ""},
    {"N_NAME=\"j\"; XPATH(PRECEDING-SIBLING,1,0,2)", ""},
    {"N_NAME=\"j\"; XPATH(FOLLOWING,1,0,2)", "4 5 6 7 8 10 11 13"},
    {"N_NAME=\"j\"; XPATH(PRECEDING,1,0,2)", ""},
    {"N_NAME=\"k\"; XPATH(PRECEDING,1,0,2)", "4 5 6 7"},
    {"N_NAME=\"j\"; XPATH(NAMESPACE,1,0,2)", ""},
};

constexpr Fact everyNodeFacts[] = {
    {"XPATH(CHILD,0,0,2)", "1 4 5 6 7 8 10 11 13 14 16 17 18 19 20 21 22 23"},
    {"XPATH(CHILD,0,0,1)", "1 4 8 14 16 18 20"},
    {"XPATH(ATTRIBUTE,0,0,2)", "2 3 9 12 15"},
    {"XPATH(ATTRIBUTE,0,0,1)", "1 8 11 14"},
    {"XPATH(DESCENDANT,0,0,2)", "1 4 5 6 7 8 10 11 13 14 16 17 18 19 20 21 22 23"},
    {"XPATH(DESCENDANT,0,0,1)", "1 4 8 14 16 18 20"},
    {"XPATH(DESCENDANT-OR-SELF,0,0,1)", "1 4 5 6 7 8 10 11 13 14 16 17 18 19 20 21 22 23"},
    {"XPATH(PARENT,0,0,2)", "1 4 8 14 16 18 20"},
    {"XPATH(PARENT,0,0,1)", "4 5 6 7 8 10 11 13 16 17 18 19 20 21 22"},
    {"XPATH(ANCESTOR,0,0,2)", "1 4 8 14 16 18 20"},
    {"XPATH(ANCESTOR,0,0,1)", "4 5 6 7 8 10 11 13 16 17 18 19 20 21 22"},
    {"XPATH(ANCESTOR-OR-SELF,0,0,2)", "1 4 5 6 7 8 10 11 13 14 16 17 18 19 20 21 22 23"},
    {"XPATH(SELF,0,0,2)", "1 4 5 6 7 8 10 11 13 14 16 17 18 19 20 21 22 23"},
    {"XPATH(FOLLOWING-SIBLING,0,0,2)", "6 7 8 11 13 18 20 22 23"},
    {"XPATH(FOLLOWING-SIBLING,0,0,1)", "4 6 7 10 11 14 16 18 20"},
    {"XPATH(PRECEDING-SIBLING,0,0,2)", "4 6 7 10 11 14 16 18 20"},
    {"XPATH(FOLLOWING,0,0,2)", "6 7 8 10 11 13 18 19 20 21 22 23"},
    {"XPATH(FOLLOWING,0,0,1)", "4 5 6 7 10 11 14 16 17 18 19 20 21 22"},
    {"XPATH(PRECEDING,0,0,2)", "4 5 6 7 10 11 14 16 17 18 19 20 21 22"},
    {"XPATH(NAMESPACE,0,0,2)", ""},
    {"XPATH(NAMESPACE,0,0,1)", ""},
};

TEST_P(Conditions, FollowEveryAxisFromAnElement) {
    expect(mixed, elementFacts);
}

TEST_P(Conditions, FollowEveryAxisFromAnAttribute) {
    expect(mixed, attributeFacts);
}

TEST_P(Conditions, FollowEveryAxisFromEveryNode) {
    expect(mixed, everyNodeFacts);
}

constexpr Fact attributeAsChildFacts[] = {
    {"N_TYPE=\"ATTRIBUTE\"; XPATH(CHILD,0,1,2)", "2 3 9 12 15"},
    {"N_TYPE=\"ATTRIBUTE\"; XPATH(CHILD,0,1,1)", "1 8 11 14"},
    {"N_NAME=\"b\"; N_NAME=\"k\"; XPATH(CHILD,1,2,2)", "9"},
    {"N_NAME=\"b\"; N_NAME=\"k\" OR N_NAME=\"c\"; XPATH(CHILD,1,2,2)", "11"},
    {"N_TYPE=\"ATTRIBUTE\"; XPATH(DESCENDANT,0,1,2)", ""},
};

TEST_P(Conditions, TakeAttributesForChildrenWhereASetHoldsNothingElse) {
    expect(mixed, attributeAsChildFacts);
}

/** Set 3 is [b/c], which came down a chain; set 4 are the a's. */
constexpr const char *chainSets = "N_NAME=\"b\"; N_NAME=\"c\"; XPATH(CHILD,1,2,2); N_NAME=\"a\"; ";

constexpr Fact chainFacts[] = {
    {"XPATH(CHILD,4,3,1)", "4"},
    {"XPATH(CHILD,4,2,1)", ""},
    {"XPATH(CHILD,1,3,1)", "5"},
    {"XPATH(CHILD,4,3,2)", ""},
    {"XPATH(SELF,3,3,1,EQ,1); XPATH(CHILD,4,5,1)", "4"},
    {"XPATH(CHILD,3,0,1)", ""},
    {"XPATH(ATTRIBUTE,3,0,1); XPATH(CHILD,4,5,1)", "4"},
    {"S=3 AND N_TYPE=\"ELEMENT\"; XPATH(CHILD,4,5,1)", "4"},
    {"N_TYPE=\"ELEMENT\" AND S=3; XPATH(CHILD,4,5,1)", ""},
    {"S=2 AND S=3; XPATH(CHILD,4,5,1)", ""},
    {"S=3 NOT N_NAME=\"b\"; XPATH(CHILD,4,5,1)", "4"},
    {"S=3 OR S=3; XPATH(CHILD,4,5,1)", "4"},
    {"S=3 OR S=2; XPATH(CHILD,4,5,1)", ""},
    {"XPATH(CHILD,1,2,2); S=3 OR S=5; XPATH(CHILD,4,6,1)", "4"},
    {"N_NAME=\"k\"; XPATH(ATTRIBUTE,3,5,2); XPATH(CHILD,4,6,1)", "4"},
    {"N_NAME=\"k\"; XPATH(CHILD,3,5,2); XPATH(CHILD,4,6,1); XPATH(CHILD,3,6,1)", "6"},
    {"N_NAME=\"r\"; XPATH(CHILD,5,3,1); XPATH(DESCENDANT,5,3,1)", "1"},
};

TEST_P(Conditions, TestChainsByTheirFirstStep) {
    expect(nested, chainFacts, chainSets);
}

/** Set 1 are the x's, set 2 those as children of what they are in. */
constexpr const char *childrenSets = "N_NAME=\"x\"; XPATH(CHILD,0,1,2); ";

constexpr Fact childrenFacts[] = {
    {"XPATH(SELF,2,2,1,EQ,1)", "2 7"},
    {"XPATH(SELF,2,2,1,EQ,3)", "5"},
    {"XPATH(SELF,2,2,1,EQ,-1)", "5 8"},
    {"XPATH(SELF,2,2,1,EQ,-3)", "2"},
    {"XPATH(SELF,2,2,1,NE,1)", "4 5 8"},
    {"XPATH(SELF,2,2,1,NE,-1)", "2 4 7"},
    {"XPATH(SELF,2,2,1,LT,3)", "2 4 7 8"},
    {"XPATH(SELF,2,2,1,LE,1)", "2 7"},
    {"XPATH(SELF,2,2,1,GT,2)", "5"},
    {"XPATH(SELF,2,2,1,GE,2)", "4 5 8"},
    {"XPATH(SELF,2,2,1,GE,-2)", "4 5 7 8"},
    {"XPATH(SELF,2,2,1,GE,1.5)", "4 5 8"},
    {"XPATH(SELF,2,2,1,EQ,1.5)", ""},
    {"XPATH(SELF,2,2,1,EQ,0)", ""},
    {"XPATH(SELF,2,2,1,GE,0)", "2 4 5 7 8"},
    {"XPATH(SELF,2,2,1,EQ,9999999999)", ""},
    {"XPATH(SELF,2,2,1,GE,2); XPATH(SELF,3,3,1,EQ,1)", "4 8"},
    {"XPATH(SELF,2,2,1,EQ,-1); XPATH(SELF,3,3,1,EQ,1)", "5 8"},
    {"XPATH(SELF,2,2,1,EQ,3); XPATH(PRECEDING-SIBLING,3,1,2); XPATH(SELF,4,4,1,EQ,1)", "4"},
    {"XPATH(SELF,2,2,1,EQ,3); XPATH(PRECEDING-SIBLING,3,1,2); XPATH(SELF,4,4,1,EQ,-1)", "2"},
    {"S=2 NOT XPATH(FOLLOWING-SIBLING,2,0,1); XPATH(SELF,3,3,1,EQ,1)", "8"},
    // Both sides count by steps: pairs that both have.
    {"N_NAME=\"r\"; XPATH(CHILD,3,0,2); S=4 AND S=2; XPATH(SELF,5,5,1,EQ,2)", "4"},
};

constexpr Fact positionFacts[] = {
    {"N_NAME=\"x\"; XPATH(SELF,1,1,1,EQ,2)", "4 8"},
    {"XPATH(SELF,0,0,1,EQ,5)", "6"},
    {"N_NAME=\"r\"; N_NAME=\"x\"; XPATH(DESCENDANT,1,2,2); XPATH(SELF,3,3,1,EQ,4)", "7"},
    {"N_NAME=\"r\"; N_NAME=\"x\"; XPATH(DESCENDANT,1,2,2); XPATH(SELF,3,3,1,EQ,-1)", "8"},
    {"N_NAME=\"y\"; XPATH(FOLLOWING-SIBLING,1,0,2); XPATH(SELF,2,2,1,EQ,2)", "5"},
    {"N_NAME=\"y\"; N_NAME=\"x\"; XPATH(FOLLOWING,1,2,2); XPATH(SELF,3,3,1,EQ,3)", "7"},
    {"N_NAME=\"g\"; N_NAME=\"x\"; XPATH(PRECEDING,1,2,2); XPATH(SELF,3,3,1,LE,2)", "4 5"},
    {"N_NAME=\"g\"; XPATH(CHILD,1,0,2); XPATH(ANCESTOR,2,0,2); XPATH(SELF,3,3,1,EQ,1)", "6"},
    {"N_NAME=\"g\"; XPATH(CHILD,1,0,2); XPATH(ANCESTOR,2,0,2); XPATH(SELF,3,3,1,EQ,-1)", "1"},
    {"N_NAME=\"g\"; XPATH(CHILD,1,0,2); XPATH(ANCESTOR-OR-SELF,2,0,2); XPATH(SELF,3,3,1,EQ,2)",
     "6"},
    {"N_NAME=\"g\"; XPATH(DESCENDANT-OR-SELF,1,0,2); XPATH(SELF,2,2,1,EQ,1)", "6"},
    {"N_NAME=\"x\"; XPATH(PARENT,1,0,2); XPATH(SELF,2,2,1,EQ,1)", "1 6"},
    {"N_NAME=\"x\"; XPATH(SELF,1,0,2); XPATH(SELF,2,2,1,EQ,1)", "2 4 5 7 8"},
    {"N_NAME=\"x\"; XPATH(FOLLOWING-SIBLING,1,1,2); XPATH(SELF,2,2,1,EQ,1)", "4 5 8"},
    // What dir 1 takes away is not counted any more.
    {"N_NAME=\"y\"; XPATH(CHILD,0,0,2); XPATH(FOLLOWING-SIBLING,2,1,1); XPATH(SELF,3,3,1,EQ,-1)",
     "2"},
};

TEST_P(Conditions, CountPositionsFromEachContext) {
    expect(counted, positionFacts);
}

TEST_P(Conditions, CountPositionsAmongChildren) {
    expect(counted, childrenFacts, childrenSets);
}

constexpr Fact emptyFacts[] = {
    {"N_ID=$", ""},
    {"XPATH(CHILD,0,0,2)", ""},
    {"XPATH(SELF,0,0,1,EQ,1)", ""},
    {"S=0", ""},
};

/** Axes and what leads back on them, where no attributes are. */
constexpr std::pair<const char *, const char *> inverseAxes[] = {
    {"CHILD", "PARENT"},
    {"DESCENDANT", "ANCESTOR"},
    {"DESCENDANT-OR-SELF", "ANCESTOR-OR-SELF"},
    {"FOLLOWING-SIBLING", "PRECEDING-SIBLING"},
    {"FOLLOWING", "PRECEDING"},
    {"SELF", "SELF"},
};

/** Sets 1 to 4 are plain and hold no attributes. */
TEST_P(Conditions, AnswerBothSidesOfTheSamePairs) {
    collection.load(mixed);
    const auto database = collection.open();
    Finder finder(*database);
    finder.findEach(
        "N_TYPE=\"ELEMENT\"; N_TYPE=\"TEXT\" OR N_TYPE=\"COMMENT\"; N_NAME=\"b\" OR "
        "N_NAME=\"s\"; N_ID=$ NOT N_TYPE=\"ATTRIBUTE\"");
    const auto found = [&](const std::string &axis, int a, int b, int direction) {
        return finder.placesOfEach("XPATH(" + axis + "," + std::to_string(a) + "," +
                                   std::to_string(b) + "," + std::to_string(direction) + ")");
    };
    std::size_t notEmpty = 0;
    for (const auto &[axis, inverse] : inverseAxes) {
        for (int a = 1; a <= 4; ++a) {
            for (int b = 1; b <= 4; ++b) {
                EXPECT_EQ(found(axis, a, b, 1), found(inverse, b, a, 2)) << axis << a << b;
                EXPECT_EQ(found(inverse, a, b, 1), found(axis, b, a, 2)) << inverse << a << b;
                notEmpty += found(axis, a, b, 1).empty() ? 0 : 1;
            }
        }
    }
    EXPECT_GT(notEmpty, 50U);
}

TEST_P(Conditions, FindNothingInAnEmptyDatabase) {
    expect({}, emptyFacts);
}

TEST_P(Conditions, OnSetsThatAreNotThereFail) {
    collection.load(mixed);
    const auto database = collection.open();
    Finder finder(*database);
    for (const char *condition : {"S=1", "N_ID=$ AND S=7", "XPATH(CHILD,0,3,2)",
                                  "XPATH(CHILD,3,0,1)", "XPATH(SELF,2,2,1,EQ,1)"})
        EXPECT_EQ(statusOf([&] { finder.find(std::string(condition)); }), Status::unknownSet)
            << condition;
    EXPECT_EQ(finder.placesOfEach("N_NAME=\"b\"; S=1"), "4 8");
}

TEST_P(Conditions, CompareNumbersOfRecords) {
    collection.load(counted);
    const auto database = collection.open();
    Finder finder(*database);
    const std::string second = std::to_string(database->record(*database->everything(), 2));
    EXPECT_EQ(finder.placesOfEach("N_ID=" + second), "2");
    EXPECT_EQ(finder.placesOfEach("N_ID<" + second), "1");
    EXPECT_EQ(finder.placesOfEach("N_ID>=" + second), "2 3 4 5 6 7 8");
    EXPECT_EQ(finder.placesOfEach("N_PARENT>=" + second), "7 8");
    EXPECT_EQ(finder.placesOfEach("N_PARENT<" + second + " NOT N_PARENT=0"), "2 3 4 5 6");
}

/** Set 1 are the x's and y's, set 2 the x's that follow each of them as siblings. */
constexpr const char *followingSets =
    "N_NAME=\"x\" OR N_NAME=\"y\"; XPATH(FOLLOWING-SIBLING,1,1,2) NOT N_NAME=\"y\"; ";

constexpr Fact pairFacts[] = {
    {"XPATH(SELF,2,2,1,EQ,1)", "4 5 8"},
    // An intersection keeps the pairs that both sides have: those with the y.
    {"N_NAME=\"y\"; XPATH(FOLLOWING-SIBLING,3,0,2); S=2 AND S=4; XPATH(SELF,5,5,1,EQ,1)", "4"},
    {"N_NAME=\"y\"; XPATH(FOLLOWING-SIBLING,3,0,2); S=4 AND S=2; XPATH(SELF,5,5,1,EQ,2)", "5"},
    // None has one with what follows and one with what is before.
    {"XPATH(PRECEDING-SIBLING,1,1,2); S=2 AND S=3; XPATH(SELF,4,4,1,EQ,1)", ""},
    // A set that counts among siblings does not change how the other one counts.
    {"N_TYPE=\"ELEMENT\" AND S=2; XPATH(SELF,3,3,1,EQ,1)", "4 5 8"},
    {"S=2 AND N_TYPE=\"ELEMENT\"; XPATH(SELF,3,3,1,EQ,2)", "5"},
    // A union over one step merges the pairs; over several it counts among siblings.
    {"N_NAME=\"g\"; XPATH(FOLLOWING-SIBLING,1,3,2); S=2 OR S=4; XPATH(SELF,5,5,1,EQ,1)", "4 5 6 8"},
    {"N_NAME=\"g\"; XPATH(FOLLOWING-SIBLING,1,3,2); S=4 OR S=2; XPATH(SELF,5,5,1,EQ,2)", "5 6"},
    {"XPATH(PRECEDING-SIBLING,1,1,2); S=2 OR S=3; XPATH(SELF,4,4,1,EQ,1)", "2 7"},
    {"N_NAME=\"y\"; XPATH(FOLLOWING-SIBLING,3,0,2); S=2 OR S=4; XPATH(SELF,5,5,1,EQ,1)", "4 8"},
    // A difference and a position leave the others their contexts.
    {"S=2 NOT XPATH(FOLLOWING-SIBLING,2,1,1); XPATH(SELF,3,3,1,EQ,1)", "5 8"},
    {"XPATH(SELF,2,2,1,GE,2); XPATH(SELF,3,3,1,EQ,1)", "5"},
    {"XPATH(SELF,2,2,1,EQ,1); XPATH(SELF,3,3,1,EQ,2)", ""},
};

TEST_P(Conditions, KeepTheContextsOfNodesWhenSetsAreJoined) {
    expect(counted, pairFacts, followingSets);
}

INSTANTIATE_TEST_SUITE_P(Every, Conditions, ::testing::ValuesIn(allEngines()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
