// `zdbs backup` and `zdbs restore`.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "tests/zdbs/admin/program_fixture.h"

namespace zdbs {
namespace {

namespace fs = std::filesystem;
using support::exited;
using support::PipedProgram;
using testing::HasSubstr;

class Backup : public ProgramTest {
protected:
    Backup() {
        makeDatabase();
        good({"create", "other"});
        good({"create", "empty"});
        good({"user", "add", "alice", "--password-stdin"}, "secret\n");
        good({"user", "add", "bob", "--password-stdin"}, "word\n");
        good({"grant", "alice", "db"});
        good({"grant", "alice", "other"});
        good({"grant", "bob", "*"});
        // Numbers of nodes that are not those of a load into an empty database.
        good({"load", "db", directory_.write("gone.xml", "<g><h/></g>")});
        good({"load", "db", directory_.write("a.xml", "<a i='1'>text<b/><!--c--></a>")});
        good({"remove", "db", "gone.xml"});
        good({"load", "db", directory_.write("n.xml", "<n:x xmlns:n='urn:n'><n:y>2</n:y></n:x>")});
        good({"load", "other", directory_.write("o.xml", largeXml())});
    }

    /** Packed it does not fit into a pipe. */
    static std::string largeXml() {
        std::mt19937 random(7);
        std::string xml = "<r>";
        for (int i = 0; i < 60000; ++i)
            xml += "<v>" + std::to_string(random()) + "</v>";
        return xml + "</r>";
    }

    std::string backUp(const Words &options = {}) const {
        Words words = {"backup", "--output", directory_ / "backup"};
        words.insert(words.end(), options.begin(), options.end());
        EXPECT_EQ(good(words), "");
        return directory_ / "backup";
    }

    /** A command in the home that was restored. */
    std::string there(Words words) const {
        words.insert(words.begin(), {"--home", directory_ / "there"});
        return good(words);
    }

    Words restoring(const std::string &file) const {
        return {"restore", file, "--into", directory_ / "there"};
    }

    void expectNothingThere() const {
        for (const auto &entry : fs::directory_iterator(directory_.path()))
            EXPECT_EQ(entry.path().filename().native().find("there"), std::string::npos)
                << entry.path();
    }

