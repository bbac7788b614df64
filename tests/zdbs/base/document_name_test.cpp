#include "zdbs/base/document_name.h"

#include <gtest/gtest.h>

#include <string>

namespace zdbs {
namespace {

struct Case {
    std::string text;
    bool valid;
};

TEST(DocumentName, IsARelativePathThatStaysWhereItIsPut) {
    const Case cases[] = {
        {"a.xml", true},
        {"a", true},
        {"plays/hamlet.xml", true},
        {"a b/c d.xml", true},
        {"..a/b..", true},
        {".hidden", true},
        {"...", true},
        {"a\\b", true},
        {"<&\">", true},
        {"\xc3\xbc.xml", true},
        {std::string(4096, 'x'), true},
        {"", false},
        {"/", false},
        {"/a", false},
        {"a/", false},
        {"a//b", false},
        {".", false},
        {"..", false},
        {"./a", false},
        {"../a", false},
        {"a/./b", false},
        {"a/../b", false},
        {"a/..", false},
        {"a\nb", false},
        {"a\tb", false},
        {"a\x7f", false},
        {std::string("a\0b", 3), false},
        {"\xfc.xml", false},
        {std::string(4097, 'x'), false},
    };
    for (const Case &row : cases)
        EXPECT_EQ(isValidDocumentName(row.text), row.valid) << row.text;
}

TEST(DocumentName, KnowsUtf8FromWhatOnlyLooksLikeIt) {
    const Case cases[] = {
        {"", true},
        {"ascii", true},
        {"\xc2\x80", true},
        {"\xdf\xbf", true},
        {"\xe0\xa0\x80", true},
        {"\xed\x9f\xbf", true},
        {"\xee\x80\x80", true},
        {"\xef\xbf\xbd", true},
        {"\xf0\x90\x80\x80", true},
        {"\xf4\x8f\xbf\xbf", true},
        {"\x80", false},  // no lead
        {"\xc3", false},  // cut
        {"\xe2\x82", false},
        {"\xf0\x9f\x98", false},
        {"\xc3(", false},     // no continuation
        {"\xc0\xaf", false},  // longer than need be
        {"\xc1\xbf", false},
        {"\xe0\x9f\xbf", false},
        {"\xf0\x8f\xbf\xbf", false},
        {"\xed\xa0\x80", false},  // surrogates
        {"\xed\xbf\xbf", false},
        {"\xef\xbf\xbe", false},  // U+FFFE, no character of XML
        {"\xef\xbf\xbf", false},
        {"\xf4\x90\x80\x80", false},  // above U+10FFFF
        {"\xf5\x80\x80\x80", false},
        {"\xff", false},
    };
    for (const Case &row : cases)
        EXPECT_EQ(isXmlText(row.text), row.valid) << row.text;
}

}  // namespace
}  // namespace zdbs
