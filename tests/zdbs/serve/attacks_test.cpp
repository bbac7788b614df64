/** What clients send that mean no good. */
#include <poll.h>
#include <sys/resource.h>

#include <algorithm>

#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class Attacks : public ::testing::Test {
protected:
    /** What comes back, to the end of the connection. */
    std::string all(std::string_view bytes) const {
        HttpClient client(server.address());
        client.send(bytes);
        return client.readToEnd().value_or("no end");
    }

    ServedHome home;
    Server server{home, {"--idle", "2", "--stall", "2"}};
};

/** A second request that only shows where somebody takes the body to end elsewhere. */
constexpr std::string_view smuggled = "GET /healthz HTTP/1.1\r\nHost: b\r\n\r\n";

TEST_F(Attacks, ThatHideARequestInABodyAreRefusedAndTheConnectionEnds) {
    const std::string begin = "PUT /v1/databases/plays/documents/a HTTP/1.1\r\nHost: a\r\n" +
                              loginOf("writer") + "Content-Type: application/xml\r\n";
    const std::vector<std::string> framings = {
        "Content-Length: 4\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
        "Transfer-Encoding: chunked\r\nContent-Length: 4\r\n\r\n0\r\n\r\n",
        "Content-Length: 0\r\nContent-Length: 36\r\n\r\n",
        "Content-Length: 4, 4\r\n\r\n<a/>",
        "Content-Length : 4\r\n\r\n<a/>",
        "Content-Length: +4\r\n\r\n<a/>",
        "Content-Length: -1\r\n\r\n",
        "Content-Length: 0x4\r\n\r\n<a/>",
        "Content-Length: 99999999999999999999\r\n\r\n<a/>",
        "Transfer-Encoding: xchunked\r\n\r\n0\r\n\r\n",
        "Transfer-Encoding: identity, chunked\r\n\r\n0\r\n\r\n",
        "Transfer-Encoding: chunked\r\nTransfer-Encoding: identity\r\n\r\n0\r\n\r\n",
        "Transfer-Encoding : chunked\r\n\r\n0\r\n\r\n",
        "Transfer-Encoding: chunked\r\n\r\nzz\r\n<a/>\r\n0\r\n\r\n",
        "Transfer-Encoding: chunked\r\n\r\nffffffffffffffffff\r\n<a/>\r\n0\r\n\r\n",
        "Host: c\r\nContent-Length: 4\r\n\r\n<a/>",
        "Content-Length:\r\n 4\r\n\r\n<a/>",
        "Content-Length: 4\r\n 2\r\n\r\n<a/>",
        "Transfer-Encoding:\r\n\tchunked\r\n\r\n0\r\n\r\n",
        "X: a\r\n Content-Length: 4\r\n\r\n<a/>",
        "X: a\rContent-Length: 4\r\n\r\n<a/>",
        "X: a\nContent-Length: 4\nContent-Length: 5\n\n<a/>",
    };
    for (const std::string &framing : framings) {
        const std::string back = all(begin + framing + std::string(smuggled));
        EXPECT_THAT(back, StartsWith("HTTP/1.1 4")) << framing;
        EXPECT_THAT(back, Not(HasSubstr("HTTP/1.1 2"))) << framing;
    }
    EXPECT_EQ(server.get("/v1/databases/plays/documents", "reader", "Accept: text/plain\r\n").body,
              "");
}

TEST_F(Attacks, WithoutAHostOrWithTwoAreRefused) {
    EXPECT_THAT(all("GET /healthz HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 400"));
    EXPECT_THAT(all("GET /healthz HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n"),
                StartsWith("HTTP/1.1 400"));
}

