#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/zdbs/load/load_fixture.h"

namespace zdbs {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string repeated(const std::string &text, std::size_t times) {
    std::string all;
    for (; times > 0; --times)
        all += text;
    return all;
}

std::string nested(std::size_t depth) {
    return repeated("<a>", depth) + repeated("</a>", depth);
}

/** `count` entities, each of which refers to the next one; `mark` is & or %. */
std::string chain(std::size_t count, bool forwards) {
    std::string declarations;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t number = forwards ? i : count - 1 - i;
        const std::string next = number + 1 < count ? "&e" + std::to_string(number + 1) + ";" : "x";
        declarations += "<!ENTITY e" + std::to_string(number) + " '" + next + "'>";
    }
    return "<!DOCTYPE a [" + declarations + "]>";
}

TEST(Limits, DepthIsTenThousandUnlessSet) {
    LoadFixture fixture;
    EXPECT_EQ(fixture.status(nested(10000)), Status::ok);
    std::string sentence;
    EXPECT_EQ(fixture.status(nested(10001), &sentence), Status::tooDeep);
    EXPECT_THAT(sentence, StartsWith("f:1:30001: "));
    EXPECT_THAT(sentence, HasSubstr("10000 levels"));
    LoadOptions options;
    options.maxDepth = 3;
    EXPECT_EQ(fixture.status(nested(3), nullptr, options), Status::ok);
    EXPECT_EQ(fixture.status(nested(4), nullptr, options), Status::tooDeep);
    EXPECT_EQ(fixture.tree("<a><b/><b/><b><c/></b></a>", options), "a(b() b() b(c()))");
}

TEST(Limits, TwoMillionNestedElementsDoNotExhaustTheStack) {
    LoadFixture fixture;
    LoadOptions options;
    options.maxDepth = 2000000;
    constexpr std::size_t depth = 2000000;
    ASSERT_EQ(fixture.status(nested(depth), nullptr, options), Status::ok);
    const auto snapshot = fixture.snapshot();
    const DocumentRange document = snapshot->documents()[0];
    ASSERT_EQ(document.last, depth);
    EXPECT_EQ(snapshot->lastBelow(1), depth);
    EXPECT_EQ(snapshot->lastBelow(depth / 2), depth);
    EXPECT_EQ(snapshot->parent(depth), depth - 1);
}

TEST(Limits, AttributesOfAnElementAreTenThousandUnlessSet) {
    std::string attributes;
    for (int i = 0; i < 10001; ++i)
        attributes += " a" + std::to_string(i) + "=''";
    LoadFixture fixture;
    std::string sentence;
    EXPECT_EQ(fixture.status("<a>\n<b" + attributes + "/></a>", &sentence),
              Status::tooManyAttributes);
    EXPECT_THAT(sentence, StartsWith("f:2:1: "));
    EXPECT_THAT(sentence, HasSubstr("more than 10000"));
    LoadOptions options;
    options.maxAttributes = 2;
    EXPECT_EQ(fixture.status("<a b='' c=''><d e='' f=''/></a>", nullptr, options), Status::ok);
    EXPECT_EQ(fixture.status("<a b='' c='' d=''/>", nullptr, options), Status::tooManyAttributes);
    EXPECT_EQ(fixture.status("<a b='' xmlns:p='u' xmlns='v'/>", nullptr, options),
              Status::tooManyAttributes);
}

TEST(Limits, NamesHave4096BytesUnlessSet) {
    LoadFixture fixture;
    EXPECT_EQ(fixture.status("<" + std::string(4096, 'n') + "/>"), Status::ok);
    std::string sentence;
    EXPECT_EQ(fixture.status("<" + std::string(4097, 'n') + "/>", &sentence), Status::nameTooLong);
    EXPECT_THAT(sentence, HasSubstr("more than 4096 bytes"));
    LoadOptions options;
    options.maxNameLength = 4;
    const auto status = [&](const std::string &xml) {
        return fixture.status(xml, nullptr, options);
    };
    EXPECT_EQ(status("<abcd/>"), Status::ok);
    EXPECT_EQ(status("<abcde/>"), Status::nameTooLong);
    EXPECT_EQ(status("<\xc3\xa4\xc3\xb6/>"), Status::ok);
    EXPECT_EQ(status("<\xc3\xa4\xc3\xb6\xc3\xbc/>"), Status::nameTooLong);
    EXPECT_EQ(status("<a abcd=''/>"), Status::ok);
    EXPECT_EQ(status("<a abcde=''/>"), Status::nameTooLong);
    EXPECT_EQ(status("<a><?abcd?></a>"), Status::ok);
    EXPECT_EQ(status("<a><?abcde?></a>"), Status::nameTooLong);
    EXPECT_EQ(status("<p:bc xmlns:p='u'/>"), Status::ok);
    EXPECT_EQ(status("<p:bcd xmlns:p='u'/>"), Status::nameTooLong);
    EXPECT_EQ(status("<a xmlns='1234'/>"), Status::ok);
    EXPECT_EQ(status("<a xmlns='12345'/>"), Status::nameTooLong);
    EXPECT_EQ(status("<a xmlns:prefi='u'/>"), Status::nameTooLong);
}

