// Homes that cannot be used as they should: a message, and nothing is lost.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/robustness/home_fixture.h"
#include "tests/robustness/sample_xml.h"

namespace robustness {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::StartsWith;

constexpr uid_t nobody = 65534;

bool isRoot() {
    return ::geteuid() == 0;
}

void giveToOrdinaryUser(const fs::path &path) {
    EXPECT_TRUE(!isRoot() || ::chown(path.c_str(), nobody, nobody) == 0) << path;
}

/** The command in a namespace with mounts of its own, after these lines of shell. */
support::Command withMounts(const std::string &script, support::Command command) {
    Words words = {"--mount", "sh", "-c", script + "\nexec \"$0\" \"$@\"", command.program};
    words.insert(words.end(), command.arguments.begin(), command.arguments.end());
    return {"unshare", words, command.environment, {}};
}

bool succeeds(const support::Command &command) {
    return support::run(command).ending == support::exited(0);
}

class HostileHomeTest : public HomeTest {
protected:
    HostileHomeTest() {
        makeHome();
        directory_.write("items.xml", sampleXml(1, 50));
        directory_.write("more.xml", sampleXml(2, 2000));
        zdbs(home_, {"load", "db", directory_ / "items.xml"});
        before_ = contentOf(home_);
        fs::permissions(directory_.path(), fs::perms::all);
        copyPrograms();
    }

    ~HostileHomeTest() override { setModes(0700, 0600); }

    HostileHomeTest(const HostileHomeTest &) = delete;
    HostileHomeTest &operator=(const HostileHomeTest &) = delete;

    support::Command load() const {
        return zdbsCommand(home_, {"load", "db", directory_ / "more.xml"});
    }

    /** Gives the home to the ordinary user, too. */
    void setModes(mode_t directories, mode_t files) const {
        fs::permissions(home_, fs::perms(0700));
        std::vector<fs::path> folders = {home_};
        for (const auto &entry : fs::recursive_directory_iterator(home_)) {
            giveToOrdinaryUser(entry.path());
            if (entry.is_directory())
                folders.push_back(entry.path());
            else
                fs::permissions(entry.path(), fs::perms(files));
        }
        giveToOrdinaryUser(home_);
        for (const fs::path &folder : folders)
            fs::permissions(folder, fs::perms(directories));
    }

    /** The command as a user whom permissions stop; root goes everywhere. */
    support::Command asOrdinaryUser(const support::Command &command) const {
        const std::string program = programs_ / fs::path(command.program).filename();
        Words words = command.arguments;
        if (!isRoot()) return {program, words, command.environment, {}};
        words.insert(words.begin(), {"--reuid=65534", "--regid=65534", "--clear-groups", program});
        return {"setpriv", words, command.environment, {}};
    }

    Content before_;

private:
    /** The checkout may be in a folder of root's; the library is looked for in `../lib`. */
    void copyPrograms() const {
        fs::create_directory(programs_);
        fs::create_directory(directory_.path() / "lib");
        for (const char *program : {ZDBS_PROGRAM, READER_PROGRAM})
            fs::copy(program, programs_);
        fs::copy(KERNEL_LIBRARY, directory_.path() / "lib");
        for (const char *folder : {"bin", "lib"})
            fs::permissions(directory_.path() / folder, fs::perms(0755));
        for (const char *program : {ZDBS_PROGRAM, READER_PROGRAM})
            fs::permissions(programs_ / fs::path(program).filename(), fs::perms(0755));
        fs::permissions(directory_.path() / "lib" / fs::path(KERNEL_LIBRARY).filename(),
                        fs::perms(0644));
    }

