/** The server as a process: its signals, its sockets, its certificate. */
#include <fstream>

#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using ::testing::HasSubstr;

TEST(ServeProcess, EndsAtSigtermWithTheSocketGone) {
    const ServedHome home;
    Server server(home);
    EXPECT_EQ(server.get("/healthz", "").status, 200U);
    EXPECT_EQ(server.end().ending, support::exited(0));
    EXPECT_FALSE(HttpClient(server.unixAddress()).isOpen());
    EXPECT_EQ(::access(server.unixAddress().c_str() + 5, F_OK), -1);
}

TEST(ServeProcess, StopsWhatRunsWhenTheGraceIsOver) {
    const ServedHome home;
    home.run({"load", "plays", home.file("list.xml", manyElements(20000))});
    Server server(home, {"--grace", "0", "--time", "1000"});
    HttpClient client(server.address());
    client.send(requestText("GET", endlessTarget, loginOf("reader")));
    EXPECT_TRUE(server.awaitMetric("zdbs_requests_running", 2));
    server.program().signal(SIGTERM);
    EXPECT_EQ(client.receive().status, 503U);
    EXPECT_EQ(server.program().finish().ending, support::exited(0));
}

TEST(ServeProcess, LetsWhatRunsEndWithinTheGrace) {
    const ServedHome home;
    home.run({"load", "plays", home.file("list.xml", manyElements(20000))});
    Server server(home, {"--grace", "60", "--time", "3"});
    HttpClient client(server.address());
    client.send(requestText("GET", endlessTarget, loginOf("reader")));
    EXPECT_TRUE(server.awaitMetric("zdbs_requests_running", 2));
    server.program().signal(SIGTERM);
    EXPECT_THAT(client.receive().body, HasSubstr("took longer")) << "its own end, not the server's";
    EXPECT_EQ(server.program().finish().ending, support::exited(0));
}

TEST(ServeProcess, EndsWithoutClientsThatDoNotComeToAnEnd) {
    const ServedHome home;
    Server server(home, {"--grace", "0", "--stall", "1000"});
    HttpClient sender(server.unixAddress());
    sender.send("PUT /v1/databases/plays/documents/a HTTP/1.1\r\nHost: a\r\n" + loginOf("writer") +
                "Content-Type: application/xml\r\nContent-Length: 9\r\n\r\n<a>");
    EXPECT_TRUE(server.awaitMetric("zdbs_password_hashes_total", 2));
    EXPECT_EQ(server.end().ending, support::exited(0));
    EXPECT_TRUE(sender.readToEnd());
}

TEST(ServeProcess, TakesUpSettingsAtSighup) {
    const ServedHome home;
    const std::string file = home.file("limits", "body = 10\n");
    Server server(home, {"--settings", file}, false);
    const std::string text = manyElements(60000);
    EXPECT_EQ(server.send("PUT", "/v1/databases/plays/documents/a", text).status, 201U);
    home.file("limits", "body = 1\n");
    server.program().signal(SIGHUP);
    EXPECT_TRUE(server.program().waitForError("were taken up anew"));
    EXPECT_EQ(server.send("PUT", "/v1/databases/plays/documents/a", text).status, 413U);
    home.file("limits", "nonsense\n");
    server.program().signal(SIGHUP);
    EXPECT_TRUE(server.program().waitForError("Not taken up: The setting " + file + ":1"));
    EXPECT_EQ(server.get("/healthz", "").status, 200U);
}

TEST(ServeProcess, LetsNoOtherMachinesInWithoutTls) {
    const ServedHome home;
    for (const char *address : {"0.0.0.0:0", "[::]:0", ":0"}) {
        const auto result = support::run(home.command({"serve", "--listen", address}));
        EXPECT_EQ(result.ending, support::exited(1));
        EXPECT_THAT(result.err, HasSubstr("--insecure"));
        EXPECT_EQ(result.out, "");
    }
    support::PipedProgram open(home.command({"serve", "--listen", "0.0.0.0:0", "--insecure"}));
    EXPECT_TRUE(open.waitForOutput("0.0.0.0:"));
    open.signal(SIGTERM);
    EXPECT_EQ(open.finish().ending, support::exited(0));
}

