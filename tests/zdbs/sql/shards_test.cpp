/** Databases whose rows are on three servers: what goes where, and what breaks. */
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <regex>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/finder.h"
#include "tests/support/database_server.h"
#include "zdbs/engine/registry.h"

namespace zdbs::conformance {
namespace {

constexpr std::size_t shards = 3;

std::string xmlOf(int elements) {
    std::string xml = "<r>";
    for (int i = 0; i < elements; ++i)
        xml += "<e n='" + std::to_string(i) + "'>word</e>";
    return xml + "</r>";
}

class Shards : public ::testing::Test {
protected:
    void SetUp() override {
        if (!support::DatabaseServer::canHaveShards()) GTEST_SKIP() << "PL/Proxy is not installed";
        ::setenv("VEXA_SHARDS", std::to_string(shards).c_str(), 1);
        collection.emplace(serverEngines().front());
        collection->load({{"one", xmlOf(100)}, {"two", xmlOf(200)}, {"three", xmlOf(300)}});
    }
    void TearDown() override { ::unsetenv("VEXA_SHARDS"); }

    static support::DatabaseServer &coordinator() { return support::DatabaseServer::ofProcess(); }
    static support::DatabaseServer &shard(std::size_t number) {
        return support::DatabaseServer::shardOfProcess(number);
    }

    std::string ask(const std::string &statement) {
        return coordinator().run(collection->location(), statement);
    }
    std::string askShard(std::size_t number, const std::string &statement) {
        return shard(number).run(shardLocation(collection->location(), number), statement);
    }
    std::string nameOf(std::size_t number) const {
        return support::DatabaseServer::nameOf(shardLocation(collection->location(), number));
    }
    std::string schema() { return ask("select 'z' || number from zdbs.collection"); }
    std::string rowsOn(std::size_t number) {
        return askShard(number, "select count(*) from " + schema() + ".node");
    }

    std::unique_ptr<OpenDatabase> openWithLimit(int seconds) {
        return openEngine(coordinator().urlOf(collection->location()) +
                          "&timeout=" + std::to_string(seconds))
            ->open("reader", "db");
    }

    /** The process of a shard that answered last. */
    pid_t answering(std::size_t number) {
        return std::stoi(askShard(
            number,
            "select pid from pg_stat_activity where datname = current_database() and pid "
            "<> pg_backend_pid() and query like '%zdbs.answer%' order by query_start desc"));
    }

    void awaitShard(std::size_t number) {
        for (;;) {
            try {
                askShard(number, "select 1");
                return;
            } catch (const std::runtime_error &) {
            }
        }
    }

    /** A failure of a status whose sentence names a shard; no set is made by it. */
    template <typename Call>
    void expectFailure(Call call, Status status, std::size_t number) {
        try {
            call();
            ADD_FAILURE() << "no failure";
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), status) << failure.what();
            EXPECT_NE(std::string(failure.what()).find("its shard " + nameOf(number)),
                      std::string::npos)
                << failure.what();
        }
    }

    std::optional<Collection> collection;
};

TEST_F(Shards, TakeWholeDocumentsTheEmptiestOneFirst) {
    EXPECT_EQ(rowsOn(0), "302");
    EXPECT_EQ(rowsOn(1), "602");
    EXPECT_EQ(rowsOn(2), "902");
    collection->load({{"four", xmlOf(150)}, {"five", xmlOf(1)}});
    EXPECT_EQ(rowsOn(0), "754");
    EXPECT_EQ(rowsOn(1), "607");
    EXPECT_EQ(rowsOn(2), "902");
    EXPECT_EQ(ask("select count(*) from pg_tables where tablename = 'node'"), "0");
    const auto database = collection->open();
    Finder finder(*database);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 751);
    EXPECT_EQ(finder.find(std::string("N_NAME=e"))->size(), 751);
    EXPECT_EQ(collection->administration().check("db", {}).found, 0U);
    EXPECT_GT(collection->administration().summary("db").diskBytes, 100000U);
}

