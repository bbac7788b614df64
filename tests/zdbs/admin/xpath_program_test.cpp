// `zdbs xpath`: the program driven, its output compared to the byte.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/zdbs/admin/program_fixture.h"

namespace zdbs {
namespace {

using support::exited;
using testing::HasSubstr;
using testing::Not;

class XPathProgram : public ProgramTest {
protected:
    XPathProgram() {
        makeDatabase();
        good({"load", "db",
              directory_.write("one.xml",
                               "<a><b_c n='1'>x</b_c><b_c n='2'>y</b_c>"
                               "<p:d xmlns:p='urn:d'>2.50</p:d></a>")});
        good({"load", "db", directory_.write("two.xml", "<a><e>1</e><e><e>10</e></e></a>")});
    }
};

TEST_F(XPathProgram, PrintsCountsOfNodesAndOtherValuesThemselves) {
    EXPECT_EQ(good({"xpath", "db", "//b_c", "//e[not(e)]", "count(//b_c | //e) div 2",
                    "concat(//b_c, '!')", "//b_c = 'y'", "1 div 0"}),
              "2\n2\n2.5\nx!\ntrue\nInfinity\n");
}

TEST_F(XPathProgram, BeginsAtEveryDocument) {
    EXPECT_EQ(good({"xpath", "db", "/", "/a", "a", "/a[1]", "(/a)[1]", "/a[count(/a)=1]",
                    "count(/a)", "//e[. = /a/e[1]]"}),
              "2\n2\n2\n2\n1\n2\n2\n1\n");
}

TEST_F(XPathProgram, TakesPrefixesAndVariables) {
    EXPECT_EQ(good({"xpath", "db", "--namespace", "q=urn:d", "--variable", "n=2", "//q:d", "//d",
                    "//q:*", "//*[@n=$n]"}),
              "1\n0\n1\n1\n");
    EXPECT_THAT(bad({"xpath", "db", "--namespace", "q", "//q:d"}, 2), HasSubstr("--namespace"));
    EXPECT_THAT(bad({"xpath", "db", "--variable", "1=2", "//a"}, 2), HasSubstr("--variable"));
    EXPECT_THAT(bad({"xpath", "db", "--namespace", "xml=urn:x", "//a"}, 2), HasSubstr("xml"));
}

TEST_F(XPathProgram, TakesVariablesOfEachType) {
    const auto with = [this](const std::string &variable, const std::string &expression) {
        return good({"xpath", "db", "--variable", variable, expression});
    };
    EXPECT_EQ(with("n:number=2", "//b_c[$n]"), "1\n");
    EXPECT_EQ(with("n=2", "//b_c[$n]"), "2\n");
    EXPECT_EQ(with("n:string=2", "$n"), "2\n");
    EXPECT_EQ(with("n:number=-0.50", "$n"), "-0.5\n");
    EXPECT_EQ(with("n:number=NaN", "$n = $n"), "false\n");
    EXPECT_EQ(with("t:boolean=false", "//b_c[$t]"), "0\n");
    EXPECT_EQ(with("t:boolean=true", "string($t)"), "true\n");
    EXPECT_EQ(with("s=a=b:c", "$s"), "a=b:c\n");
    for (const char *wrong :
         {"n:number=x", "n:number=", "t:boolean=1", "n:date=1", ":number=1", "n"}) {
        EXPECT_THAT(bad({"xpath", "db", "--variable", wrong, "1"}, 2), Not(testing::IsEmpty()))
            << wrong;
    }
}

TEST_F(XPathProgram, NotesNamesThatNoNodeHas) {
    const auto notes = [this](const std::string &expression) {
        const std::string text = good({"xpath", "db", "--json", expression});
        const std::size_t at = text.find("\"notes\":");
        return at == std::string::npos ? std::string() : text.substr(at);
    };
    EXPECT_EQ(notes("//b_c[@n]"), "");
    EXPECT_EQ(notes("//b_d"),
              "\"notes\":[\"Column 3: No element of this database is named b_d; the "
              "nearest is b_c.\"]}\n");
    EXPECT_EQ(notes("count(//a[@m or //zzz])"),
              "\"notes\":[\"Column 12: No attribute of this database is named m.\","
              "\"Column 19: No element of this database is named zzz.\"]}\n");
    EXPECT_EQ(notes("/a/d"),
              "\"notes\":[\"Column 4: No element of this database is named d in no "
              "namespace; there is one in urn:d.\"]}\n");
    EXPECT_THAT(good({"xpath", "db", "--json", "--no-notes", "//b_d"}), Not(HasSubstr("notes")));
}

TEST_F(XPathProgram, PrintsNodesAsQueriesDo) {
    EXPECT_EQ(good({"xpath", "db", "--values", "//e[. > 2]"}), "10\n10\n");
    EXPECT_EQ(good({"xpath", "db", "--paths", "--limit", "1", "--offset", "1", "//e"}),
              "/a[1]/e[2]\n");
    EXPECT_EQ(good({"xpath", "db", "--csv", "--values", "//b_c", "'a,b'"}),
              "value\r\nx\r\ny\r\n\"a,b\"\r\n");
    EXPECT_THAT(good({"xpath", "db", "--fragments", "/", "//b_c[last()]"}),
                HasSubstr("<b_c n=\"2\">y</b_c>"));
}

TEST_F(XPathProgram, WritesObjects) {
    const std::string nodes = good({"xpath", "db", "--json", "--values", "//b_c[2]"});
    EXPECT_THAT(nodes, HasSubstr("\"records\":1,"));
    EXPECT_THAT(nodes, HasSubstr("\"values\":[\"y\"]}"));
    const std::string number = good({"xpath", "db", "--json", "0 div 0"});
    EXPECT_THAT(number, HasSubstr("\"type\":\"number\",\"value\":\"NaN\","));
}

TEST_F(XPathProgram, ReadsExpressionsFromInput) {
    EXPECT_EQ(good({"xpath", "db"}, "//b_c\n\ncount(//e)\n"), "2\n3\n");
    EXPECT_EQ(good({"xpath", "db", "1", "-", "2"}, "//b_c\n"), "1\n2\n2\n");
}

TEST_F(XPathProgram, SaysWhereAnExpressionIsWrong) {
    const auto result = run({"xpath", "db", "//a[", "//a"});
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_EQ(result.out, "-\n2\n");
    EXPECT_EQ(result.err,
              "zdbs: //a[: The request failed: line 1, column 5: expected an expression, found the "
              "end.\n  //a[\n      ^\n");
}

TEST_F(XPathProgram, RefusesToListRootsOfDocuments) {
    EXPECT_EQ(good({"xpath", "db", "/ | //e"}), "5\n");
    EXPECT_THAT(bad({"xpath", "db", "--ids", "/"}), HasSubstr("roots of documents"));
}

TEST_F(XPathProgram, ExplainsHowItUnderstandsAndFinds) {
    const std::string text = good({"xpath", "db", "--explain", "//a[1]/b_c[@n > position()] = 3"});
    EXPECT_THAT(text, HasSubstr("boolean: (/descendant-or-self::node()/child::a[1]/child::b_c[("));
    EXPECT_THAT(text, HasSubstr("  step      child::a[1]\n"));
    EXPECT_THAT(good({"xpath", "db", "--explain", "//b_c[@n='1'][not(.='y')]"}),
                HasSubstr("  sets      (attribute::n = \"1\")\n"));
    EXPECT_THAT(good({"xpath", "db", "--explain", "//*[name()='a']"}), HasSubstr("  names  "));
    EXPECT_THAT(good({"xpath", "db", "--explain", "//b_c[@n*2=2]"}), HasSubstr("  batches  "));
    EXPECT_EQ(good({"xpath", "db", "--explain", "1+1"}), "number: (1 + 1)\n");
    EXPECT_THAT(good({"xpath", "db", "--explain", "--json", "/a"}),
                HasSubstr("\"parts\":[{\"part\":\"child::a\",\"way\":\"step\",\"nodes\":2,"));
}

}  // namespace
}  // namespace zdbs
