/** What breaks while requests are answered and documents loaded: a sentence, and never less. */
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <random>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/finder.h"
#include "tests/support/database_server.h"
#include "zdbs/engine/registry.h"

namespace zdbs::conformance {
namespace {

constexpr int documents = 40;

std::string xmlOf(int number) {
    std::string xml = "<r>";
    for (int i = 0; i < 200; ++i)
        xml += "<e n='" + std::to_string(i) + "'>word " + std::to_string(i * number) + "</e>";
    return xml + "</r>";
}

class Faults : public ::testing::Test {
protected:
    void SetUp() override {
        if (serverEngines().empty()) GTEST_SKIP() << "PostgreSQL's programs are not installed";
        collection.emplace(serverEngines().front());
        collection->load({{"one", xmlOf(1)}, {"two", xmlOf(2)}});
    }

    support::DatabaseServer &server() { return support::DatabaseServer::ofProcess(); }

    std::string query(const std::string &statement) {
        return server().run(collection->location(), statement);
    }

    std::string location(const std::string &more) const {
        return support::DatabaseServer::ofProcess().urlOf(collection->location()) + more;
    }

    /** The process of the server that answers the session that asked last. */
    pid_t answering() {
        return std::stoi(
            query("select pid from pg_stat_activity where application_name = 'zdbs' "
                  "and datname = current_database() order by query_start desc"));
    }

    std::optional<Collection> collection;
};

TEST_F(Faults, AServerThatCrashesIsAFailureAndTheNextRequestConnectsAnew) {
    const auto database = collection->open();
    Finder finder(*database);
    const ResultSetPtr before = finder.find(std::string("N_TVALUE=$1$"));
    const auto records = recordsOf(*database, *before);
    server().kill();
    const auto search = [&] { finder.find(std::string("N_TVALUE=$2$")); };
    EXPECT_EQ(statusOf(search), Status::databaseLost);
    EXPECT_EQ(statusOf(search), Status::serverUnreachable);
    EXPECT_EQ(finder.sets().size(), 1U);
    EXPECT_EQ(statusOf([&] { database->refresh({}); }), Status::serverUnreachable);
    server().start();
    EXPECT_EQ(recordsOf(*database, *before), records);
    EXPECT_EQ(finder.find(std::string("S=1"))->size(), before->size());
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 400);
}

TEST_F(Faults, AConnectionThatIsEndedIsAFailureOfOneRequest) {
    const auto database = collection->open();
    Finder finder(*database);
    finder.find(std::string("N_TVALUE=$1$"));
    query("select pg_terminate_backend(" + std::to_string(answering()) + ")");
    EXPECT_EQ(statusOf([&] { finder.find(std::string("N_TVALUE=$2$")); }), Status::databaseLost);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 400);
}

/** The process is stopped, so that nothing of it answers, not even to be cancelled. */
TEST_F(Faults, AServerThatHangsIsLeftAfterTheLimit) {
    const auto database = openEngine(location("&timeout=1"))->open("reader", "db");
    Finder finder(*database);
    finder.find(std::string("N_TVALUE=$1$"));
    const pid_t process = answering();
    ASSERT_EQ(::kill(process, SIGSTOP), 0);
    const Status status = statusOf([&] { finder.find(std::string("N_TVALUE=$2$")); });
    ::kill(process, SIGCONT);
    EXPECT_EQ(status, Status::databaseSlow);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 400);
}

TEST_F(Faults, AStatementThatTakesTooLongIsCancelledAndTheSessionGoesOn) {
    const auto database = openEngine(location("&timeout=1"))->open("reader", "db");
    Finder finder(*database);
    finder.find(std::string("N_TVALUE=$1$"));
    const std::string session = std::to_string(answering());
    // Somebody locks the table, and goes on for longer than the limit.
    const pid_t child = ::fork();
    if (child == 0) {
        try {
            query("begin; lock table " + query("select 'z' || number from zdbs.collection") +
                  ".node in access exclusive mode; select pg_sleep(30)");
        } catch (const std::exception &) {
        }
        ::_exit(0);
    }
    while (query("select count(*) from pg_locks where mode = 'AccessExclusiveLock' and granted and "
                 "relation is not null") == "0") {
    }
    EXPECT_EQ(statusOf([&] { finder.find(std::string("N_TVALUE=$2$")); }), Status::databaseSlow);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    query(
        "select pg_terminate_backend(pid) from pg_stat_activity where query like '%pg_sleep%' and "
        "pid <> pg_backend_pid()");
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 400);
    EXPECT_EQ(std::to_string(answering()), session);
}

TEST_F(Faults, AServerThatTakesNoConnectionsIsUnreachable) {
    ASSERT_EQ(::kill(server().process(), SIGSTOP), 0);
    const Status status = statusOf([&] { openEngine(location("&connect_timeout=2")); });
    ::kill(server().process(), SIGCONT);
    EXPECT_EQ(status, Status::serverUnreachable);
    EXPECT_NE(openEngine(location("")), nullptr);
}

/** Each time in another moment; readers see all of a load or nothing. */
TEST_F(Faults, ALoaderThatIsKilledAtAnyMomentLeavesNothingThatCounts) {
    std::mt19937 random(5);
    const auto reader = collection->open();
    std::size_t complete = 0;
    std::size_t nothing = 0;
    for (int round = 0; round < 25; ++round) {
        const std::uint64_t before = collection->administration().summary("db").documents;
        const pid_t child = ::fork();
        if (child == 0) {
            const auto administration = serverEngines().front().administer(collection->location());
            const auto load = administration->load("db", {});
            for (int i = 0; i < documents; ++i)
                tellXml(*load, {std::to_string(round) + "/" + std::to_string(i), xmlOf(i)});
            load->commit();
            ::_exit(0);
        }
        ::usleep(random() % 400000);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        reader->refresh({});
        const std::uint64_t after = collection->administration().summary("db").documents;
        EXPECT_TRUE(after == before || after == before + documents) << round;
        (after == before ? nothing : complete) += 1;
        Finder finder(*reader);
        EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(),
                  static_cast<std::int64_t>(after) * 200)
            << round;
        // The next loader waits until the server has noticed.
        collection->load({{"after" + std::to_string(round), xmlOf(1)}});
        collection->remove({"after" + std::to_string(round)});
    }
    EXPECT_EQ(collection->administration().check("db", {}).found, 0U);
    EXPECT_GT(nothing, 0U);
    RecordProperty("complete", static_cast<int>(complete));
}

}  // namespace
}  // namespace zdbs::conformance
