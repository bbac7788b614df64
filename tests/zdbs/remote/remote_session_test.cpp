/** Calls, carried over a pair of sockets. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <thread>

#include "zdbs/base/stop.h"
#include "zdbs/remote/remote_session.h"
#include "zdbs/remote/session_host.h"

namespace zdbs::remote {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

struct Ends {
    FileDescriptor client;
    FileDescriptor server;
};

Ends sockets() {
    std::array<int, 2> pair{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
    return {FileDescriptor(pair[0]), FileDescriptor(pair[1])};
}

/** Remembers what it is asked. */
class RecordingSession final : public KernelSession {
public:
    std::vector<std::string> calls;

    void execute(std::string_view command) override {
        calls.push_back("execute " + std::string(command));
        if (command == "BAD") throw Failure(Status::unknownCommand, {"BAD", "1"});
        search_ = {static_cast<std::int32_t>(calls.size()), 2147483647, 5};
    }
    LastSearch lastSearch() const override {
        if (!search_) throw Failure(Status::noSet);
        return *search_;
    }
    void saveStatus() override { calls.emplace_back("save"); }
    void loadStatus() override { calls.emplace_back("load"); }
    bool hasDatabase(std::string_view database) override {
        calls.push_back("has " + std::string(database));
        return database == "plays";
    }
    PlacedRecord record(std::int32_t set, std::int32_t ordinal) override {
        calls.push_back("record " + std::to_string(set) + ' ' + std::to_string(ordinal));
        if (ordinal > 1) throw Failure(Status::noSuchRecord, {std::to_string(ordinal)});
        return {{2147483647, {{1, 2, 3, 4, 5, 6}, {-1, 0, 1, 1, 9, 0}}}, "plays"};
    }
    DocumentBlock exportText(ExportFilter filter, std::string_view text, bool highlight) override {
        calls.push_back("export " + std::to_string(static_cast<int>(filter)) + ' ' +
                        std::string(text) + (highlight ? " highlighted" : ""));
        DocumentSink sink(maxSize);
        for (std::size_t left = std::strtoul(std::string(text).c_str(), nullptr, 10); left > 0;
             --left)
            sink.write("ab");
        return sink.take();
    }

private:
    static constexpr std::size_t maxSize = std::size_t{1} << 30U;

    std::optional<LastSearch> search_;
};

/** A server of one connection, in a thread. */
class Host {
public:
    Host(KernelSession &session, FileDescriptor socket)
        : socket_(std::move(socket)), thread_([this, &session] { run(session); }) {}
    ~Host() { thread_.join(); }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

private:
    void run(KernelSession &session) const {
        SessionHost host(session);
        const auto stream = plainStream(FileDescriptor(::dup(socket_.get())));
        std::string head(headSize, '\0');
        while (::recv(socket_.get(), head.data(), head.size(), MSG_WAITALL) == headSize) {
            const auto parsed = headOf(head);
            std::string content(parsed->length, '\0');
            if (!content.empty())
                ::recv(socket_.get(), content.data(), content.size(), MSG_WAITALL);
            const Answer answer = answerOf(host, parsed->kind, content);
            stream->send(answer.message);
            stream->send(answer.document.view());
        }
    }

    static Answer answerOf(SessionHost &host, Kind kind, std::string_view content) {
        try {
            return host.answer(kind, content);
        } catch (const Failure &failure) {
            return host.failed(failure.status(), failure.what());
        }
    }

    FileDescriptor socket_;
    std::thread thread_;
};

/** What a call fails with. */
template <typename Call>
std::string failureOf(Call call) {
    try {
        call();
    } catch (const Failure &failure) {
        return std::to_string(static_cast<int>(failure.status())) + ' ' + failure.what();
    }
    return "none";
}

