/** The files of the page, as they are served; what they do is tests/zdbs/serve/page. */
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const std::map<std::string, std::string> types = {{".html", "text/html; charset=utf-8"},
                                                  {".css", "text/css; charset=utf-8"},
                                                  {".js", "text/javascript; charset=utf-8"},
                                                  {".svg", "image/svg+xml"}};

std::string contentOf(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(PageFiles, AreThoseOfTheTreeAndForEverybody) {
    const ServedHome home;
    const Server server(home);
    std::size_t files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(ZDBS_PAGE_FOLDER)) {
        const std::string target = "/page/" + entry.path().filename().string();
        const Response response = server.get(target, "", "Accept: */*\r\n");
        EXPECT_EQ(response.status, 200U) << target;
        EXPECT_EQ(response.body, contentOf(entry.path())) << target;
        EXPECT_EQ(response.fields.at("content-type"), types.at(entry.path().extension())) << target;
        ++files;
    }
    EXPECT_GE(files, 10U);
    const Response page = server.get("/", "", "Accept: text/html\r\n");
    EXPECT_EQ(page.body, server.get("/page/index.html", "").body);
}

TEST(PageFiles, LetABrowserDoNothingButWhatThePageDoes) {
    const ServedHome home;
    const Server server(home);
    const Response page = server.get("/", "");
    const std::string &policy = page.fields.at("content-security-policy");
    EXPECT_THAT(policy, HasSubstr("default-src 'none'; script-src 'self'; style-src 'self'"));
    for (const char *part : {"base-uri 'none'", "form-action 'none'", "frame-ancestors 'none'",
                             "require-trusted-types-for 'script'", "trusted-types 'none'"})
        EXPECT_THAT(policy, HasSubstr(part));
    EXPECT_THAT(policy, Not(HasSubstr("unsafe")));
    EXPECT_EQ(page.fields.at("x-content-type-options"), "nosniff");
    EXPECT_EQ(page.fields.at("referrer-policy"), "no-referrer");
    EXPECT_EQ(page.fields.at("cross-origin-opener-policy"), "same-origin");
    EXPECT_EQ(page.fields.at("cross-origin-resource-policy"), "same-origin");
    EXPECT_EQ(page.fields.at("cache-control"), "no-cache");
    const Response answer = server.get("/v1/databases");
    EXPECT_EQ(answer.fields.at("content-security-policy"),
              "default-src 'none'; frame-ancestors 'none'; sandbox");
}

TEST(PageFiles, AreNotSentAgainToWhoHasThem) {
    const ServedHome home;
    const Server server(home);
    const std::string tag = server.get("/page/main.js", "").fields.at("etag");
    const std::string field = "If-None-Match: " + tag + "\r\n";
    EXPECT_EQ(server.get("/page/main.js", "", field).status, 304U);
    EXPECT_EQ(server.get("/page/style.css", "", field).status, 200U);
    EXPECT_EQ(server.send("PUT", "/page/main.js", "<a/>").status, 405U);
}

}  // namespace
}  // namespace zdbs::serve
