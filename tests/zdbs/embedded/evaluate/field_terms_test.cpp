/** The fields and their relations. */
#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/embedded/evaluate/desk.h"

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

// 1 a, 2 @id, 3 @n, 4 text, 5 b, 6 text, 7 comment, 8 instruction, 9 b, 10 A, 11 text
const char *const mixed = "<a id='5' n=''>one<b> 5.0 </b><!--five--><?go 5?><b/><A>two</A></a>";

TEST(Fields, OfNumbersCompareAsNumbers) {
    check(Desk(mixed), {
                           {"N_ID=$", "1 2 3 4 5 6 7 8 9 10 11"},
                           {"N_ID=5", "5"},
                           {"N_ID=\"5\"", "5"},
                           {"N_ID=5.0", "5"},
                           {"N_ID=99", ""},
                           {"N_ID=-1", ""},
                           {"N_ID=2.5", ""},
                           {"N_ID<>5", "1 2 3 4 6 7 8 9 10 11"},
                           {"N_ID<3", "1 2"},
                           {"N_ID<=3", "1 2 3"},
                           {"N_ID>9", "10 11"},
                           {"N_ID>9.5", "10 11"},
                           {"N_ID>=10", "10 11"},
                           {"N_PARENT=0", "1"},
                           {"N_PARENT=1", "2 3 4 5 7 8 9 10"},
                           {"N_PARENT=5", "6"},
                           {"N_PARENT>1", "6 11"},
                           {"N_PARENT<>1", "1 6 11"},
                           {"N_PARENT=$", "1 2 3 4 5 6 7 8 9 10 11"},
                       });
}

TEST(Fields, OfTypesKnowTheFiveKinds) {
    check(Desk(mixed), {
                           {"N_TYPE=ELEMENT", "1 5 9 10"},
                           {"N_TYPE=ATTRIBUTE", "2 3"},
                           {"N_TYPE=TEXT", "4 6 11"},
                           {"N_TYPE=COMMENT", "7"},
                           {"N_TYPE=PROCESSING_INSTRUCTION", "8"},
                           {"N_TYPE=\"TEXT\"", "4 6 11"},
                           {"N_TYPE=NOTHING", ""},
                           {"N_TYPE=$", "1 2 3 4 5 6 7 8 9 10 11"},
                           {"N_TYPE=$ELEM$", "1 5 9 10"},
                           {"N_TYPE<>\"ELEMENT\"", "2 3 4 6 7 8 11"},
                           {"N_TYPE<\"COMMENT\"", "2 3"},
                           {"(N_TYPE=ELEMENT OR N_TYPE=TEXT)", "1 4 5 6 9 10 11"},
                       });
}

TEST(Fields, OfNamesCompareCaseSensitively) {
    check(Desk(mixed), {
                           {"N_NAME=\"b\"", "5 9"},
                           {"N_NAME=b", "5 9"},
                           {"N_NAME=\"a\"", "1"},
                           {"N_NAME=\"A\"", "10"},
                           {"N_NAME=\"go\"", "8"},
                           {"N_NAME=\"id\"", "2"},
                           {"N_NAME=$d$", "2"},
                           {"N_NAME<>\"b\"", "1 2 3 8 10"},
                           {"N_NAME>\"b\"", "2 3 8"},
                           {"N_NAME<=\"a\"", "1 10"},
                           {"N_NAME=\"\xFF\"", ""},
                       });
}

TEST(Fields, OfNamesTakeAStarOrNothingForEveryName) {
    check(Desk(mixed), {
                           {"N_NAME=\"*\"", "1 2 3 5 8 9 10"},
                           {"N_NAME=*", "1 2 3 5 8 9 10"},
                           {"N_NAME=\"\"", "1 2 3 5 8 9 10"},
                           {"N_NAME=$", "1 2 3 5 8 9 10"},
                           {"N_TYPE=ATTRIBUTE AND.T N_NAME=\"*\"", "2 3"},
                           {"N_TYPE=TEXT AND.T N_NAME=\"*\"", ""},
                       });
}

// 1 p:a, 2 @p:x, 3 @xml:lang, 4 @y, 5 b (default), 6 @z, 7 c (default), 8 d (undone)
const char *const spaces =
    "<p:a xmlns:p='urn:p' p:x='1' xml:lang='en' y='2'><b xmlns='urn:d' z='3'><c/><d "
    "xmlns=''/></b></p:a>";

