// Disks without room: what would take some is a message and has not happened, and what makes some
// gets through.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/robustness/home_fixture.h"
#include "tests/robustness/sample_xml.h"
#include "tests/robustness/small_disk.h"

namespace robustness {
namespace {

namespace fs = std::filesystem;

using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;

constexpr std::uint64_t pageSize = 4096;
constexpr std::uint64_t enough = std::uint64_t{64} << 20;
constexpr std::uint64_t wholeReserve = std::uint64_t{1} << 20;

#if defined(__SANITIZE_ADDRESS__)
constexpr int pagesAtOnce = 5;  // everything takes several times as long
#else
constexpr int pagesAtOnce = 1;
#endif

/** A home on a disk of its own: a database "db" with a document, and the user "reader". */
class FullDiskTest : public HomeTest {
protected:
    FullDiskTest() {
        makeHome();
        directory_.write("items.xml", sampleXml(1, 50));
        directory_.write("more.xml", sampleXml(2, 2000));
        zdbs(home_, {"load", "db", directory_ / "items.xml"});
    }

    void SetUp() override {
        if (!disk_.isMounted()) GTEST_SKIP() << "no mounts here";
        putHomeOnDisk();
    }

    void putHomeOnDisk() const {
        disk_.leaveFree(enough);
        succeed({"sh",
                 {"-c", "rm -rf \"$1\" && cp -a --sparse=never \"$0\" \"$1\"", home_.native(),
                  full_.native()},
                 {},
                 {}});
    }

    void removeFile(const fs::path &file) const { fs::remove(disk_.fromOutside(full_ / file)); }

    std::string succeed(const support::Command &command, const std::string &input = "") const {
        const auto result = disk_.run(command, input);
        EXPECT_EQ(result.ending, support::exited(0))
            << testing::PrintToString(command.arguments) << ": " << result.out << result.err;
        return result.out;
    }

    std::string zdbsOnDisk(const Words &words, const std::string &input = "") const {
        return succeed(zdbsCommand(full_, words), input);
    }

    /** Refused with the message, and nothing else. */
    void expectRefusal(const support::ProgramResult &result, const std::string &when) const {
        EXPECT_EQ(result.ending, support::exited(1)) << when << result.out << result.err;
        const std::string message = "zdbs: There is no space left for " + full_.native() + ".\n";
        EXPECT_THAT(result.err, AnyOf(message, message + "zdbs: Nothing was stored.\n")) << when;
        EXPECT_EQ(result.out, "") << when;
    }

    /** Users, documents, files but for those that are made by whoever comes. */
    std::string state() const {
        std::set<std::string> files;
        const fs::path home = disk_.fromOutside(full_);
        for (const auto &entry : fs::recursive_directory_iterator(home))
            files.insert(entry.path().lexically_relative(home).native() + '\n');
        files.erase("databases/db/lock.mdb\n");
        files.erase("reserve\n");
        std::string text = zdbsOnDisk({"user", "list", "--json"}) +
                           zdbsOnDisk({"list", "db", "--json"}) + zdbsOnDisk({"check", "db"});
        for (const std::string &file : files)
            text += file;
        return text;
    }

    /** How many documents there are; nothing may be wrong with them. */
    int expectSoundOnDisk() const {
        EXPECT_THAT(zdbsOnDisk({"check", "db"}), EndsWith(": no errors\n"));
        const std::string list = zdbsOnDisk({"list", "db"});
        return static_cast<int>(std::count(list.begin(), list.end(), '\n')) - 1;
    }

    /** How much room the reserve has taken. */
    std::uint64_t reserve() const {
        struct stat file {};
        const fs::path path = disk_.fromOutside(full_ / "reserve");
        return ::stat(path.c_str(), &file) == 0 ? static_cast<std::uint64_t>(file.st_blocks) * 512
                                                : 0;
    }