TEST_F(Shards, AreDatabasesByThemselvesByTheirParts) {
    const auto part = collection->engine().open("reader", "db.2");
    EXPECT_EQ(part->everything()->size(), 901);
    Finder finder(*part);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 300);
}

TEST_F(Shards, LoseTheTablesOfADatabaseThatIsDropped) {
    const std::string name = schema();
    collection->administration().dropDatabase("db", {});
    for (std::size_t each = 0; each < shards; ++each)
        EXPECT_EQ(
            askShard(each, "select count(*) from pg_namespace where nspname = '" + name + "'"),
            "0");
}

TEST_F(Shards, OneThatEndsWhileItIsAskedIsAFailureOfOneRequest) {
    const auto database = collection->open();
    Finder finder(*database);
    finder.find(std::string("N_TVALUE=$word$"));
    // It is stopped until the request waits for it, and ended then.
    const pid_t process = answering(1);
    ASSERT_EQ(::kill(process, SIGSTOP), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const std::string waits =
            "select count(*) from pg_stat_activity where state = 'active' and query like "
            "'%zdbs.ask%' and pid <> pg_backend_pid()";
        while (ask(waits) == "0") {
        }
        ::kill(process, SIGKILL);
        ::_exit(0);
    }
    expectFailure([&] { finder.find(std::string("N_TVALUE=$words$")); }, Status::databaseLost, 1);
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(finder.sets().size(), 1U);
    // The rest of that server is gone with it for a moment.
    awaitShard(1);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 600);
}

TEST_F(Shards, OneThatIsDownIsAFailureUntilItIsBack) {
    const auto database = collection->open();
    Finder finder(*database);
    const ResultSetPtr before = finder.find(std::string("N_TVALUE=$word$"));
    shard(2).kill();
    const auto search = [&] { finder.find(std::string("N_TVALUE=$words$")); };
    EXPECT_NE(statusOf(search), Status::ok) << "at the latest then the connection is found lost";
    expectFailure(search, Status::serverUnreachable, 2);
    expectFailure([&] { recordsOf(*database, *before); }, Status::serverUnreachable, 2);
    expectFailure([&] { collection->open(); }, Status::serverUnreachable, 2);
    expectFailure([&] { collection->load({{"x", "<r/>"}}); }, Status::serverUnreachable, 2);
    EXPECT_EQ(finder.sets().size(), 1U);
    shard(2).start();
    EXPECT_EQ(finder.find(std::string("S=1"))->size(), 600);
    EXPECT_EQ(recordsOf(*database, *before).size(), 600U);
}

TEST_F(Shards, OneThatHangsIsLeftAfterTheLimit) {
    const auto database = openWithLimit(1);
    Finder finder(*database);
    finder.find(std::string("N_TVALUE=$word$"));
    const pid_t process = answering(1);
    ASSERT_EQ(::kill(process, SIGSTOP), 0);
    expectFailure([&] { finder.find(std::string("N_TVALUE=$words$")); }, Status::databaseSlow, 1);
    ::kill(process, SIGCONT);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 600);
}

TEST_F(Shards, OneThatTakesConnectionsAndSaysNothingIsLeftAfterTheLimit) {
    const auto database = openWithLimit(1);
    Finder finder(*database);
    finder.find(std::string("N_TVALUE=$word$"));
    const pid_t process = answering(0);
    const pid_t server = shard(0).process();
    ASSERT_EQ(::kill(server, SIGSTOP), 0);
    ASSERT_EQ(::kill(process, SIGSTOP), 0);
    const auto search = [&] { finder.find(std::string("N_TVALUE=$words$")); };
    expectFailure(search, Status::databaseSlow, 0);
    expectFailure(search, Status::databaseSlow, 0);
    ::kill(process, SIGCONT);
    ::kill(server, SIGCONT);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 600);
}

TEST_F(Shards, OneThatTakesNoConnectionsIsUnreachable) {
    shard(1).createDatabase(collection->location() + " beside");
    const auto allow = [&](const std::string &whether) {
        shard(1).run(collection->location() + " beside",
                     "alter database " + nameOf(1) + " allow_connections " + whether);
    };
    allow("false");
    expectFailure([&] { collection->open(); }, Status::serverUnreachable, 1);
    allow("true");
    EXPECT_NE(collection->open(), nullptr);
}

