// Files that somebody spoils under a shell: a message, and the session goes on to its end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/robustness/home_fixture.h"
#include "tests/robustness/sample_xml.h"
#include "tests/support/piped_program.h"

namespace robustness {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::StartsWith;

class ChangedFiles : public HomeTest {
protected:
    ChangedFiles() {
        makeHome();
        zdbs(home_, {"load", "db", "--name", "a", "-"}, sampleXml(1, 3000));
        data_ = home_ / "databases" / "db" / "data.mdb";
        segment_ = fs::directory_iterator(home_ / "databases" / "db" / "segments")->path();
    }

    /** A session that asks, finds the files spoilt, asks again, and ends. */
    template <typename Spoil>
    void expectMessage(Spoil spoil) {
        support::PipedProgram shell({VEXA_PROGRAM,
                                     {"-u", "reader", "-p", "secret", "-q"},
                                     {{"ZDBS_HOME", home_.native()}, {"LC_ALL", "C.UTF-8"}},
                                     {}});
        shell.send("BASE db;\nXFIND //item[contains(.,'a')];\n");
        shell.waitForOutput("//item[contains(.,'a')]");
        spoil();
        shell.send(
            "XFIND //item[contains(.,'zephyr')];\nXFIND //item[@price>5]/name;\n"
            "XGET @id;\nHIGHLIGHT;\n");
        shell.closeInput();
        const support::ProgramResult result = shell.finish();
        EXPECT_EQ(result.ending, support::exited(0)) << toString(result.ending);
        EXPECT_THAT(result.err, StartsWith("EXCEPTION: The home in " + home_.native()));
        EXPECT_THAT(result.err, HasSubstr(" is damaged: "));
        EXPECT_THAT(result.out, HasSubstr("highlighting enabled"));
    }

    fs::path data_;
    fs::path segment_;
};

TEST_F(ChangedFiles, ThatAreCutShortAreAMessage) {
    expectMessage([&] { fs::resize_file(segment_, 0); });
}

TEST_F(ChangedFiles, ThatAreCutInTheMiddleAreAMessage) {
    expectMessage([&] { fs::resize_file(segment_, fs::file_size(segment_) / 3); });
}

TEST_F(ChangedFiles, OfTheCatalogueThatAreCutShortAreAMessage) {
    expectMessage([&] { fs::resize_file(data_, 0); });
}

TEST_F(ChangedFiles, OfTheCatalogueThatAreOverwrittenAreAMessage) {
    expectMessage([&] {
        std::fstream(data_, std::ios::binary | std::ios::in | std::ios::out)
            << std::string(fs::file_size(data_), 'x');
    });
}

}  // namespace
}  // namespace robustness
