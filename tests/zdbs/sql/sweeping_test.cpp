/** What is left behind on the server: rows kept for sessions that are gone, and removed documents.
 */
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <random>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/finder.h"
#include "tests/support/database_server.h"
#include "zdbs/engine/registry.h"

namespace zdbs::conformance {
namespace {

std::string xmlOf(int number) {
    std::string xml = "<r>";
    for (int i = 0; i < 100; ++i)
        xml += "<e n='" + std::to_string(i) + "'><f>word " + std::to_string(i * number) +
               "</f></e><g/>";
    return xml + "</r>";
}

class Sweeping : public ::testing::Test {
protected:
    void SetUp() override {
        if (serverEngines().empty()) GTEST_SKIP() << "PostgreSQL's programs are not installed";
        collection.emplace(serverEngines().front());
        collection->load({{"one", xmlOf(1)}, {"two", xmlOf(2)}, {"three", xmlOf(3)}});
    }

    std::string query(const std::string &statement) {
        return support::DatabaseServer::ofProcess().run(collection->location(), statement);
    }

    std::string table(const std::string &name) {
        return query("select 'z' || number from zdbs.collection") + "." + name;
    }

    int rowsIn(const std::string &name) {
        return std::stoi(query("select count(*) from " + table(name)));
    }

    /** An engine of its own, for another process. */
    std::unique_ptr<OpenDatabase> openAnew() const {
        return openEngine(support::DatabaseServer::ofProcess().urlOf(collection->location()))
            ->open("reader", "db");
    }

    /** Goes on with a set until the server has to keep it. */
    static ResultSetPtr keptSet(Finder &finder) {
        const auto newest = [&] { return std::to_string(finder.sets().size()); };
        finder.find(std::string("N_NAME=\"g\""));
        const std::string other = newest();
        finder.find(std::string("N_NAME=\"e\""));
        for (int step = 0; step < 40; ++step)
            finder.find("XPATH(following-sibling," + newest() + "," + other +
                        ",1) OR XPATH(preceding-sibling," + newest() + "," + other +
                        ",1) AND S=" + newest());
        return finder.sets().back();
    }

    /** Ends the connection of the session that asked last, and waits until it has. */
    void endConnection() {
        const std::string process = query(
            "select pid from pg_stat_activity where application_name = 'zdbs' and datname = "
            "current_database() order by query_start desc");
        query("select pg_terminate_backend(" + process + ")");
        awaitEnd(process);
    }

    void awaitEnd(const std::string &process) {
        while (query("select count(*) from pg_stat_activity where pid = " + process) != "0") {
        }
    }

