/** Trees that are deep or wide beyond what a stack or a quadratic walk could bear. */
#include <expat.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/zdbs/export/by_node.h"
#include "zdbs/export/export_filter.h"

namespace zdbs {
namespace {

using testing::Answered;
using testing::ByNodeDatabase;
using testing::byPath;
using testing::MemoryNodeTable;

bool expatAccepts(const std::string &document) {
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
        XML_ParserCreateNS(nullptr, '|'), &XML_ParserFree);
    return XML_Parse(parser.get(), document.data(), static_cast<int>(document.size()), 1) ==
           XML_STATUS_OK;
}

/** `depth` elements e in each other, a text in the innermost. */
MemoryNodeTable chain(int depth) {
    MemoryNodeTable nodes;
    nodes.startDocument("deep.xml");
    for (int level = 0; level < depth; ++level)
        nodes.startElement({"e"});
    nodes.text("bottom");
    for (int level = 0; level < depth; ++level)
        nodes.endElement();
    nodes.endDocument();
    return nodes;
}

TEST(ExportScale, AMillionElementsInEachOtherAreExported) {
    constexpr int depth = 1000000;
    const Answered answer(chain(depth), "N_ID=1", {}, {.deepestLevel = 200});
    const std::string document = exportDocument(answer, {"//e", "/ //text()"}, false);
    EXPECT_TRUE(expatAccepts(document));
    EXPECT_NE(document.find("/e[1]/text()[1]\">bottom</fragment>"), std::string::npos);
}

struct CountFact {
    const char *spec;
    std::size_t count;
};

TEST(ExportScale, ElementsInEachOtherAreSearchedInOnePassAStep) {
    constexpr int depth = 200000;
    const auto nodes = byPath(chain(depth), {.deepestLevel = 200});
    const ByNodeDatabase database(*nodes);
    constexpr CountFact facts[] = {
        {"//e", depth - 1},
        {"//e//e", depth - 2},
        {"//e//e//e", depth - 3},
        {"//e[.//e]", depth - 2},
        {"//e[contains(., 'bottom')]", depth - 1},
        {"//e[contains(., 'nothing')]", 0},
        {"//e[ancestor::e/e]", depth - 1},
        {"//e/ancestor::e", depth - 1},
        {"//e/ancestor-or-self::*", depth},
        {"//e/following::node()", 0},
        {"//e[1]", depth - 1},
    };
    for (const CountFact &fact : facts)
        EXPECT_EQ(database.select(fact.spec, 1).size(), fact.count) << fact.spec;
}

/** One parent of `many` children c, the last one with a child z. */
MemoryNodeTable family(int many) {
    MemoryNodeTable nodes;
    nodes.startDocument("wide.xml");
    nodes.startElement({"p"});
    for (int child = 0; child < many; ++child) {
        nodes.startElement({"c"});
        nodes.attribute({"n"}, std::to_string(child));
        if (child + 1 == many) {
            nodes.startElement({"z"});
            nodes.endElement();
        }
        nodes.endElement();
    }
    nodes.endElement();
    nodes.endDocument();
    return nodes;
}

TEST(ExportScale, AHundredThousandSiblingsAreExported) {
    constexpr int many = 100000;
    const Answered answer(family(many), "N_NAME=\"c\"");
    const std::string document = exportDocument(
        answer, {"//c", "/ /@n /following-sibling::c[1] /preceding-sibling::c[1]"}, false);
    EXPECT_TRUE(expatAccepts(document));
    EXPECT_NE(document.find("path=\"/p[1]/c[100000]\""), std::string::npos);
    EXPECT_NE(document.find("path=\"/p[1]/c[100000]/@n\""), std::string::npos);
    EXPECT_EQ(document.find("path=\"/p[1]/c[100001]\""), std::string::npos);
}

TEST(ExportScale, AHundredThousandSiblingsAreSearchedInOnePassAStep) {
    constexpr std::size_t many = 100000;
    const auto nodes = byPath(family(many));
    const ByNodeDatabase database(*nodes);
    constexpr CountFact facts[] = {
        {"/c", many},
        {"/c[following-sibling::c[z]]", many - 1},
        {"/c[preceding-sibling::z]", 0},
        {"/c[following::z]", many - 1},
        {"/c[preceding::c]", many - 1},
        {"/c/following-sibling::c", many - 1},
        {"/c/preceding-sibling::c", many - 1},
        {"/c/following::*", many},
        {"/c/preceding::*", many - 1},
        {"/c/..", 1},
        {"/c[1]/following-sibling::c[position() < 3]", 2},
        {"/c/following-sibling::c[1]", many - 1},
        {"/c/preceding-sibling::c[1]", many - 1},
        {"/c[position() > 1]", many - 1},
        {"/c[@n >= 99990]", 10},
        {"//@n", many},
    };
    for (const CountFact &fact : facts)
        EXPECT_EQ(database.select(fact.spec, 1).size(), fact.count) << fact.spec;
}

}  // namespace
}  // namespace zdbs