TEST_F(Shards, OneThatComesBackFromAnOlderCopyIsAFailureAndNoSmallerCount) {
    const std::string data = shard(0).folder() + "/data";
    shard(0).kill();
    ASSERT_EQ(std::system(("cp -a " + data + " " + data + ".old").c_str()), 0);
    shard(0).start();
    collection->load({{"four", xmlOf(400)}});
    const auto database = collection->open();
    Finder finder(*database);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 1000);
    shard(0).kill();
    ASSERT_EQ(std::system(("rm -r " + data + " && mv " + data + ".old " + data).c_str()), 0);
    shard(0).start();
    const auto search = [&] { finder.find(std::string("N_TVALUE=$word$")); };
    EXPECT_NE(statusOf(search), Status::ok) << "at the latest then the connection is found lost";
    expectFailure(search, Status::homeDamaged, 0);
    expectFailure([&] { collection->open(); }, Status::homeDamaged, 0);
    expectFailure([&] { collection->load({{"five", "<r/>"}}); }, Status::homeDamaged, 0);
    EXPECT_EQ(finder.sets().size(), 1U);
}

TEST_F(Shards, ThatAreOfAnotherHomeOrTwiceThereAreFailures) {
    const auto database = collection->open();
    Finder finder(*database);
    const auto address = [&](std::size_t number) {
        return ask(
            "select option_value from pg_foreign_server s, lateral "
            "pg_options_to_table(s.srvoptions) where option_name = 'p" +
            std::to_string(number) + "'");
    };
    const auto move = [&](std::size_t number, const std::string &to) {
        std::string quoted;
        for (const char each : to)
            quoted += each == '\'' ? "''" : std::string(1, each);
        ask("alter server zdbs options (set p" + std::to_string(number) + " '" + quoted + "')");
    };
    const std::string first = address(0);
    const std::string second = address(1);
    move(0, second);
    move(1, first);
    EXPECT_EQ(collection->open()->everything()->size(), 1803) << "each knows its number";
    const auto search = [&] { finder.find(std::string("N_TVALUE=$word$")); };
    EXPECT_EQ(statusOf(search), Status::homeDamaged) << "somebody moves them under the session";
    move(1, second);
    EXPECT_EQ(statusOf([&] { collection->open(); }), Status::homeDamaged);
    EXPECT_EQ(statusOf(search), Status::homeDamaged);
    move(0, first);
    Collection other(serverEngines().front());
    const std::string foreign = coordinator().run(
        other.location(),
        "select option_value from pg_foreign_server s, lateral pg_options_to_table(s.srvoptions) "
        "where option_name = 'p1'");
    move(1, foreign);
    EXPECT_EQ(statusOf([&] { collection->open(); }), Status::homeDamaged);
    EXPECT_EQ(statusOf(search), Status::homeDamaged);
    move(1, second);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 600);
}

/** Each time in another moment; readers see all of a load or nothing. */
TEST_F(Shards, KeepNothingThatCountsOfALoaderThatIsKilled) {
    std::mt19937 random(7);
    const auto reader = collection->open();
    std::int64_t expected = 600;
    int complete = 0;
    for (int round = 0; round < 20; ++round) {
        const pid_t child = ::fork();
        if (child == 0) {
            const auto administration = serverEngines().front().administer(collection->location());
            const auto load = administration->load("db", {});
            for (int i = 0; i < 12; ++i)
                tellXml(*load, {std::to_string(round) + "/" + std::to_string(i), xmlOf(100)});
            load->commit();
            ::_exit(0);
        }
        ::usleep(random() % 300000);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        // The next loader waits until the servers have noticed.
        collection->load({{"after" + std::to_string(round), xmlOf(10)}});
        reader->refresh({});
        Finder finder(*reader);
        const std::int64_t found = finder.find(std::string("N_TVALUE=$word$"))->size();
        EXPECT_TRUE(found == expected + 10 || found == expected + 1210) << found;
        complete += found == expected + 10 ? 0 : 1;
        expected = found;
    }
    EXPECT_LT(complete, 20);
    EXPECT_EQ(collection->administration().check("db", {}).found, 0U);
    RecordProperty("complete", complete);
}

