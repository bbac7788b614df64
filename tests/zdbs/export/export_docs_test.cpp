/** The examples of docs/export.md are what the filter writes. */
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/zdbs/export/by_node.h"
#include "zdbs/export/export_filter.h"

namespace zdbs {
namespace {

using testing::Answered;
using testing::tableFromXml;

/** The code blocks of a page that are marked as XML. */
std::vector<std::string> xmlBlocks(const std::string &file) {
    std::ifstream stream(file);
    std::stringstream text;
    text << stream.rdbuf();
    const std::string page = text.str();
    const std::string open = "```xml\n";
    std::vector<std::string> blocks;
    for (auto at = page.find(open); at != std::string::npos; at = page.find(open, at)) {
        at += open.size();
        blocks.push_back(page.substr(at, page.find("```", at) - at));
    }
    return blocks;
}

TEST(ExportDocs, TheExampleIsWhatTheFilterWrites) {
    const std::vector<std::string> blocks = xmlBlocks(VEXA_SOURCE_DIR "/docs/export.md");
    ASSERT_EQ(blocks.size(), 3U);
    const Answered answer(tableFromXml({{"plays/hamlet.xml", blocks[0]}}),
                          "N_NAME=\"SPEECH\" AND.T N_ID<6", "N_TVALUE=$be$");
    const ExportArguments arguments{"//SPEECH[contains(text(),'be')]", "/ /@id"};
    EXPECT_EQ(exportDocument(answer, arguments, false), blocks[1]);
    EXPECT_EQ(exportDocument(answer, arguments, true), blocks[2]);
}

}  // namespace
}  // namespace zdbs