    void expectClean(const std::string &database) const {
        EXPECT_THAT(there({"check", database}), HasSubstr("no errors"));
        EXPECT_THAT(there({"check", database}), testing::Not(HasSubstr("note:")));
    }
};

TEST_F(Backup, RestoresWhatAnswersAndUsersAre) {
    const std::string file = backUp();
    good(restoring(file));
    EXPECT_EQ(there({"user", "list"}), good({"user", "list"}));
    for (const char *database : {"db", "other", "empty"}) {
        expectClean(database);
        EXPECT_EQ(there({"list", database}), good({"list", database}));
        for (const char *request : {"//node()", "//@*", "//b | //v[2]", "//n:y", "//*[text()]"}) {
            EXPECT_EQ(there({"query", database, "--csv", "--ids", "--paths", "--values", request}),
                      good({"query", database, "--csv", "--ids", "--paths", "--values", request}));
        }
    }
    EXPECT_EQ(there({"dump", "db", "a.xml"}), good({"dump", "db", "a.xml"}));
    const auto restored = Home::open(directory_ / "there");
    EXPECT_TRUE(restored->authenticate("alice", "secret"));
    EXPECT_FALSE(restored->authenticate("alice", "word"));
    EXPECT_TRUE(restored->mayRead("bob", "empty"));
    EXPECT_FALSE(restored->mayRead("alice", "empty"));
}

TEST_F(Backup, IsForItsOwnerOnly) {
    struct stat status {};
    ASSERT_EQ(::stat(backUp().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    good(restoring(directory_ / "backup"));
    for (const auto &entry : fs::recursive_directory_iterator(directory_ / "there"))
        EXPECT_EQ(entry.status().permissions() & (fs::perms::group_all | fs::perms::others_all),
                  fs::perms::none)
            << entry.path();
}

TEST_F(Backup, OfSomeDatabasesHasTheirGrantsOnly) {
    good(restoring(backUp({"db", "empty", "db"})));
    EXPECT_EQ(there({"list"}).find("other"), std::string::npos);
    EXPECT_EQ(there({"user", "list"}), "USER   DATABASES\nalice  db\nbob    *\n");
    expectClean("db");
    EXPECT_THAT(bad({"backup", "none", "--output", directory_ / "b"}),
                HasSubstr("no such database: none"));
    EXPECT_FALSE(fs::exists(directory_ / "b"));
}

TEST_F(Backup, GoesThroughPipes) {
    const std::string bytes = good({"backup", "--output", "-"});
    good({"restore", "-", "--into", directory_ / "there"}, bytes);
    expectClean("other");
}

TEST_F(Backup, CanBeWorkedWithOnceItIsRestored) {
    good({"sync", "empty", directory_.path().parent_path() / directory_.path().filename(),
          "--pattern", "a.xml"});
    good(restoring(backUp()));
    EXPECT_EQ(there({"sync", "empty", directory_.path(), "--pattern", "a.xml"}),
              "0 added, 0 replaced, 0 removed, 1 unchanged\n");
    there({"load", "db", directory_.write("more.xml", "<b/>")});
    there({"remove", "db", "a.xml"});
    there({"compact", "db"});
    expectClean("db");
    EXPECT_EQ(there({"query", "db", "//b"}), "1\n");
    there({"drop", "other"});
}

TEST_F(Backup, TakesTheNewestStateWhileOthersChangeIt) {
    directory_.write("l.xml", "<l>1</l>");
    directory_.write("r.xml", "<r>1</r>");
    const char *script =
        "for i in $(seq 40); do \"$0\" load db l.xml r.xml --prefix $i || exit 1;"
        "[ $((i % 3)) = 0 ] && \"$0\" remove db $i/l.xml $i/r.xml;"
        "[ $((i % 9)) = 0 ] && \"$0\" compact db; done; exit 0";
    support::Command changing = {
        "/bin/sh",
        {"-c", "cd '" + directory_.path().native() + "'; " + script, ZDBS_PROGRAM},
        {{"ZDBS_HOME", homePath_}},
        {}};
    PipedProgram changes(changing);
    for (int round = 0; round < 8; ++round) {
        good(restoring(backUp({"db"})));
        expectClean("db");
        EXPECT_EQ(there({"query", "db", "/l"}), there({"query", "db", "/r"}));
        EXPECT_EQ(there({"query", "db", "//b", "//n:y"}), "1\n1\n");
        fs::remove_all(directory_ / "there");
    }
    EXPECT_EQ(changes.finish().ending, exited(0));
}

TEST_F(Backup, ThatIsDamagedRestoresNothing) {
    const std::string bytes = support::readFile(backUp());
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{20},
                                   bytes.size() / 2, bytes.size() - 5, bytes.size() - 1}) {
        bad(restoring(directory_.write("cut", bytes.substr(0, size))));
        expectNothingThere();
    }
    std::string changed = bytes;
    changed[bytes.size() / 2] = static_cast<char>(changed[bytes.size() / 2] ^ 1);
    bad(restoring(directory_.write("changed", changed)));
    bad(restoring(directory_.write("other", "<xml/>")));
    EXPECT_THAT(bad(restoring(directory_ / "none")), HasSubstr("No such file"));
    expectNothingThere();
}

TEST_F(Backup, KilledWhileItIsRestoredLeavesNothing) {
    const std::string bytes = support::readFile(backUp());
    ASSERT_GT(bytes.size(), 250000U);
    for (const std::size_t part : {1U, 2U, 3U}) {
        PipedProgram program(command({"restore", "-", "--into", directory_ / "there"}));
        // A pipe holds 65536 bytes: it is well into it when all of this is sent.
        ASSERT_TRUE(program.send(bytes.substr(0, 130000 + part * 30000)));
        program.signal(SIGKILL);
        EXPECT_EQ(program.finish().ending, support::killedBy(SIGKILL));
        EXPECT_FALSE(fs::exists(directory_ / "there"));
    }
    good(restoring(directory_ / "backup"));
    expectClean("other");
    fs::remove_all(directory_ / "there");
    expectNothingThere();
}

TEST_F(Backup, InterruptedLeavesNothing) {
    const std::string bytes = support::readFile(backUp());
    PipedProgram program(command({"restore", "-", "--into", directory_ / "there"}));
    ASSERT_TRUE(program.send(bytes.substr(0, 150000)));
    program.signal(SIGINT);
    const auto result = program.finish();
    EXPECT_EQ(result.ending, exited(130));
    EXPECT_EQ(result.err, "zdbs: Interrupted. Nothing was restored.\n");
    expectNothingThere();
}

TEST_F(Backup, KilledWhileItIsWrittenLeavesAWholeOneOrNone) {
    const std::string file = directory_ / "backup";
    for (int round = 0; round < 10; ++round) {
        PipedProgram program(command({"backup", "--output", file}));
        program.signal(SIGKILL);
        program.finish();
        if (!fs::exists(file)) continue;
        good(restoring(file));
        expectClean("other");
        fs::remove_all(directory_ / "there");
        fs::remove(file);
    }
    good(restoring(backUp()));
    expectClean("other");
}

TEST_F(Backup, IsNotRestoredOverAnything) {
    const std::string file = backUp();
    EXPECT_THAT(bad({"restore", file}), HasSubstr("There is a home already"));
    fs::create_directory(directory_.path() / "there");
    directory_.write("there/file", "");
    EXPECT_THAT(bad(restoring(file)), HasSubstr("There is a home already"));
    EXPECT_TRUE(fs::exists(directory_ / "there/file"));
    fs::remove(directory_.path() / "there/file");
    good({"restore", file, "--into", (directory_ / "there") + "/"});
    expectClean("db");
    good({"restore", file, "--into", directory_ / "deep/down/there"});
}

TEST_F(Backup, FindsOutWhatIsDamaged) {
    const fs::path segments = fs::path(homePath_) / "databases/other/segments";
    const fs::path segment = fs::directory_iterator(segments)->path();
    std::string bytes = support::readFile(segment);
    bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
    directory_.write(segment.lexically_relative(directory_.path()).native(), bytes);
    EXPECT_THAT(bad({"backup", "--output", directory_ / "b"}), HasSubstr("is damaged"));
    EXPECT_FALSE(fs::exists(directory_ / "b"));
    EXPECT_FALSE(fs::exists(directory_ / "b.part"));
    fs::remove(segment);
    EXPECT_THAT(bad({"backup", "other", "--output", directory_ / "b"}), HasSubstr("is missing"));
    backUp({"db"});
}

}  // namespace
}  // namespace zdbs
