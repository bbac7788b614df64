#include "zdbs/embedded/home/home.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>

#include "tests/zdbs/embedded/store/model_document.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/embedded/store/tree_text.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/engine/registry.h"

namespace zdbs::embedded {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

mode_t modeOf(const fs::path &path) {
    struct stat entry {};
    return ::stat(path.c_str(), &entry) == 0 ? entry.st_mode & 07777 : 0;
}

/** Sets variables of the environment, or removes them, until the end of the test. */
class Variables {
public:
    void set(const char *name, std::optional<std::string> value) {
        if (!before_.contains(name)) {
            const char *old = std::getenv(name);
            before_[name] = old ? std::optional<std::string>(old) : std::nullopt;
        }
        put(name, value);
    }
    ~Variables() {
        for (const auto &[name, value] : before_)
            put(name, value);
    }

private:
    static void put(const std::string &name, const std::optional<std::string> &value) {
        if (value)
            ::setenv(name.c_str(), value->c_str(), 1);
        else
            ::unsetenv(name.c_str());
    }

    std::map<std::string, std::optional<std::string>> before_;
};

struct LocateCase {
    std::optional<std::string> home, data, user;
    const char *expected;
};

TEST(HomeLocation, IsTheSettingOrTheUsersDataDirectory) {
    const LocateCase cases[] = {
        {"/srv/z", "/data", "/u", "/srv/z"},
        {"relative", "/data", "/u", "relative"},
        {"", "/data", "/u", "/data/zdbs"},
        {std::nullopt, "/data", "/u", "/data/zdbs"},
        {std::nullopt, "relative", "/u", "/u/.local/share/zdbs"},
        {std::nullopt, "", "/u", "/u/.local/share/zdbs"},
        {std::nullopt, std::nullopt, "/u", "/u/.local/share/zdbs"},
    };
    for (const LocateCase &row : cases) {
        Variables variables;
        variables.set("ZDBS_HOME", row.home);
        variables.set("XDG_DATA_HOME", row.data);
        variables.set("HOME", row.user);
        EXPECT_EQ(configuredLocation(), row.expected);
    }
}

TEST(HomeLocation, WithoutVariablesComesFromTheUserDatabase) {
    Variables variables;
    for (const char *name : {"ZDBS_HOME", "XDG_DATA_HOME", "HOME"})
        variables.set(name, std::nullopt);
    EXPECT_THAT(configuredLocation(), testing::EndsWith("/.local/share/zdbs"));
}

class HomeOfAnyUmask : public testing::TestWithParam<mode_t> {};

TEST_P(HomeOfAnyUmask, IsPrivate) {
    const support::TemporaryDirectory directory;
    const mode_t before = ::umask(GetParam());
    const auto home = Home::create(directory.path() / "home");
    home->createDatabase("db");
    home->addUser("alice", "secret");
    ::umask(before);
    for (const char *name : {"", "databases", "databases/db", "databases/db/segments"})
        EXPECT_EQ(modeOf(directory.path() / "home" / name), 0700U) << name;
    for (const char *name : {"users", "lock", "reserve", "databases/db/data.mdb",
                             "databases/db/lock.mdb", "databases/db/writer.lock"})
        EXPECT_EQ(modeOf(directory.path() / "home" / name), 0600U) << name;
    const auto entries = fs::recursive_directory_iterator(directory.path() / "home");
    EXPECT_EQ(std::distance(entries, {}), 9);
}

INSTANTIATE_TEST_SUITE_P(Umasks, HomeOfAnyUmask, testing::Values(0, 022, 077, 0277));

TEST(HomeCreation, MakesTheFoldersAboveIt) {
    const support::TemporaryDirectory directory;
    const auto home = Home::create(directory.path() / "a" / "b" / "home");
    EXPECT_THAT(home->users(), IsEmpty());
    EXPECT_THAT(home->databases(), IsEmpty());
}

TEST(HomeCreation, TakesAnEmptyDirectoryOver) {
    const support::TemporaryDirectory directory;
    Home::create(directory.path());
    EXPECT_EQ(modeOf(directory.path()), 0700U);
    Home::open(directory.path());
}

TEST(HomeCreation, RefusesWhatIsThereAlready) {
    const support::TemporaryDirectory directory;
    directory.write("file", "");
    std::string sentence;
    EXPECT_EQ(statusOf([&] { Home::create(directory.path()); }, &sentence), Status::homeExists);
    EXPECT_THAT(sentence, HasSubstr(directory.path().native()));
    EXPECT_EQ(statusOf([&] { Home::create(directory.path() / "file"); }), Status::homeExists);
    Home::create(directory.path() / "home");
    EXPECT_EQ(statusOf([&] { Home::create(directory.path() / "home"); }), Status::homeExists);
}

TEST(HomeCreation, FinishesOneThatWasInterrupted) {
    const support::TemporaryDirectory directory;
    fs::create_directory(directory.path() / "databases");
    directory.write("lock", "");
    directory.write("users.new", "zdbs-us");
    EXPECT_EQ(statusOf([&] { Home::open(directory.path()); }), Status::homeMissing);
    EXPECT_THAT(Home::create(directory.path())->users(), IsEmpty());
    EXPECT_FALSE(fs::exists(directory.path() / "users.new"));
}

TEST(HomeOpening, TellsWhatIsWrong) {
    const support::TemporaryDirectory directory;
    const auto open = [&](std::string *sentence = nullptr) {
        return statusOf([&] { Home::open(directory.path() / "home"); }, sentence);
    };
    std::string sentence;
    EXPECT_EQ(open(&sentence), Status::homeMissing);
    EXPECT_THAT(sentence, HasSubstr((directory.path() / "home").native()));
    fs::create_directory(directory.path() / "home");
    EXPECT_EQ(open(), Status::homeMissing);
    directory.write("home/users", "zdbs-users 3\n");
    EXPECT_EQ(open(), Status::homeVersion);
    directory.write("home/users", "something else\n");
    EXPECT_EQ(open(), Status::homeDamaged);
    directory.write("home/users", "zdbs-users 1\n");
    EXPECT_EQ(open(), Status::ok);
}

TEST(HomeOpening, RefusesWhatOtherUsersMayWriteTo) {
    const support::TemporaryDirectory directory;
    const fs::path path = directory.path() / "home";
    Home::create(path);
    std::string sentence;
    for (const fs::path &place : {path, path / "users"}) {
        const auto before = fs::status(place).permissions();
        for (const auto bit : {fs::perms::group_write, fs::perms::others_write}) {
            fs::permissions(place, before | bit);
            EXPECT_EQ(statusOf([&] { Home::open(path); }, &sentence), Status::homeUnreadable);
            EXPECT_THAT(sentence, HasSubstr(place.native() + " "));
            EXPECT_THAT(sentence, HasSubstr("chmod go-w"));
        }
        fs::permissions(place, before | fs::perms::group_read | fs::perms::others_read);
        EXPECT_EQ(statusOf([&] { Home::open(path); }), Status::ok);
        fs::permissions(place, before);
    }
}

TEST(HomeUsers, LogInWithTheirPasswordsUntilTheseChange) {
    TestHome test;
    test.home->addUser("alice", "secret");
    const auto other = Home::open(test.home->path());
    EXPECT_TRUE(other->authenticate("alice", "secret"));
    EXPECT_FALSE(other->authenticate("alice", "wrong"));
    EXPECT_FALSE(other->authenticate("bob", "secret"));
    test.home->setPassword("alice", "new");
    EXPECT_FALSE(other->authenticate("alice", "secret"));
    EXPECT_TRUE(other->authenticate("alice", "new"));
    test.home->removeUser("alice");
    EXPECT_FALSE(other->authenticate("alice", "new"));
    EXPECT_THAT(other->users(), IsEmpty());
}

TEST(HomeUsers, ReadWhatIsGrantedFromTheNextCallOn) {
    TestHome test;
    test.home->addUser("alice", "secret");
    const auto other = Home::open(test.home->path());
    EXPECT_FALSE(other->mayRead("alice", "db"));
    test.home->grant("alice", "db");
    EXPECT_TRUE(other->mayRead("alice", "db"));
    EXPECT_THAT(other->grants("alice"), ElementsAre("db"));
    test.home->revoke("alice", "db");
    EXPECT_FALSE(other->mayRead("alice", "db"));
}

TEST(HomeUsers, AreThoseOfTheFileHoweverOftenItChanges) {
    TestHome test;
    test.home->addUser("alice", "secret");
    const auto other = Home::open(test.home->path());
    for (int change = 0; change < 50; ++change) {
        test.home->grant("alice", "db");
        ASSERT_TRUE(other->mayRead("alice", "db"));
        test.home->revoke("alice", "db");
        ASSERT_FALSE(other->mayRead("alice", "db"));
    }
}

TEST(HomeUsers, AreReadAgainWhenTheFileIsEditedLostOrDamaged) {
    TestHome test;
    test.home->addUser("alice", "secret");
    ASSERT_FALSE(test.home->mayRead("alice", "db"));
    const fs::path users = test.home->path() / "users";
    // By hand it becomes one of the version without a checksum.
    std::string text = support::readFile(users.native());
    text.replace(0, text.find('\n'), "zdbs-users 1");
    text.resize(text.find("checksum "));
    std::ofstream(users) << text << "grant alice db\n";
    EXPECT_TRUE(test.home->mayRead("alice", "db"));
    std::ofstream(users, std::ios::app) << "nonsense\n";
    EXPECT_EQ(statusOf([&] { test.home->mayRead("alice", "db"); }), Status::homeDamaged);
    EXPECT_EQ(statusOf([&] { test.home->mayRead("alice", "db"); }), Status::homeDamaged);
    fs::remove(users);
    EXPECT_EQ(statusOf([&] { test.home->mayRead("alice", "db"); }), Status::homeMissing);
    std::ofstream(users) << "zdbs-users 1\n";
    EXPECT_FALSE(test.home->mayRead("alice", "db"));
}

TEST(HomeUsers, WithEveryDatabaseReadFutureOnesToo) {
    TestHome test;
    test.home->addUser("alice", "secret");
    test.home->grant("alice", "*");
    test.home->createDatabase("later");
    EXPECT_TRUE(test.home->mayRead("alice", "later"));
}

TEST(HomeUsers, AreGrantedOnlyDatabasesThatAreThere) {
    TestHome test;
    test.home->addUser("alice", "secret");
    EXPECT_EQ(statusOf([&] { test.home->grant("alice", "none"); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { test.home->grant("bob", "db"); }), Status::unknownUser);
    EXPECT_EQ(statusOf([&] { test.home->grant("alice", "../db"); }), Status::badName);
    EXPECT_THAT(test.home->grants("alice"), IsEmpty());
}

TEST(HomeUsers, DoNotReadALaterDatabaseOfADroppedName) {
    TestHome test;
    test.home->addUser("alice", "secret");
    test.home->grant("alice", "db");
    test.home->dropDatabase("db");
    test.home->createDatabase("db");
    EXPECT_FALSE(test.home->mayRead("alice", "db"));
}

TEST(HomeDatabases, AreMadeListedAndDropped) {
    TestHome test;
    for (const char *name : {"zoo", "Plays", "a.b-c_1"})
        test.home->createDatabase(name);
    EXPECT_THAT(test.home->databases(), ElementsAre("Plays", "a.b-c_1", "db", "zoo"));
    EXPECT_TRUE(test.home->hasDatabase("zoo"));
    EXPECT_FALSE(test.home->hasDatabase("Zoo"));
    test.home->dropDatabase("zoo");
    EXPECT_FALSE(test.home->hasDatabase("zoo"));
    EXPECT_THAT(test.home->databases(), ElementsAre("Plays", "a.b-c_1", "db"));
    EXPECT_EQ(statusOf([&] { test.home->dropDatabase("zoo"); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { test.home->createDatabase("db"); }), Status::databaseExists);
}

TEST(HomeDatabases, HaveNoOtherNamesThanValidOnes) {
    TestHome test;
    for (const char *name : {"", ".", "..", ".db", "../databases/db", "db/", "a b", "*"}) {
        EXPECT_FALSE(test.home->hasDatabase(name)) << name;
        EXPECT_EQ(statusOf([&] { test.home->createDatabase(name); }), Status::badName) << name;
        EXPECT_EQ(statusOf([&] { test.home->dropDatabase(name); }), Status::unknownDatabase);
        EXPECT_EQ(statusOf([&] { snapshotOf(*test.home, name); }), Status::unknownDatabase) << name;
        EXPECT_EQ(statusOf([&] { test.home->write(name); }), Status::unknownDatabase) << name;
    }
    EXPECT_THAT(test.home->databases(), ElementsAre("db"));
}

TEST(HomeDatabases, AreNotWhatElseLiesThere) {
    TestHome test;
    fs::create_directory(test.home->path() / "databases" / "empty");
    test.directory.write("home/databases/file", "");
    EXPECT_THAT(test.home->databases(), ElementsAre("db"));
    EXPECT_EQ(statusOf([&] { snapshotOf(*test.home, "empty"); }), Status::unknownDatabase);
}

TEST(HomeDatabases, LeftHalfMadeOrHalfDroppedAreClearedAway) {
    TestHome test;
    const fs::path databases = test.home->path() / "databases";
    for (const char *name : {".new", ".dropped"}) {
        fs::create_directory(databases / name);
        std::ofstream(databases / name / "data.mdb") << "half";
    }
    EXPECT_THAT(test.home->databases(), ElementsAre("db"));
    test.home->createDatabase("new");
    EXPECT_FALSE(fs::exists(databases / ".new"));
    EXPECT_FALSE(fs::exists(databases / ".dropped"));
    EXPECT_THAT(treeText(*snapshotOf(*test.home, "new")), IsEmpty());
}

// As a user who may only read; root may write everything.
bool becomeReaderOf(const fs::path &home) {
    constexpr uid_t nobody = 65534;
    for (const auto &entry : fs::recursive_directory_iterator(home)) {
        const mode_t mode = entry.is_directory() ? 0500 : 0400;
        if (::geteuid() == 0 && ::chown(entry.path().c_str(), nobody, nobody) != 0) return false;
        if (::chmod(entry.path().c_str(), mode) != 0) return false;
    }
    if (::geteuid() != 0) return ::chmod(home.c_str(), 0500) == 0;
    return ::chown(home.c_str(), nobody, nobody) == 0 && ::chmod(home.c_str(), 0500) == 0 &&
           ::chmod(home.parent_path().c_str(), 0755) == 0 && ::setgid(nobody) == 0 &&
           ::setuid(nobody) == 0;
}

/** Gives the directories back, so that they can be removed. */
void makeWritable(const fs::path &home) {
    ::chmod(home.c_str(), 0700);
    for (const auto &entry : fs::recursive_directory_iterator(home)) {
        if (entry.is_directory()) ::chmod(entry.path().c_str(), 0700);
    }
}

bool isReadAndNotWritten(const fs::path &path) {
    const auto home = Home::open(path);
    const Status statuses[] = {
        statusOf([&] { home->grant("alice", "*"); }),
        statusOf([&] { home->addUser("bob", "x"); }),
        statusOf([&] { home->createDatabase("more"); }),
        statusOf([&] { home->dropDatabase("db"); }),
        statusOf([&] { home->write("db"); }),
    };
    for (const Status status : statuses) {
        if (status != Status::homeReadOnly) return false;
    }
    return home->authenticate("alice", "secret") && home->mayRead("alice", "db") &&
           home->databases().size() == 1 && snapshotOf(*home)->documents().empty();
}

TEST(HomeDatabases, ThatMayOnlyBeReadAreReadAndNotWritten) {
    TestHome test;
    test.home->addUser("alice", "secret");
    test.home->grant("alice", "db");
    const pid_t child = ::fork();
    if (child == 0) {
        const bool good =
            becomeReaderOf(test.home->path()) && isReadAndNotWritten(test.home->path());
        makeWritable(test.home->path());
        ::_exit(good ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

void store(Home &home, const std::string &name, const std::string &value) {
    const auto writer = home.write("db");
    const ModelDocument document = {{NodeKind::element, noParent, 1, "e", "", "", "", {}},
                                    {NodeKind::text, 0, 1, "", "", "", value, {}}};
    write(*writer, name, document);
    writer->commit();
}

TEST(HomeSnapshots, AreTheSameUntilSomethingIsCommitted) {
    TestHome test;
    store(*test.home, "one", "1");
    const auto first = snapshotOf(*test.home);
    EXPECT_EQ(snapshotOf(*test.home), first);
    {
        const auto writer = test.home->write("db");
        write(*writer, "two", {{NodeKind::element, noParent, 0, "e", "", "", "", {}}});
        EXPECT_EQ(snapshotOf(*test.home), first);
        writer->commit();
    }
    const auto second = snapshotOf(*test.home);
    EXPECT_NE(second, first);
    EXPECT_EQ(snapshotOf(*test.home), second);
    EXPECT_EQ(treeText(*first), "one: e('1')\n");
    EXPECT_EQ(treeText(*second), "one: e('1')\ntwo: e()\n");
}

TEST(HomeSnapshots, SeeWhatAnotherHomeObjectCommitted) {
    TestHome test;
    const auto other = Home::open(test.home->path());
    const auto empty = snapshotOf(*other);
    store(*test.home, "one", "1");
    EXPECT_THAT(treeText(*empty), IsEmpty());
    EXPECT_EQ(treeText(*snapshotOf(*other)), "one: e('1')\n");
}

TEST(HomeSnapshots, OutliveTheirDatabaseAndTheirHome) {
    auto test = std::make_unique<TestHome>();
    store(*test->home, "one", "1");
    const auto snapshot = snapshotOf(*test->home);
    test->home->dropDatabase("db");
    EXPECT_EQ(statusOf([&] { snapshotOf(*test->home); }), Status::unknownDatabase);
    test->home->createDatabase("db");
    EXPECT_THAT(treeText(*snapshotOf(*test->home)), IsEmpty());
    test.reset();
    EXPECT_EQ(treeText(*snapshot), "one: e('1')\n");
}

}  // namespace
}  // namespace zdbs::embedded