    SmallDisk disk_{makeDirectory(directory_.path() / "disk")};
    fs::path full_ = directory_.path() / "disk" / "home";

private:
    static fs::path makeDirectory(const fs::path &path) {
        fs::create_directory(path);
        return path;
    }
};

/** A command that needs room, and how many pages it is refused with at least. */
struct Taking {
    const char *name;
    Words words;  ///< "@x" stands for the file x
    std::string input;
    int pages;
    Words without;  ///< files that are not there when it begins
};

void PrintTo(const Taking &taking, std::ostream *out) {
    *out << taking.name;
}

const std::vector<Taking> &takings() {
    static const std::vector<Taking> all = {
        {"Create", {"create", "b"}, "", 33, {}},
        {"Load", {"load", "db", "-", "--name", "small.xml"}, "<a><b>c</b></a>", 3, {}},
        {"LoadOfMany", {"load", "db", "@many"}, "", 10, {}},
        {"Replace", {"replace", "db", "@items.xml"}, "", 3, {}},
        {"UserAdd", {"user", "add", "ann", "--password-stdin"}, "secret\n", 1, {}},
        {"Grant", {"grant", "reader", "*"}, "", 1, {}},
        {"FirstReader", {"query", "db", "//item"}, "", 33, {"databases/db/lock.mdb", "reserve"}},
        {"FirstWriter",
         {"remove", "db", "items.xml"},
         "",
         33,
         {"databases/db/lock.mdb", "reserve"}},
        {"RemoveWithoutReserve", {"remove", "db", "items.xml"}, "", 3, {"reserve"}},
        {"DropWithoutReserve", {"drop", "db"}, "", 1, {"reserve"}},
    };
    return all;
}

class TakingTest : public FullDiskTest, public testing::WithParamInterface<Taking> {
protected:
    TakingTest() {
        fs::create_directory(directory_.path() / "many");
        for (const char *name : {"many/a.xml", "many/b.xml", "many/c.xml"})
            directory_.write(name, sampleXml(3, 60));
    }

    void begin() const {
        putHomeOnDisk();
        for (const std::string &file : GetParam().without)
            removeFile(file);
    }