TEST(RemoteSession, CarriesEveryCallInItsOrderAndItsAnswerBack) {
    Ends ends = sockets();
    RecordingSession session;
    const Host host(session, std::move(ends.server));
    RemoteSession remote(plainStream(std::move(ends.client)));
    EXPECT_EQ(failureOf([&] { remote.lastSearch(); }), "28 There is no set.");
    remote.saveStatus();
    remote.execute("FIND N_ID=$");
    EXPECT_EQ(remote.lastSearch().number, 2);
    EXPECT_EQ(remote.lastSearch().records, 2147483647);
    EXPECT_EQ(remote.lastSearch().hits, 5);
    EXPECT_EQ(failureOf([&] { remote.execute("BAD"); }), "102 Unknown command BAD at column 1.");
    EXPECT_EQ(remote.lastSearch().number, 2) << "as before";
    EXPECT_TRUE(remote.hasDatabase("plays"));
    EXPECT_FALSE(remote.hasDatabase("p\xc3\xa4"));
    const PlacedRecord record = remote.record(-1, 1);
    EXPECT_EQ(record.found.record, 2147483647U);
    EXPECT_EQ(record.database, "plays");
    ASSERT_EQ(record.found.hitWords.size(), 2U);
    EXPECT_EQ(record.found.hitWords[0].length, 6);
    EXPECT_EQ(record.found.hitWords[1].part, -1);
    EXPECT_THAT(failureOf([&] { remote.record(1, 7); }), HasSubstr("no such record: 7"));
    EXPECT_EQ(remote.exportText(ExportFilter::names, "3", true).view(), "ababab");
    EXPECT_EQ(remote.exportText(ExportFilter::fragments, "10000000", false).length, 20000000U);
    EXPECT_EQ(remote.exportText(ExportFilter::databases, "", false).view(), "");
    remote.loadStatus();
    EXPECT_THAT(session.calls,
                ElementsAre("save", "execute FIND N_ID=$", "execute BAD", "has plays",
                            "has p\xc3\xa4", "record -1 1", "record 1 7", "export 1 3 highlighted",
                            "export 0 10000000", "export 2 ", "load"));
}

std::string message(Kind kind, std::string_view content, std::uint32_t more = 0) {
    MessageWriter writer(kind);
    return writer.bytes(content.size() + more) + std::string(content);
}

std::string numbers(std::size_t count) {
    return std::string(4 * count, '\1');
}

/** Whatever a server sends, the call fails, and says why; and so does each one after it. */
TEST(RemoteSession, IsLostWithAServerThatSendsOtherThingsThanAnswers) {
    const std::string half = message(Kind::done, numbers(4)).substr(0, 9);
    for (const std::string &bytes :
         {std::string(),
          std::string("\0\0\0\0\x40", 5),
          std::string("HTTP/1.1 200 OK\r\n\r\n"),
          half,
          message(Kind::done, ""),
          message(Kind::done, numbers(3)),
          message(Kind::done, numbers(5)),
          message(Kind::failed, numbers(5)),
          message(Kind::failed, numbers(4) + std::string(4, '\0')),
          message(Kind::failed, numbers(4) + std::string("\x0c\0\0\0\xff\xff\xff\x7f", 8)),
          message(Kind::failed, numbers(4) + std::string("\1\0\0\0\0\0\0\0", 8)),
          message(Kind::failed, numbers(4) + std::string("\x82\4\0\0\0\0\0\0", 8)),
          message(Kind::document, numbers(3)),
          message(Kind::document, "", 0xfffffff0),
          message(Kind::document, numbers(4) + "<a/>"),
          message(Kind::execute, numbers(4)),
          message(Kind::farewell, ""),
          message(Kind::farewell, numbers(1)),
          message(Kind::done, "", 0xfffffff0),
          message(static_cast<Kind>(200), numbers(4))}) {
        Ends ends = sockets();
        RemoteSession remote(plainStream(std::move(ends.client)));
        ASSERT_EQ(::send(ends.server.get(), bytes.data(), bytes.size(), 0),
                  static_cast<ssize_t>(bytes.size()));
        ::shutdown(ends.server.get(), SHUT_WR);
        const std::string first = failureOf([&] { remote.execute("FIND N_ID=$"); });
        EXPECT_THAT(first, HasSubstr("342 The connection to the server is lost")) << bytes;
        EXPECT_EQ(failureOf([&] { remote.saveStatus(); }), first);
        EXPECT_EQ(failureOf([&] { remote.lastSearch(); }), first) << "no number of before";
        EXPECT_TRUE(remote.hasDatabase("plays")) << "nobody knows that it is not there";
    }
}