/** What a loader leaves that is killed between the commits of the shards and that of the home. */
TEST_F(Shards, KeepRowsThatNoDocumentHasUntilTheNextLoadOnly) {
    const std::string columns = "doc + 302, path, parent + 302, last + 302, ord, num, value, a1";
    for (const int part : {0, 3})
        askShard(0, "insert into " + schema() +
                        ".node (part, id, doc, path, parent, last, ord, num, "
                        "value, a1) select " +
                        std::to_string(part) + ", id + 302, " + columns + " from " + schema() +
                        ".node where part = 0 and id < 302");
    const auto database = collection->open();
    Finder finder(*database);
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 600);
    EXPECT_EQ(finder.find(std::string("XPATH(PARENT,1,0,2)"))->size(), 600);
    EXPECT_EQ(recordsOf(*database, *finder.sets()[0]).size(), 600U);
    EXPECT_EQ(rowsOn(0), "906");
    collection->load({{"four", xmlOf(50)}});
    EXPECT_EQ(rowsOn(0), "454");
    database->refresh({});
    EXPECT_EQ(finder.find(std::string("N_TVALUE=$word$"))->size(), 650);
    EXPECT_EQ(collection->administration().check("db", {}).found, 0U);
}

TEST_F(Shards, OneThatEndsDuringALoadIsAFailureOfTheLoad) {
    const auto reader = collection->open();
    {
        const auto load = collection->administration().load("db", {});
        tellXml(*load, {"four", xmlOf(100)});
        tellXml(*load, {"five", xmlOf(100)});
        load->removeDocument("two");
        shard(1).kill();
        expectFailure([&] { load->commit(); }, Status::databaseLost, 1);
    }
    shard(1).start();
    const auto database = collection->open();
    EXPECT_EQ(database->everything()->size(), 1803);
    collection->load({{"four", xmlOf(100)}});
    EXPECT_EQ(collection->open()->everything()->size(), 2104);
    EXPECT_EQ(collection->administration().check("db", {}).found, 0U);
}

TEST_F(Shards, AreGivenHostileLiteralsAsTheyAreWritten) {
    const std::vector<std::string> literals = {"'",     "''", "\\", "\\\\",  "\"",   "{",    "}",
                                               ",",     "{}", "$1", "$$",    "null", "NULL", "a,b",
                                               "\"a\"", "%",  "_",  "a\\\"", "]",    "1e3"};
    std::string xml = "<r>";
    for (const std::string &each : literals)
        xml += "<t>" + each + "</t>";
    collection->load({{"hostile", xml + "</r>"}});
    const auto database = collection->open();
    Finder finder(*database);
    for (const std::string &each : literals) {
        Condition condition;
        condition.conjuncts.emplace_back().push_back(
            {false, FieldTerm{Field::value, Relation::equal, each}});
        EXPECT_EQ(finder.find(condition)->size(), 1) << each;
    }
}

/** Rows that shards have sent for each statement, as the server wrote down what it did. */
std::vector<int> rowsSent(const std::string &log, std::size_t from) {
    std::ifstream file(log);
    file.seekg(static_cast<std::streamoff>(from));
    static const std::regex scan("Function Scan on ask .*actual time=.* rows=([0-9]+) ");
    std::vector<int> rows;
    std::smatch found;
    for (std::string line; std::getline(file, line);) {
        if (std::regex_search(line, found, scan)) rows.push_back(std::stoi(found[1]));
    }
    return rows;
}

