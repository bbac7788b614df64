/** Commands of the program zdbs on a home that a server has. */
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <sstream>

#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using ::testing::HasSubstr;
using Words = std::vector<std::string>;

class RemoteCommands : public ::testing::Test {
protected:
    RemoteCommands() {
        home.run({"load", "plays", home.file("list.xml", manyElements(300))});
        home.run({"load", "hidden", home.file("secret.xml", "<secret/>")});
        ::chmod(home.file("password", "reader-pw\n").c_str(), 0600);
    }

    support::Command there(const std::string &location, const Words &words) const {
        return {ZDBS_PROGRAM,
                words,
                {{"ZDBS_HOME", location},
                 {"ZDBS_CA_FILE", home.path("cert.pem")},
                 {"ZDBS_USER", "reader"},
                 {"ZDBS_PASSWORD_FILE", home.path("password")}},
                {}};
    }
    support::Command there(const Server &server, const Words &words) const {
        return there(server.unixAddress(), words);
    }

    ServedHome home;
    const Words tls = home.makeCertificate("localhost", "IP:127.0.0.1");
};

TEST_F(RemoteCommands, WriteWhatLocalOnesWriteToTheByte) {
    const Server server(home, tls);
    const std::string locations[] = {server.unixAddress(), "https://" + server.address()};
    const std::string requests = "//s[@n<5]\nnix[\n\n//s/@n\n";
    const struct {
        Words words;
        std::string input;
    } rows[] = {
        {{"query", "plays", "//s", "FIND N_NAME=\"s\""}, ""},
        {{"query", "plays"}, requests},
        {{"query", "plays", "-", "//list"}, requests},
        {{"query", "plays", "--ids", "--limit", "7", "//s"}, ""},
        {{"query", "plays", "--csv", "--documents", "--paths", "--values", "//s"}, ""},
        {{"query", "plays", "-0", "--values", "//s/@n"}, ""},
        {{"query", "plays", "--fragments", "/ /@n", "--highlight", "//s[text()='text 7']"}, ""},
        {{"query", "plays", "//s["}, ""},
        {{"query", "plays", "[s]"}, ""},
        {{"query", "hidden", "//secret"}, "no database"},
        {{"query", "nix", "//secret"}, "no database"},
        {{"xpath", "plays", "sum(//s/@n)", "//s[3]", "string(//s[2])"}, ""},
        {{"xpath", "plays", "--variable", "n:number=5", "count(//s[@n=$n])"}, ""},
        {{"xpath", "plays", "--variable", "n"}, ""},
        {{"values", "plays", "--csv", "//s/@n"}, ""},
        {{"paths", "plays"}, ""},
        {{"paths", "plays", "--json"}, ""},
        {{"info", "plays"}, ""},
        {{"info", "plays", "--json"}, ""},
        {{"list", "plays"}, ""},
        {{"dump", "plays", "list.xml"}, ""},
        {{"dump", "plays", "nix"}, ""},
    };
    for (const auto &row : rows) {
        auto wanted = support::run(home.command(row.words), row.input);
        if (row.input == "no database") {
            wanted.out = "";
            wanted.err = "zdbs: There is no such database: " + row.words[1] + ".\n";
            wanted.ending = support::exited(1);
        }
        for (const std::string &location : locations) {
            const auto got = support::run(there(location, row.words), row.input);
            EXPECT_EQ(got.out, wanted.out) << row.words[0] << location;
            EXPECT_EQ(got.err, wanted.err) << row.words[0] << location;
            EXPECT_EQ(got.ending, wanted.ending) << row.words[0] << location;
        }
    }
    EXPECT_THAT(support::run(there(server, {"explain", "plays", "//s"})).out, HasSubstr("300"));
    const std::string listed = support::run(there(server, {"list"})).out;
    EXPECT_THAT(listed, HasSubstr("plays"));
    EXPECT_THAT(listed, ::testing::Not(HasSubstr("hidden")));
}

