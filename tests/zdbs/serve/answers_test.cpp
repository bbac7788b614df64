/** What is answered, in every form. */
#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr std::string_view play =
    "<play><title>Hamlet</title><speech n=\"1\">Words, words</speech>"
    "<speech n=\"2\">List &amp; &lt;b&gt;</speech><empty/></play>";

class Answers : public ::testing::Test {
protected:
    struct World {
        ServedHome home;
        std::unique_ptr<Server> server;
    };

    static void SetUpTestSuite() {
        world_ = std::make_unique<World>();
        world_->home.run({"load", "plays", world_->home.file("h.xml", play)});
        world_->server = std::make_unique<Server>(world_->home);
    }
    static void TearDownTestSuite() { world_ = nullptr; }

    const Server &server() const { return *world_->server; }

    static std::unique_ptr<World> world_;
};

std::unique_ptr<Answers::World> Answers::world_;

struct Fact {
    const char *target;  ///< behind /v1/databases/plays
    const char *accept;
    const char *body;
};

TEST_F(Answers, AreInTheFormThatIsAskedFor) {
    const std::vector<Fact> facts = {
        {"/query?q=//title", "",
         "{\"database\":\"plays\",\"state\":1,\"request\":\"//title\",\"records\":1,\"hits\":1,"
         "\"offset\":0,\"limit\":100,\"nodes\":[{\"id\":2,\"document\":\"h.xml\","
         "\"path\":\"/play[1]/title[1]\",\"value\":\"Hamlet\"}]}\n"},
        {"/query?q=//speech&fields=id,value&limit=1&offset=1&notes=false", "application/json",
         "{\"database\":\"plays\",\"state\":1,\"request\":\"//speech\",\"records\":2,\"hits\":2,"
         "\"offset\":1,\"limit\":1,\"nodes\":[{\"id\":7,\"value\":\"List & <b>\"}]}\n"},
        {"/query?q=//speech&fields=path,value", "text/csv",
         "path,value\r\n/play[1]/speech[1],\"Words, words\"\r\n/play[1]/speech[2],List & "
         "<b>\r\n"},
        {"/query?q=//speech", "text/plain", "Words, words\nList & <b>\n"},
        {"/query?q=//speech&fields=id&offset=1", "text/plain", "7\n"},
        {"/query?q=//speech&fields=id,value&limit=1", "application/xml",
         "<nodes database=\"plays\" state=\"1\" records=\"2\">\n<node id=\"4\">Words, "
         "words</node>\n</nodes>\n"},
        {"/query?q=//speech&fields=id&limit=1", "text/xml",
         "<nodes database=\"plays\" state=\"1\" records=\"2\">\n<node id=\"4\"/>\n</nodes>\n"},
        {"/query?q=FIND%20N_NAME=%22title%22&fields=id", "text/plain", "2\n"},
        {"/query?q=//none", "text/plain", ""},
        {"/xpath?q=count(//speech)", "",
         "{\"database\":\"plays\",\"state\":1,\"request\":\"count(//speech)\","
         "\"type\":\"number\",\"value\":\"2\"}\n"},
        {"/xpath?q=//speech%5B2%5D/@n", "text/plain", "2\n"},
        {"/xpath?q=$x&variable=x=a%3Cb", "application/xml",
         "<value type=\"string\">a&lt;b</value>\n"},
        {"/xpath?q=/", "text/plain", "1\n"},
        {"/values?q=//@n", "",
         "{\"database\":\"plays\",\"state\":1,\"request\":\"//@n\",\"records\":2,\"distinct\":2,"
         "\"values\":[{\"value\":\"1\",\"count\":1},{\"value\":\"2\",\"count\":1}]}\n"},
        {"/values?q=//@n&offset=1&order=count", "text/csv", "count,value\r\n1,2\r\n"},
        {"/export?q=//title&spec=/", "",
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<vexa:export "
         "xmlns:vexa=\"urn:vexa:export\" matches=\"1\">\n<fragment document=\"h.xml\" "
         "path=\"/play[1]/title[1]\"><title>Hamlet</title></fragment>\n</vexa:export>\n"},
        {"/query?q=//title%5Bcontains(.,'am')%5D&excerpt=4&notes=false", "",
         "{\"database\":\"plays\",\"state\":1,\"request\":\"//title[contains(.,'am')]\","
         "\"records\":1,\"hits\":1,\"offset\":0,\"limit\":100,\"nodes\":[{\"id\":2,"
         "\"document\":\"h.xml\",\"path\":\"/play[1]/title[1]\","
         "\"excerpt\":{\"pieces\":[\"H\",\"am\",\"l\"],\"isCut\":true}}]}\n"},
        {"/xpath?q=//@n&fields=id&excerpt=9&offset=1", "",
         "{\"database\":\"plays\",\"state\":1,\"request\":\"//@n\",\"type\":\"nodes\","
         "\"records\":2,\"offset\":1,\"limit\":100,\"nodes\":[{\"id\":8,"
         "\"excerpt\":{\"pieces\":[\"2\"],\"isCut\":false}}]}\n"},
        {"/around?node=8&excerpt=2&q=//speech%5B@n=2%5D", "",
         "{\"database\":\"plays\",\"state\":1,\"node\":8,\"document\":\"h.xml\",\"line\":["
         "{\"id\":1,\"path\":\"/play[1]\",\"excerpt\":{\"pieces\":[\"Ha\"],\"isCut\":true},"
         "\"place\":0,\"children\":4,\"attributes\":[]},"
         "{\"id\":7,\"path\":\"/play[1]/speech[2]\",\"excerpt\":{\"pieces\":[\"Li\"],"
         "\"isCut\":true},\"place\":2,\"children\":1,\"attributes\":[{\"id\":8,"
         "\"path\":\"/play[1]/speech[2]/@n\",\"excerpt\":{\"pieces\":[\"\",\"2\"],"
         "\"isCut\":false}}]}],\"offset\":0,\"limit\":100,\"nodes\":[{\"id\":9,"
         "\"path\":\"/play[1]/speech[2]/text()[1]\",\"excerpt\":{\"pieces\":[\"Li\"],"
         "\"isCut\":true},\"place\":0,\"children\":0,\"attributes\":[]}]}\n"},
        {"/documents", "text/plain", "h.xml\n"},
        {"/documents/h.xml", "", nullptr},
    };
    for (const auto &[target, accept, body] : facts) {
        const std::string field = *accept == '\0' ? "" : "Accept: " + std::string(accept) + "\r\n";
        const Response response =
            server().get("/v1/databases/plays" + std::string(target), "reader", field);
        EXPECT_EQ(response.status, 200U) << target << response.body;
        EXPECT_EQ(response.body, body == nullptr ? std::string(play) + '\n' : body) << target;
        EXPECT_TRUE(response.isWhole) << target;
        EXPECT_EQ(response.fields.at("etag").substr(0, 2), "\"1") << target;
    }
}