    fs::path programs_ = directory_.path() / "bin";
};

TEST_F(HostileHomeTest, ThatIsReadOnlyIsReadAndNotChanged) {
    setModes(0500, 0400);
    const auto loaded = support::run(asOrdinaryUser(load()));
    EXPECT_EQ(loaded.ending, support::exited(1));
    EXPECT_THAT(loaded.err, HasSubstr("cannot be written"));
    const auto dumped = support::run(asOrdinaryUser(zdbsCommand(home_, {"dump", "db"})));
    EXPECT_EQ(dumped.ending, support::exited(0)) << dumped.err;
    EXPECT_EQ(dumped.out, before_.documents.at("items.xml"));
    const auto asked = support::run(
        asOrdinaryUser(reader({"ask", "BASE db", "FIND N_NAME=item", "EXPORT //item[@id='i7']"})));
    EXPECT_THAT(asked.out, HasSubstr("\n50\n")) << asked.err;
    setModes(0700, 0600);
    EXPECT_EQ(contentOf(home_), before_);
}

TEST_F(HostileHomeTest, OnAReadOnlyFileSystemIsReadAndNotChanged) {
    const std::string mount = "mount --bind '" + home_.native() + "' '" + home_.native() +
                              "' && mount -o remount,bind,ro '" + home_.native() + "' || exit 99";
    if (!succeeds(withMounts(mount, {"true", {}, {}, {}}))) GTEST_SKIP() << "no mounts here";
    const auto loaded = support::run(withMounts(mount, load()));
    EXPECT_EQ(loaded.ending, support::exited(1));
    EXPECT_THAT(loaded.err, HasSubstr("cannot be written"));
    const auto dumped = support::run(withMounts(mount, zdbsCommand(home_, {"dump", "db"})));
    EXPECT_EQ(dumped.ending, support::exited(0)) << dumped.err;
    EXPECT_EQ(dumped.out, before_.documents.at("items.xml"));
    EXPECT_EQ(contentOf(home_), before_);
}

TEST_F(HostileHomeTest, WithoutRightsIsAMessage) {
    setModes(0, 0);
    for (const Words &words : {Words{"list"}, Words{"list", "db"}, Words{"dump", "db"},
                               Words{"check", "db"}, Words{"remove", "db", "items.xml"}}) {
        const auto result = support::run(asOrdinaryUser(zdbsCommand(home_, words)));
        EXPECT_EQ(result.ending, support::exited(1)) << words[0];
        EXPECT_THAT(result.err, StartsWith("zdbs: ")) << words[0];
    }
    const auto asked = support::run(asOrdinaryUser(reader({"ask", "BASE db"})));
    EXPECT_EQ(asked.ending, support::exited(1));
    EXPECT_THAT(asked.err, StartsWith("login: ")) << asked.err;
    setModes(0700, 0600);
    EXPECT_EQ(contentOf(home_), before_);
}

/** A way to damage a home. What stands in front of the change is put back afterwards. */
struct Damage {
    const char *name;
    std::function<void(const fs::path &)> change;
};

void PrintTo(const Damage &damage, std::ostream *out) {
    *out << damage.name;
}

void overwrite(const fs::path &file, const std::string &content) {
    std::FILE *out = std::fopen(file.c_str(), "wb");
    ASSERT_NE(out, nullptr) << file;
    std::fwrite(content.data(), 1, content.size(), out);
    std::fclose(out);
}

const std::vector<Damage> &damages() {
    static const std::vector<Damage> all = {
        {"NoUsersFile", [](const fs::path &home) { fs::remove(home / "users"); }},
        {"EmptyUsersFile", [](const fs::path &home) { overwrite(home / "users", ""); }},
        {"UsersFileOfZeros",
         [](const fs::path &home) { overwrite(home / "users", std::string(100, '\0')); }},
        {"UsersFileOfALaterVersion",
         [](const fs::path &home) { overwrite(home / "users", "zdbs-users 9\n"); }},
        {"UsersFileIsAFolder",
         [](const fs::path &home) {
             fs::remove(home / "users");
             fs::create_directory(home / "users");
         }},
        {"NoDatabases", [](const fs::path &home) { fs::remove_all(home / "databases"); }},
        {"DatabasesIsAFile",
         [](const fs::path &home) {
             fs::remove_all(home / "databases");
             overwrite(home / "databases", "x");
         }},
        {"DatabaseIsAFile",
         [](const fs::path &home) {
             fs::remove_all(home / "databases/db");
             overwrite(home / "databases/db", "x");
         }},
        {"NoDataFile", [](const fs::path &home) { fs::remove(home / "databases/db/data.mdb"); }},
        {"DataFileIsAFolder",
         [](const fs::path &home) {
             fs::remove(home / "databases/db/data.mdb");
             fs::create_directory(home / "databases/db/data.mdb");
         }},
        {"EmptyDataFile",
         [](const fs::path &home) { overwrite(home / "databases/db/data.mdb", ""); }},
        {"DataFileOfText",
         [](const fs::path &home) {
             overwrite(home / "databases/db/data.mdb", std::string(20000, 'x'));
         }},
        {"DataFileOfZeros",
         [](const fs::path &home) {
             overwrite(home / "databases/db/data.mdb", std::string(20000, '\0'));
         }},
        {"DataFileOfOnePage",
         [](const fs::path &home) { fs::resize_file(home / "databases/db/data.mdb", 4096); }},
        {"DataFileOfTwoPages",
         [](const fs::path &home) { fs::resize_file(home / "databases/db/data.mdb", 8192); }},
        {"DataFileOfThreePages",
         [](const fs::path &home) { fs::resize_file(home / "databases/db/data.mdb", 12288); }},
        {"NoLockFile", [](const fs::path &home) { fs::remove(home / "databases/db/lock.mdb"); }},
        {"LockFileOfText",
         [](const fs::path &home) {
             overwrite(home / "databases/db/lock.mdb", std::string(8192, 'x'));
         }},
        {"NoWriterLock",
         [](const fs::path &home) { fs::remove(home / "databases/db/writer.lock"); }},
        {"NoLockOfTheHome", [](const fs::path &home) { fs::remove(home / "lock"); }},
    };
    return all;
}

class DamagedHomeTest : public HostileHomeTest, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedHomeTest, GivesAnAnswerOrAMessageAndNothingElseIsLost) {
    const fs::path kept = directory_.path() / "kept";
    fs::copy(home_, kept, fs::copy_options::recursive);
    GetParam().change(home_);
    for (const Words &words :
         {Words{"list"}, Words{"list", "db"}, Words{"info", "db"}, Words{"dump", "db"},
          Words{"check", "db"}, Words{"remove", "db", "nothing.xml"}, Words{"user", "list"}}) {
        const auto result = support::run(zdbsCommand(home_, words));
        EXPECT_TRUE(result.ending == support::exited(0) || result.ending == support::exited(1))
            << words[0] << ": " << toString(result.ending) << result.err;
        if (result.ending != support::exited(0) && words[0] != "check") {
            EXPECT_THAT(result.err, StartsWith("zdbs: ")) << words[0];
        }
    }
    const auto asked = support::run(reader({"ask", "BASE db", "FIND N_NAME=item"}));
    EXPECT_TRUE(asked.ending == support::exited(0) || asked.ending == support::exited(1))
        << toString(asked.ending) << asked.err;
    fs::remove_all(home_);
    fs::rename(kept, home_);
    EXPECT_EQ(contentOf(home_), before_);
}

INSTANTIATE_TEST_SUITE_P(Damages, DamagedHomeTest, testing::ValuesIn(damages()),
                         [](const auto &test) { return std::string(test.param.name); });

}  // namespace
}  // namespace robustness