    std::optional<Collection> collection;
};

TEST_F(Sweeping, RemovesTheRowsOfAKilledSessionAndNotThoseOfALivingOne) {
    std::array<int, 2> ready{};
    ASSERT_EQ(::pipe(ready.data()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const auto database = openAnew();
        Finder finder(*database);
        const ResultSetPtr set = keptSet(finder);
        [[maybe_unused]] const auto told = ::write(ready[1], "x", 1);
        ::pause();
        ::_exit(0);
    }
    ::close(ready[1]);
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ::close(ready[0]);
    const int left = rowsIn("setnode");
    EXPECT_GT(left, 0);
    const auto living = collection->open();
    EXPECT_EQ(rowsIn("setnode"), left);
    Finder finder(*living);
    const ResultSetPtr kept = keptSet(finder);
    const auto records = recordsOf(*living, *kept);
    EXPECT_EQ(rowsIn("setnode"), 2 * left);
    const std::string process = query("select l.pid from pg_locks l inner join " + table("kept") +
                                      " k on l.objid = k.session order by k.session");
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    awaitEnd(process);
    const auto next = collection->open();
    EXPECT_EQ(rowsIn("setnode"), left);
    EXPECT_EQ(recordsOf(*living, *kept), records);
}

TEST_F(Sweeping, LeavesASetOfAConnectionThatWasLostAsLongAsNobodySweeps) {
    const auto database = collection->open();
    Finder finder(*database);
    const ResultSetPtr kept = keptSet(finder);
    const auto records = recordsOf(*database, *kept);
    endConnection();
    EXPECT_EQ(statusOf([&] { recordsOf(*database, *kept); }), Status::databaseLost);
    EXPECT_EQ(recordsOf(*database, *kept), records);
}

TEST_F(Sweeping, IsAFailureOfTheSetsThatAreGoneAndOfNoOthers) {
    const auto database = collection->open();
    Finder finder(*database);
    const ResultSetPtr other = finder.find(std::string("N_TVALUE=$word 7$"));
    const auto records = recordsOf(*database, *other);
    const std::size_t first = finder.sets().size() + 1;
    const ResultSetPtr kept = keptSet(finder);
    endConnection();
    const auto next = collection->open();
    EXPECT_EQ(rowsIn("setnode"), 0);
    // The first failure is that of the connection, and the second says that sets are gone.
    const auto ask = [&] { recordsOf(*database, *kept); };
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(statusOf(ask), Status::databaseLost) << i;
    const std::string last = std::to_string(finder.sets().size());
    EXPECT_EQ(statusOf([&] { finder.find("S=" + last + " AND N_NAME=\"e\""); }),
              Status::databaseLost);
    EXPECT_EQ(recordsOf(*database, *other), records);
    EXPECT_EQ(finder.find("S=" + std::to_string(first))->size(), 300);
}

class Compacting : public Sweeping {
protected:
    void compact() { collection->administration().compact("db", {}, {}); }
};

TEST_F(Compacting, DeletesTheRowsOfRemovedDocuments) {
    const int before = rowsIn("node");
    collection->remove({"two"});
    EXPECT_EQ(rowsIn("node"), before);
    compact();
    EXPECT_EQ(rowsIn("node") * 3, before * 2);
    EXPECT_EQ(rowsIn("document"), 2);
    EXPECT_EQ(collection->administration().check("db", {}).found, 0U);
    const auto database = collection->open();
    Finder finder(*database);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 200);
    collection->load({{"two", xmlOf(2)}});
    database->refresh({});
    EXPECT_EQ(Finder(*database).find(std::string("N_TVALUE=$word$"))->size(), 300);
    EXPECT_EQ(collection->administration().check("db", {}).found, 0U);
}

TEST_F(Compacting, LeavesWhatASessionOfAnOlderStateReads) {
    const int before = rowsIn("node");
    const auto old = collection->open();
    auto stored = collection->administration().documents("db");
    Finder finder(*old);
    const ResultSetPtr set = finder.find(std::string("N_TVALUE=$word$"));
    const auto records = recordsOf(*old, *set);
    collection->remove({"two"});
    const auto between = collection->open();
    collection->remove({"three"});
    compact();
    EXPECT_EQ(rowsIn("node"), before);
    EXPECT_EQ(recordsOf(*old, *set), records);
    old->refresh({});
    compact();
    EXPECT_EQ(rowsIn("node"), before) << "somebody reads the documents";
    stored.reset();
    compact();
    EXPECT_EQ(rowsIn("node") * 3, before * 2);
    EXPECT_EQ(between->everything()->size(), old->everything()->size() * 2);
    between->refresh({});
    compact();
    EXPECT_EQ(rowsIn("node") * 3, before);
    EXPECT_EQ(collection->administration().check("db", {}).found, 0U);
}

TEST_F(Compacting, IsNotKeptFromItByReadersOfOtherDatabases) {
    collection->administration().createDatabase("other");
    collection->administration().grant("reader", "other");
    const auto other = collection->engine().open("reader", "other");
    collection->remove({"one"});
    compact();
    EXPECT_EQ(std::stoi(query("select count(*) from z" +
                              query("select number from zdbs.collection where name = 'db'") +
                              ".document")),
              2);
}

TEST_F(Compacting, IsAFailureOfASessionThatWasLostUntilItTakesUpTheNewestState) {
    const auto database = collection->open();
    Finder finder(*database);
    std::vector<ResultSetPtr> sets = {finder.find(std::string("N_TVALUE=$word$"))};
    endConnection();
    collection->remove({"two"});
    compact();
    const auto ask = [&] { finder.find(std::string("N_TVALUE=$word 7$")); };
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(statusOf(ask), Status::databaseLost) << i;
    database->refresh(sets);
    EXPECT_EQ(sets.front()->size(), 200);
    EXPECT_EQ(recordsOf(*database, *sets.front()).size(), 200U);
}

/** Each time in another moment. */
TEST_F(Compacting, ThatIsKilledLeavesAllAsItWas) {
    std::mt19937 random(7);
    for (int round = 0; round < 12; ++round) {
        collection->load({{"more", xmlOf(round + 2)}});
        collection->remove({"more"});
        const pid_t child = ::fork();
        if (child == 0) {
            serverEngines().front().administer(collection->location())->compact("db", {}, {});
            ::_exit(0);
        }
        ::usleep(random() % 60000);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        const auto database = collection->open();
        EXPECT_EQ(Finder(*database).find(std::string("N_TVALUE=$word$"))->size(), 300) << round;
        EXPECT_EQ(collection->administration().check("db", {}).found, 0U) << round;
    }
    compact();
    EXPECT_EQ(rowsIn("document"), 3);
}

}  // namespace
}  // namespace zdbs::conformance