TEST_F(Answers, ToExpressionsHaveNotesAndExplanations) {
    const std::string place = "/v1/databases/plays/xpath";
    const std::string note =
        "\"notes\":[\"Column 3: No element of this database is named spech; the "
        "nearest is speech.\"]";
    EXPECT_THAT(server().get(place + "?q=//spech").body, HasSubstr(note));
    EXPECT_THAT(server().get(place + "?q=//spech&notes=false").body, Not(HasSubstr("notes")));
    EXPECT_EQ(server().get(place + "?q=//spech", "reader", "Accept: text/plain\r\n").body, "");
    const Response response = server().get(place + "/explain?q=//speech%5B@n=$x%5D&variable=x=2");
    EXPECT_THAT(response.body, HasSubstr("\"type\":\"nodes\",\"expression\":\"/descendant::speech["
                                         "(attribute::n = \\\"2\\\")]\",\"parts\":[{\"part\":"));
    EXPECT_THAT(response.body, HasSubstr("\"way\":\"step\",\"nodes\":1,"));
    EXPECT_EQ(response.fields.at("x-state"), "1");
    EXPECT_THAT(server().get(place + "/explain?q=//spech").body, HasSubstr(note));
    EXPECT_EQ(server().get(place + "/explain?q=//a%5B").status, 400U);
}

TEST_F(Answers, MarkHitsWhereThatIsAskedFor) {
    const Response response = server().get(
        "/v1/databases/plays/export?q=//title%5Bcontains(.,'am')%5D&spec=/&highlight=true");
    EXPECT_THAT(response.body, HasSubstr("H<vexa:hit>am</vexa:hit>let")) << response.body;
}

/** The first one is longer than what is told in vain behind an excerpt. */
TEST(AnswersWithExcerpts, GoOnBehindNodesOfAnyLength) {
    const ServedHome home;
    const std::string text = "<l><a>" + std::string(200000, 'x') + "<b/>y</a><a>z</a></l>";
    home.run({"load", "plays", home.file("long.xml", text)});
    const Server server(home);
    const Response response = server.get("/v1/databases/plays/query?q=//a&excerpt=2&fields=id");
    EXPECT_THAT(response.body,
                HasSubstr("{\"id\":2,\"excerpt\":{\"pieces\":[\"xx\"],\"isCut\":true}},"
                          "{\"id\":6,\"excerpt\":{\"pieces\":[\"z\"],\"isCut\":false}}]"));
}

struct Refusal {
    const char *target;
    unsigned status;
    const char *detail;  ///< a part of it
    const char *accept = "";
};

