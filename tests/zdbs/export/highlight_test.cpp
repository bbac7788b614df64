#include <gtest/gtest.h>

#include "tests/zdbs/export/by_node.h"
#include "tests/zdbs/support/word_hits.h"
#include "tests/zdbs/support/xml_text.h"
#include "zdbs/export/xml_writer.h"

namespace zdbs {
namespace {

using testing::fragmentText;
using testing::MemoryNodeTable;
using testing::tableFromXml;
using testing::wellFormednessError;
using testing::WordHits;

/** The whole document inside `<o xmlns:h="urn:h">`, hits of `word` marked; without that shell. */
std::string marked(const MemoryNodeTable &nodes, std::string_view word) {
    const WordHits hits(nodes, word);
    const std::string text = fragmentText(nodes, nodes.documents().front().first, &hits);
    EXPECT_EQ(wellFormednessError("<o xmlns:h=\"urn:h\">" + text + "</o>"), "") << text;
    return text;
}

struct MarkFact {
    const char *source;
    const char *word;
    const char *text;
};

constexpr MarkFact facts[] = {
    {"<a>one two</a>", "two", "<a>one <h:hit>two</h:hit></a>"},
    {"<a>one two</a>", "one", "<a><h:hit>one</h:hit> two</a>"},
    {"<a>one</a>", "one", "<a><h:hit>one</h:hit></a>"},
    {"<a>one</a>", "three", "<a>one</a>"},
    {"<a>aaaa</a>", "aa", "<a><h:hit>aa</h:hit><h:hit>aa</h:hit></a>"},
    {"<a>x&lt;y&amp;x&lt;y</a>", "x<y", "<a><h:hit>x&lt;y</h:hit>&amp;<h:hit>x&lt;y</h:hit></a>"},
    {"<a>]]&gt;</a>", "]]", "<a><h:hit>]]</h:hit>&gt;</a>"},
    {"<a>q<b>w</b>q</a>", "q", "<a><h:hit>q</h:hit><b>w</b><h:hit>q</h:hit></a>"},
    {"<a>\xC3\xA5\xC3\xB8\xC3\xA5</a>", "\xC3\xB8",
     "<a>\xC3\xA5<h:hit>\xC3\xB8</h:hit>\xC3\xA5</a>"},
    // Attributes: a marker beside them, start and length in characters.
    {"<a id='one two'/>", "two", "<a id=\"one two\" h:hit-id=\"5,3\"/>"},
    {"<a id='xx' n='ax'/>", "x", "<a id=\"xx\" h:hit-id=\"1,1 2,1\" n=\"ax\" h:hit-n=\"2,1\"/>"},
    {"<a id='\xC3\xA5\xE2\x82\xAC\xF0\x9F\x98\x80x'/>", "x",
     "<a id=\"\xC3\xA5\xE2\x82\xAC\xF0\x9F\x98\x80x\" h:hit-id=\"4,1\"/>"},
    {"<a id='x\xC3\xA5\xC3\xA5x'/>", "\xC3\xA5",
     "<a id=\"x\xC3\xA5\xC3\xA5x\" h:hit-id=\"2,1 3,1\"/>"},
    {"<a xmlns:p='u' p:id='x' p.id='x' id='x'/>", "x",
     "<a xmlns:p=\"u\" p:id=\"x\" h:hit-p.id=\"1,1\" p.id=\"x\" h:hit-p..id=\"1,1\""
     " id=\"x\" h:hit-id=\"1,1\"/>"},
    // Nothing can stand inside these.
    {"<a><!--x--><?x x?></a>", "x", "<a><!--x--><?x x?></a>"},
    // The prefix means something else here: the markup declares its own.
    {"<a xmlns:h='other'>x</a>", "x",
     "<a xmlns:h=\"other\"><h:hit xmlns:h=\"urn:h\">x</h:hit></a>"},
    {"<a xmlns:h='other' h:id='x' n='x'/>", "x",
     "<a xmlns:h=\"other\" h:id=\"x\" xmlns:h2=\"urn:h\" h2:hit-h.id=\"1,1\" n=\"x\""
     " h2:hit-n=\"1,1\"/>"},
    {"<a xmlns:h='other' xmlns:h2='o2' id='x'/>", "x",
     "<a xmlns:h=\"other\" xmlns:h2=\"o2\" id=\"x\" xmlns:h3=\"urn:h\" h3:hit-id=\"1,1\"/>"},
    {"<a><b xmlns:h='other'>x</b>x</a>", "x",
     "<a><b xmlns:h=\"other\"><h:hit xmlns:h=\"urn:h\">x</h:hit></b><h:hit>x</h:hit></a>"},
    {"<a><b xmlns:h='other'/>x</a>", "x", "<a><b xmlns:h=\"other\"/><h:hit>x</h:hit></a>"},
    {"<a xmlns:h='other'><b xmlns:h='urn:h'>x</b></a>", "x",
     "<a xmlns:h=\"other\"><b xmlns:h=\"urn:h\"><h:hit>x</h:hit></b></a>"},
    // A stored document that was marked before keeps its own marker.
    {"<a xmlns:k='urn:h' id='x' k:hit-id='1,1'/>", "x",
     "<a xmlns:k=\"urn:h\" id=\"x\" k:hit-id=\"1,1\"/>"},
};

TEST(Highlight, MarksEveryHitAtItsPlace) {
    for (const MarkFact &fact : facts)
        EXPECT_EQ(marked(tableFromXml(fact.source), fact.word), fact.text) << fact.source;
}

TEST(Highlight, OfAFragmentKnowsTheDeclarationsOfItsAncestors) {
    const MemoryNodeTable nodes = tableFromXml("<a xmlns:h='other'><b>x</b></a>");
    const WordHits hits(nodes, "x");
    EXPECT_EQ(fragmentText(nodes, 2, &hits),
              "<b xmlns:h=\"other\"><h:hit xmlns:h=\"urn:h\">x</h:hit></b>");
}

TEST(Highlight, OfAnAttributeValueWrapsItsHits) {
    const MemoryNodeTable nodes = tableFromXml("<a id='one &lt;two&gt;'/>");
    const WordHits hits(nodes, "<two>");
    EXPECT_EQ(fragmentText(nodes, 2, &hits),
              "<h:attribute name=\"id\">one <h:hit>&lt;two&gt;</h:hit></h:attribute>");
}

TEST(Highlight, TakingTheMarksAwayGivesTheTextBack) {
    const std::string hostile = "a&b<c>d\"e'f]]>g\r\n\t&amp;&#38;<h:hit>x</h:hit>";
    for (std::size_t start = 0; start < hostile.size(); ++start) {
        MemoryNodeTable nodes;
        nodes.startDocument("hostile.xml");
        nodes.startElement({"a"});
        nodes.text(hostile);
        nodes.endElement();
        nodes.endDocument();
        std::string text = marked(nodes, hostile.substr(start, 3));
        for (const std::string_view mark : {"<h:hit>", "</h:hit>"}) {
            for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark))
                text.erase(at, mark.size());
        }
        EXPECT_EQ(text, fragmentText(nodes, 1));
    }
}

struct NameFact {
    NodeName name;
    const char *marker;
};

TEST(Highlight, MarkerNamesDifferWheneverAttributeNamesDo) {
    constexpr NameFact names[] = {
        {{"id", "", ""}, "hit-id"},         {{"id", "p", ""}, "hit-p.id"},
        {{"p.id", "", ""}, "hit-p..id"},    {{"id", "p.", ""}, "hit-p...id"},
        {{"p..id", "", ""}, "hit-p....id"}, {{"i.d", "p", ""}, "hit-p.i..d"},
    };
    for (const NameFact &fact : names)
        EXPECT_EQ(markerName(fact.name), fact.marker);
}

}  // namespace
}  // namespace zdbs
