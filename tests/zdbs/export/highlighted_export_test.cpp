#include <gtest/gtest.h>

#include "tests/zdbs/export/by_node.h"
#include "tests/zdbs/support/xml_text.h"
#include "zdbs/export/export_filter.h"

namespace zdbs {
namespace {

using testing::Answered;
using testing::tableFromXml;
using testing::wellFormednessError;

/** The fragments of all elements called m, hits of `word` marked. */
std::string marked(std::string_view source, const std::string &word, const char *specs,
                   bool highlight) {
    const Answered answer(tableFromXml(source), "N_NAME=\"m\"", "N_TVALUE=$" + word + "$");
    const std::string document = exportDocument(answer, {"//m", specs}, highlight);
    EXPECT_EQ(wellFormednessError(document), "") << document;
    std::string fragments;
    for (std::size_t at = document.find("<fragment "); at != std::string::npos;
         at = document.find("<fragment ", at)) {
        const std::size_t start = document.find('>', at) + 1;
        at = document.find("</fragment>\n", start);
        fragments += document.substr(start, at - start) + "\n";
    }
    return fragments;
}

struct MarkFact {
    const char *source;
    const char *word;
    const char *specs;
    const char *fragments;
};

constexpr MarkFact facts[] = {
    {"<m>one two one</m>", "one", "/",
     "<m><vexa:hit>one</vexa:hit> two <vexa:hit>one</vexa:hit></m>\n"},
    {"<m>a&lt;b</m>", "a<b", "/", "<m><vexa:hit>a&lt;b</vexa:hit></m>\n"},
    {"<m>a&lt;b&amp;c</m>", "<b&", "/", "<m>a<vexa:hit>&lt;b&amp;</vexa:hit>c</m>\n"},
    {"<m>x<i>x</i></m>", "x", "/text()", "<vexa:hit>x</vexa:hit>\n"},
    {"<m>x<i>x</i></m>", "x", "/i", "<i><vexa:hit>x</vexa:hit></i>\n"},
    {"<m id='x1x'>y</m>", "x", "/", "<m id=\"x1x\" vexa:hit-id=\"1,1 3,1\">y</m>\n"},
    {"<m id='x1x'>y</m>", "x", "/@id",
     "<vexa:attribute "
     "name=\"id\"><vexa:hit>x</vexa:hit>1<vexa:hit>x</vexa:hit></vexa:attribute>\n"},
    {"<m><!--x--><?p x?></m>", "x", "/node()", "<!--x-->\n<?p x?>\n"},
    {"<r xmlns:vexa='urn:mine'><m vexa:a='x'>x</m></r>", "x", "/",
     "<m xmlns:vexa=\"urn:mine\" vexa:a=\"x\" xmlns:vexa2=\"urn:vexa:export\""
     " vexa2:hit-vexa.a=\"1,1\"><vexa:hit xmlns:vexa=\"urn:vexa:export\">x</vexa:hit></m>\n"},
};

TEST(HighlightedExport, MarksTheHitsInEveryFragment) {
    for (const MarkFact &fact : facts)
        EXPECT_EQ(marked(fact.source, fact.word, fact.specs, true), fact.fragments) << fact.source;
}

TEST(HighlightedExport, WithoutTheOptionNothingIsMarked) {
    EXPECT_EQ(marked("<m id='x'>x</m>", "x", "/", false), "<m id=\"x\">x</m>\n");
}

TEST(HighlightedExport, OfAnAnswerThatKnowsNoHitsMarksNothing) {
    const Answered answer(tableFromXml("<m>x</m>"), "N_ID=1");
    EXPECT_NE(exportDocument(answer, {"//m", "/"}, true).find("<m>x</m>"), std::string::npos);
}

}  // namespace
}  // namespace zdbs