/** Whatever a condition asks of the nodes, what travels are counts. */
TEST_F(Shards, SendCountsAndNoNodesForConditions) {
    const std::string name = support::DatabaseServer::nameOf(collection->location());
    for (const char *setting :
         {"session_preload_libraries = 'auto_explain'", "auto_explain.log_min_duration = 0",
          "auto_explain.log_analyze = on"})
        ask("alter database " + name + " set " + setting);
    const auto database = collection->open();
    Finder finder(*database);
    const std::string log = coordinator().folder() + "/log";
    const char *conditions[] = {
        "N_NAME=e",                          // 1: whole paths
        "N_TVALUE=$ord$",                    // 2: values
        "N_ID>10 AND N_TVALUE=$word$",       // 3: rows
        "N_TYPE=ATTRIBUTE AND N_TVALUE<50",  // 4: numbers
        "XPATH(PARENT,3,1,2)",               // 5: those that meet
        "XPATH(ATTRIBUTE,1,4,1)",            // 6
        "XPATH(FOLLOWING-SIBLING,6,1,2)",    // 7: bounds
        "XPATH(PRECEDING-SIBLING,1,6,1)",    // 8
        "XPATH(FOLLOWING,6,1,2)",            // 9
        "S=6 AND S=5 NOT S=7",               // 10: and, or, not
        "S=5 OR S=6 OR S=3",                 // 11
        "XPATH(CHILD,5,3,2)",                // 12
        "XPATH(SELF,12,12,1,EQ,1)",          // 13: places
        "XPATH(SELF,7,7,1,LT,3)",            // 14
    };
    std::size_t asked = 0;
    for (const char *condition : conditions) {
        const std::size_t begin = std::filesystem::file_size(log);
        std::int64_t found = 0;
        ASSERT_NO_THROW(found = finder.find(std::string(condition))->size()) << condition;
        for (const int rows : rowsSent(log, begin)) {
            EXPECT_LE(rows, 30) << condition << " finds " << found;
            ++asked;
        }
    }
    EXPECT_GT(asked, 10U);
    const std::size_t begin = std::filesystem::file_size(log);
    EXPECT_EQ(recordsOf(*database, *finder.sets()[1]).size(), 600U);
    EXPECT_EQ(rowsSent(log, begin), std::vector<int>{600}) << "records are what was asked for";
}

TEST(ShardSetting, IsAddressesOfDatabasesOfDifferentNames) {
    if (!support::DatabaseServer::canHaveShards()) GTEST_SKIP() << "PL/Proxy is not installed";
    support::DatabaseServer &server = support::DatabaseServer::ofProcess();
    server.createDatabase("settings");
    const std::string location = server.urlOf("settings");
    const auto made = [&](const std::string &setting) {
        ::setenv("ZDBS_SHARDS", setting.c_str(), 1);
        std::string sentence;
        try {
            makeLocation(location);
        } catch (const Failure &failure) {
            sentence = failure.what();
        }
        ::unsetenv("ZDBS_SHARDS");
        return sentence;
    };
    const std::string begin = "The setting ZDBS_SHARDS cannot have this value: ";
    EXPECT_EQ(made("postgresql://h/a postgresql://i/a"), begin + "two databases are called a.");
    EXPECT_EQ(made("postgresql://h"), begin + "each address names a database.");
    EXPECT_EQ(made("host"), begin + "it is no address of a database server.");
    EXPECT_EQ(made("postgresql://u:geheim@h/a"),
              begin + "a password has no place in it; ~/.pgpass or the file of PGPASSFILE has.");
    EXPECT_NE(made("postgresql:///a?host=/nowhere").find("The server cannot be reached"),
              std::string::npos);
    server.createDatabase("shard of settings");
    const std::string shard = server.urlOf("shard of settings");
    EXPECT_NE(made(shard + " postgresql:///a?host=/nowhere").find("cannot be reached"),
              std::string::npos);
    EXPECT_EQ(made(shard), "") << "what failed before has left nothing";
    server.createDatabase("other settings");
    const std::string first = location;
    ::setenv("ZDBS_SHARDS", shard.c_str(), 1);
    EXPECT_EQ(statusOf([&] { makeLocation(server.urlOf("other settings")); }), Status::homeExists);
    ::unsetenv("ZDBS_SHARDS");
}

}  // namespace
}  // namespace zdbs::conformance
