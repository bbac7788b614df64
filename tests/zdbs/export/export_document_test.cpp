#include "zdbs/export/export_document.h"

#include <gtest/gtest.h>

#include "tests/zdbs/export/by_node.h"
#include "tests/zdbs/support/xml_text.h"
#include "zdbs/base/status.h"

namespace zdbs {
namespace {

using testing::Answered;
using testing::MemoryNodeTable;
using testing::tableFromXml;
using testing::wellFormednessError;

/** An answer that holds the nodes of that local name; "*" is every node. */
Answered answerOf(MemoryNodeTable table, const std::string &local) {
    return {std::move(table), local == "*" ? "N_ID=$" : "N_NAME=\"" + local + "\""};
}

std::string exported(const RequestAnswer &answer, const std::string &specs) {
    const std::string document = exportDocument(answer, {"//query", specs}, false);
    EXPECT_EQ(wellFormednessError(document), "") << document;
    return document;
}

/** What stands between the tags of the root. */
std::string body(const std::string &document) {
    const std::size_t start = document.find(">\n", document.find("<vexa:export")) + 2;
    return document.substr(start, document.rfind("</vexa:export>") - start);
}

TEST(ExportDocument, IsARootWithTheNumberOfMatchesAndAFragmentALine) {
    const Answered answer = answerOf(
        tableFromXml({{"plays/hamlet.xml", "<PLAY><ACT>1</ACT><ACT>2</ACT></PLAY>"}}), "ACT");
    EXPECT_EQ(exported(answer, "/"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<vexa:export xmlns:vexa=\"urn:vexa:export\" matches=\"2\">\n"
              "<fragment document=\"plays/hamlet.xml\" path=\"/PLAY[1]/ACT[1]\"><ACT>1</ACT>"
              "</fragment>\n"
              "<fragment document=\"plays/hamlet.xml\" path=\"/PLAY[1]/ACT[2]\"><ACT>2</ACT>"
              "</fragment>\n"
              "</vexa:export>\n");
}

TEST(ExportDocument, WithoutMatchesHasNoFragments) {
    EXPECT_EQ(exported(answerOf(tableFromXml("<a/>"), "b"), "/ //c"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<vexa:export xmlns:vexa=\"urn:vexa:export\" matches=\"0\">\n</vexa:export>\n");
}

struct BodyFact {
    const char *source;
    const char *match;
    const char *specs;
    const char *body;
};

constexpr BodyFact facts[] = {
    // Every kind of node.
    {"<a>x&amp;y</a>", "a", "/text()",
     "<fragment document=\"test.xml\" path=\"/a[1]/text()[1]\">x&amp;y</fragment>\n"},
    {"<a><!--c--></a>", "a", "/comment()",
     "<fragment document=\"test.xml\" path=\"/a[1]/comment()[1]\"><!--c--></fragment>\n"},
    {"<a><?p d?></a>", "a", "/processing-instruction()",
     "<fragment document=\"test.xml\" path=\"/a[1]/processing-instruction()[1]\"><?p d?>"
     "</fragment>\n"},
    {"<a id='&lt;1&gt;'/>", "a", "/@id",
     "<fragment document=\"test.xml\" path=\"/a[1]/@id\"><vexa:attribute name=\"id\">&lt;1&gt;"
     "</vexa:attribute></fragment>\n"},
    {"<a xmlns:p='urn:p' p:id='1'/>", "a", "/@p:id",
     "<fragment document=\"test.xml\" path=\"/a[1]/@p:id\"><vexa:attribute name=\"p:id\""
     " namespace=\"urn:p\">1</vexa:attribute></fragment>\n"},
    // An element called fragment or attribute is an element like others.
    {"<fragment path='x'/>", "fragment", "/",
     "<fragment document=\"test.xml\" path=\"/fragment[1]\"><fragment path=\"x\"/></fragment>\n"},
    // Several specifications: in their order, for each match.
    {"<r><a><c/><b/></a><a><b/></a></r>", "a", "/b /c",
     "<fragment document=\"test.xml\" path=\"/r[1]/a[1]/b[1]\"><b/></fragment>\n"
     "<fragment document=\"test.xml\" path=\"/r[1]/a[1]/c[1]\"><c/></fragment>\n"
     "<fragment document=\"test.xml\" path=\"/r[1]/a[2]/b[1]\"><b/></fragment>\n"},
    {"<a/>", "a", "/ /",
     "<fragment document=\"test.xml\" path=\"/a[1]\"><a/></fragment>\n"
     "<fragment document=\"test.xml\" path=\"/a[1]\"><a/></fragment>\n"},
    // Matches inside matches repeat their content.
    {"<a><a>x</a></a>", "a", "/",
     "<fragment document=\"test.xml\" path=\"/a[1]\"><a><a>x</a></a></fragment>\n"
     "<fragment document=\"test.xml\" path=\"/a[1]/a[1]\"><a>x</a></fragment>\n"},
    // Namespaces come along.
    {"<a xmlns='urn:d' xmlns:p='urn:p'><p:b><c/></p:b></a>", "c", "/",
     "<fragment document=\"test.xml\" path=\"/a[1]/p:b[1]/c[1]\"><c xmlns=\"urn:d\""
     " xmlns:p=\"urn:p\"/></fragment>\n"},
    {"<vexa:x xmlns:vexa='urn:other'/>", "x", "/",
     "<fragment document=\"test.xml\" path=\"/vexa:x[1]\"><vexa:x xmlns:vexa=\"urn:other\"/>"
     "</fragment>\n"},
};

TEST(ExportDocument, ShowsEachFragmentWithItsPlace) {
    for (const BodyFact &fact : facts)
        EXPECT_EQ(body(exported(answerOf(tableFromXml(fact.source), fact.match), fact.specs)),
                  fact.body)
            << fact.source;
}

TEST(ExportDocument, FragmentsOfSeveralDocumentsNameTheirs) {
    const Answered answer = answerOf(
        tableFromXml({{"one.xml", "<a/>"}, {"two.xml", "<b><a/></b>"}, {"x.xml", "<c/>"}}), "a");
    EXPECT_EQ(body(exported(answer, "/")),
              "<fragment document=\"one.xml\" path=\"/a[1]\"><a/></fragment>\n"
              "<fragment document=\"two.xml\" path=\"/b[1]/a[1]\"><a/></fragment>\n");
}

struct NameFact {
    const char *name;
    const char *shown;
};

TEST(ExportDocument, NamesOfDocumentsAreMadeFitForXml) {
    constexpr NameFact names[] = {
        {"a&b<c>\"d'.xml", "a&amp;b&lt;c&gt;&quot;d'.xml"},
        {"tab\there\nline", "tab&#9;here&#10;line"},
        {"bell\x07.xml", "bell\xEF\xBF\xBD.xml"},
        {"latin\xE5.xml", "latin\xEF\xBF\xBD.xml"},
        {"utf\xC3\xA5.xml", "utf\xC3\xA5.xml"},
        {"\xEF\xBF\xBF\xF0\x9F\x98\x80\xF0\x9F",
         "\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD\xEF\xBF\xBD"},
    };
    for (const NameFact &fact : names) {
        const std::string document =
            exported(answerOf(tableFromXml({{fact.name, "<a/>"}}), "a"), "/");
        EXPECT_NE(document.find(std::string("document=\"") + fact.shown + "\" path"),
                  std::string::npos)
            << document;
    }
}

TEST(ExportDocument, IsWellFormedForEveryNodeOfAHostileDocument) {
    const MemoryNodeTable nodes = tableFromXml(
        "<!DOCTYPE a [<!ENTITY e '&#60;b&#62;'>]><?x a?b?><!-- - -><![CDATA[ -->"
        "<a xmlns='urn:1' b=\"&quot;'&lt;&#9;&#10;&#13;]]&gt;\"><![CDATA[<x>]]]]><![CDATA[>&amp;]]>"
        "&#13;<vexa:hit xmlns:vexa='urn:vexa:export' vexa:hit-b='1,1' b='x'>&amp;lt;</vexa:hit>"
        "<b xmlns=''><c xmlns='urn:2'/></b><?xml-stylesheet <?>&#x1F600;</a>");
    const std::string document = exported(answerOf(nodes, "*"), "/ //node() //@* /..");
    std::size_t fragments = 0;
    for (auto at = document.find("<fragment "); at != std::string::npos;
         at = document.find("<fragment ", at + 1))
        ++fragments;
    EXPECT_EQ(fragments, 13U + 9U + 5U + 10U);
}

TEST(ExportDocument, AWrongSpecificationFailsBeforeAnythingIsWritten) {
    const Answered answer = answerOf(tableFromXml("<a/>"), "b");
    for (const char *specs : {"a", "/ a", "/ /a[", "/a [b]"}) {
        try {
            exportDocument(answer, {"//query", specs}, false);
            ADD_FAILURE() << specs;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), Status::badFragmentSpec) << specs;
        }
    }
}

TEST(ExportDocument, MustBeShorterThanTheLimit) {
    const Answered answer = answerOf(tableFromXml("<a>text</a>"), "a");
    const std::size_t length = exported(answer, "/").size();
    EXPECT_EQ(limitedExportDocument(answer, {"//a", "/"}, false, length + 1).size(), length);
    for (const std::size_t limit : {length, length - 1, length / 2, std::size_t{1}}) {
        try {
            limitedExportDocument(answer, {"//a", "/"}, false, limit);
            ADD_FAILURE() << limit;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), Status::documentTooLarge);
        }
    }
}

}  // namespace
}  // namespace zdbs
