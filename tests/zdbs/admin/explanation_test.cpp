#include "zdbs/admin/explanation_text.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace zdbs::admin {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

Explanation twoSets() {
    Explanation explanation;
    explanation.request = "//a";
    explanation.sets = {{1, "N_NAME=\"a\"", 12, 12, microseconds(21), "paths"},
                        {2, "XPATH(child,0,1,2)", 1234, 1300, milliseconds(5), "join on child"}};
    explanation.total = microseconds(5600);
    explanation.hitsTime = microseconds(79);
    explanation.result = {2, 2, 1234};
    return explanation;
}

TEST(Explanation, IsATableOfTheSetsWithTheSums) {
    EXPECT_EQ(textOf(twoSets(), 0),
              "SET  RECORDS      TIME  FOUND BY       CONDITION\n"
              " S1       12  0.021 ms  paths          N_NAME=\"a\"\n"
              " S2     1234  5.000 ms  join on child  XPATH(child,0,1,2)\n"
              "\n"
              "translation  0.500 ms\n"
              "kernel       5.100 ms\n"
              "  sets       5.021 ms\n"
              "  hits       0.079 ms\n"
              "result       S2, 1234 records\n");
}

TEST(Explanation, SaysByWhatNumberTheResultIsKept) {
    Explanation explanation = twoSets();
    explanation.result = {2, 1, 1};
    const std::string text = textOf(explanation, 0);
    EXPECT_NE(text.find("result       S2, 1 record; kept as S1\n"), std::string::npos) << text;
}

TEST(Explanation, WithoutResultShowsTheSetsOnly) {
    Explanation explanation = twoSets();
    explanation.result = {};
    explanation.error = "broken";
    const std::string text = textOf(explanation, 0);
    EXPECT_NE(text.find(" S2 "), std::string::npos);
    EXPECT_EQ(text.find("result"), std::string::npos);
    EXPECT_EQ(textOf({}, 0), "");
}

TEST(Explanation, WrapsConditionsToTheTerminal) {
    Explanation explanation = twoSets();
    explanation.sets.resize(1);
    explanation.sets[0].condition =
        "N_TYPE=ELEMENT AND.T N_NAME=\"speech\" AND.T N_NAMESPACE=\"p\"";
    explanation.sets[0].foundBy = "summary of paths, dictionary of values";
    const std::string text = textOf(explanation, 70);
    EXPECT_EQ(text.substr(0, text.find("\n\n") + 1),
              "SET  RECORDS      TIME  FOUND BY           CONDITION\n"
              " S1       12  0.021 ms  summary of paths,  N_TYPE=ELEMENT AND.T\n"
              "                        dictionary of      N_NAME=\"speech\" AND.T\n"
              "                        values             N_NAMESPACE=\"p\"\n");
}

TEST(Explanation, CutsConditionsThatFillTheTerminalOnly) {
    Explanation explanation = twoSets();
    explanation.sets[0].condition = std::string(10000, 'x');
    EXPECT_NE(textOf(explanation, 0).find(std::string(10000, 'x') + "\n"), std::string::npos);
    const std::string narrow = textOf(explanation, 10);
    EXPECT_NE(narrow.find("  " + std::string(16, 'x') + "\n"), std::string::npos) << narrow;
    EXPECT_NE(narrow.find("  " + std::string(13, 'x') + "...\n"), std::string::npos) << narrow;
    EXPECT_LT(narrow.size(), 1000U);
}

TEST(Explanation, KeepsEachConditionOnOneLineOfAPipe) {
    Explanation explanation = twoSets();
    explanation.sets[0].condition = "N_TVALUE=&a\nb\x1b&";
    EXPECT_NE(textOf(explanation, 0).find("N_TVALUE=&a\\nb\\x1b&\n"), std::string::npos);
}

TEST(Explanation, IsOneJsonObjectToo) {
    EXPECT_EQ(jsonOf(twoSets()),
              "{\"request\":\"//a\",\"sets\":["
              "{\"set\":1,\"condition\":\"N_NAME=\\\"a\\\"\",\"records\":12,\"hits\":12,"
              "\"milliseconds\":0.021,\"foundBy\":\"paths\"},"
              "{\"set\":2,\"condition\":\"XPATH(child,0,1,2)\",\"records\":1234,\"hits\":1300,"
              "\"milliseconds\":5.000,\"foundBy\":\"join on child\"}],"
              "\"translationMilliseconds\":0.500,\"setsMilliseconds\":5.021,"
              "\"hitsMilliseconds\":0.079,\"result\":{\"set\":2,\"keptAs\":2,\"records\":1234}}\n");
    Explanation failed;
    failed.request = "//a[";
    failed.error = "syntax error";
    EXPECT_EQ(
        jsonOf(failed),
        "{\"request\":\"//a[\",\"sets\":[],\"translationMilliseconds\":0.000,"
        "\"setsMilliseconds\":0.000,\"hitsMilliseconds\":0.000,\"error\":\"syntax error\"}\n");
}

TEST(Explanation, TakesUpTheOneBehindIt) {
    Explanation explanation = twoSets();
    Explanation next = twoSets();
    next.sets.resize(1);
    next.sets[0].number = 3;
    next.result = {3, 3, 12};
    append(explanation, next);
    EXPECT_EQ(explanation.sets.size(), 3U);
    EXPECT_EQ(explanation.sets[2].number, 3);
    EXPECT_EQ(explanation.result.number, 3);
    EXPECT_EQ(explanation.total, microseconds(11200));
    EXPECT_EQ(explanation.hitsTime, microseconds(158));
}

}  // namespace
}  // namespace zdbs::admin