TEST(Fields, OfNamespacesMatchThePrefixAsWrittenOrTheName) {
    check(Desk(spaces), {
                            {"N_NAMESPACE=\"p\"", "1 2"},
                            {"N_NAMESPACE=\"urn:p\"", "1 2"},
                            {"N_NAMESPACE=\"xml\"", "3"},
                            {"N_NAMESPACE=\"http://www.w3.org/XML/1998/namespace\"", "3"},
                            {"N_NAMESPACE=\"urn:d\"", "5 7"},
                            {"N_NAMESPACE=\"d\"", ""},
                            {"N_NAMESPACE=$", "1 2 3 5 7"},
                            {"N_NAMESPACE=&&", "4 6 8"},
                            {"N_NAMESPACE<>\"p\"", "3 4 5 6 7 8"},
                            {"N_NAMESPACE<>\"urn:p\"", "3 4 5 6 7 8"},
                            {"N_NAMESPACE=$urn$", "1 2 5 7"},
                            {"N_NAME=\"a\" AND.T N_NAMESPACE=\"p\"", "1"},
                        });
}

TEST(Fields, OfValuesBelongToAllNodesButElements) {
    check(Desk(mixed), {
                           {"N_TVALUE=$", "2 4 6 7 8 11"},
                           {"N_TVALUE=\"\"", "2 3 4 6 7 8 11"},
                           {"N_TVALUE=$$", "2 3 4 6 7 8 11"},
                           {"N_TVALUE=&&", "3"},
                           {"N_TVALUE<>\"\"", "2 4 6 7 8 11"},
                           {"N_TVALUE=&5&", "2 6 8"},
                           {"N_TVALUE=\"5\"", "2 6 8"},
                           {"N_TVALUE=5", "2 6 8"},
                           {"N_TVALUE=&05&", ""},
                           {"N_TVALUE=&+5&", ""},
                           {"N_TVALUE=& 5.0 &", "6"},
                           {"N_TVALUE<>\"5\"", "3 4 7 11"},
                           {"N_TVALUE<\"6\"", "2 6 8"},
                           {"N_TVALUE>=\"6\"", ""},
                           {"N_TVALUE=&one&", "4"},
                           {"N_TVALUE=&One&", ""},
                           {"N_TVALUE=$o$", "4 11"},
                           {"N_TVALUE=$five$", "7"},
                           {"N_TVALUE<\"p\"", "2 3 4 6 7 8"},
                           {"N_TVALUE>\"p\"", "11"},
                           {"N_TYPE=TEXT AND.T N_TVALUE=$5$", "6"},
                           {"N_TYPE=TEXT AND.T N_TVALUE=&5&", "6"},
                           {"N_TYPE=ATTRIBUTE AND.T N_NAME=\"id\" AND.T N_TVALUE=&5&", "2"},
                           {"N_TYPE=ATTRIBUTE AND.T N_TVALUE=$", "2"},
                       });
}

TEST(Fields, OfValuesOrderDates) {
    Desk desk("<a><d>2019-12-31</d><d>2020-01-01</d><d>2020-01-02</d><d>10</d></a>");
    check(desk, {
                    {"N_TYPE=TEXT AND.T N_TVALUE<\"2020-01-01\"", "3 9"},
                    {"N_TYPE=TEXT AND.T N_TVALUE>=\"2020-01-01\"", "5 7"},
                    {"N_TYPE=TEXT AND.T N_TVALUE>\"9\"", "9"},
                });
}

TEST(Fields, TakeHostileLiteralsAsTheyAre) {
    Desk desk("<a><b>&amp; OR N_ID=$</b><b>x&quot; AND.T S=1</b><b>$</b><b>) ))</b></a>");
    check(desk, {
                    {"N_TYPE=TEXT AND.T N_TVALUE=&& OR N_ID=$&", "3"},
                    {"N_TYPE=TEXT AND.T N_TVALUE=$& OR N_ID=$$", "3"},
                    {"N_TYPE=TEXT AND.T N_TVALUE=\"x\" AND.T S=1\"", "5"},
                    {"N_TYPE=TEXT AND.T N_TVALUE=&$&", "7"},
                    {"N_TYPE=TEXT AND.T N_TVALUE=$$$", "3 7"},
                    {"(N_TYPE=TEXT AND.T N_TVALUE=&) ))&)", "9"},
                    {"N_TYPE=TEXT AND.T N_TVALUE=$) )$", "9"},
                });
}

}  // namespace
}  // namespace zdbs::embedded