TEST_F(RemoteCommands, AnswerEachLineBeforeTheNextOneComes) {
    const Server server(home, tls);
    for (const std::string &location : {server.unixAddress(), "https://" + server.address()}) {
        support::PipedProgram program(there(location, {"query", "plays"}));
        program.send("//s\n");
        ASSERT_TRUE(program.waitForOutput("300\n")) << location;
        program.send("//s[@n='7']\n");
        ASSERT_TRUE(program.waitForOutput("1\n")) << location;
        program.closeInput();
        EXPECT_EQ(program.finish().ending, support::exited(0)) << location;
    }
}

TEST_F(RemoteCommands, EndAtTheInterruptKeyWhileTheyWaitForALine) {
    const Server server(home);
    support::PipedProgram program(there(server, {"query", "plays"}));
    program.send("//s\n");
    ASSERT_TRUE(program.waitForOutput("300\n"));
    program.signal(SIGINT);
    EXPECT_EQ(program.finish().ending, support::exited(130));
}

/** More than pipes, sockets and the server keep back, in lines that show where one is missing. */
TEST_F(RemoteCommands, HandOnMuchAsItIs) {
    home.run({"load", "plays", home.file("large.xml", manyElements(150000))});
    std::string many;
    for (int i = 0; i < 5000; ++i)
        many += "//s[@n='" + std::to_string(i + 1) + "']\n";
    const Server server(home, tls);
    for (const auto &[words, input] :
         {std::pair{Words{"dump", "plays", "large.xml"}, std::string()},
          std::pair{Words{"query", "plays"}, many}}) {
        const auto wanted = support::run(home.command(words), input);
        EXPECT_GE(wanted.out.size(), 10000U);
        for (const std::string &location : {server.unixAddress(), "https://" + server.address()}) {
            const auto got = support::run(there(location, words), input);
            EXPECT_TRUE(got.out == wanted.out) << location << ' ' << got.out.size();
            EXPECT_EQ(got.err, wanted.err);
        }
    }
}

/** The processes that one has started. */
std::vector<pid_t> childrenOf(pid_t process) {
    std::vector<pid_t> children;
    const std::string tasks = "/proc/" + std::to_string(process) + "/task";
    for (const auto &task : std::filesystem::directory_iterator(tasks)) {
        std::istringstream list(support::readFile(task.path() / "children"));
        for (pid_t child = 0; list >> child;)
            children.push_back(child);
    }
    return children;
}

TEST_F(RemoteCommands, SayThatWhatTheyWroteIsNotAll) {
    home.run({"load", "plays", "-", "--name", "deep.xml"}, nestedElements(2000));
    Server server(home, tls);
    const auto begin = [&](const std::string &location) {
        return there(location, {"query", "plays", "--fragments", "//e", "//e"});
    };
    const auto expectEnd = [](support::PipedProgram &program, const char *message) {
        const auto result = program.finish();
        EXPECT_EQ(result.ending, support::exited(1));
        EXPECT_THAT(result.err, HasSubstr(message));
    };
    support::PipedProgram first(begin(server.unixAddress()));
    ASSERT_TRUE(first.waitForOutput("<fragment"));
    const auto children = childrenOf(server.program().pid());
    ASSERT_EQ(children.size(), 1U);
    ::kill(children.front(), SIGKILL);
    expectEnd(first, "the command was ended by signal 9");
    support::PipedProgram second(begin("https://" + server.address()));
    ASSERT_TRUE(second.waitForOutput("<fragment"));
    server.program().signal(SIGKILL);
    expectEnd(second, "The connection to the server is lost");
}

TEST_F(RemoteCommands, TakeOnePlaceOfTheirUser) {
    const Server server(home, {"--per-user", "1", "--sessions", "1"});
    for (int i = 0; i < 3; ++i) {
        const auto result = support::run(there(server, {"query", "plays", "//s"}));
        EXPECT_EQ(result.out, "300\n") << result.err;
        while (server.metric("zdbs_kernel_sessions") != 0) {
        }
    }
    support::PipedProgram waiting(there(server, {"query", "plays"}));
    waiting.send("//s\n");
    ASSERT_TRUE(waiting.waitForOutput("300\n"));
    EXPECT_EQ(server.get("/v1/databases").status, 429U) << "it counts while it waits, too";
    EXPECT_EQ(support::run(there(server, {"query", "plays", "//s"})).ending, support::exited(1));
}

