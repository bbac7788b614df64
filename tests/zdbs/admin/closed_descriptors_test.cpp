/**
 * Standard descriptors that are closed when the program starts: their numbers must not go to the
 * files of a database, or a message is written over it.
 */
#include <string>

#include "tests/zdbs/admin/program_fixture.h"

namespace zdbs {
namespace {

/** Each subset of the three, closed. */
class ClosedDescriptors : public ProgramTest, public testing::WithParamInterface<int> {
protected:
    static bool isClosed(int descriptor) { return (GetParam() >> descriptor & 1) != 0; }

    support::ProgramResult runClosed(const Words &words) const {
        std::string redirections;
        for (int descriptor = 0; descriptor < 3; ++descriptor) {
            if (isClosed(descriptor)) redirections += " " + std::to_string(descriptor) + ">&-";
        }
        return support::run(throughShell(command(words), redirections));
    }
    /** Fails as always, with the message if it can be seen, and the database is as it was. */
    void expectRefusal(const Words &words) const {
        const std::string message = bad(words);
        const auto result = runClosed(words);
        EXPECT_EQ(result.ending, support::exited(1));
        EXPECT_EQ(result.err, isClosed(2) ? "" : message);
        good({"check", "db"});
        EXPECT_EQ(good({"dump", "db"}), xml_);
    }

    const std::string xml_ = "<a><b>text</b></a>\n";
};

TEST_P(ClosedDescriptors, OfCommandsThatFailLeaveTheDatabaseAlone) {
    makeDatabase();
    const std::string document = directory_.write("a.xml", xml_);
    good({"load", "db", document});
    const std::string broken = directory_.write("broken.xml", "<a><b></a>");
    expectRefusal({"load", "db", broken});
    expectRefusal({"load", "db", document});
    expectRefusal({"replace", "db", broken});
    expectRefusal({"remove", "db", "none.xml"});
    expectRefusal({"create", "db"});
    expectRefusal({"compact", "none"});
}

TEST_P(ClosedDescriptors, OfCommandsThatSucceedLeaveTheDatabaseWhole) {
    makeDatabase();
    const std::string document = directory_.write("a.xml", xml_);
    for (const Words &words : {Words{"load", "db", document}, {"replace", "db", document}}) {
        EXPECT_EQ(runClosed(words).ending, support::exited(0));
        good({"check", "db"});
        EXPECT_EQ(good({"dump", "db"}), xml_);
    }
}

TEST_P(ClosedDescriptors, WhereTheAnswerWasToGoAreAFailure) {
    makeDatabase();
    good({"load", "db", directory_.write("a.xml", xml_)});
    for (const Words &words : {Words{"list"},
                               {"dump", "db"},
                               {"info", "db"},
                               {"check", "db"},
                               {"compact", "db"},
                               {"query", "db", "//b"},
                               {"explain", "db", "//b"}}) {
        const auto result = runClosed(words);
        EXPECT_EQ(result.ending, support::exited(isClosed(1) ? 1 : 0));
        EXPECT_EQ(result.err.empty(), isClosed(2) || !isClosed(1));
    }
    EXPECT_EQ(good({"dump", "db"}), xml_);
}

TEST_P(ClosedDescriptors, CannotBeLoadedFrom) {
    makeDatabase();
    const auto result = runClosed({"load", "db", "-"});
    EXPECT_EQ(result.ending, support::exited(1));
    EXPECT_EQ(result.err.empty(), isClosed(2));
    good({"check", "db"});
}

INSTANTIATE_TEST_SUITE_P(EverySubset, ClosedDescriptors, testing::Range(0, 8));

}  // namespace
}  // namespace zdbs
