/** What requests may take, and what becomes of those that take more. */
#include <poll.h>
#include <sys/wait.h>

#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;

class Limited : public ::testing::Test {
protected:
    void SetUp() override {
        home.run({"load", "plays", home.file("list.xml", manyElements(20000))});
    }

    std::string endless() const { return requestText("GET", endlessTarget, loginOf("reader")); }

    ServedHome home;
};

TEST_F(Limited, RequestsEndAtTheirTime) {
    Server server(home, {"--time", "1"});
    const Response response = server.get(endlessTarget);
    EXPECT_EQ(response.status, 503U);
    EXPECT_THAT(response.body, HasSubstr("took longer"));
    EXPECT_THAT(response.body, HasSubstr("\"number\":36"));
    EXPECT_EQ(server.metric("zdbs_over_time_total"), 1);
}

TEST_F(Limited, WritersWaitForOthersNoLongerThanTheirTime) {
    Server server(home, {"--time", "1"});
    const FileLock other(home.path("home") + "/databases/plays/writer.lock");
    const Response response = server.send("PUT", "/v1/databases/plays/documents/a", "<a/>");
    EXPECT_EQ(response.status, 503U);
    EXPECT_THAT(response.body, HasSubstr("took longer"));
}

TEST_F(Limited, RequestsEndWithTheirClient) {
    Server server(home, {"--time", "1000"});
    for (const bool closesAll : {true, false}) {
        HttpClient client(server.address());
        client.send(endless());
        EXPECT_TRUE(server.awaitMetric("zdbs_requests_running", 2));
        const double before = server.metric("zdbs_clients_gone_total");
        closesAll ? client.close() : client.closeSending();
        EXPECT_TRUE(server.awaitMetric("zdbs_clients_gone_total", before + 1));
        while (server.metric("zdbs_requests_running") > 1) {
        }
    }
}

/**
 * Of three that take long, one runs and one waits; whichever comes last has no place. Nor has the
 * one before, where the thread still ends what it answered.
 */
TEST_F(Limited, RequestsWaitInALineOfItsLength) {
    Server server(home, {"--threads", "1", "--line", "1", "--time", "1000", "--grace", "0"});
    server.get("/v1/databases");
    std::vector<std::unique_ptr<HttpClient>> clients;
    std::vector<pollfd> waits;
    for (int i = 0; i < 3; ++i) {
        clients.push_back(std::make_unique<HttpClient>(server.address()));
        clients.back()->send(endless());
        waits.push_back({clients.back()->socket(), POLLIN, 0});
    }
    ASSERT_THAT(::poll(waits.data(), waits.size(), 60000), AnyOf(1, 2));
    for (std::size_t i = 0; i < waits.size(); ++i) {
        if (waits[i].revents == 0) continue;
        const Response response = clients[i]->receive();
        EXPECT_EQ(response.status, 503U);
        EXPECT_EQ(response.fields.at("retry-after"), "1");
    }
    EXPECT_EQ(server.get("/healthz", "").status, 200U) << "the server is there all the same";
}

TEST_F(Limited, UsersHaveTheirShare) {
    Server server(home, {"--per-user", "1", "--time", "1000", "--grace", "0"});
    HttpClient one(server.address());
    HttpClient two(server.address());
    one.send(endless());
    two.send(endless());
    std::vector<pollfd> waits = {{one.socket(), POLLIN, 0}, {two.socket(), POLLIN, 0}};
    ASSERT_EQ(::poll(waits.data(), waits.size(), 60000), 1);
    HttpClient &refused = waits[0].revents != 0 ? one : two;
    EXPECT_EQ(refused.receive().status, 429U);
    EXPECT_EQ(server.get("/v1/databases", "writer").status, 200U);
}

TEST_F(Limited, AnswersAreBrokenOffWhereTheyAreTooLarge) {
    Server server(home, {"--result", "1"});
    EXPECT_TRUE(server.get("/v1/databases/plays/query?q=//s&limit=1000").isWhole);
    const Response large = server.get("/v1/databases/plays/query?q=//s&limit=20000");
    EXPECT_FALSE(large.isWhole);
    EXPECT_LE(large.body.size(), 1'000'000U);
}