TEST_F(RemoteCommands, LeaveTheInputToOthersWhereTheyReadNone) {
    const Server server(home);
    auto shell = there(server, {"-c", "\"$0\" query plays //s; cat", ZDBS_PROGRAM});
    shell.program = "sh";
    EXPECT_EQ(support::run(shell, "left\n").out, "300\nleft\n");
}

TEST_F(RemoteCommands, ThatAreForTheHomesOwnerSayWhereTheyWork) {
    const Server server(home);
    for (const Words &words :
         {Words{"init"}, Words{"compact", "plays"}, Words{"create", "new"}, Words{"drop", "plays"},
          Words{"user", "list"}, Words{"grant", "reader", "hidden"}, Words{"check", "plays"},
          Words{"load", "plays", home.path("list.xml")}, Words{"remove", "plays", "list.xml"},
          Words{"dump", "plays", "--output", home.path("out")},
          Words{"backup", "--output", home.path("backup")}}) {
        const auto result = support::run(there(server, words));
        EXPECT_EQ(result.ending, support::exited(1)) << words[0];
        EXPECT_THAT(result.err, HasSubstr("This cannot be done through a server")) << words[0];
    }
}

/** What a client sends is not what this program would. */
TEST_F(RemoteCommands, OfAUserReachNothingElseOfTheMachine) {
    for (const Words &words : {Words{"compact", "plays"}, Words{"user", "list"}, Words{"serve"},
                               Words{"dump", "plays", "--output", home.path("out")},
                               Words{"dump", "plays", "--output=" + home.path("out")},
                               Words{"query", "--home", home.path("home"), "hidden", "//secret"},
                               Words{"--home=" + home.path("home"), "query", "hidden", "//secret"},
                               Words{"load", "plays", "/etc/hostname"}}) {
        auto command = home.command(words);
        command.environment["ZDBS_GRANTS_OF"] = "reader";
        const auto result = support::run(command);
        EXPECT_EQ(result.ending, support::exited(1)) << words[0];
        EXPECT_THAT(result.err, HasSubstr("This cannot be done through a server")) << words[0];
        EXPECT_EQ(result.out, "") << words[0];
    }
    EXPECT_NE(::access(home.path("out").c_str(), F_OK), 0);
}

TEST_F(RemoteCommands, NeedAUserAndAPassword) {
    const Server server(home);
    auto command = there(server, {"query", "plays", "//s"});
    command.environment["ZDBS_USER"] = "";
    EXPECT_EQ(support::run(command).ending, support::exited(2));
    command.environment["ZDBS_HOME"] = "http://reader@" + server.address();
    EXPECT_EQ(support::run(command).out, "300\n");
    home.file("password", "wrong\n");
    EXPECT_THAT(support::run(command).err,
                HasSubstr("The user is unknown or the password is wrong"));
    ::chmod(home.path("password").c_str(), 0644);
    EXPECT_THAT(support::run(command).err, HasSubstr("can be read by others"));
}

TEST_F(RemoteCommands, EndAtTheInterruptKeyAndAtTheLimitsOfTheServer) {
    home.run({"load", "plays", "-", "--name", "deep.xml"}, nestedElements(2000));
    const Words endless = {"query", "plays", "--fragments", "//e", "//e"};
    {
        const Server server(home);
        support::PipedProgram program(there(server, endless));
        ASSERT_TRUE(program.waitForOutput("<fragment"));
        program.signal(SIGINT);
        const auto result = program.finish();
        EXPECT_EQ(result.ending, support::exited(130));
        EXPECT_THAT(result.err, HasSubstr("zdbs: Stopped: //e\n"));
    }
    for (const auto &[words, message] :
         {std::pair{Server::Words{"--time", "1", "--result", "100000"}, "took longer"},
          std::pair{Server::Words{"--result", "1"}, "larger than answers may be"}}) {
        const Server server(home, words);
        const auto result = support::run(there(server, endless));
        EXPECT_EQ(result.ending, support::exited(1));
        EXPECT_THAT(result.err, HasSubstr(message));
    }
}

}  // namespace
}  // namespace zdbs::serve
