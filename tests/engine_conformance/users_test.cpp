/** Users, grants, databases: what administrators do and sessions see of it. */
#include <gmock/gmock.h>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/finder.h"

namespace zdbs::conformance {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class Users : public OfEngine {
protected:
    const Engine &engine() { return collection.engine(); }
};

TEST_P(Users, LogInWithTheirOwnPassword) {
    administration().addUser("other", "x y");
    EXPECT_TRUE(engine().authenticate("reader", "secret"));
    EXPECT_TRUE(engine().authenticate("other", "x y"));
    EXPECT_FALSE(engine().authenticate("reader", "x y"));
    EXPECT_FALSE(engine().authenticate("reader", "Secret"));
    EXPECT_FALSE(engine().authenticate("reader", ""));
    EXPECT_FALSE(engine().authenticate("nobody", "secret"));
    EXPECT_FALSE(engine().authenticate("", ""));
}

TEST_P(Users, LogInWithTheNewPasswordOnceItIsSet) {
    administration().setPassword("reader", "new");
    EXPECT_FALSE(engine().authenticate("reader", "secret"));
    EXPECT_TRUE(engine().authenticate("reader", "new"));
    EXPECT_EQ(statusOf([&] { administration().setPassword("nobody", "x"); }), Status::unknownUser);
}

TEST_P(Users, AreListedInOrderOfName) {
    administration().addUser("b", "x");
    administration().addUser("B", "x");
    administration().addUser("a.1", "x");
    EXPECT_THAT(administration().users(), ElementsAre("B", "a.1", "b", "reader"));
}

TEST_P(Users, AreRefusedUnderBadNamesTakenNamesAndBadPasswords) {
    for (const char *name : {"", ".a", "a b", "a/b", "ä"})
        EXPECT_EQ(statusOf([&] { administration().addUser(name, "x"); }), Status::badName) << name;
    const std::string longName(64, 'n');
    EXPECT_EQ(statusOf([&] { administration().addUser(longName, "x"); }), Status::badName);
    EXPECT_EQ(statusOf([&] { administration().addUser("reader", "x"); }), Status::userExists);
    const std::string withNul("a\0b", 3);
    const std::string longPassword(1000, 'p');
    EXPECT_EQ(statusOf([&] { administration().addUser("a", withNul); }), Status::badPassword);
    EXPECT_EQ(statusOf([&] { administration().addUser("a", longPassword); }), Status::badPassword);
    EXPECT_EQ(statusOf([&] { administration().setPassword("reader", withNul); }),
              Status::badPassword);
    EXPECT_THAT(administration().users(), ElementsAre("reader"));
    EXPECT_TRUE(engine().authenticate("reader", "secret"));
}

TEST_P(Users, AreGoneWithTheirGrants) {
    administration().removeUser("reader");
    EXPECT_THAT(administration().users(), IsEmpty());
    EXPECT_FALSE(engine().authenticate("reader", "secret"));
    EXPECT_FALSE(engine().hasDatabase("reader", "db"));
    EXPECT_EQ(statusOf([&] { administration().removeUser("reader"); }), Status::unknownUser);
    administration().addUser("reader", "secret");
    EXPECT_THAT(administration().grants("reader"), IsEmpty());
}

TEST_P(Users, SeeTheDatabasesThatAreGrantedToThem) {
    administration().createDatabase("hidden");
    EXPECT_TRUE(engine().hasDatabase("reader", "db"));
    EXPECT_FALSE(engine().hasDatabase("reader", "hidden"));
    EXPECT_FALSE(engine().hasDatabase("nobody", "db"));
    EXPECT_FALSE(engine().hasDatabase("reader", "none"));
    EXPECT_FALSE(engine().hasDatabase("reader", "../db"));
    EXPECT_EQ(engine().open("reader", "db")->name(), "db");
    for (const char *database : {"hidden", "none", "", "../db", "*"})
        EXPECT_EQ(statusOf([&] { engine().open("reader", database); }), Status::unknownDatabase)
            << database;
    EXPECT_EQ(statusOf([&] { engine().open("nobody", "db"); }), Status::unknownDatabase);
}

TEST_P(Users, SeeEveryDatabaseByAStarFutureOnesToo) {
    administration().grant("reader", "*");
    administration().createDatabase("later");
    EXPECT_TRUE(engine().hasDatabase("reader", "later"));
    EXPECT_FALSE(engine().hasDatabase("reader", "none"));
    EXPECT_THAT(administration().grants("reader"), ElementsAre("*", "db"));
}

TEST_P(Users, AreGrantedWhatIsThereAndOnce) {
    administration().createDatabase("a");
    administration().grant("reader", "a");
    administration().grant("reader", "a");
    EXPECT_THAT(administration().grants("reader"), ElementsAre("a", "db"));
    EXPECT_EQ(statusOf([&] { administration().grant("reader", "none"); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { administration().grant("nobody", "a"); }), Status::unknownUser);
    EXPECT_EQ(statusOf([&] { administration().grants("nobody"); }), Status::unknownUser);
}

TEST_P(Users, LoseWhatIsRevoked) {
    administration().revoke("reader", "db");
    EXPECT_FALSE(engine().hasDatabase("reader", "db"));
    EXPECT_EQ(statusOf([&] { administration().revoke("reader", "db"); }), Status::notGranted);
    EXPECT_EQ(statusOf([&] { administration().revoke("nobody", "db"); }), Status::unknownUser);
    administration().grant("reader", "*");
    EXPECT_EQ(statusOf([&] { administration().revoke("reader", "db"); }), Status::notGranted);
}

TEST_P(Users, WriteWhatIsGrantedToThemForThat) {
    EXPECT_FALSE(engine().mayWrite("reader", "db"));
    administration().grantWriting("reader", "db");
    EXPECT_TRUE(engine().mayWrite("reader", "db"));
    EXPECT_FALSE(engine().mayWrite("reader", "none"));
    EXPECT_FALSE(engine().mayWrite("nobody", "db"));
    EXPECT_THAT(administration().writingGrants("reader"), ElementsAre("db"));
    administration().revokeWriting("reader", "db");
    EXPECT_FALSE(engine().mayWrite("reader", "db"));
    EXPECT_TRUE(engine().hasDatabase("reader", "db"));
    EXPECT_EQ(statusOf([&] { administration().revokeWriting("reader", "db"); }),
              Status::notGranted);
    administration().grantWriting("reader", "*");
    EXPECT_TRUE(engine().mayWrite("reader", "db"));
    administration().revoke("reader", "*");
    EXPECT_FALSE(engine().mayWrite("reader", "db"));
    EXPECT_EQ(statusOf([&] { administration().grantWriting("reader", "none"); }),
              Status::unknownDatabase);
}

TEST_P(Users, ThatChangeAreAnotherStateOfThemWhereThatIsKnown) {
    const std::uint64_t before = engine().usersState();
    if (before == 0) return;
    EXPECT_EQ(engine().usersState(), before);
    administration().setPassword("reader", "other");
    EXPECT_NE(engine().usersState(), before);
}

class Databases : public OfEngine {};

TEST_P(Databases, AreListedInOrderOfName) {
    administration().createDatabase("z");
    administration().createDatabase("a-1");
    EXPECT_THAT(administration().databases(), ElementsAre("a-1", "db", "z"));
}

TEST_P(Databases, AreRefusedUnderBadNamesAndTakenOnes) {
    for (const char *name : {"", ".a", "a b", "a/b", "*", ".."})
        EXPECT_EQ(statusOf([&] { administration().createDatabase(name); }), Status::badName);
    EXPECT_EQ(statusOf([&] { administration().createDatabase("db"); }), Status::databaseExists);
}

TEST_P(Databases, AreDroppedWithTheGrantsThatNameThem) {
    administration().grant("reader", "*");
    administration().dropDatabase("db", {});
    EXPECT_THAT(administration().databases(), IsEmpty());
    EXPECT_THAT(administration().grants("reader"), ElementsAre("*"));
    EXPECT_FALSE(collection.engine().hasDatabase("reader", "db"));
    EXPECT_EQ(statusOf([&] { administration().dropDatabase("db", {}); }), Status::unknownDatabase);
    administration().createDatabase("db");
    EXPECT_EQ(administration().summary("db").nodes, 0U);
}

TEST_P(Databases, ThatAreNotThereAreUnknownToEveryOperation) {
    EXPECT_EQ(statusOf([&] { administration().open("none"); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { administration().summary("none"); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { administration().documents("none"); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { administration().info("none"); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { administration().check("none", {}); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { administration().load("none", {}); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { administration().load("../db", {}); }), Status::unknownDatabase);
}

TEST_P(Databases, AreOpenToTheirOwnerWithoutAGrant) {
    administration().createDatabase("own");
    collection.load({{"d", "<a/>"}}, "own");
    const auto database = administration().open("own");
    EXPECT_EQ(database->name(), "own");
    EXPECT_EQ(database->everything()->size(), 1);
}

TEST_P(Databases, HaveNothingInCommon) {
    administration().createDatabase("other");
    collection.load({{"d", "<a/>"}}, "other");
    EXPECT_EQ(administration().summary("db").documents, 0U);
    EXPECT_EQ(administration().summary("other").documents, 1U);
}

TEST_P(Databases, TellWhatIsInThem) {
    collection.load(
        {{"one", "<a i='1'><b/>t<b/></a>"}, {"two", "<p:a xmlns:p='u'><!--c--><?b x?></p:a>"}});
    const DatabaseInfo info = administration().info("db");
    EXPECT_EQ(info.documents, 2U);
    EXPECT_EQ(info.nodes, 8U);
    EXPECT_THAT(info.kinds, ElementsAre(4U, 1U, 1U, 1U, 1U));
    EXPECT_GE(info.xmlBytes, 50U);
    ASSERT_FALSE(info.sizes.empty());
    std::vector<std::string> names;
    for (const NameCount &name : info.names)
        names.push_back(name.prefix + ":" + name.local + "{" + name.uri + "}");
    ASSERT_EQ(names.size(), 5U);
    EXPECT_EQ(names.front(), ":b{}");
    EXPECT_EQ(info.names.front().count, 2U);
    EXPECT_THAT(names, UnorderedElementsAre(":b{}", ":a{}", ":i{}", "p:a{u}", ":b{}"));
    const DatabaseSummary summary = administration().summary("db");
    EXPECT_EQ(summary.documents, 2U);
    EXPECT_EQ(summary.nodes, 8U);
}

TEST_P(Databases, AreFoundSound) {
    collection.load({{"one", "<a i='1'><b/>t<b/></a>"}});
    const CheckReport report = administration().check("db", {});
    EXPECT_EQ(report.found, 0U);
    EXPECT_THAT(report.findings, IsEmpty());
    EXPECT_EQ(report.documents, 1U);
    EXPECT_EQ(report.nodes, 5U);
}

/** An engine that has nothing to give back says so. */
TEST_P(Databases, AreTheSameWhenTheyAreCompacted) {
    collection.load({{"one", "<a><b/></a>"}, {"two", "<c/>"}});
    collection.remove({"one"});
    const auto database = collection.open();
    const auto before = recordsOf(*database, *database->everything());
    const Status status = statusOf([&] { administration().compact("db", {}, {}); });
    EXPECT_TRUE(status == Status::ok || status == Status::unsupported);
    database->refresh({});
    EXPECT_EQ(recordsOf(*database, *database->everything()), before);
}

class Locations : public ::testing::TestWithParam<EngineUnderTest> {
protected:
    support::TemporaryDirectory directory;
};

TEST_P(Locations, ThatAreNotThereAreMissing) {
    const std::string location = directory / "none";
    EXPECT_EQ(statusOf([&] { GetParam().open(location); }), Status::homeMissing);
    EXPECT_EQ(statusOf([&] { GetParam().administer(location); }), Status::homeMissing);
}

TEST_P(Locations, AreMadeOnceAndEmpty) {
    const std::string location = directory / "a/new/one";
    GetParam().makeLocation(location);
    EXPECT_EQ(statusOf([&] { GetParam().makeLocation(location); }), Status::homeExists);
    EXPECT_THAT(GetParam().administer(location)->users(), IsEmpty());
    EXPECT_THAT(GetParam().administer(location)->databases(), IsEmpty());
}

TEST_P(Locations, AreNotMadeWhereSomethingElseIs) {
    directory.write("file", "x");
    EXPECT_EQ(statusOf([&] { GetParam().makeLocation(directory / "file"); }), Status::homeExists);
    EXPECT_EQ(statusOf([&] { GetParam().makeLocation(directory.path()); }), Status::homeExists);
}

TEST_P(Locations, AreSeenAlikeByAllWhoOpenThem) {
    const std::string location = directory / "one";
    GetParam().makeLocation(location);
    const auto engine = GetParam().open(location);
    const auto administration = GetParam().administer(location);
    administration->createDatabase("db");
    administration->addUser("reader", "secret");
    administration->grant("reader", "db");
    EXPECT_TRUE(engine->authenticate("reader", "secret"));
    EXPECT_TRUE(engine->hasDatabase("reader", "db"));
    EXPECT_THAT(GetParam().administer(location)->databases(), ElementsAre("db"));
}

/** Of whoever keeps a database in step with something. */
TEST_P(Users, KeepNotesBesideDatabases) {
    administration().createDatabase("other");
    EXPECT_EQ(administration().notes("other"), "");
    const std::string text("several\nlines and a \0", 21);
    administration().keepNotes("other", "a first text that is longer than the second one");
    administration().keepNotes("other", text);
    EXPECT_EQ(administration().notes("other"), text);
    EXPECT_EQ(administration().check("other", {}).notes, std::vector<std::string>());
    administration().dropDatabase("other", {});
    EXPECT_EQ(statusOf([&] { administration().notes("other"); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { administration().keepNotes("other", ""); }), Status::unknownDatabase);
    administration().createDatabase("other");
    EXPECT_EQ(administration().notes("other"), "");
}

INSTANTIATE_TEST_SUITE_P(Every, Users, ::testing::ValuesIn(allEngines()), nameOfEngine);
INSTANTIATE_TEST_SUITE_P(Every, Databases, ::testing::ValuesIn(allEngines()), nameOfEngine);
INSTANTIATE_TEST_SUITE_P(Every, Locations, ::testing::ValuesIn(folderEngines()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
