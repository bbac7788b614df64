/** Who is let in, and what they see. */
#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class Users : public ::testing::Test {
protected:
    ServedHome home;
    Server server{home};
};

TEST_F(Users, SayWhoTheyAre) {
    HttpClient client(server.address());
    const Response response = client.ask(requestText("GET", "/v1/databases"));
    EXPECT_EQ(response.status, 401U);
    EXPECT_THAT(response.fields.at("www-authenticate"), HasSubstr("Basic realm="));
    EXPECT_EQ(server.get("/healthz", "").status, 200U);
    EXPECT_EQ(server.get("/metrics", "").status, 401U);
    EXPECT_EQ(server.get("/none", "").status, 401U) << "what is there is nobody's business";
}

TEST_F(Users, WhoAreUnknownCostAsMuchAsAWrongPassword) {
    for (const auto &[user, password] :
         {std::pair{"reader", "wrong"}, {"nobody", "wrong"}, {"reader", ""}, {"", ""}}) {
        const double before = server.metric("zdbs_password_hashes_total");
        HttpClient client(server.address());
        const Response response =
            client.ask(requestText("GET", "/v1/databases", loginLine(user, password)));
        EXPECT_EQ(response.status, 401U);
        EXPECT_THAT(response.body, HasSubstr("The user is unknown or the password is wrong."));
        EXPECT_EQ(server.metric("zdbs_password_hashes_total"), before + 1) << user;
    }
}

TEST_F(Users, AreVerifiedSlowlyOnce) {
    server.get("/v1/databases");
    const double before = server.metric("zdbs_password_hashes_total");
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(server.get("/v1/databases").status, 200U);
    EXPECT_EQ(server.metric("zdbs_password_hashes_total"), before);
}

TEST_F(Users, SeeWhatIsGrantedAndNothingElse) {
    const std::string databases = server.get("/v1/databases").body;
    EXPECT_THAT(databases, HasSubstr("\"plays\""));
    EXPECT_THAT(databases, Not(HasSubstr("hidden")));
    const std::string nothing = server.get("/v1/databases/nothing").body;
    std::string hidden = server.get("/v1/databases/hidden").body;
    EXPECT_EQ(hidden.replace(hidden.find("hidden"), 6, "nothing"), nothing);
    for (const char *place : {"", "/query?q=//a", "/documents", "/documents/a", "/xpath?q=1"})
        EXPECT_EQ(server.get("/v1/databases/hidden" + std::string(place)).status, 404U) << place;
    EXPECT_EQ(server.send("PUT", "/v1/databases/hidden/documents/a", "<a/>").status, 404U);
}

TEST_F(Users, LoseAtOnceWhatIsTakenFromThem) {
    EXPECT_EQ(server.send("PUT", "/v1/databases/plays/documents/a", "<a/>").status, 201U);
    home.run({"revoke", "--write", "writer", "plays"});
    EXPECT_EQ(server.send("PUT", "/v1/databases/plays/documents/b", "<a/>").status, 403U);
    EXPECT_EQ(server.get("/v1/databases/plays", "writer").status, 200U);
    home.run({"revoke", "writer", "plays"});
    EXPECT_EQ(server.get("/v1/databases/plays", "writer").status, 404U);
    home.run({"user", "passwd", "writer", "--password-stdin"}, "other\n");
    EXPECT_EQ(server.get("/v1/databases", "writer").status, 401U);
    home.run({"user", "remove", "reader"});
    EXPECT_EQ(server.get("/v1/databases", "reader").status, 401U);
}

TEST_F(Users, WhoMayReadDoNotWrite) {
    const Response put =
        server.send("PUT", "/v1/databases/plays/documents/a", "<a/>", "application/xml", "reader");
    EXPECT_EQ(put.status, 403U);
    EXPECT_THAT(put.body, HasSubstr("\"number\":330"));
    EXPECT_EQ(server.send("DELETE", "/v1/databases/plays/documents/a", "", "", "reader").status,
              403U);
    EXPECT_EQ(home.run({"list", "plays"}), "NODES  XML  DOCUMENT\n");
}

TEST_F(Users, AreNamedInTheLogWithoutWhatTheyAskFor) {
    server.get("/v1/databases/plays/query?q=//secretword");
    server.send("PUT", "/v1/databases/plays/documents/secretname", "<a/>");
    server.get("/v1/secretplace");
    server.get("/metrics");
    server.end();
    EXPECT_THAT(server.log(), HasSubstr(" reader GET /v1/databases/plays/query 200 "));
    EXPECT_THAT(server.log(), HasSubstr(" unix writer PUT /v1/databases/plays/documents/{"));
    EXPECT_THAT(server.log(), Not(HasSubstr("secret")));
}

TEST(Log, HasWhatIsAskedForWhereThatIsWanted) {
    const ServedHome home;
    Server server(home, {"--log-values"});
    server.get("/v1/databases/plays/query?q=//secretword");
    server.end();
    EXPECT_THAT(server.log(), HasSubstr(" /v1/databases/plays/query?q=//secretword 200 "));
}

}  // namespace
}  // namespace zdbs::serve