TEST(ServeProcess, RefusesAddressesAndFilesThatAreNone) {
    const ServedHome home;
    const std::vector<std::vector<std::string>> wrong = {
        {"--listen", "127.0.0.1"},
        {"--listen", "127.0.0.1:99999"},
        {"--listen", "unix:"},
        {"--listen", "127.0.0.1:0", "--tls-cert", "x"},
        {"--settings", "/nonexistent"},
        {"--listen", "127.0.0.1:0", "--log", "/nonexistent/log"},
        {"--listen", "127.0.0.1:0", "--tls-cert", "/nonexistent", "--tls-key", "/nonexistent"}};
    for (const auto &options : wrong) {
        std::vector<std::string> words = {"serve"};
        words.insert(words.end(), options.begin(), options.end());
        const auto result = support::run(home.command(words));
        EXPECT_EQ(result.ending, support::exited(1)) << options.back() << result.err;
        EXPECT_EQ(result.out, "") << options.back();
    }
    EXPECT_EQ(support::run(home.command({"serve", "--time", "0"})).ending, support::exited(2));
}

TEST(ServeProcess, ReplacesASocketThatNobodyListensAt) {
    const ServedHome home;
    {
        Server server(home);
        server.program().signal(SIGKILL);
        EXPECT_EQ(server.program().finish().ending, support::killedBy(SIGKILL));
    }
    Server server(home);
    EXPECT_EQ(HttpClient(server.unixAddress()).ask(requestText("GET", "/healthz")).status, 200U);
    const auto second = support::run(home.command({"serve", "--listen", server.unixAddress()}));
    EXPECT_EQ(second.ending, support::exited(1)) << "one that is listened at is not taken away";
}

/** As the service manager does it: a socket as descriptor 3, and the number of the process. */
TEST(ServeProcess, TakesSocketsThatItIsHanded) {
    const ServedHome home;
    const std::string path = home.path("activated");
    const std::string script =
        "import os,socket,sys\n"
        "s=socket.socket(socket.AF_UNIX); s.bind(sys.argv[1]); s.listen()\n"
        "os.dup2(s.fileno(),3)\n"
        "os.set_inheritable(3,True)\n"
        "os.environ.update(LISTEN_PID=str(os.getpid()),LISTEN_FDS='1')\n"
        "os.execv(sys.argv[2],[sys.argv[2],'serve'])\n";
    support::Command command = home.command({"-c", script, path, ZDBS_PROGRAM});
    command.program = "python3";
    support::PipedProgram program(command);
    ASSERT_TRUE(program.waitForOutput("unix:" + path + '\n'));
    EXPECT_EQ(HttpClient("unix:" + path).ask(requestText("GET", "/healthz")).status, 200U);
    program.signal(SIGTERM);
    EXPECT_EQ(program.finish().ending, support::exited(0));
}

/** What curl makes of it. */
TEST(ServeProcess, SpeaksTlsAndShowsANewCertificateAtSighup) {
    const ServedHome home;
    Server server(home, home.makeCertificate("first", "IP:127.0.0.1"), false);
    const auto ask = [&](const std::string &address) {
        return support::run(
            {"curl",
             {"--silent", "--show-error", "--cacert", home.path("cert.pem"), "--user",
              "reader:reader-pw", address + "/v1/databases/plays/documents"},
             {},
             {}});
    };
    EXPECT_EQ(ask("https://" + server.address()).out, "[]\n");
    EXPECT_NE(ask("http://" + server.address()).ending, support::exited(0));
    EXPECT_EQ(HttpClient(server.unixAddress()).ask(requestText("GET", "/healthz")).status, 200U);
    home.makeCertificate("second", "IP:127.0.0.1");
    EXPECT_NE(ask("https://" + server.address()).ending, support::exited(0)) << "it is not shown";
    server.program().signal(SIGHUP);
    ASSERT_TRUE(server.program().waitForError("were taken up anew"));
    EXPECT_EQ(ask("https://" + server.address()).out, "[]\n");
}

}  // namespace
}  // namespace zdbs::serve