TEST_F(Attacks, OnPathsLeadNowhere) {
    home.file("secret", "<secret/>");
    for (const char *target :
         {"/v1/databases/../users", "/v1/databases/%2e%2e/users", "/v1/databases/..%2Fusers",
          "/v1/databases/plays/documents/..%2F..%2Fusers", "/v1/databases/plays%00",
          "/v1/databases/plays/documents/%2Fetc%2Fpasswd", "/v1/databases/plays/documents/../a",
          "/v1/databases/.", "/v1/databases//", "/v1/databases/%c0%ae%c0%ae/users",
          "/v1/databases/%ff", "/v1/databases/*", "//v1/databases", "/v1/databases/plays/..%5c"}) {
        const Response response = server.get(target);
        EXPECT_TRUE(response.status == 400 || response.status == 404)
            << target << ' ' << response.status;
    }
    for (const char *name : {"..%2Fescaped", "%2Ftmp%2Fescaped", "a%2F..%2F..%2Fescaped", "a%00b"})
        EXPECT_EQ(
            server.send("PUT", "/v1/databases/plays/documents/" + std::string(name), "<a/>").status,
            400U)
            << name;
}

TEST_F(Attacks, ByLongHeadersAndTargetsAreRefused) {
    const std::string large(200000, 'a');
    EXPECT_THAT(all("GET /healthz HTTP/1.1\r\nHost: a\r\nX: " + large + "\r\n\r\n"),
                StartsWith("HTTP/1.1 431"));
    EXPECT_THAT(all("GET /" + large + " HTTP/1.1\r\nHost: a\r\n\r\n"), StartsWith("HTTP/1.1 414"));
    std::string many = "GET /healthz HTTP/1.1\r\nHost: a\r\n";
    for (int i = 0; i < 20000; ++i)
        many += "a:b\r\n";
    EXPECT_THAT(all(many + "\r\n"), StartsWith("HTTP/1.1 431"));
}

TEST_F(Attacks, BySlowSendersEndByThemselves) {
    for (const std::string &part :
         {std::string(), std::string("GET /hea"),
          std::string("GET /healthz HTTP/1.1\r\nHost: a\r\nX: "),
          "PUT /v1/databases/plays/documents/a HTTP/1.1\r\nHost: a\r\n" + loginOf("writer") +
              "Content-Type: application/xml\r\n"
              "Content-Length: 100\r\n\r\n<a>"}) {
        HttpClient client(server.address());
        client.send(part);
        EXPECT_TRUE(client.readToEnd()) << part;
    }
    EXPECT_GE(server.metric("zdbs_slow_connections_total"), 4);
}

TEST_F(Attacks, ByHeadersThatComeByteByByteEndAtTheTimeOfOne) {
    HttpClient client(server.address());
    client.send("GET /healthz HTTP/1.1\r\nHost: a\r\nX: ");
    pollfd end = {client.socket(), POLLIN, 0};
    constexpr int tenth = 100;
    int sent = 0;
    while (client.send("a") && ::poll(&end, 1, tenth) == 0)
        ++sent;
    EXPECT_EQ(client.readToEnd().value_or("no end"), "");
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, 600);
}

TEST_F(Attacks, WithPackedBodiesAreRefused) {
    const Response response =
        server.send("PUT", "/v1/databases/plays/documents/a", "\x1f\x8b", "application/xml",
                    "writer", "Content-Encoding: gzip\r\n");
    EXPECT_EQ(response.status, 415U);
}

TEST_F(Attacks, BySlowReadersEndByThemselves) {
    EXPECT_EQ(server.send("PUT", "/v1/databases/plays/documents/a", manyElements(600000)).status,
              201U);
    HttpClient client(server.address());
    client.send(requestText("GET", "/v1/databases/plays/documents/a", loginOf("reader")));
    EXPECT_TRUE(server.awaitMetric("zdbs_slow_connections_total", 1));
    EXPECT_FALSE(client.receive().isWhole);
    EXPECT_TRUE(server.awaitMetric("zdbs_requests_running", 1));
    EXPECT_EQ(server.metric("zdbs_requests_running"), 1) << "the one that asks";
}

TEST_F(Attacks, ByRequestsBehindEachOtherAreAnsweredInOrder) {
    HttpClient client(server.address());
    const std::string login = loginOf("reader");
    std::string text;
    for (int i = 0; i < 50; ++i)
        text += requestText("GET", i % 2 == 0 ? "/healthz" : "/v1/databases", login);
    client.send(text);
    for (int i = 0; i < 50; ++i) {
        const Response response = client.receive();
        EXPECT_EQ(response.status, 200U);
        EXPECT_EQ(response.body == "ok\n", i % 2 == 0) << i;
    }
}

