#include "tests/support/database_server.h"

#include <fcntl.h>
#include <grp.h>
#include <libpq-fe.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

namespace support {

namespace fs = std::filesystem;

namespace {

constexpr const char *user = "nobody";  ///< the server refuses to run as root

fs::path programs() {
    const fs::path all = "/usr/lib/postgresql";
    std::error_code none;
    for (const auto &version : fs::directory_iterator(all, none)) {
        if (fs::exists(version.path() / "bin/initdb") &&
            fs::exists(version.path() / "bin/postgres"))
            return version.path() / "bin";
    }
    return {};
}

std::string makeFolder() {
    std::string pattern = (fs::temp_directory_path() / "zdbs_server_XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    if (::geteuid() == 0) {
        const passwd *entry = ::getpwnam(user);
        if (!entry || ::chown(pattern.c_str(), entry->pw_uid, entry->pw_gid) != 0)
            throw std::runtime_error("no ordinary user");
    }
    return pattern;
}

/** In a child: as an ordinary user, ended with the parent. */
void becomeOrdinary() {
    if (::geteuid() == 0) {
        const passwd *entry = ::getpwnam(user);
        if (::setgroups(0, nullptr) != 0 || ::setgid(entry->pw_gid) != 0 ||
            ::setuid(entry->pw_uid) != 0)
            ::_exit(126);
    }
    ::prctl(PR_SET_PDEATHSIG, SIGQUIT);
}

pid_t spawn(const std::string &log, std::vector<std::string> words) {
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const pid_t child = ::fork();
    if (child != 0) return child;
    becomeOrdinary();
    const int out = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(out, STDERR_FILENO);
    // It is to be out of memory before the machine is. A parent with address checks has more, and
    // this copy of it can get none from here on.
    const rlimit most{std::size_t{4} << 30, std::size_t{4} << 30};
    if (::chdir("/") == 0 && ::setrlimit(RLIMIT_AS, &most) == 0)
        ::execv(arguments[0], arguments.data());
    ::_exit(127);
}

using Connection = std::unique_ptr<PGconn, decltype(&PQfinish)>;

}  // namespace

bool DatabaseServer::canStart() {
    return !programs().empty();
}

bool DatabaseServer::canHaveShards() {
    return canStart() &&
           fs::exists("/usr/share/postgresql/" + programs().parent_path().filename().string() +
                      "/extension/plproxy.control");
}

DatabaseServer &DatabaseServer::shardOfProcess(std::size_t number) {
    static std::map<std::size_t, DatabaseServer> servers;
    return servers[number];
}

std::string DatabaseServer::nameOf(const std::string &key) {
    return "l" + std::to_string(std::hash<std::string>()(key));
}

DatabaseServer &DatabaseServer::ofProcess() {
    static DatabaseServer server;
    return server;
}

DatabaseServer::DatabaseServer() : folder_(makeFolder()) {
    const pid_t made =
        spawn(folder_ + "/log", {(programs() / "initdb").string(), "-D", folder_ + "/data", "-U",
                                 "zdbs", "-A", "trust", "-E", "UTF8", "--locale=C", "-N"});
    int status = 0;
    ::waitpid(made, &status, 0);
    if (status != 0) throw std::runtime_error("initdb failed, see " + folder_ + "/log");
    start();
}

DatabaseServer::~DatabaseServer() {
    kill();
    std::error_code none;
    fs::remove_all(folder_, none);
}

void DatabaseServer::start() {
    process_ = spawn(folder_ + "/log", {(programs() / "postgres").string(),
                                        "-D",
                                        folder_ + "/data",
                                        "-k",
                                        folder_,
                                        "-c",
                                        "listen_addresses=",
                                        "-c",
                                        "fsync=off",
                                        "-c",
                                        "full_page_writes=off",
                                        "-c",
                                        "synchronous_commit=off",
                                        "-c",
                                        "max_connections=60",
                                        "-c",
                                        "shared_buffers=64MB",
                                        "-c",
                                        "autovacuum=off",
                                        "-c",
                                        "max_prepared_transactions=0"});
    // It takes connections when a first one succeeds; it ends when it cannot.
    for (;;) {
        const std::string text = "host=" + folder_ + " user=zdbs dbname=postgres";
        const Connection connection(PQconnectdb(text.c_str()), PQfinish);
        if (PQstatus(connection.get()) == CONNECTION_OK) return;
        int status = 0;
        if (::waitpid(process_, &status, WNOHANG) == process_)
            throw std::runtime_error("no server, see " + folder_ + "/log");
        ::usleep(10000);
    }
}

void DatabaseServer::kill() {
    if (process_ < 0) return;
    ::kill(process_, SIGCONT);
    ::kill(process_, SIGQUIT);
    int status = 0;
    ::waitpid(process_, &status, 0);
    process_ = -1;
}

std::string DatabaseServer::execute(const std::string &database, const std::string &statement) {
    const std::string text = "host=" + folder_ + " user=zdbs dbname=" + database;
    const Connection connection(PQconnectdb(text.c_str()), PQfinish);
    const std::unique_ptr<PGresult, decltype(&PQclear)> result(
        PQexec(connection.get(), statement.c_str()), PQclear);
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        throw std::runtime_error(PQerrorMessage(connection.get()));
    return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
}

void DatabaseServer::createDatabase(const std::string &key) {
    execute("postgres", "create database " + nameOf(key));
}

std::string DatabaseServer::urlOf(const std::string &key) const {
    return "postgresql://zdbs@/" + nameOf(key) + "?host=" + folder_;
}

std::string DatabaseServer::run(const std::string &key, const std::string &statement) {
    return execute(nameOf(key), statement);
}

}  // namespace support