/** What comes of an answer over HTTP to the first call. */
std::string failureWith(const std::string &answer) {
    Ends ends = sockets();
    const ServerAddress address = parseServerAddress("https://host");
    RemoteSession remote(requestStream(plainStream(std::move(ends.client)), address, "POST /"));
    ::send(ends.server.get(), answer.data(), answer.size(), 0);
    ::shutdown(ends.server.get(), SHUT_WR);
    return failureOf([&] { remote.execute("FIND N_ID=$"); });
}

TEST(RequestStream, TakesBodiesOfKnownLengthAndInChunks) {
    const std::string done = message(Kind::done, numbers(4));
    const std::string length = "Content-Length: " + std::to_string(done.size()) + "\r\n\r\n";
    const std::string empty = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
    const std::string chunked = "HTTP/1.1 200 OK\r\ntransfer-encoding: Chunked\r\n\r\n";
    for (const std::string &answer :
         {"HTTP/1.1 200 OK\r\n" + length + done, empty + "HTTP/1.1 200 OK\r\n" + length + done,
          chunked + "3\r\n" + done.substr(0, 3) + "\r\n12\r\n" + done.substr(3) + "\r\n0\r\n\r\n"})
        EXPECT_EQ(failureWith(answer), "none") << answer;
}

TEST(RequestStream, IsLostWithAServerThatSendsOtherThingsThanAnswers) {
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    for (const std::string &answer :
         {std::string(), std::string("nonsense\r\n\r\n"), ok + "\r\n",
          ok + "Content-Length: x\r\n\r\n", ok + "Content-Length: 18446744073709551615\r\n\r\nab",
          ok + "Content-Length: 99999999999999999999999\r\n\r\nab", ok + std::string(50000, 'a'),
          ok + "Transfer-Encoding: chunked\r\n\r\nzz\r\n",
          ok + "Transfer-Encoding: chunked\r\n\r\n3\r\nabcd\r\n",
          ok + "Transfer-Encoding: chunked\r\n\r\nffffffffffffffffff\r\nab"})
        EXPECT_THAT(failureWith(answer), HasSubstr("342 The connection to the server is lost"))
            << answer.substr(0, 100);
    EXPECT_THAT(failureWith("HTTP/1.1 503 x\r\nContent-Length: 2\r\n\r\nab"),
                HasSubstr("340 The server refuses: https://host: it is busy, or ending."));
    EXPECT_THAT(failureWith("HTTP/1.1 401 x\r\nContent-Length: 0\r\n\r\n"), HasSubstr("16 "));
}

TEST(RemoteSession, TellsTheWordsOfAFarewellWithoutWhatATerminalObeys) {
    Ends ends = sockets();
    RemoteSession remote(plainStream(std::move(ends.client)));
    const std::string bytes = farewellText(Failure(Status::serverLost, {"a\x1b[2Jb"}));
    ::send(ends.server.get(), bytes.data(), bytes.size(), 0);
    EXPECT_THAT(failureOf([&] { remote.execute("FIND N_ID=$"); }), HasSubstr("a\\x1b[2Jb"));
}

TEST(RemoteSession, SendsAStopWhileItWaitsAndTakesTheAnswer) {
    Ends ends = sockets();
    RemoteSession remote(plainStream(std::move(ends.client)));
    Stop stop;
    stop.request();
    const StopScope scope(stop);
    sigset_t interrupt;
    sigset_t before;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    pthread_sigmask(SIG_BLOCK, &interrupt, &before);
    ::raise(SIGINT);
    const std::string call = MessageWriter(Kind::execute).text("FIND N_ID=$").bytes();
    std::string sent(call.size() + headSize, '\0');
    std::thread server([&] {
        ::recv(ends.server.get(), sent.data(), sent.size(), MSG_WAITALL);
        const std::string answer = failureText({}, Status::stopped, "It was stopped.");
        ::send(ends.server.get(), answer.data(), answer.size(), 0);
    });
    EXPECT_EQ(failureOf([&] { remote.execute("FIND N_ID=$"); }), "36 It was stopped.");
    server.join();
    EXPECT_EQ(sent, call + MessageWriter(Kind::stop).bytes());
    int signal = 0;
    EXPECT_EQ(::sigwait(&interrupt, &signal), 0) << "it goes on waiting";
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace
}  // namespace zdbs::remote
