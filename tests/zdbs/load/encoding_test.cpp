#include "zdbs/load/encoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/zdbs/load/load_fixture.h"
#include "tests/zdbs/load/recode.h"

namespace zdbs {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

std::string declared(const std::string &encoding, const std::string &rest) {
    return "<?xml version='1.0' encoding='" + encoding + "'?>" + rest;
}

struct EncodingCase {
    const char *name;
    const char *text;  ///< characters that the encoding has, in UTF-8
};

constexpr EncodingCase encodings[] = {
    {"UTF-8", "é€😀"},
    {"utf-8", "é"},
    {"UTF8", "é"},
    {"US-ASCII", "abc"},
    {"ISO-8859-1", "éüß¤"},
    {"iso-8859-1", "¤"},
    {"latin1", "é"},
    {"ISO-8859-15", "€"},
    {"ISO-8859-2", "ąć"},
    {"ISO-8859-5", "Привет"},
    {"ISO-8859-7", "αβγ"},
    {"ISO-8859-8", "שלום"},
    {"windows-1250", "Žluťoučký"},
    {"windows-1251", "Привет"},
    {"windows-1252", "€“é”"},
    {"windows-1253", "αβγ"},
    {"windows-1254", "İstanbul"},
    {"windows-1255", "שלום"},
    {"windows-1256", "سلام"},
    {"windows-1257", "ąžuolas"},
    {"windows-1258", "đơư₫"},
    {"KOI8-R", "Привет"},
    {"KOI8-U", "Їжак"},
    {"macintosh", "é"},
    {"IBM850", "é"},
    {"TIS-620", "ไทย"},
    {"Shift_JIS", "日本語テスト ｱｲｳ"},
    {"EUC-JP", "日本語テスト"},
    {"ISO-2022-JP", "日本語とABCと日本語"},
    {"GB2312", "中文"},
    {"GBK", "中文囍"},
    {"GB18030", "中文囍é😀𠀀"},
    {"Big5", "中文測試"},
    {"EUC-KR", "한국어"},
    {"EUC-TW", "中文"},
    {"IBM037", "Grüße [x]|{y}^~"},
    {"IBM500", "Grüße [x]|{y}^~"},
    {"IBM1047", "Grüße [x]|{y}^~"},
    {"IBM273", "Grüße"},
};

TEST(Encoding, IsTheOneThatIsDeclared) {
    LoadFixture fixture;
    for (const EncodingCase &row : encodings) {
        const std::string text = row.text;
        const std::string xml = declared(row.name, "<a b='" + text + "'>" + text + "</a>");
        EXPECT_EQ(fixture.tree(recode(xml, row.name)), "a(@b=" + text + " '" + text + "')")
            << row.name;
    }
}

TEST(Encoding, MayBeDeclaredInEveryWayThatXmlAllows) {
    LoadFixture fixture;
    for (const char *declaration :
         {"<?xml version='1.0' encoding='IBM1047'?>",
          "<?xml version=\"1.0\" encoding=\"IBM1047\"?>",
          "<?xml  version = '1.0'\n\tencoding\r\n=\t'IBM1047'  standalone='yes' ?>"})
        EXPECT_EQ(fixture.tree(recode(declaration + std::string("<a>é</a>"), "IBM1047")), "a('é')")
            << declaration;
}

// As bytes, so that what the C library makes of marks does not matter.
struct WideCase {
    const char *mark;
    std::size_t markLength;
    const char *form;
    std::vector<const char *> names;  ///< under which it may be declared
};

const WideCase wide[] = {
    {"\xef\xbb\xbf", 3, "UTF-8", {"UTF-8", "utf8"}},
    {"\xfe\xff", 2, "UTF-16BE", {"UTF-16", "utf-16", "UTF-16BE", "ISO-10646-UCS-2", "UCS-2"}},
    {"\xff\xfe", 2, "UTF-16LE", {"UTF-16", "UTF-16LE", "ISO-10646-UCS-2"}},
    {"\0\0\xfe\xff", 4, "UTF-32BE", {"UTF-32", "UTF-32BE", "ISO-10646-UCS-4", "UCS-4"}},
    {"\xff\xfe\0\0", 4, "UTF-32LE", {"UTF-32", "UTF-32LE", "ISO-10646-UCS-4"}},
    {"\x84\x31\x95\x33", 4, "GB18030", {"GB18030", "gb18030"}},
};

TEST(Encoding, OfUnicodeIsKnownByItsMarkAndByItsFirstCharacters) {
    const std::string text = "<ä b='€'>😀</ä>";
    const char *tree = "ä(@b=€ '😀')";
    LoadFixture fixture;
    for (const WideCase &row : wide) {
        const std::string mark(row.mark, row.markLength);
        EXPECT_EQ(fixture.tree(mark + recode(text, row.form)), tree) << row.form;
        const bool isWide = std::string(row.form).starts_with("UTF-16") ||
                            std::string(row.form).starts_with("UTF-32");
        if (isWide) {
            EXPECT_EQ(fixture.tree(recode(text, row.form)), tree) << row.form;
        }
        for (const char *name : row.names) {
            const std::string bytes = recode(declared(name, text), row.form);
            EXPECT_EQ(fixture.tree(mark + bytes), tree) << row.form << ' ' << name;
            EXPECT_EQ(fixture.tree(bytes), tree) << row.form << ' ' << name;
        }
    }
}

TEST(Encoding, OfUtf16IsKnownByWhiteSpaceToo) {
    LoadFixture fixture;
    for (const char *form : {"UTF-16BE", "UTF-16LE"})
        for (const char *space : {" ", "\t", "\n", "\r\n"})
            EXPECT_EQ(fixture.tree(recode(space + std::string("<a>€</a>"), form)), "a('€')");
}

TEST(Encoding, ThatNobodyKnowsIsRefusedByName) {
    LoadFixture fixture;
    for (const char *name : {"no-such-set", "x-user-defined-1", "UTF-9", "a"}) {
        std::string sentence;
        EXPECT_EQ(fixture.status(declared(name, "<a/>"), &sentence), Status::unknownEncoding)
            << name;
        EXPECT_THAT(sentence, AllOf(StartsWith("f:1:31: "),
                                    HasSubstr(" " + std::string(name) + " is unknown")));
    }
    std::string sentence;
    EXPECT_EQ(fixture.status("<?xml version='1.0'\nencoding='x-none'?><a/>", &sentence),
              Status::unknownEncoding);
    EXPECT_THAT(sentence, StartsWith("f:2:11: "));
    EXPECT_EQ(fixture.status(recode("<?xml version='1.0'?><a/>", "IBM037"), &sentence),
              Status::unknownEncoding);
    EXPECT_THAT(sentence, AllOf(StartsWith("f:1:1: "), HasSubstr("EBCDIC is unknown")));
    for (const std::string_view order :
         {std::string_view("\0\0<\0\0\0a\0", 8), std::string_view("\0<\0\0\0a\0\0", 8)})
        EXPECT_EQ(fixture.status(order), Status::unknownEncoding);
}

// Options of converters, the converter of the process: only names are names.
TEST(Encoding, IsNeverLookedUpUnderWhatIsNoName) {
    LoadFixture fixture;
    for (const char *name : {"", "UTF-8,version=1", "IBM037,swaplfnl", "../x", "1252", "UTF 8"}) {
        std::string sentence;
        EXPECT_EQ(fixture.status(declared(name, "<a/>"), &sentence), Status::malformed) << name;
        EXPECT_THAT(sentence, HasSubstr("XML declaration not well-formed")) << name;
    }
}

struct ContradictionCase {
    const char *mark;
    std::size_t markLength;
    const char *form;
    const char *name;
};

TEST(Encoding, ThatContradictsTheBytesIsMalformed) {
    const ContradictionCase cases[] = {
        {"", 0, "UTF-8", "UTF-16"},
        {"", 0, "UTF-8", "UTF-16LE"},
        {"", 0, "UTF-8", "UTF-32"},
        {"", 0, "UTF-8", "IBM037"},
        {"\xef\xbb\xbf", 3, "UTF-8", "UTF-16"},
        {"\xef\xbb\xbf", 3, "UTF-8", "ISO-8859-1"},
        {"\xef\xbb\xbf", 3, "UTF-8", "Shift_JIS"},
        {"\xfe\xff", 2, "UTF-16BE", "UTF-8"},
        {"\xfe\xff", 2, "UTF-16BE", "UTF-16LE"},
        {"\xfe\xff", 2, "UTF-16BE", "UTF-32"},
        {"\xff\xfe", 2, "UTF-16LE", "UTF-16BE"},
        {"\xff\xfe", 2, "UTF-16LE", "ISO-8859-1"},
        {"", 0, "UTF-16LE", "UTF-8"},
        {"", 0, "UTF-16BE", "IBM037"},
        {"", 0, "UTF-32LE", "UTF-16"},
        {"", 0, "IBM037", "UTF-8"},
        {"", 0, "IBM037", "ISO-8859-1"},
        {"\x84\x31\x95\x33", 4, "GB18030", "UTF-8"},
    };
    LoadFixture fixture;
    for (const ContradictionCase &row : cases) {
        std::string sentence;
        EXPECT_EQ(fixture.status(std::string(row.mark, row.markLength) +
                                     recode(declared(row.name, "<a/>"), row.form),
                                 &sentence),
                  Status::malformed)
            << row.form << ' ' << row.name;
        EXPECT_THAT(sentence, AllOf(StartsWith("f:1:31: "), HasSubstr("the encoding it declares")));
    }
}

struct BadBytesCase {
    const char *name;
    std::string bytes;  ///< of the whole document
    const char *place;
    const char *says;
};

TEST(Encoding, NeverReplacesBytesThatAreNoCharacters) {
    const std::string head = declared("Shift_JIS", "<a>\n");
    const BadBytesCase cases[] = {
        {"US-ASCII", declared("US-ASCII", "<a>\xe9</a>"), "1:45",
         "the byte E9 is no character of US-ASCII"},
        {"ISO-8859-7", declared("ISO-8859-7", "<a>\n\xff</a>"), "2:1",
         "the byte FF is no character of"},
        {"Shift_JIS", head + recode("日本", "Shift_JIS") + "\x81\xff</a>", "2:3", "the byte 81"},
        {"Shift_JIS", head + "\x81", "2:1", "the byte 81 is no"},
        {"EUC-JP", declared("EUC-JP", "<a>\r\n\r\n\xb1<</a>"), "3:1", "the byte B1"},
        {"GB18030", declared("GB18030", "<a>\x81\x30\x81</a>"), "1:44", "the byte 81 is"},
        {"Big5", declared("Big5", "<a>\xa4\x01</a>"), "1:41", "no character of Big5"},
        {"UTF-16", "\xfe\xff" + recode("<a>😀\r", "UTF-16BE") + std::string("\xd8\x00\x00x", 4),
         "2:1", "the bytes D8 00 are no character of UTF-16BE"},
        {"UTF-16", "\xfe\xff" + recode("<a>", "UTF-16BE") + std::string("\xdc\x00\x00x", 4), "1:4",
         "the bytes DC 00"},
        {"UTF-16", "\xfe\xff" + recode("<a></a>", "UTF-16BE") + "x", "1:8", "the byte 78"},
        {"UTF-32", recode("<a>", "UTF-32LE") + std::string("\x00\x00\x11\x00", 4), "1:4",
         "the bytes 00 00 11 00"},
        {"UTF-32", recode("<a>", "UTF-32LE") + std::string("\x00\xd8\x00\x00", 4), "1:4",
         "the bytes 00 D8 00 00"},
        {"UTF-8", "<a>\xff</a>", "1:4", "not well-formed"},
        {"UTF-8", declared("UTF-8", "<a>\xed\xa0\x80</a>"), "1:42", "not well-formed"},
    };
    LoadFixture fixture;
    for (const BadBytesCase &row : cases) {
        std::string sentence;
        EXPECT_EQ(fixture.status(row.bytes, &sentence), Status::malformed) << row.name;
        EXPECT_THAT(sentence,
                    AllOf(StartsWith("f:" + std::string(row.place) + ": "), HasSubstr(row.says)))
            << row.name;
    }
    EXPECT_THAT(fixture.snapshot()->documents(), testing::IsEmpty());
}

TEST(Encoding, TellsAnEarlierFaultOfTheDocumentFirst) {
    LoadFixture fixture;
    std::string sentence;
    EXPECT_EQ(fixture.status(declared("US-ASCII", "<a></b>\xe9</a>"), &sentence),
              Status::malformed);
    EXPECT_THAT(sentence,
                AllOf(StartsWith("f:1:45: "), HasSubstr("</b> at 1:45 closes <a> of 1:42.")));
}

TEST(Encoding, DoesNotMovePlacesInMessages) {
    LoadFixture fixture;
    for (const char *form : {"UTF-8", "UTF-16BE", "UTF-16LE", "UTF-32BE", "UTF-32LE"}) {
        std::string sentence;
        EXPECT_EQ(fixture.status(recode("<ä>\r\n€😀ü</a>", form), &sentence), Status::malformed);
        EXPECT_THAT(sentence, StartsWith("f:2:4: ")) << form;
        EXPECT_THAT(sentence, HasSubstr("</a> at 2:4 closes <ä> of 1:1.")) << form;
    }
    std::string sentence;
    EXPECT_EQ(
        fixture.status(recode(declared("Shift_JIS", "\n<a>日本語</b>"), "Shift_JIS"), &sentence),
        Status::malformed);
    EXPECT_THAT(sentence, StartsWith("f:2:7: "));
}

TEST(Encoding, DoesNotHideUnexpandableReferencesInAttributes) {
    LoadFixture fixture;
    const std::string doctype = "<!DOCTYPE a SYSTEM 'x' [<!ENTITY known 'v'>]>";
    for (const char *encoding : {"ISO-8859-1", "Shift_JIS", "UTF-8", "IBM1047", "UTF-16BE"}) {
        const auto load = [&](const char *attribute, std::string *sentence) {
            const std::string xml = doctype + "<a b='" + attribute + "'/>";
            return fixture.status(recode(declared(encoding, xml), encoding), sentence);
        };
        std::string sentence;
        EXPECT_EQ(load("&known;", &sentence), Status::ok) << encoding << ' ' << sentence;
        EXPECT_EQ(load("&nbsp;", &sentence), Status::unknownEntity) << encoding;
        EXPECT_THAT(sentence, HasSubstr("entity nbsp "));
    }
    const std::string named = "<!DOCTYPE a SYSTEM 'x' [<!ENTITY é 'v'>]><a b='&é;'/>";
    for (const char *encoding : {"ISO-8859-1", "ISO-8859-15", "UTF-16LE"})
        EXPECT_EQ(fixture.tree(recode(declared(encoding, named), encoding)), "a(@b=v)");
}

TEST(Encoding, IsLookedForInTheFirstBytesOnly) {
    LoadFixture fixture;
    const auto padded = [](std::size_t blanks) {
        return "<?xml version='1.0'" + std::string(blanks, ' ') +
               " encoding='ISO-8859-1'?><a>\xe9</a>";
    };
    EXPECT_EQ(fixture.tree(padded(longestDeclaration - 60)), "a('é')");
    std::string sentence;
    EXPECT_EQ(fixture.status(padded(longestDeclaration), &sentence), Status::malformed);
    EXPECT_THAT(sentence, AllOf(StartsWith("f:1:1: "), HasSubstr("4096 bytes")));
}

}  // namespace
}  // namespace zdbs
