#include "zdbs/load/entity_definitions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/zdbs/load/load_fixture.h"

namespace zdbs {
namespace {

using testing::HasSubstr;

LoadOptions with(const std::string &definitions) {
    LoadOptions options;
    options.entities = std::make_shared<const std::string>(definitions);
    return options;
}

constexpr const char *definitions = "<!ENTITY e 'x'><!ENTITY f '&e;y'><!ENTITY g '<b c=\"&f;\"/>'>";

TEST(EntityDefinitions, CountWithAnySubsetOrNone) {
    LoadFixture fixture;
    for (const char *doctype :
         {"", "<!DOCTYPE a>", "<!DOCTYPE a []>", "<!DOCTYPE a SYSTEM 'x.dtd'>",
          "<!DOCTYPE a PUBLIC 'p' 'x.dtd' [<!ENTITY o 'own'>]>",
          "<!DOCTYPE a [<!ENTITY % p SYSTEM 'p'>%p;]>"}) {
        EXPECT_EQ(
            fixture.tree(std::string(doctype) + "<a b='&e;&f;'>&e;&lt;&g;</a>", with(definitions)),
            "a(@b=xxy 'x<' b(@c=xy))")
            << doctype;
    }
}

TEST(EntityDefinitions, GiveWayToThoseOfTheDocument) {
    LoadFixture fixture;
    EXPECT_EQ(fixture.tree("<!DOCTYPE a [<!ENTITY e 'own'>]><a>&e;&f;</a>", with(definitions)),
              "a('ownowny')");
}

TEST(EntityDefinitions, LeaveOthersUnknown) {
    LoadFixture fixture;
    for (const char *xml :
         {"<a>&h;</a>", "<a b='&h;'/>", "<!DOCTYPE a SYSTEM 'x'><a b='&e;&h;'/>",
          "<!DOCTYPE a [<!ENTITY h SYSTEM '/etc/passwd'>]><a>&h;</a>",
          "<!DOCTYPE a SYSTEM 'x' [<!ENTITY h SYSTEM '/etc/passwd'>]><a b='&h;'/>"}) {
        std::string sentence;
        EXPECT_EQ(fixture.status(xml, &sentence, with(definitions)), Status::unknownEntity) << xml;
        EXPECT_THAT(sentence, HasSubstr("entity h ")) << xml;
    }
}

TEST(EntityDefinitions, ReadNothingElsewhere) {
    LoadFixture fixture;
    const std::string secret = fixture.directory().write("secret", "<!ENTITY s 'secret'>");
    const std::string more =
        "<!ENTITY % o SYSTEM '" + secret + "'>%o;<!ENTITY s SYSTEM '" + secret + "'>";
    EXPECT_EQ(fixture.tree("<a>&e;</a>", with(definitions + more)), "a('x')");
    EXPECT_EQ(fixture.status("<a>&s;</a>", nullptr, with(definitions + more)),
              Status::unknownEntity);
}

TEST(EntityDefinitions, OfXhtmlAreItsCharacters) {
    LoadFixture fixture;
    EXPECT_EQ(fixture.tree("<a>&nbsp;&eacute;&Omega;&rarr;&euro;&hearts;&amp;&quot;</a>",
                           with(xhtmlEntities())),
              "a('\xc2\xa0\xc3\xa9\xce\xa9\xe2\x86\x92\xe2\x82\xac\xe2\x99\xa5&\"')");
}

TEST(EntityDefinitions, AreReadFromFilesThatAreSound) {
    LoadFixture fixture;
    const auto &directory = fixture.directory();
    EXPECT_EQ(readEntities(directory.write("good", definitions)), definitions);
    std::string sentence;
    EXPECT_EQ(
        statusOf([&] { readEntities(directory.write("bad", "\n<!ENTITY e 'x'")); }, &sentence),
        Status::malformed);
    EXPECT_THAT(sentence, HasSubstr("bad:2:"));
    EXPECT_EQ(statusOf([&] { readEntities(directory / "none"); }), Status::fileUnreadable);
}

}  // namespace
}  // namespace zdbs