TEST_F(Answers, ThatCannotBeGivenAreProblemsWithTheKernelsNumber) {
    const std::vector<Refusal> refusals = {
        {"/v1/databases/plays/query", 400, "\"number\":202"},
        {"/v1/databases/plays/query?q=//a%5B", 400, "\"number\":206"},
        {"/v1/databases/plays/query?q=XFIND%20//a", 400, "\"number\":206"},
        {"/v1/databases/plays/query?q=FIND%20N_X=1", 400, "\"number\":106"},
        {"/v1/databases/plays/query?q=//a&limit=x", 400, "\"number\":114"},
        {"/v1/databases/plays/query?q=//a&limit=-1", 400, "limit"},
        {"/v1/databases/plays/query?q=//a&limit=99999999999999999999", 400, "limit"},
        {"/v1/databases/plays/query?q=//a&fields=x", 400, "fields"},
        {"/v1/databases/plays/query?q=//a&fields=id,path", 400, "one of", "text/plain"},
        {"/v1/databases/plays/query?q=//a&notes=maybe", 400, "notes"},
        {"/v1/databases/plays/xpath?q=1%2B", 400, "\"number\":206"},
        {"/v1/databases/plays/xpath?q=1&namespace=x", 400, "namespace"},
        {"/v1/databases/plays/export?q=//a", 400, "spec"},
        {"/v1/databases/plays/export?q=//a&spec=x", 400, "\"number\":204"},
        {"/v1/databases/plays/values?q=//a&order=x", 400, "order"},
        {"/v1/databases/plays/explain?q=//a%5B", 400, "\"number\":206"},
        {"/v1/databases/plays/query?q=//a", 406, "Accept", "image/png"},
        {"/v1/databases/plays/export?q=//a&spec=/", 406, "Accept", "application/json"},
        {"/v1/databases/plays/documents/none.xml", 404, "\"number\":326"},
        {"/v1/databases/none", 404, "\"number\":20"},
        {"/v1/databases/plays/none", 404, "nothing at this place"},
        {"/v1", 404, "nothing at this place"},
        {"/page", 404, "nothing at this place"},
        {"/page/none.js", 404, "nothing at this place"},
        {"/v1/databases/plays/query?q=//a&fields=", 400, "fields"},
        {"/v1/databases/plays/query?q=//a&excerpt=x", 400, "excerpt"},
        {"/v1/databases/plays/query?q=//a&excerpt=1", 400, "excerpt", "text/csv"},
        {"/v1/databases/plays/around", 400, "\"number\":202"},
        {"/v1/databases/plays/around?node=0", 404, "\"number\":32"},
        {"/v1/databases/plays/around?node=99", 404, "\"number\":32"},
        {"/v1/databases/plays/around?node=1&q=//a%5B", 400, "\"number\":206"},
    };
    for (const auto &[target, status, detail, accept] : refusals) {
        const std::string field = *accept == '\0' ? "" : "Accept: " + std::string(accept) + "\r\n";
        const Response response = server().get(target, "reader", field);
        EXPECT_EQ(response.status, status) << target << response.body;
        EXPECT_THAT(response.body, HasSubstr(detail)) << target;
        EXPECT_THAT(response.body, StartsWith("{\"type\":\"about:blank\"")) << target;
        EXPECT_EQ(response.fields.at("content-type"), "application/problem+json") << target;
    }
}

TEST_F(Answers, AreNotSentAgainToWhoHasThem) {
    const char *target = "/v1/databases/plays/query?q=//title";
    EXPECT_EQ(server().get(target, "reader", "If-None-Match: \"1\"\r\n").status, 304U);
    EXPECT_EQ(server().get(target, "reader", "If-None-Match: W/\"7\", \"1\"\r\n").status, 304U);
    EXPECT_EQ(server().get(target, "reader", "If-None-Match: \"2\"\r\n").status, 200U);
    EXPECT_EQ(server().get(target, "reader", "If-None-Match: \"1-csv\"\r\n").status, 200U);
    EXPECT_EQ(server().get(target, "reader", "If-Match: \"1\"\r\n").status, 200U);
    EXPECT_EQ(server().get(target, "reader", "If-Match: \"2\"\r\n").status, 412U);
}

TEST_F(Answers, ToHeadHaveNoBody) {
    HttpClient client(server().address());
    client.send(requestText("HEAD", "/v1/databases/plays/documents/h.xml", loginOf("reader")));
    EXPECT_EQ(client.receive(true).status, 200U);
    EXPECT_EQ(client.ask(requestText("GET", "/healthz")).body, "ok\n") << "and nothing is left";
}

TEST_F(Answers, ToMethodsThatAPlaceDoesNotHaveAreRefusals) {
    EXPECT_EQ(server().send("PUT", "/v1/databases", "<a/>").status, 405U);
    EXPECT_EQ(server().send("BREW", "/v1/databases/plays", "").status, 405U);
    EXPECT_EQ(server().send("DELETE", "/v1/databases/hidden", "").status, 404U);
}

TEST_F(Answers, TellWhatTheServerHasDone) {
    const std::string text = server().get("/metrics").body;
    EXPECT_THAT(text, HasSubstr("# TYPE zdbs_requests_total counter\n"));
    EXPECT_THAT(text, HasSubstr("\nzdbs_request_seconds_bucket{le=\"+Inf\"} "));
    EXPECT_GE(server().metric("zdbs_requests_running"), 1);
}

}  // namespace
}  // namespace zdbs::serve