TEST(Limits, ValuesOfEveryKindAreLimited) {
    LoadFixture fixture;
    LoadOptions options;
    options.maxValueLength = 5;
    const auto status = [&](const std::string &xml, std::string *sentence = nullptr) {
        return fixture.status(xml, sentence, options);
    };
    EXPECT_EQ(status("<a b='12345'>12345<!--12345--><?t 12345?></a>"), Status::ok);
    for (const char *xml :
         {"<a>123456</a>", "<a b='123456'/>", "<a><!--123456--></a>", "<a><?t 123456?></a>",
          "<a>123<![CDATA[456]]></a>", "<!DOCTYPE a [<!ENTITY e '456'>]><a>123&e;</a>"}) {
        std::string sentence;
        EXPECT_EQ(status(xml, &sentence), Status::valueTooLong) << xml;
        EXPECT_THAT(sentence, HasSubstr("more than 5 bytes"));
    }
    EXPECT_EQ(status("<a>12345<b/>12345</a>"), Status::ok);
}

/** A document that begins so and then goes on with one character, for ever if asked. */
class Endless final : public Input {
public:
    Endless(std::string front, char filling) : front_(std::move(front)), filling_(filling) {}

    std::size_t read(std::span<char> buffer) override {
        const std::size_t size = front_.copy(buffer.data(), buffer.size());
        front_.erase(0, size);
        std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(size), buffer.end(), filling_);
        consumed_ += buffer.size();
        return buffer.size();
    }

    std::uint64_t consumed() const override { return consumed_; }

private:
    std::string front_;
    char filling_;
    std::uint64_t consumed_ = 0;
};

TEST(Limits, MarkupThatDoesNotEndIsNotKeptForEver) {
    struct Case {
        const char *front;
        char filling;
        const char *place;
    };
    const Case cases[] = {
        {"<a>\n<!--", 'x', "2:1"},
        {"<a>\n<?t ", 'x', "2:1"},
        {"<a>\n<b c='", 'x', "2:1"},
        {"<a>\n<b", ' ', "2:1"},
        {"<a>\n<b", 'x', "2:1"},
        {"<a>\n</a", ' ', "2:1"},
        {"<a>\n&x", 'x', "2:1"},
        {"<!DOCTYPE a [<!ENTITY e '", 'x', "1:25"},
        {"<!DOCTYPE a [<!--", 'x', "1:14"},
        {"<!DOCTYPE a SYSTEM '", 'x', "1:20"},
    };
    constexpr std::uint64_t mebi = 1024 * 1024;
    LoadOptions options;
    options.maxValueLength = 5;
    for (const Case &row : cases) {
        LoadFixture fixture;
        const auto writer = fixture.home().write("db");
        Endless input(row.front, row.filling);
        std::string sentence;
        EXPECT_EQ(statusOf([&] { Loader(*writer, options).load(input, "f", "d"); }, &sentence),
                  Status::valueTooLong)
            << row.front;
        EXPECT_THAT(sentence, StartsWith("f:" + std::string(row.place) + ": ")) << row.front;
        EXPECT_LT(input.consumed(), 18 * mebi) << row.front;
    }
}

TEST(Limits, TagsAreLimitedAsAWhole) {
    constexpr std::size_t mebi = 1024 * 1024;
    LoadOptions options;
    options.maxValueLength = mebi;
    const auto tag = [](std::size_t attributes) {
        std::string text = "<a";
        for (std::size_t i = 0; i < attributes; ++i)
            text += " b" + std::to_string(i) + "='" + std::string(mebi, 'x') + "'";
        return text + "/>";
    };
    LoadFixture fixture;
    EXPECT_EQ(fixture.status(tag(16), nullptr, options), Status::ok);
    EXPECT_EQ(fixture.status(tag(17), nullptr, options), Status::valueTooLong);
    options.maxValueLength = 17 * mebi;
    EXPECT_EQ(fixture.status(tag(17), nullptr, options), Status::ok);
}