TEST_F(Limited, MemoryOfARequestIsLimited) {
    Server server(home, {"--memory", "1"});
    if (server.log().find("counts no memory") != std::string::npos)
        GTEST_SKIP() << "this build's allocator counts nothing";
    const Response response = server.get("/v1/databases/plays/values?q=//node()");
    EXPECT_EQ(response.status, 507U) << response.body;
    EXPECT_EQ(server.metric("zdbs_over_memory_total"), 1);
    EXPECT_EQ(server.get("/v1/databases").status, 200U);
}

TEST_F(Limited, BodiesAreLimitedWhetherTheyTellTheirSizeOrNot) {
    Server server(home, {"--body", "1"});
    const std::string large = manyElements(60000);
    EXPECT_EQ(server.send("PUT", "/v1/databases/plays/documents/a", large).status, 413U);
    HttpClient client(server.unixAddress());
    client.send("PUT /v1/databases/plays/documents/a HTTP/1.1\r\nHost: a\r\n" + loginOf("writer") +
                "Content-Type: application/xml\r\nTransfer-Encoding: chunked\r\n\r\n");
    const std::string chunk = "186a0\r\n" + std::string(100000, ' ') + "\r\n";
    for (int i = 0; i < 15; ++i)
        client.send(chunk);
    client.send("0\r\n\r\n");
    EXPECT_EQ(client.receive().status, 413U);
    EXPECT_EQ(server.get("/v1/databases/plays/documents/a").status, 404U);
}

TEST_F(Limited, WhatIsUnpackedIsLimitedAsWhatIsSent) {
    Server server(home, {"--body", "1"});
    home.file("large.xml", manyElements(60000));
    const support::Command pack = {
        "tar", {"-C", home.path(""), "-czf", home.path("a.tgz"), "large.xml"}, {}, {}};
    ASSERT_EQ(support::run(pack).ending, support::exited(0));
    const std::string packed = support::readFile(home.path("a.tgz"));
    ASSERT_LT(packed.size(), 1'000'000U);
    const Response response =
        server.send("POST", "/v1/databases/plays/documents", packed, "application/x-tar");
    EXPECT_EQ(response.status, 413U) << response.body;
    EXPECT_EQ(home.run({"list", "plays"}).find("large.xml"), std::string::npos);
}

TEST_F(Limited, HeadersAreLimited) {
    Server server(home, {"--header", "4"});
    const std::string more = "X: " + std::string(6000, 'x') + "\r\n";
    EXPECT_EQ(server.get("/healthz", "", more).status, 431U);
}

/** Of so many connections, all with a request when the server looks. */
class ReadyAtOnce : public ::testing::TestWithParam<std::size_t> {};

TEST_P(ReadyAtOnce, AllAreAnswered) {
    const ServedHome home;
    Server server(home);
    std::vector<std::unique_ptr<HttpClient>> clients;
    while (clients.size() < GetParam())
        clients.push_back(std::make_unique<HttpClient>(server.address()));
    ASSERT_TRUE(server.awaitMetric("zdbs_connections", static_cast<double>(GetParam())));
    server.program().signal(SIGSTOP);
    ASSERT_EQ(::waitpid(server.program().pid(), nullptr, WUNTRACED), server.program().pid());
    for (const auto &each : clients)
        ASSERT_TRUE(each->send(requestText("GET", "/healthz")));
    server.program().signal(SIGCONT);
    for (std::size_t i = 0; i < clients.size(); ++i)
        ASSERT_EQ(clients[i]->receive().status, 200U) << i;
}

// 128 is what libmicrohttpd asks the system for.
INSTANTIATE_TEST_SUITE_P(Connections, ReadyAtOnce, ::testing::Values(127, 128, 129, 256));

}  // namespace
}  // namespace zdbs::serve
