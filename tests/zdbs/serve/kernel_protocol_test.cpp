/** The place where a connection goes over, and what hostile clients send there. */
#include "tests/zdbs/serve/served_home.h"
#include "zdbs/remote/message.h"

namespace zdbs::serve {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class KernelProtocol : public ::testing::Test {
protected:
    static std::string upgrade(std::string_view protocol = remote::protocol) {
        return loginOf("reader") + "Connection: Upgrade\r\nUpgrade: " + std::string(protocol) +
               "\r\n";
    }

    static std::string lengthOf(std::uint32_t length) {
        std::string bytes;
        for (unsigned shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(length >> shift);
        return bytes;
    }

    /** What a server sends after it has agreed, up to the end. */
    std::string afterUpgrade(std::string_view bytes) const {
        HttpClient client(server.unixAddress());
        client.send(requestText("GET", remote::kernelPlace, upgrade()));
        EXPECT_TRUE(client.awaitInput());
        client.send(bytes);
        client.closeSending();
        const std::string all = client.readToEnd().value_or("no end");
        EXPECT_THAT(all, StartsWith("HTTP/1.1 101"));
        return all.substr(std::min(all.find("\r\n\r\n") + 4, all.size()));
    }

    ServedHome home;
    Server server{home};
};

TEST_F(KernelProtocol, IsForUsersWhoAskForItByGet) {
    EXPECT_EQ(server.get(remote::kernelPlace, "").status, 401U);
    EXPECT_EQ(server.send("PUT", remote::kernelPlace, "").status, 405U);
    EXPECT_EQ(server.send("POST", remote::kernelPlace, "").status, 415U);
    for (const std::string &more :
         {std::string(), upgrade("websocket"), upgrade("zdbs-kernel/2")}) {
        const Response response =
            server.get(remote::kernelPlace, more.empty() ? "reader" : "", more);
        EXPECT_EQ(response.status, 426U) << more;
        EXPECT_EQ(response.fields.at("upgrade"), remote::protocol) << more;
    }
}

TEST_F(KernelProtocol, EndsWithAWordForWhatIsNoCall) {
    const std::string find =
        remote::MessageWriter(remote::Kind::execute).text("BASE plays").bytes();
    for (const std::string &bytes :
         {lengthOf(0) + "x", lengthOf(UINT32_MAX) + "\x01",
          lengthOf(remote::longestCall + 2) + "\x01", lengthOf(1) + "\x01", lengthOf(1) + "\x63",
          lengthOf(1) + std::string(1, '\x40'), lengthOf(5) + "\x01" + lengthOf(UINT32_MAX),
          lengthOf(6) + "\x01" + lengthOf(0) + "x",
          lengthOf(13) + "\x06" + lengthOf(99) + lengthOf(0) + lengthOf(0)}) {
        const std::string back = afterUpgrade(bytes);
        EXPECT_THAT(back, HasSubstr("the server does not understand what it was sent"));
    }
    EXPECT_EQ(server.get("/healthz", "").status, 200U);
}

TEST_F(KernelProtocol, AnswersWhatWasAskedBeforeAnEnd) {
    const std::string open =
        remote::MessageWriter(remote::Kind::execute).text("BASE plays").bytes();
    const std::string bad = remote::MessageWriter(remote::Kind::execute).text("NONSENSE").bytes();
    const std::string stop = remote::MessageWriter(remote::Kind::stop).bytes();
    const std::string back = afterUpgrade(open + stop + stop + bad + lengthOf(100) + "\x01half");
    EXPECT_THAT(back, HasSubstr("Unknown command NONSENSE"));
    EXPECT_EQ(static_cast<remote::Kind>(back.at(4)), remote::Kind::done);
}

TEST_F(KernelProtocol, TakesNothingBeforeItHasAgreed) {
    HttpClient client(server.unixAddress());
    client.send(requestText("GET", remote::kernelPlace, upgrade()) +
                remote::MessageWriter(remote::Kind::execute).text("BASE plays").bytes());
    const std::string all = client.readToEnd().value_or("no end");
    EXPECT_EQ(all.substr(all.find("\r\n\r\n") + 4), "");
    EXPECT_EQ(server.get("/healthz", "").status, 200U);
}

}  // namespace
}  // namespace zdbs::serve