    support::Command command() const {
        Words words = GetParam().words;
        for (std::string &word : words) {
            if (word.starts_with('@')) word = directory_ / word.substr(1);
        }
        return zdbsCommand(full_, words);
    }
};

TEST_P(TakingTest, IsAMessageUntilThereIsRoomForAllOfIt) {
    begin();
    const std::string before = state();
    bool isDone = false;
    int pages = 0;
    for (; !isDone && pages < 200; pages += pagesAtOnce) {
        const std::string when = std::to_string(pages) + " pages free";
        begin();
        disk_.leaveFree(static_cast<std::uint64_t>(pages) * pageSize);
        const auto result = disk_.run(command(), GetParam().input);
        disk_.leaveFree(enough);
        isDone = result.ending == support::exited(0);
        if (isDone) break;
        expectRefusal(result, when);
        ASSERT_EQ(state(), before) << when;
        succeed(command(), GetParam().input);
        if (HasFailure()) break;
    }
    EXPECT_TRUE(isDone);
    EXPECT_GE(pages, GetParam().pages);
}

INSTANTIATE_TEST_SUITE_P(Commands, TakingTest, testing::ValuesIn(takings()),
                         [](const auto &test) { return std::string(test.param.name); });

TEST_F(FullDiskTest, TakesALoadOfSeveralStagesAsAWholeOrNotAtAll) {
    bool isDone = false;
    int refused = 0;
    for (std::uint64_t free = 0; !isDone && free < enough; free += 16384 + free / 8) {
        putHomeOnDisk();
        disk_.leaveFree(free);
        const auto result = disk_.run(zdbsCommand(full_, {"load", "db", directory_ / "more.xml"}));
        isDone = result.ending == support::exited(0);
        if (!isDone) expectRefusal(result, std::to_string(free));
        refused += !isDone;
        EXPECT_EQ(expectSoundOnDisk(), isDone ? 2 : 1) << free;
    }
    EXPECT_TRUE(isDone);
    EXPECT_GT(refused, 3);
}

TEST_F(FullDiskTest, OfALimitOnTheSizesOfFilesTakesALoadAsAWholeOrNotAtAll) {
    const Content before = contentOf(home_);
    const support::Command whole = zdbsCommand(home_, {"load", "db", directory_ / "more.xml"});
    bool isDone = false;
    int refused = 0;
    for (std::uint64_t limit = pageSize; !isDone && limit < enough; limit += limit / 2) {
        support::Command limited = {
            "prlimit", {"--fsize=" + std::to_string(limit), whole.program}, whole.environment, {}};
        limited.arguments.insert(limited.arguments.end(), whole.arguments.begin(),
                                 whole.arguments.end());
        const auto result = support::run(limited);
        isDone = result.ending == support::exited(0);
        // The system sends a signal that ends the program, unless somebody ignores it.
        EXPECT_TRUE(isDone || result.ending == support::exited(1) ||
                    result.ending == support::killedBy(SIGXFSZ))
            << result.ending.status.value_or(-1) << result.err;
        expectSound(home_, std::to_string(limit));
        if (isDone) break;
        ++refused;
        ASSERT_EQ(contentOf(home_), before) << limit;
    }
    EXPECT_TRUE(isDone);
    EXPECT_GT(refused, 3);
    EXPECT_EQ(contentOf(home_).documents.size(), 2U);
}

TEST_F(FullDiskTest, WithoutAPageIsReadAndChecked) {
    disk_.leaveFree(0);
    EXPECT_EQ(zdbsOnDisk({"query", "db", "//item"}), "50\n");
    zdbsOnDisk({"check", "db"});
    zdbsOnDisk({"info", "db"});
    EXPECT_TRUE(zdbsOnDisk({"dump", "db"}) == zdbs(home_, {"dump", "db"}));
}

TEST_F(FullDiskTest, OfAHomeThatLostItsTableOfReadersIsReadFromTheReserve) {
    removeFile("databases/db/lock.mdb");
    disk_.leaveFree(0);
    const auto asked = disk_.run(
        {READER_PROGRAM, {"ask", "BASE db", "FIND N_NAME=item"}, {{"ZDBS_HOME", full_}}, {}});
    EXPECT_THAT(asked.out, EndsWith("\n50\n")) << asked.err;
    EXPECT_LT(reserve(), wholeReserve);
    zdbsOnDisk({"remove", "db", "items.xml"});
    disk_.leaveFree(enough);
    zdbsOnDisk({"grant", "reader", "*"});
    EXPECT_GE(reserve(), wholeReserve);
}

TEST_F(FullDiskTest, WithoutReserveTellsASessionThatThereIsNoRoom) {
    removeFile("databases/db/lock.mdb");
    removeFile("reserve");
    disk_.leaveFree(0);
    const auto asked = disk_.run({READER_PROGRAM, {"ask", "BASE db"}, {{"ZDBS_HOME", full_}}, {}});
    EXPECT_EQ(asked.out, "BASE db: There is no space left for " + full_.native() + ".\n");
}

std::string document(int number) {
    return "d" + std::to_string(number) + ".xml";
}

/** Documents d0.xml … d11.xml in the database, each loaded by itself or all at once. */
class RemovalTest : public FullDiskTest, public testing::WithParamInterface<bool> {
protected:
    static constexpr int count = 12;

