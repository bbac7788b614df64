#include "zdbs/load/loader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/load/load_fixture.h"

namespace zdbs {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

TEST(Loader, LoadsSeveralDocumentsInOneCommit) {
    LoadFixture fixture;
    const auto writer = fixture.home().write("db");
    Loader loader(*writer);
    for (const char *name : {"b.xml", "a/c.xml"}) {
        const auto input = openText(std::string_view("<a>x</a>"));
        loader.load(*input, "f", name);
    }
    EXPECT_THAT(fixture.snapshot()->documents(), IsEmpty());
    writer->commit();
    EXPECT_EQ(treeText(*fixture.snapshot()), "b.xml: a('x')\na/c.xml: a('x')\n");
    EXPECT_EQ(fixture.snapshot()->xmlBytes(0), 8U);
}

TEST(Loader, GoesOnBehindABadDocument) {
    LoadFixture fixture;
    const auto writer = fixture.home().write("db");
    Loader loader(*writer);
    const char *texts[] = {"<a>1</a>", "<a><onlyInTheBadOne>2", "<a>3</a>"};
    int bad = 0;
    for (int i = 0; i < 3; ++i) {
        const auto input = openText(texts[i]);
        try {
            loader.load(*input, "f", std::to_string(i));
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), Status::malformed);
            ++bad;
        }
    }
    writer->commit();
    EXPECT_EQ(bad, 1);
    EXPECT_EQ(treeText(*fixture.snapshot()), "0: a('1')\n2: a('3')\n");
    EXPECT_EQ(fixture.snapshot()->nameCount(), 1U);
}

TEST(Loader, RefusesADocumentThatIsThereAndKeepsTheOldOne) {
    LoadFixture fixture;
    fixture.load("<a>old</a>", "d");
    std::string sentence;
    EXPECT_EQ(statusOf([&] { fixture.load("<a>new</a>", "d"); }, &sentence),
              Status::documentExists);
    EXPECT_THAT(sentence, HasSubstr("replace"));
    EXPECT_EQ(treeText(*fixture.snapshot()), "d: a('old')\n");
    EXPECT_EQ(statusOf([&] { fixture.load("<a/>", "../d"); }), Status::badDocumentName);
}

TEST(Loader, ReportsProgressAndStopsWhenThatThrows) {
    LoadFixture fixture;
    const std::string xml = "<a>" + std::string(2000000, 'x') + "</a>";
    const auto writer = fixture.home().write("db");
    Loader loader(*writer);
    std::uint64_t seen = 0;
    int reports = 0;
    loader.onProgress([&](const Input &input) {
        EXPECT_GE(input.consumed(), seen);
        seen = input.consumed();
        ++reports;
    });
    loader.load(*openText(xml), "f", "d");
    EXPECT_EQ(seen, xml.size());
    EXPECT_GT(reports, 5);
    loader.onProgress([](const Input &) { throw Failure(Status::fileUnreadable); });
    EXPECT_EQ(statusOf([&] { loader.load(*openText(xml), "f", "e"); }), Status::fileUnreadable);
    EXPECT_TRUE(writer->hasDocument("d"));
    EXPECT_FALSE(writer->hasDocument("e"));
}

TEST(Loader, KnowsTokensThatSpanPiecesOfTheInput) {
    // Each piece of the input ends at another place of the markup.
    class Pieces : public Input {
    public:
        Pieces(std::string_view text, std::size_t piece) : text_(text), piece_(piece) {}
        std::size_t read(std::span<char> buffer) override {
            const std::size_t size = text_.copy(buffer.data(), std::min(piece_, buffer.size()));
            text_.remove_prefix(size);
            return size;
        }
        std::uint64_t consumed() const override { return 0; }

    private:
        std::string_view text_;
        std::size_t piece_;
    };
    const std::string xml =
        "<?xml version='1.0'?><!DOCTYPE a SYSTEM 'x' [<!ENTITY e 'v'>]>"
        "<a b='&e;1\xc3\xa4'><!--comment-->t&e;<![CDATA[c]]]>\xe2\x82\xac<?p i?></a>";
    LoadFixture fixture;
    for (std::size_t piece = 1; piece <= xml.size(); ++piece) {
        const auto writer = fixture.home().write("db");
        Pieces input(xml, piece);
        Loader(*writer).load(input, "f", std::to_string(piece));
        writer->commit();
        const auto snapshot = fixture.snapshot();
        ASSERT_EQ(treeText(*snapshot, snapshot->documents().back()),
                  "a(@b=v1\xc3\xa4 <!--comment--> 'tvc]\xe2\x82\xac' <?p i?>)")
            << piece;
    }
}

}  // namespace
}  // namespace zdbs