TEST(Limits, EntitiesThatExpandWithoutEndAreStopped) {
    std::string declarations = "<!ENTITY e0 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa'>";
    for (int i = 1; i < 12; ++i)
        declarations += "<!ENTITY e" + std::to_string(i) + " '" +
                        repeated("&e" + std::to_string(i - 1) + ";", 10) + "'>";
    LoadFixture fixture;
    std::string sentence;
    EXPECT_EQ(fixture.status("<!DOCTYPE a [" + declarations + "]>\n<a>&e11;</a>", &sentence),
              Status::entityLimit);
    EXPECT_THAT(sentence, StartsWith("f:2:4: "));
    EXPECT_EQ(fixture.status("<!DOCTYPE a [" + declarations + "]>\n<a b='&e11;'/>", &sentence),
              Status::entityLimit);
    // Many small expansions of one entity are as good an attack.
    EXPECT_EQ(fixture.status("<!DOCTYPE a [<!ENTITY e '" + std::string(20000, 'x') + "'>]><a>" +
                             repeated("&e;", 5000) + "</a>"),
              Status::entityLimit);
    EXPECT_EQ(fixture.status("<!DOCTYPE a [" + declarations + "]>\n<a>&e3;</a>"), Status::ok);
}

TEST(Limits, DefaultsExpandAHundredTimesUnlessSet) {
    std::string dtd = "<!DOCTYPE a [<!ATTLIST b";
    for (int i = 0; i < 100; ++i)
        dtd += " c" + std::to_string(i) + " CDATA '" + std::string(100, 'x') + "'";
    const std::string xml = dtd + ">]>\n<a>" + repeated("<b/>", 700) + "</a>";
    LoadFixture fixture;
    EXPECT_EQ(fixture.status(xml), Status::ok) << "a few megabytes are, whatever the document is";
    const std::string more = dtd + ">]>\n<a>" + repeated("<b/>", 5000) + "</a>";
    std::string sentence;
    EXPECT_EQ(fixture.status(more, &sentence), Status::entityLimit);
    EXPECT_THAT(sentence, StartsWith("f:2:"));
    EXPECT_THAT(sentence, HasSubstr("more than 100 times the document"));
    LoadOptions options;
    options.maxExpansion = 2000;
    EXPECT_EQ(fixture.status(more, nullptr, options), Status::ok);
    const std::string names = "<!DOCTYPE a [<!ATTLIST b xmlns:p CDATA '" + std::string(4000, 'u') +
                              "'>]><a>" + repeated("<b/>", 9000) + "</a>";
    EXPECT_EQ(fixture.status(names), Status::entityLimit);
}

TEST(Limits, EntitiesNest256DeepUnlessSet) {
    LoadFixture fixture;
    for (const bool forwards : {true, false}) {
        EXPECT_EQ(fixture.status(chain(256, forwards) + "<a b='&e0;'>&e0;</a>"), Status::ok);
        std::string sentence;
        EXPECT_EQ(fixture.status(chain(257, forwards) + "<a>&e0;</a>", &sentence),
                  Status::entitiesTooDeep);
        EXPECT_THAT(sentence, HasSubstr("more than 256 levels"));
        EXPECT_EQ(fixture.status(chain(200000, forwards) + "<a>&e0;</a>"), Status::entitiesTooDeep);
        EXPECT_EQ(fixture.status(chain(200000, forwards) + "<a b='&e0;'/>"),
                  Status::entitiesTooDeep);
    }
    LoadOptions options;
    options.maxEntityNesting = 2;
    EXPECT_EQ(fixture.status(chain(2, true) + "<a>&e0;</a>", nullptr, options), Status::ok);
    EXPECT_EQ(fixture.status(chain(3, true) + "<a>&e0;</a>", nullptr, options),
              Status::entitiesTooDeep);
}

TEST(Limits, ParameterEntitiesNest256DeepUnlessSet) {
    const auto parameters = [](std::size_t count) {
        std::string declarations;
        for (std::size_t i = 0; i < count; ++i)
            declarations +=
                "<!ENTITY % p" + std::to_string(i) + " '&#37;p" + std::to_string(i + 1) + ";'>";
        declarations += "<!ENTITY % p" + std::to_string(count) + " '<!--x-->'>";
        return "<!DOCTYPE a [" + declarations + "%p0;]><a/>";
    };
    LoadFixture fixture;
    EXPECT_EQ(fixture.status(parameters(255)), Status::ok);
    EXPECT_EQ(fixture.status(parameters(256)), Status::entitiesTooDeep);
    EXPECT_EQ(fixture.status(parameters(100000)), Status::entitiesTooDeep);
}

TEST(Limits, ManyEntitiesThatDoNotNestAreFine) {
    std::string declarations;
    std::string references;
    for (int i = 0; i < 5000; ++i) {
        declarations += "<!ENTITY e" + std::to_string(i) + " 'x'>";
        references += "&e" + std::to_string(i) + ";";
    }
    LoadFixture fixture;
    EXPECT_EQ(fixture.tree("<!DOCTYPE a [" + declarations + "]><a>" + references + "</a>"),
              "a('" + std::string(5000, 'x') + "')");
}

}  // namespace
}  // namespace zdbs
