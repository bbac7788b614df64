// The commands `check` and `compact` of the administrator's program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "tests/support/terminal_program.h"
#include "tests/zdbs/admin/program_fixture.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs::embedded {
namespace {

namespace fs = std::filesystem;

using support::exited;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class CheckProgram : public ProgramTest {
protected:
    CheckProgram() {
        makeDatabase();
        good({"load", "db", "-", "--name", "a.xml"}, "<a x='1'><b>text</b></a>");
        good({"load", "db", "-", "--name", "b.xml"}, xml(2000));
    }

    static std::string xml(int items) {
        std::string text = "<items>";
        for (int i = 0; i < items; ++i)
            text += "<item n='" + std::to_string(i) + "'>number " + std::to_string(i) + "</item>";
        return text + "</items>";
    }

    fs::path segments() const { return fs::path(homePath_) / "databases" / "db" / "segments"; }
};

TEST_F(CheckProgram, SaysHowMuchASoundDatabaseHas) {
    EXPECT_EQ(good({"check", "db"}), "2 documents, 6005 nodes, 2 segments: no errors\n");
    good({"remove", "db", "a.xml"});
    EXPECT_EQ(good({"check", "db"}), "1 document, 6001 nodes, 1 segment: no errors\n");
    good({"remove", "db", "b.xml"});
    EXPECT_EQ(good({"check", "db"}), "0 documents, 0 nodes, 0 segments: no errors\n");
}

TEST_F(CheckProgram, ListsFindingsAndFails) {
    fs::remove(segments() / "00000001.seg");
    const auto result = run({"check", "db"});
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "segments/00000001.seg: file: it is missing\n"
              "2 documents, 6001 nodes, 1 segment: 1 finding\n");
}

TEST_F(CheckProgram, WritesJson) {
    EXPECT_EQ(good({"check", "db", "--json"}),
              "{\"database\":\"db\",\"documents\":2,\"nodes\":6005,\"segments\":2,\"found\":0,"
              "\"findings\":[],\"notes\":[]}\n");
    fs::remove(segments() / "00000001.seg");
    const auto result = run({"check", "db", "--json"});
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_THAT(result.out, HasSubstr("\"findings\":[{\"place\":\"segments/00000001.seg\","
                                      "\"structure\":\"file\",\"text\":\"it is missing\"}]"));
}

TEST_F(CheckProgram, TellsOfFilesThatAreLeftOverAndSucceeds) {
    directory_.write("home/databases/db/segments/00000077.seg", "x");
    EXPECT_THAT(good({"check", "db"}), StartsWith("note: segments/00000077.seg: "));
    good({"load", "db", "-", "--name", "c.xml"}, "<c/>");
    EXPECT_THAT(good({"check", "db"}), StartsWith("3 documents"));
}

TEST_F(CheckProgram, HidesControlCharactersOfNamesOfFiles) {
    directory_.write("home/databases/db/segments/\033[2J", "x");
    EXPECT_THAT(good({"check", "db"}), HasSubstr("\\x1b[2J"));
}

TEST_F(CheckProgram, OfAnUnknownDatabaseFails) {
    EXPECT_THAT(bad({"check", "plays"}), HasSubstr("plays"));
    EXPECT_THAT(bad({"compact", "plays"}), HasSubstr("plays"));
}

TEST_F(CheckProgram, ShowsProgressOnATerminalAndTakesItAway) {
    for (const char *name : {"check", "compact"}) {
        support::TerminalProgram program(command({name, "db"}));
        ASSERT_TRUE(program.expect("% [")) << name;
        EXPECT_EQ(program.finish(), exited(0));
        EXPECT_THAT(program.screen(), HasSubstr("\r\033[K")) << name;
        EXPECT_THAT(program.screen(), testing::EndsWith("\r\n")) << name;
    }
}

TEST_F(CheckProgram, ReadsWhileAnotherOneWrites) {
    const auto writer = home()->write("db");
    EXPECT_THAT(good({"check", "db"}), HasSubstr("no errors"));
}

TEST_F(CheckProgram, CompactGivesBackWhatWasRemoved) {
    good({"load", "db", "-", "--name", "c.xml"}, xml(20000));
    good({"load", "db", "-", "--name", "d.xml"}, xml(10));
    good({"remove", "db", "b.xml"});
    good({"remove", "db", "c.xml"});
    const std::string before = good({"dump", "db", "a.xml"}) + good({"dump", "db", "d.xml"});
    EXPECT_THAT(good({"compact", "db"}),
                MatchesRegex("[0-9.]+ [kM]?B before, [0-9.]+ [kM]?B after\n"));
    EXPECT_EQ(good({"dump", "db", "a.xml"}) + good({"dump", "db", "d.xml"}), before);
    EXPECT_EQ(good({"check", "db"}), "2 documents, 35 nodes, 1 segment: no errors\n");
    std::uintmax_t size = 0;
    for (const auto &entry : fs::directory_iterator(segments()))
        size += entry.file_size();
    EXPECT_LT(size, 10000U);
}

TEST_F(CheckProgram, CompactWaitsForAnotherWriter) {
    auto writer = home()->write("db");
    support::PipedProgram program(command({"compact", "db"}));
    ASSERT_TRUE(program.waitForError("zdbs: waiting for another one that changes db ..."));
    writer.reset();
    EXPECT_EQ(program.finish().ending, exited(0));
}

}  // namespace
}  // namespace zdbs::embedded
