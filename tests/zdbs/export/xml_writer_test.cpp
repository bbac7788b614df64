#include "zdbs/export/xml_writer.h"

#include <expat.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/zdbs/export/by_node.h"
#include "tests/zdbs/support/xml_text.h"

namespace zdbs {

using namespace embedded;
namespace {

using testing::canonical;
using testing::documentByNode;
using testing::MemoryNodeTable;
using testing::tableFromXml;
using testing::wellFormednessError;

std::string written(const NodeTable &nodes, std::size_t document = 0) {
    return documentByNode(nodes, nodes.documents()[document]);
}

struct ExactFact {
    const char *source;
    const char *text;
};

constexpr ExactFact exactFacts[] = {
    {"<a/>", "<a/>\n"},
    {"<a></a>", "<a/>\n"},
    {"<a>text</a>", "<a>text</a>\n"},
    {"<a b='1' c=\"2\"/>", "<a b=\"1\" c=\"2\"/>\n"},
    {"<a b='1'>x</a>", "<a b=\"1\">x</a>\n"},
    {"<a><b/><c/></a>", "<a><b/><c/></a>\n"},
    {"<a><b><c><d/></c></b></a>", "<a><b><c><d/></c></b></a>\n"},
    {"<a>x<b>y</b>z</a>", "<a>x<b>y</b>z</a>\n"},
    {"<a> <b/>\n</a>", "<a> <b/>\n</a>\n"},
    {"<a><![CDATA[<&>]]></a>", "<a>&lt;&amp;&gt;</a>\n"},
    {"<a>]]&gt;</a>", "<a>]]&gt;</a>\n"},
    {"<a b='&lt;&quot;&apos;&amp;'/>", "<a b=\"&lt;&quot;'&amp;\"/>\n"},
    {"<a b='&#9;&#10;&#13; '>&#13;</a>", "<a b=\"&#9;&#10;&#13; \">&#13;</a>\n"},
    {"<a b=''/>", "<a b=\"\"/>\n"},
    {"<a><!-- c --><!----></a>", "<a><!-- c --><!----></a>\n"},
    {"<a><?p?><?q  some data ?></a>", "<a><?p?><?q some data ?></a>\n"},
    {"<!--1--><?p x?><a/><?q y?><!--2-->", "<!--1-->\n<?p x?>\n<a/>\n<?q y?>\n<!--2-->\n"},
    {"<a xmlns='urn:u'/>", "<a xmlns=\"urn:u\"/>\n"},
    {"<a xmlns='urn:u'><b xmlns=''/></a>", "<a xmlns=\"urn:u\"><b xmlns=\"\"/></a>\n"},
    {"<p:a xmlns:p='urn:u&amp;v' p:b='1'/>", "<p:a xmlns:p=\"urn:u&amp;v\" p:b=\"1\"/>\n"},
    {"<a xml:lang='en' xml:space='preserve'> </a>",
     "<a xml:lang=\"en\" xml:space=\"preserve\"> </a>\n"},
    {"<\xC3\xA5 \xC3\xB8='\xE2\x82\xAC'>\xF0\x9F\x98\x80</\xC3\xA5>",
     "<\xC3\xA5 \xC3\xB8=\"\xE2\x82\xAC\">\xF0\x9F\x98\x80</\xC3\xA5>\n"},
};

TEST(XmlWriter, WritesEachConstructInOneWay) {
    for (const ExactFact &fact : exactFacts)
        EXPECT_EQ(written(tableFromXml(fact.source)), fact.text) << fact.source;
}

constexpr const char *roundTripSources[] = {
    "<!DOCTYPE a [<!ENTITY e '<b>in</b> &#38;amp;'><!ATTLIST a d CDATA 'v'>]><a>&e;-&e;</a>",
    "<a xmlns='urn:u' xmlns:p='urn:v'><p:b xmlns:p='urn:w' p:c='1' c='2'/><b xmlns='' "
    "p:c='3'/></a>",
    "<a xmlns:p='urn:v' xmlns:q='urn:v' q:x='1' y='2' a='3'><p:b/><q:b q:c=''/></a>",
    "<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xE9'>\xE6\xF8\xE5</a>",
    "<?style sheet?><!-- before --><a/><!-- after --><?end?>",
    "<a>one<!-- two -->three<?four five?>six<![CDATA[ seven ]]>eight</a>",
    "<a b='&#x9;&#xA;&#xD;&#x20;\t\n'>&#x9;&#xA;&#xD;&#x20;\t\n</a>",
    "<a><b><c/></b><b><c/></b></a>",
    "<a xml:base='http://example.org/'><b xml:id='x'/></a>",
    "<a>\xE2\x80\xA8\xC2\x85\xEF\xBF\xBD\xF4\x8F\xBF\xBD</a>",
    "<a x='&gt;&lt;&amp;&quot;&apos;'>&gt;&lt;&amp;&quot;&apos;]]&gt;</a>",
    "<a xmlns:empty='urn:x'><empty:b xmlns:empty='urn:y'><empty:c "
    "xmlns:empty='urn:x'/></empty:b></a>",
};

TEST(XmlWriter, WhatIsWrittenHasTheCanonicalFormOfItsSource) {
    for (const char *source : roundTripSources) {
        const std::string text = written(tableFromXml(source));
        EXPECT_EQ(wellFormednessError(text), "") << text;
        EXPECT_EQ(canonical(text), canonical(source)) << text;
    }
    for (const ExactFact &fact : exactFacts)
        EXPECT_EQ(canonical(fact.text), canonical(fact.source)) << fact.source;
}

TEST(XmlWriter, WritesEachDocumentOfATableByItself) {
    MemoryNodeTable nodes;
    nodes.startDocument("one");
    nodes.startElement({"a"});
    nodes.endElement();
    nodes.endDocument();
    nodes.skipIds(7);
    nodes.startDocument("two");
    nodes.comment("before");
    nodes.startElement({"b"});
    nodes.text("x");
    nodes.endElement();
    nodes.endDocument();
    EXPECT_EQ(written(nodes, 0), "<a/>\n");
    EXPECT_EQ(written(nodes, 1), "<!--before-->\n<b>x</b>\n");
}

/** Elements in elements, `depth` of them, with a text and an attribute at the innermost. */
MemoryNodeTable deepTable(int depth) {
    MemoryNodeTable nodes;
    nodes.startDocument("deep.xml");
    for (int level = 0; level < depth; ++level)
        nodes.startElement({"e"});
    nodes.attribute({"at"}, "bottom");
    nodes.text("bottom");
    for (int level = 0; level < depth; ++level)
        nodes.endElement();
    nodes.endDocument();
    return nodes;
}

struct DepthCount {
    int open = 0;
    int deepest = 0;
};

void startOne(void *data, const XML_Char *, const XML_Char **) {
    DepthCount &count = *static_cast<DepthCount *>(data);
    count.deepest = std::max(count.deepest, ++count.open);
}

void endOne(void *data, const XML_Char *) {
    --static_cast<DepthCount *>(data)->open;
}

TEST(XmlWriter, AMillionElementsInEachOtherAreWritten) {
    constexpr int depth = 1000000;
    const std::string text = written(deepTable(depth));

    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
        XML_ParserCreate(nullptr), &XML_ParserFree);
    DepthCount count;
    XML_SetUserData(parser.get(), &count);
    XML_SetElementHandler(parser.get(), startOne, endOne);
    EXPECT_EQ(XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), 1),
              XML_STATUS_OK);
    EXPECT_EQ(count.deepest, depth);
    EXPECT_EQ(count.open, 0);
}

TEST(XmlWriter, AnElementWithManyAttributesIsWrittenWithAllOfThem) {
    MemoryNodeTable nodes;
    nodes.startDocument("wide.xml");
    nodes.startElement({"a"});
    constexpr int many = 50000;
    for (int number = 0; number < many; ++number)
        nodes.attribute({"n" + std::to_string(number)}, "v");
    nodes.endElement();
    nodes.endDocument();
    const std::string text = written(nodes);
    EXPECT_EQ(std::count(text.begin(), text.end(), '='), many);
    EXPECT_TRUE(text.ends_with("/>\n"));
}

}  // namespace
}  // namespace zdbs
