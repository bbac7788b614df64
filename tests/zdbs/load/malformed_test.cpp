// What cannot be loaded: each text, the status, and where it is wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/load/load_fixture.h"

namespace zdbs {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct FailureCase {
    std::string xml;
    Status status;
    const char *position;
    const char *says;
};

template <std::size_t count>
void expectFailures(const FailureCase (&cases)[count]) {
    LoadFixture fixture;
    for (const FailureCase &row : cases) {
        std::string sentence;
        EXPECT_EQ(fixture.status(row.xml, &sentence), row.status) << row.xml;
        EXPECT_THAT(sentence, StartsWith(std::string("f:") + row.position + ": ")) << row.xml;
        EXPECT_THAT(sentence, HasSubstr(row.says)) << row.xml;
    }
    EXPECT_THAT(fixture.snapshot()->documents(), testing::IsEmpty());
}

TEST(MalformedDocument, IsRefusedWithItsPosition) {
    constexpr Status malformed = Status::malformed;
    const FailureCase cases[] = {
        {"", malformed, "1:1", "no element found"},
        {" ", malformed, "1:2", "no element found"},
        {"text", malformed, "1:1", "syntax error"},
        {"<a>", malformed, "1:4", "<a> of 1:1 does not end."},
        {"<a><b/>\n <c d='>'/><p:e xmlns:p='u'>", malformed, "2:29", "<p:e> of 2:12 does not end."},
        {"<a>\n<b>\n</a>", malformed, "3:1", "</a> at 3:1 closes <b> of 2:1."},
        {"<a></b>", malformed, "1:4", "</b> at 1:4 closes <a> of 1:1."},
        {"<a>\r\n<\xc3\xa4/>\xe2\x82\xac<b><c></c></\nx ></a>", malformed, "2:18", "not well"},
        {"<a>\r\n<\xc3\xa4/>\xe2\x82\xac<b><c></c></x\n></a>", malformed, "2:16",
         "</x> at 2:16 closes <b> of 2:6."},
        {"<!DOCTYPE a [<!ENTITY e '<b></c>'>]><a>&e;</a>", malformed, "1:40", "mismatched tag"},
        {"<!DOCTYPE a [<!ENTITY e '<b/>'>]><a>&e;</c>", malformed, "1:40",
         "</c> at 1:40 closes <a> of 1:34."},
        {"</a>", malformed, "1:2", "not well-formed"},
        {"<a/><b/>", malformed, "1:5", "junk after document element"},
        {"<a/>x", malformed, "1:5", "junk after document element"},
        {"<a/>&amp;", malformed, "1:5", "not well-formed"},
        {"<a b/>", malformed, "1:5", "not well-formed"},
        {"<a b=1/>", malformed, "1:6", "not well-formed"},
        {"<a b='1' b='2'/>", malformed, "1:10", "duplicate attribute"},
        {"<a b='<'/>", malformed, "1:7", "not well-formed"},
        {"<a>&</a>", malformed, "1:5", "not well-formed"},
        {"<a>&x</a>", malformed, "1:6", "not well-formed"},
        {"<a>]]></a>", malformed, "1:6", "not well-formed"},
        {"<a><!-- -- --></a>", malformed, "1:11", "not well-formed"},
        {"<a><?xml version='1.0'?></a>", malformed, "1:4", "XML or text declaration not at start"},
        {"\n<?xml version='1.0'?><a/>", malformed, "2:1", "XML or text declaration not at start"},
        {"<a><![CDATA[x</a>", malformed, "1:18", "unclosed CDATA section"},
        {"<a><b", malformed, "1:4", "unclosed token"},
        {"<1/>", malformed, "1:2", "not well-formed"},
        {"<a>&#0;</a>", malformed, "1:4", "invalid character number"},
        {"<a>&#xFFFE;</a>", malformed, "1:4", "invalid character number"},
        {"<a>&#xD800;</a>", malformed, "1:4", "invalid character number"},
        {"<a>\x01</a>", malformed, "1:4", "not well-formed"},
        {std::string("<a>\0</a>", 8), malformed, "1:4", "not well-formed"},
        {"<a>\xff</a>", malformed, "1:4", "not well-formed"},
        {"<a>\xc3</a>", malformed, "1:4", "not well-formed"},
        {"<a>\xc0\x80</a>", malformed, "1:4", "not well-formed"},
        {"<a>\xed\xa0\x80</a>", malformed, "1:4", "not well-formed"},
        {"<a>\xc3\xa4\xe2\x82\xac<</a>", malformed, "1:7", "not well-formed"},  // characters count
        {"<a>\r\n\r\n<<</a>", malformed, "3:2", "not well-formed"},
        {"<?xml version='1.0' encoding='UTF-16'?><a/>", malformed, "1:31", "encoding"},
        {"<!DOCTYPE a [<!ELEMENT a>]><a/>", malformed, "1:25", "syntax error"},
        {"<!DOCTYPE a [<!ENTITY e '<b>'>]><a>&e;</a>", malformed, "1:36", "asynchronous entity"},
        {"<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>", malformed, "1:36", "recursive"},
        {"<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a>&e;</a>", malformed, "1:53",
         "recursive"},
        {"<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a b='&e;'/>", malformed, "1:50",
         "recursive"},
        {"<!DOCTYPE a [<!ENTITY % p '&#37;p;'>%p;]><a/>", malformed, "1:37", "recursive"},
    };
    expectFailures(cases);
}

/** Wherever the document is cut into the pieces that are read, and how far away the tags are. */
TEST(MalformedDocument, NamesTagsThatAreFarApart) {
    LoadFixture fixture;
    for (const std::size_t lines : {1U, 8190U, 8191U, 8192U, 8193U, 30000U}) {
        // 32 bytes a line: pieces end in texts, within tags and between them.
        std::string xml = "<top>\n";
        for (std::size_t line = 0; line < lines; ++line)
            xml += "<line number='1234'>x</line   >\n";
        const std::string open = "  <open attribute='" + std::string(lines % 7000, 'x') + "'>\n";
        xml += open;
        for (std::size_t line = 0; line < lines; ++line)
            xml += "<line number='1234'>x</line   >\n";
        std::string sentence;
        EXPECT_EQ(fixture.status(xml + " </top>", &sentence), Status::malformed);
        const std::string end = std::to_string(2 * lines + 3) + ":2";
        EXPECT_EQ(sentence, "f:" + end + ": The document is not well formed: </top> at " + end +
                                " closes <open> of " + std::to_string(lines + 2) + ":3.");
        EXPECT_EQ(fixture.status(xml + "</open>", &sentence), Status::malformed);
        EXPECT_THAT(sentence, HasSubstr("<top> of 1:1 does not end."));
    }
}

TEST(MalformedDocument, IsOneWithUnboundOrMisusedPrefixes) {
    constexpr Status malformed = Status::malformed;
    const FailureCase cases[] = {
        {"<p:a/>", malformed, "1:1", "unbound prefix"},
        {"<a p:b='1'/>", malformed, "1:1", "unbound prefix"},
        {"<a xmlns:p=''/>", malformed, "1:1", "must not undeclare prefix"},
        {"<a xmlns:xml='u'/>", malformed, "1:1", "reserved prefix (xml)"},
        {"<a xmlns:xmlns='u'/>", malformed, "1:1", "reserved prefix (xmlns)"},
        {"<a xmlns:p='http://www.w3.org/XML/1998/namespace'/>", malformed, "1:1", "reserved"},
        {"<a xmlns:p='u' xmlns:q='u' p:x='1' q:x='2'/>", malformed, "1:1", "duplicate attribute"},
    };
    expectFailures(cases);
}

TEST(EntityReference, ThatCannotBeExpandedIsAnErrorThatNamesIt) {
    constexpr Status unknown = Status::unknownEntity;
    const FailureCase cases[] = {
        {"<a>&nbsp;</a>", unknown, "1:4", "entity nbsp "},
        {"<a>\n  &nbsp;</a>", unknown, "2:3", "entity nbsp "},
        {"<a b='x&foo;'/>", unknown, "1:1", "entity foo "},
        {"<!DOCTYPE a [<!ENTITY e 'x'>]><a>&f;</a>", unknown, "1:34", "entity f "},
        {"<!DOCTYPE a [<!ENTITY e '&f;'>]><a>&e;</a>", unknown, "1:36", "entity f "},
        {"<!DOCTYPE a [<!ENTITY e '&f;'>]><a b='&e;'/>", unknown, "1:33", "entity f "},
        // Declared outside: never fetched.
        {"<!DOCTYPE a [<!ENTITY e SYSTEM '/etc/passwd'>]><a>&e;</a>", unknown, "1:51", "entity e "},
        {"<!DOCTYPE a [<!ENTITY e SYSTEM 'x'>]><a b='&e;'/>", unknown, "1:44", "entity e "},
        {"<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f SYSTEM 'x'>]><a>&e;</a>", unknown, "1:58",
         "entity f "},
        {"<!DOCTYPE a [<!NOTATION n SYSTEM 'n'><!ENTITY e SYSTEM 'x' NDATA n>]><a>&e;</a>", unknown,
         "1:73", "entity e "},
        // Perhaps declared in what is not read.
        {"<!DOCTYPE a SYSTEM 'x.dtd'><a>&nbsp;</a>", unknown, "1:31", "entity nbsp "},
        {"<!DOCTYPE a PUBLIC 'p' 'x.dtd'><a>x&nbsp;y</a>", unknown, "1:36", "entity nbsp "},
        {"<!DOCTYPE a [<!ENTITY % p SYSTEM 'p'>%p;]><a>&nbsp;</a>", unknown, "1:46",
         "entity nbsp "},
        {"<?xml version='1.0' standalone='yes'?><!DOCTYPE a SYSTEM 'x'><a>&nbsp;</a>", unknown,
         "1:65", "entity nbsp "},
        {"<!DOCTYPE a SYSTEM 'x' [<!ENTITY e 'x&nbsp;y'>]><a>&e;</a>", unknown, "1:52",
         "entity nbsp "},
    };
    expectFailures(cases);
}

// The parser passes over these without a word.
TEST(EntityReference, InAnAttributeIsAnErrorToo) {
    constexpr Status unknown = Status::unknownEntity;
    const FailureCase cases[] = {
        {"<!DOCTYPE a SYSTEM 'x.dtd'><a b='x&nbsp;y'/>", unknown, "1:28", "entity nbsp "},
        {"<!DOCTYPE a SYSTEM 'x.dtd'><a>\n<b c='&amp;&#65;' d='&lt;&eacute;'>z</b></a>", unknown,
         "2:1", "entity eacute "},
        {"<!DOCTYPE a [<!ENTITY % p SYSTEM 'p'>%p;]><a b='&nbsp;'/>", unknown, "1:43",
         "entity nbsp "},
        {"<!DOCTYPE a [<!ENTITY % p '<!--x-->'>%p;]><a b='&nbsp;'/>", unknown, "1:43",
         "entity nbsp "},
        {"<!DOCTYPE a SYSTEM 'x' [<!ENTITY e 'x&nbsp;y'>]><a b='&e;'/>", unknown, "1:49",
         "entity nbsp "},
        {"<!DOCTYPE a SYSTEM 'x' [<!ENTITY e '<b c=\"&nbsp;\"/>'>]><a>&e;</a>", unknown, "1:59",
         "entity nbsp "},
        {"<!DOCTYPE a SYSTEM 'x' [<!ENTITY e '&f;'><!ENTITY f '<b c=\"&nbsp;\"/>'>]><a>&e;</a>",
         unknown, "1:76", "entity nbsp "},
        {"<!DOCTYPE a [<!ENTITY % p '<!--x-->'>%p;<!ATTLIST a b CDATA 'x&nbsp;'>]><a/>", unknown,
         "1:61", "entity nbsp "},
    };
    expectFailures(cases);
}

TEST(EntityReference, ThatCanBeExpandedIsNoErrorBesideADtdThatIsNotRead) {
    LoadFixture fixture;
    EXPECT_EQ(fixture.tree("<!DOCTYPE a SYSTEM 'x' [<!ENTITY e 'v'>]>"
                           "<a b='&e;&amp;&#65;'>&e;&lt;<b c='&e;'/></a>"),
              "a(@b=v&A 'v<' b(@c=v))");
    EXPECT_EQ(
        fixture.tree("<!DOCTYPE a SYSTEM 'x'><a><![CDATA[&nbsp;]]><!--&nbsp;--><?t &nbsp;?></a>"),
        "a('&nbsp;' <!--&nbsp;--> <?t &nbsp;?>)");
    EXPECT_EQ(fixture.tree("<!DOCTYPE a SYSTEM 'x' [<!ENTITY unused '&nbsp;'>]><a b='x'>y</a>"),
              "a(@b=x 'y')");
}

TEST(MalformedDocument, LeavesNothingBehindWhereverItEnds) {
    const std::string xml = "<a b='1'><c>text<!--c--></c><d e='2'/>more<![CDATA[x]]></a>";
    LoadFixture fixture;
    for (std::size_t length = 0; length < xml.size(); ++length)
        EXPECT_EQ(fixture.status(xml.substr(0, length)), Status::malformed) << length;
    EXPECT_EQ(fixture.snapshot()->state(), 0U);
    EXPECT_EQ(fixture.tree(xml), "a(@b=1 c('text' <!--c-->) d(@e=2) 'morex')");
    EXPECT_EQ(fixture.snapshot()->documents()[0].first, 1U);
}

}  // namespace
}  // namespace zdbs
