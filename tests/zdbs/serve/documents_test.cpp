/** Documents through the server: stored, replaced, removed, told. */
#include <atomic>
#include <thread>

#include "tests/zdbs/admin/json_value.h"
#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using ::testing::HasSubstr;

class Documents : public ::testing::Test {
protected:
    static std::string place(const std::string &name) {
        return "/v1/databases/plays/documents/" + name;
    }

    Response put(const std::string &name, std::string_view xml, std::string_view more = {}) const {
        return server.send("PUT", place(name), xml, "application/xml", "writer", more);
    }

    std::string list() const {
        return server.get("/v1/databases/plays/documents", "reader", "Accept: text/plain\r\n").body;
    }

    ServedHome home;
    Server server{home};
};

TEST_F(Documents, AreThereOnceTheAnswerIs) {
    EXPECT_EQ(put("a/b%20c.xml", "<a>1</a>").status, 201U);
    EXPECT_EQ(server.get(place("a/b%20c.xml")).body, "<a>1</a>\n");
    EXPECT_EQ(put("a/b%20c.xml", "<a>2</a>").status, 200U);
    EXPECT_EQ(server.get(place("a/b%20c.xml")).body, "<a>2</a>\n");
    EXPECT_EQ(list(), "a/b c.xml\n");
    EXPECT_EQ(server.send("DELETE", place("a/b%20c.xml"), "").status, 200U);
    EXPECT_EQ(server.get(place("a/b%20c.xml")).status, 404U);
    EXPECT_EQ(server.send("DELETE", place("a/b%20c.xml"), "").status, 404U);
    EXPECT_THAT(home.run({"check", "plays"}), HasSubstr("no errors"));
}

TEST_F(Documents, OfManyMegabytesComeBackAsTheyWent) {
    const std::string large = manyElements(150000);
    ASSERT_GT(large.size(), 3U << 20U);
    EXPECT_EQ(put("large", large).status, 201U);
    const Response told = server.get(place("large"));
    EXPECT_TRUE(told.isWhole);
    EXPECT_TRUE(told.body == large + '\n');
}

TEST_F(Documents, ThatAreWrongChangeNothing) {
    put("good", "<a/>");
    EXPECT_EQ(put("bad", "<a>").status, 400U);
    EXPECT_EQ(put("..%2Fbad", "<a/>").status, 400U);
    EXPECT_EQ(put("%2Fbad", "<a/>").status, 400U);
    EXPECT_EQ(put("bad", "").status, 400U);
    EXPECT_EQ(server.send("PUT", place("bad"), "<a/>", "text/plain").status, 415U);
    EXPECT_EQ(list(), "good\n");
}

TEST_F(Documents, AreChangedInTheStateThatIsMeant) {
    const std::string tag = put("a", "<a/>").fields.at("etag");
    EXPECT_EQ(put("a", "<b/>", "If-Match: \"77\"\r\n").status, 412U);
    EXPECT_EQ(put("a", "<b/>", "If-None-Match: *\r\n").status, 412U);
    EXPECT_EQ(put("a", "<c/>", "If-Match: " + tag + "\r\n").status, 200U);
    EXPECT_EQ(put("a", "<d/>", "If-Match: " + tag + "\r\n").status, 412U);
    EXPECT_EQ(put("new", "<d/>", "If-None-Match: *\r\n").status, 201U);
    EXPECT_EQ(server.get(place("a")).body, "<c/>\n");
}

TEST_F(Documents, OfAnArchiveAreOneTransaction) {
    home.file("one.xml", "<one/>");
    home.file("two.xml", "<two/>");
    home.file("bad.xml", "<bad>");
    const auto archiveOf = [&](const std::vector<std::string> &files) {
        std::vector<std::string> words = {"-C", home.path(""), "-cf", home.path("a.tar")};
        words.insert(words.end(), files.begin(), files.end());
        EXPECT_EQ(support::run({"tar", words, {}, {}}).ending, support::exited(0));
        return support::readFile(home.path("a.tar"));
    };
    const auto post = [&](const std::string &query, const std::string &body) {
        return server.send("POST", "/v1/databases/plays/documents" + query, body,
                           "application/x-tar");
    };
    put("old", "<old/>");
    EXPECT_EQ(post("?remove=old", archiveOf({"one.xml", "bad.xml"})).status, 400U);
    EXPECT_EQ(list(), "old\n");
    EXPECT_EQ(post("?remove=none", archiveOf({"one.xml"})).status, 404U);
    const double before = readJsonLine(put("old", "<old/>").body)["state"].number;
    const Response changed = post("?remove=old", archiveOf({"one.xml", "two.xml"}));
    EXPECT_EQ(changed.status, 200U) << changed.body;
    EXPECT_EQ(readJsonLine(changed.body)["state"].number, before + 1) << changed.body;
    EXPECT_EQ(list(), "one.xml\ntwo.xml\n");
    EXPECT_EQ(post("", "no archive").status, 400U);
}

TEST_F(Documents, AreOnlyChangedByPagesOfTheServerItself) {
    EXPECT_EQ(put("a", "<a/>", "Origin: http://elsewhere\r\n").status, 403U);
    EXPECT_EQ(put("a", "<a/>", "Origin: null\r\n").status, 403U);
    EXPECT_EQ(put("a", "<a/>", "Origin: http://localhost\r\n").status, 201U);
}

/** Each state has one document more than the one before it. */
TEST_F(Documents, AreOfTheStateThatTheAnswerNames) {
    const double first = readJsonLine(put("d0", "<play/>").body)["state"].number;
    std::atomic<bool> isOver = false;
    std::atomic<int> answers = 0;
    const auto watch = [&] {
        HttpClient client(server.address());
        const std::string request =
            requestText("GET", "/v1/databases/plays/query?q=//play&fields=id", loginOf("reader"));
        while (!isOver) {
            const Response response = client.ask(request);
            ASSERT_EQ(response.status, 200U) << response.body;
            const JsonValue answer = readJsonLine(response.body);
            EXPECT_EQ(answer["records"].number, answer["state"].number - first + 1);
            EXPECT_EQ(answer["nodes"].items.size(), answer["records"].number);
            EXPECT_EQ(response.fields.at("etag"),
                      '"' + std::to_string(static_cast<long>(answer["state"].number)) + '"');
            ++answers;
        }
    };
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i)
        readers.emplace_back(watch);
    for (int i = 1; i <= 30; ++i)
        EXPECT_EQ(put("d" + std::to_string(i), "<play/>").status, 201U);
    isOver = true;
    for (std::thread &reader : readers)
        reader.join();
    EXPECT_GE(answers, 4);
}

}  // namespace
}  // namespace zdbs::serve
