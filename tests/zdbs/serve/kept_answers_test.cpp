#include "zdbs/serve/kept_answers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

StateIdentity state() {
    return std::make_shared<int>();
}

std::shared_ptr<const KeptAnswer> answerOf(std::string text) {
    auto answer = std::make_shared<KeptAnswer>();
    answer->head.type = "text/plain";
    answer->text = std::move(text);
    return answer;
}

TEST(KeptAnswers, HoldForTheirStateOnly) {
    KeptAnswers kept(100000);
    StateIdentity first = state();
    kept.add("q", first, answerOf("one"));
    ASSERT_NE(kept.find("q", first), nullptr);
    EXPECT_EQ(kept.find("q", first)->text, "one");
    EXPECT_EQ(kept.find("r", first), nullptr);
    EXPECT_EQ(kept.find("q", state()), nullptr);
    EXPECT_EQ(kept.find("q", first), nullptr) << "what was of another state is gone";
}

TEST(KeptAnswers, DoNotHoldTheirState) {
    KeptAnswers kept(100000);
    StateIdentity first = state();
    kept.add("q", first, answerOf("one"));
    EXPECT_EQ(first.use_count(), 1);
    first = state();  // perhaps where the one before was
    EXPECT_EQ(kept.find("q", first), nullptr);
}

TEST(KeptAnswers, AreThoseThatWereAskedForLast) {
    KeptAnswers kept(14000);
    const StateIdentity now = state();
    for (const char *question : {"a", "b", "c"})
        kept.add(question, now, answerOf(std::string(1000, '.')));
    ASSERT_NE(kept.find("a", now), nullptr);
    kept.add("d", now, answerOf(std::string(1000, '.')));
    EXPECT_NE(kept.find("a", now), nullptr);
    EXPECT_EQ(kept.find("b", now), nullptr);
    EXPECT_NE(kept.find("c", now), nullptr);
    EXPECT_NE(kept.find("d", now), nullptr);
    kept.add("e", now, answerOf(std::string(10000, '.')));
    EXPECT_EQ(kept.find("e", now), nullptr);
    EXPECT_NE(kept.find("d", now), nullptr) << "what is too large makes no room for itself";
}

TEST(KeptAnswers, OfAQuestionAreOne) {
    KeptAnswers kept(100000);
    const StateIdentity now = state();
    kept.add("q", now, answerOf("one"));
    kept.add("q", now, answerOf("two"));
    EXPECT_EQ(kept.find("q", now)->text, "two");
}

class AskedAgain : public ::testing::Test {
protected:
    AskedAgain() { home.run({"load", "plays", home.file("old.xml", "<p><title>Old</title></p>")}); }

    static constexpr const char *titles = "/v1/databases/plays/query?q=//title";

    /** How many of the requests so far were answered from memory. */
    double again(const Server &server) const { return server.metric("zdbs_kept_answers_total"); }

    ServedHome home;
};

TEST_F(AskedAgain, IsAnsweredTheSame) {
    const Server server(home);
    Response first = server.get(titles);  // opens the database
    const Response second = server.get(titles);
    ASSERT_EQ(again(server), 0);
    Response third = server.get(titles, "writer");
    EXPECT_EQ(again(server), 1);
    EXPECT_EQ(first.status, 200U);
    EXPECT_EQ(third.body, first.body);
    EXPECT_EQ(third.body, second.body);
    EXPECT_THAT(third.body, HasSubstr("Old"));
    first.fields.erase("date");
    third.fields.erase("date");
    EXPECT_EQ(third.fields, first.fields);

    EXPECT_THAT(server.get(titles, "reader", "Accept: text/csv\r\n").body, HasSubstr("\r\n"));
    EXPECT_EQ(again(server), 1) << "another form is another question";
    const std::string tag = first.fields.at("etag");
    EXPECT_EQ(server.get(titles, "reader", "If-None-Match: " + tag + "\r\n").status, 304U);
    EXPECT_EQ(server.get(titles, "reader", "If-Match: \"999\"\r\n").status, 412U);
}

TEST_F(AskedAgain, IsAnsweredFromWhatThereIsNow) {
    const Server server(home);
    for (int i = 0; i < 3; ++i)
        ASSERT_THAT(server.get(titles).body, Not(HasSubstr("Novelty")));
    ASSERT_EQ(
        server.send("PUT", "/v1/databases/plays/documents/new.xml", "<p><title>Novelty</title></p>")
            .status,
        201U);
    for (int i = 0; i < 3; ++i)
        ASSERT_THAT(server.get(titles).body, HasSubstr("Novelty"));
    home.run({"remove", "plays", "new.xml"});
    for (int i = 0; i < 3; ++i)
        ASSERT_THAT(server.get(titles).body, Not(HasSubstr("Novelty")));
}

TEST_F(AskedAgain, IsAnsweredFromTheDatabaseThatHasTheNameNow) {
    const auto make = [this](const std::string &title) {
        home.run({"create", "again"});
        home.run({"load", "again", home.file("d.xml", "<p><title>" + title + "</title></p>")});
        home.run({"grant", "reader", "again"});
    };
    const Server server(home);
    const char *target = "/v1/databases/again/query?q=//title";
    for (const char *title : {"First", "Second"}) {
        make(title);
        for (int i = 0; i < 3; ++i)
            EXPECT_THAT(server.get(target).body, HasSubstr(title));
        home.run({"drop", "again"});
        EXPECT_EQ(server.get(target).status, 404U);
    }
    EXPECT_EQ(again(server), 2);
}

TEST_F(AskedAgain, IsNotToldToWhoMayNotRead) {
    const Server server(home);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(server.get(titles).status, 200U);
    home.run({"revoke", "reader", "plays"});
    EXPECT_EQ(server.get(titles).status, 404U);
    EXPECT_EQ(server.get(titles, "writer").status, 200U);
}

TEST_F(AskedAgain, IsFoundAnewWhereNothingIsToBeKept) {
    const Server server(home, {"--kept", "0"});
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(server.get(titles).status, 200U);
    EXPECT_EQ(again(server), 0);
}

}  // namespace
}  // namespace zdbs::serve