TEST_F(Attacks, ThatSendABodyWithWhatTakesNoneAreRefused) {
    HttpClient client(server.address());
    const Response response =
        client.ask(requestText("GET", "/v1/databases", loginOf("reader"), smuggled));
    EXPECT_EQ(response.status, 400U);
    EXPECT_EQ(client.ask(requestText("GET", "/v1/none", loginOf("reader"))).status, 404U);
}

TEST_F(Attacks, OfAnotherLanguageEndTheConnection) {
    EXPECT_THAT(all(std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n", 15)),
                Not(HasSubstr(" 200 ")));
    EXPECT_THAT(all("GET /healthz HTTP/3.0\r\nHost: a\r\n\r\n"), StartsWith("HTTP/1.1 505"));
}

TEST_F(Attacks, ByNumbersAsLargeAsTheyGetFindTheEndOfWhatThereIs) {
    server.send("PUT", "/v1/databases/plays/documents/a", "<a><b/><b/><b/></a>");
    const std::string largest = "18446744073709551615";
    for (const char *request :
         {"query?q=//b", "query?q=//b&excerpt=9", "xpath?q=//b", "xpath?q=//b&excerpt=9",
          "values?q=//b", "export?q=//b&spec=/", "around?node=1"}) {
        const std::string target = "/v1/databases/plays/" + std::string(request);
        for (const std::string &rest :
             {"&limit=" + largest, "&offset=1&limit=" + largest, "&offset=" + largest,
              "&offset=" + largest + "&limit=" + largest}) {
            const Response response = server.get(target + rest);
            EXPECT_EQ(response.status, 200U) << target << rest << response.body;
            EXPECT_TRUE(response.isWhole) << target << rest;
        }
        for (const char *rest : {"&limit=18446744073709551616", "&offset=-1", "&limit=1e3",
                                 "&limit=", "&limit=%2B1", "&offset=0x1"})
            EXPECT_EQ(server.get(target + rest).status, 400U) << target << rest;
    }
    EXPECT_EQ(server
                  .get("/v1/databases/plays/query?q=//b&fields=path&offset=1&limit=" + largest,
                       "reader", "Accept: text/plain\r\n")
                  .body,
              "/a[1]/b[2]\n/a[1]/b[3]\n");
}

TEST_F(Attacks, ThroughDocumentsStayText) {
    server.send("PUT", "/v1/databases/plays/documents/a",
                "<a>&lt;script&gt;alert(1)&lt;/script&gt;</a>");
    const Response response = server.get("/v1/databases/plays/query?q=//a&fields=value", "reader",
                                         "Accept: text/plain\r\n");
    EXPECT_EQ(response.body, "<script>alert(1)</script>\n");
    EXPECT_EQ(response.fields.at("x-content-type-options"), "nosniff");
    EXPECT_THAT(response.fields.at("content-security-policy"), HasSubstr("default-src 'none'"));
}

/** As many as the descriptors of this process and of the server allow, up to ten thousand. */
TEST(IdleConnections, OfThousandsCostNoThread) {
    rlimit open{};
    ::getrlimit(RLIMIT_NOFILE, &open);
    open.rlim_cur = open.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &open);
    const std::size_t count = std::min<std::size_t>(10000, open.rlim_max / 2 - 300);
    const ServedHome home;
    Server server(home);
    std::vector<std::unique_ptr<HttpClient>> idle;
    for (std::size_t i = 0; i < count; ++i) {
        idle.push_back(std::make_unique<HttpClient>(server.address()));
        ASSERT_TRUE(idle.back()->isOpen()) << i;
    }
    EXPECT_TRUE(server.awaitMetric("zdbs_connections", static_cast<double>(count)));
    for (const std::size_t each : {std::size_t{0}, count / 2, count - 1})
        EXPECT_EQ(idle[each]->ask(requestText("GET", "/healthz")).status, 200U) << each;
    const std::string status =
        support::readFile("/proc/" + std::to_string(server.program().pid()) + "/status");
    const std::size_t place = status.find("Threads:");
    EXPECT_LT(std::strtoul(status.c_str() + place + 8, nullptr, 10), 100U);
    std::printf("%zu connections\n", count);
}

}  // namespace
}  // namespace zdbs::serve