    void SetUp() override {
        FullDiskTest::SetUp();
        if (IsSkipped()) return;
        const fs::path folder = directory_.path() / "folder";
        fs::create_directory(folder);
        for (int i = 0; i < count; ++i)
            directory_.write("folder/" + document(i), sampleXml(4, 40));
        if (!GetParam()) zdbsOnDisk({"load", "db", folder.native()});
        for (int i = 0; GetParam() && i < count; ++i)
            zdbsOnDisk({"load", "db", folder / document(i)});
    }
};

TEST_P(RemovalTest, TakesOneDocumentAfterTheOtherThoughTheDiskIsFilledEachTime) {
    for (int i = 0; i < count; ++i) {
        disk_.leaveFree(0);
        zdbsOnDisk({"remove", "db", document(i)});
        EXPECT_EQ(expectSoundOnDisk(), count - i);
        EXPECT_GE(reserve(), wholeReserve * 3 / 4) << i;
        if (HasFailure()) break;
    }
    disk_.leaveFree(0);
    zdbsOnDisk({"remove", "db", "items.xml"});
    disk_.leaveFree(enough);
    zdbsOnDisk({"load", "db", directory_ / "more.xml"});
    EXPECT_GE(reserve(), wholeReserve);
}

TEST_P(RemovalTest, GetsThroughWhileASessionKeepsTheStateBefore) {
    support::PipedProgram held(
        disk_.command({READER_PROGRAM, {"hold"}, {{"ZDBS_HOME", full_.native()}}, {}}));
    ASSERT_TRUE(held.waitForOutput("ready"));
    for (int i = 0; i < count; ++i) {
        disk_.leaveFree(0);
        zdbsOnDisk({"remove", "db", document(i)});
        EXPECT_EQ(expectSoundOnDisk(), count - i);
    }
    held.send("\n");
    EXPECT_THAT(held.finish().err, HasSubstr("no hits")) << "it asks for what there is none of";
}

INSTANTIATE_TEST_SUITE_P(Segments, RemovalTest, testing::Bool(), [](const auto &test) {
    return std::string(test.param ? "OfTheirOwn" : "InCommon");
});

TEST_F(FullDiskTest, IsNoHindranceToWhatTakesSomethingAway) {
    zdbsOnDisk({"user", "add", "ann", "--password-stdin"}, "secret\n");
    zdbsOnDisk({"grant", "ann", "db"});
    for (const Words &words :
         {Words{"revoke", "ann", "db"}, Words{"user", "passwd", "ann", "--password-stdin"},
          Words{"user", "remove", "ann"}, Words{"compact", "db"}, Words{"drop", "db"}}) {
        disk_.leaveFree(0);
        zdbsOnDisk(words, "other\n");
        EXPECT_GE(reserve(), wholeReserve * 7 / 8) << words[0];
    }
    EXPECT_EQ(zdbsOnDisk({"list", "--json"}), "[]\n");
    EXPECT_EQ(zdbsOnDisk({"user", "list", "--json"}),
              "[{\"user\":\"reader\",\"databases\":[],\"writes\":[]}]\n");
}

TEST_F(FullDiskTest, IsFilledByALoadExceptForTheReserve) {
    for (const bool isThere : {true, false}) {
        putHomeOnDisk();
        if (!isThere) removeFile("reserve");
        disk_.leaveFree((isThere ? 0 : 2 * wholeReserve) + 20 * pageSize);
        const auto first = disk_.run(zdbsCommand(full_, {"load", "db", directory_ / "more.xml"}));
        if (isThere) expectRefusal(first, "load");
        EXPECT_GE(reserve(), wholeReserve);
        disk_.leaveFree(0);
        zdbsOnDisk({"remove", "db", "items.xml"});
    }
}

TEST_F(FullDiskTest, OfAnEarlierHomeTakesWhatIsLeftForTheReserveFirst) {
    removeFile("reserve");
    disk_.leaveFree(wholeReserve / 2);
    expectRefusal(disk_.run(zdbsCommand(full_, {"load", "db", directory_ / "more.xml"})), "load");
    EXPECT_GE(reserve(), wholeReserve / 2 - pageSize);
    zdbsOnDisk({"remove", "db", "items.xml"});
}

TEST_F(FullDiskTest, OfAnEarlierHomeLetsADatabaseGoThatNobodyIsNamedFor) {
    zdbsOnDisk({"revoke", "reader", "db"});
    removeFile("reserve");
    disk_.leaveFree(0);
    zdbsOnDisk({"drop", "db"});
}

TEST_F(FullDiskTest, IsNoHindranceToRemovalsFromTwoDatabasesAtOnce) {
    constexpr int count = 5;
    const fs::path folder = directory_.path() / "folder";
    fs::create_directory(folder);
    for (int i = 0; i < count; ++i)
        directory_.write("folder/" + document(i), sampleXml(5, 20));
    zdbsOnDisk({"create", "other"});
    for (const char *database : {"db", "other"})
        zdbsOnDisk({"load", database, folder.native()});
    for (int i = 0; i < count; ++i) {
        disk_.leaveFree(0);
        support::PipedProgram first(
            disk_.command(zdbsCommand(full_, {"remove", "db", document(i)})));
        support::PipedProgram second(
            disk_.command(zdbsCommand(full_, {"remove", "other", document(i)})));
        for (support::PipedProgram *each : {&first, &second}) {
            const auto result = each->finish();
            EXPECT_EQ(result.ending, support::exited(0)) << result.err;
        }
    }
    zdbsOnDisk({"check", "db"});
    zdbsOnDisk({"check", "other"});
}

}  // namespace
}  // namespace robustness
