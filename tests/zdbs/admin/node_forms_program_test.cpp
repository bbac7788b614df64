// What `zdbs query`, `zdbs values` and `zdbs paths` print of nodes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/admin/json_value.h"
#include "tests/zdbs/admin/program_fixture.h"

namespace zdbs {
namespace {

using support::exited;
using testing::HasSubstr;

class NodeFormsProgram : public ProgramTest {
protected:
    NodeFormsProgram() {
        makeDatabase();
        good({"load", "db", directory_.write("1.xml", "<a><b i='x,y'>one</b><b>t<c/>wo</b></a>"),
              directory_.write("2.xml", "<a><b>say \"no\"\nor so</b></a>"),
              directory_.write("3.xml", "<?p?><a><b>one</b><b/></a>")});
    }

    /** An option is a column by itself, and the same column of CSV. */
    void expectColumn(const std::string &option, const std::string &title,
                      const std::vector<std::string> &cells) const {
        std::string lines;
        std::string csv = title + "\r\n";
        for (const std::string &cell : cells) {
            lines += cell + "\n";
            csv += cell + "\r\n";
        }
        EXPECT_EQ(good({"query", "db", option, "//b"}), lines);
        EXPECT_EQ(good({"query", "db", "--csv", option, "//b"}), csv);
    }
};

TEST_F(NodeFormsProgram, AreNumbersAndPaths) {
    expectColumn("--ids", "id", {"2", "5", "10", "14", "16"});
    expectColumn("--paths", "path",
                 {"/a[1]/b[1]", "/a[1]/b[2]", "/a[1]/b[1]", "/a[1]/b[1]", "/a[1]/b[2]"});
}

TEST_F(NodeFormsProgram, AreValuesOfEveryKindOfNode) {
    EXPECT_EQ(good({"query", "db", "--values", "//b"}), "one\ntwo\nsay \"no\"\nor so\none\n\n");
    EXPECT_EQ(good({"query", "db", "--values", "//@i", "/processing-instruction()", "//b/text()"}),
              "x,y\n\none\nt\nwo\nsay \"no\"\nor so\none\n");
    EXPECT_EQ(good({"query", "db", "-0", "--values", "//b"}),
              std::string("one\0two\0say \"no\"\nor so\0one\0\0", 28));
}

TEST_F(NodeFormsProgram, NameEachDocumentOnce) {
    EXPECT_EQ(good({"query", "db", "--documents", "//b", "//c", "//nothing"}),
              "1.xml\n2.xml\n3.xml\n1.xml\n");
    EXPECT_EQ(good({"query", "db", "--documents", "--offset", "1", "--limit", "1", "//b"}),
              "2.xml\n");
}

TEST_F(NodeFormsProgram, AreRowsOfCsv) {
    EXPECT_EQ(good({"query", "db", "--csv", "//b", "//@i"}),
              "document,path,value\r\n"
              "1.xml,/a[1]/b[1],one\r\n"
              "1.xml,/a[1]/b[2],two\r\n"
              "2.xml,/a[1]/b[1],\"say \"\"no\"\"\nor so\"\r\n"
              "3.xml,/a[1]/b[1],one\r\n"
              "3.xml,/a[1]/b[2],\r\n"
              "1.xml,/a[1]/b[1]/@i,\"x,y\"\r\n");
    EXPECT_EQ(good({"query", "db", "--csv", "//nothing"}), "document,path,value\r\n");
    EXPECT_EQ(good({"query", "db", "--csv", "--values", "--ids", "//c"}), "id,value\r\n7,\r\n");
}

TEST_F(NodeFormsProgram, AreListsOfAnObject) {
    const JsonValue object = readJsonLine(
        good({"query", "db", "--json", "--ids", "--documents", "--paths", "--values", "//b"}));
    EXPECT_EQ(object["records"].number, 5);
    ASSERT_EQ(object["ids"].items.size(), 5U);
    ASSERT_EQ(object["documents"].items.size(), 3U);
    ASSERT_EQ(object["paths"].items.size(), 5U);
    ASSERT_EQ(object["values"].items.size(), 5U);
    EXPECT_EQ(object["documents"].items[1].text, "2.xml");
    EXPECT_EQ(object["paths"].items[4].text, "/a[1]/b[2]");
    EXPECT_EQ(object["values"].items[2].text, "say \"no\"\nor so");
}

TEST_F(NodeFormsProgram, ShowTheStretchThatIsAskedFor) {
    const auto ids = [this](const char *offset, const char *limit) {
        return good({"query", "db", "--ids", "--offset", offset, "--limit", limit, "//b"});
    };
    EXPECT_EQ(ids("0", "2"), "2\n5\n");
    EXPECT_EQ(ids("3", "2"), "14\n16\n");
    EXPECT_EQ(ids("4", "100"), "16\n");
    EXPECT_EQ(ids("5", "1"), "");
    EXPECT_EQ(ids("0", "0"), "");
    EXPECT_EQ(ids("18446744073709551615", "1"), "");
    EXPECT_THAT(bad({"query", "db", "--ids", "--limit", "-1", "//b"}, 2), HasSubstr("limit"));
}

TEST_F(NodeFormsProgram, ShowTheStretchOfFragmentsToo) {
    const auto fragments = [this](const char *offset, const char *limit) {
        return good(
            {"query", "db", "--fragments", "/", "--offset", offset, "--limit", limit, "//b"});
    };
    const std::string begin =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<vexa:export xmlns:vexa=\"urn:vexa:export\" matches=\"";
    EXPECT_EQ(fragments("1", "1"),
              begin +
                  "1\">\n<fragment document=\"1.xml\" path=\"/a[1]/b[2]\"><b>t<c/>wo</b>"
                  "</fragment>\n</vexa:export>\n");
    EXPECT_EQ(fragments("9", "1"), begin + "0\">\n</vexa:export>\n");
    EXPECT_EQ(fragments("0", "5"), good({"query", "db", "--fragments", "/", "//b"}));
}

TEST_F(NodeFormsProgram, AreRefusedWhereTheyDoNotGoTogether) {
    EXPECT_THAT(bad({"query", "db", "--ids", "--paths", "//b"}, 2), HasSubstr("--csv"));
    EXPECT_THAT(bad({"query", "db", "--limit", "1", "//b"}, 2), HasSubstr("--values"));
    EXPECT_THAT(bad({"query", "db", "--csv", "--json", "//b"}, 2), HasSubstr("--json"));
    EXPECT_THAT(bad({"query", "db", "--null", "//b"}, 2), HasSubstr("--null"));
}

TEST_F(NodeFormsProgram, AreOfFindCommandsToo) {
    EXPECT_EQ(good({"query", "db", "FIND N_NAME=b", "//c", "find XPATH(child,0,1,2)",
                    "FIND N_NAME=nothing"}),
              "5\n1\n5\n0\n");
    EXPECT_EQ(good({"query", "db", "--paths", "FIND N_NAME=b", "FIND S=1 AND N_ID>10"}),
              "/a[1]/b[1]\n/a[1]/b[2]\n/a[1]/b[1]\n/a[1]/b[1]\n/a[1]/b[2]\n"
              "/a[1]/b[1]\n/a[1]/b[2]\n");
    EXPECT_THAT(good({"query", "db", "--fragments", "/", "--highlight", "FIND N_TVALUE=$no$"}),
                HasSubstr("say \"<vexa:hit>no</vexa:hit>\""));
    const auto result = run({"query", "db", "FIND S=7", "FIND N_NAME", "FIND N_NAME=c"});
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_EQ(result.out, "-\n-\n1\n");
}

TEST_F(NodeFormsProgram, OfValuesAreCounted) {
    EXPECT_EQ(good({"values", "db", "//b"}),
              "COUNT  VALUE\n"
              "    1\n"
              "    2  one\n"
              "    1  say \"no\"\\nor so\n"
              "    1  two\n");
    EXPECT_EQ(good({"values", "db", "--by-count", "--csv", "FIND N_TVALUE=$"}),
              "count,value\r\n2,one\r\n1,\"say \"\"no\"\"\nor so\"\r\n1,t\r\n1,wo\r\n"
              "1,\"x,y\"\r\n");
    const JsonValue list = readJsonLine(good({"values", "db", "--json", "//b"}));
    ASSERT_EQ(list.items.size(), 4U);
    EXPECT_EQ(list.items[1]["value"].text, "one");
    EXPECT_EQ(list.items[1]["count"].number, 2);
    EXPECT_EQ(good({"values", "db", "//nothing"}), "COUNT  VALUE\n");
    EXPECT_EQ(good({"values", "db", "--json", "//nothing"}), "[]\n");
    EXPECT_EQ(bad({"values", "db", "//b["}), "zdbs: //b[: The request failed: syntax error.\n");
    EXPECT_THAT(bad({"values", "none", "//b"}), HasSubstr("no such database"));
}

TEST_F(NodeFormsProgram, OfPathsAreATree) {
    EXPECT_EQ(good({"paths", "db"}),
              "COUNT  PATH\n"
              "    3  a\n"
              "    5    b\n"
              "    1      @i\n"
              "    5      text()\n"
              "    1      c\n"
              "    1  processing-instruction('p')\n");
    const JsonValue list = readJsonLine(good({"paths", "db", "--json"}));
    ASSERT_EQ(list.items.size(), 6U);
    const JsonValue &attribute = list.items[2];
    EXPECT_EQ(attribute["path"].text, "/a/b/@i");
    EXPECT_EQ(attribute["level"].number, 3);
    EXPECT_EQ(attribute["type"].text, "ATTRIBUTE");
    EXPECT_EQ(attribute["name"].text, "i");
    EXPECT_EQ(attribute["count"].number, 1);
    good({"create", "empty"});
    EXPECT_EQ(good({"paths", "empty"}), "COUNT  PATH\n");
    EXPECT_EQ(good({"paths", "empty", "--json"}), "[]\n");
    EXPECT_THAT(bad({"paths", "none"}), HasSubstr("no such database"));
}

TEST_F(NodeFormsProgram, OfPathsThatEveryRequestFinds) {
    for (const JsonValue &path : readJsonLine(good({"paths", "db", "--json"})).items) {
        if (path["type"].text == "PROCESSING_INSTRUCTION") continue;
        EXPECT_EQ(good({"query", "db", path["path"].text}),
                  std::to_string(static_cast<int>(path["count"].number)) + "\n");
    }
}

}  // namespace
}  // namespace zdbs
