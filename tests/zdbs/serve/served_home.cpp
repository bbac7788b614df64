#include "tests/zdbs/serve/served_home.h"

#include <cstdlib>

namespace zdbs::serve {
namespace {

ServedHome::Words serveWords(const Server::Words &words, const std::string &unixAddress,
                             const std::string &logFile) {
    ServedHome::Words all = {"serve", "--listen", "127.0.0.1:0", "--listen", unixAddress};
    if (!logFile.empty()) all.insert(all.end(), {"--log", logFile});
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

}  // namespace

ServedHome::ServedHome() {
    run({"init"});
    for (const char *user : {"reader", "writer"})
        run({"user", "add", user, "--password-stdin"}, std::string(user) + "-pw\n");
    for (const char *database : {"plays", "hidden"})
        run({"create", database});
    run({"grant", "reader", "plays"});
    run({"grant", "--write", "writer", "plays"});
}

std::string ServedHome::run(const Words &words, const std::string &input) const {
    const auto result = support::run(command(words), input);
    EXPECT_EQ(result.ending, support::exited(0)) << result.err;
    return result.out;
}

ServedHome::Words ServedHome::makeCertificate(const std::string &name,
                                              const std::string &address) const {
    const std::string key = path("key.pem");
    const std::string certificate = path("cert.pem");
    const auto made =
        support::run({"openssl",
                      {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                       "-nodes", "-keyout", key, "-out", certificate, "-days", "30", "-subj",
                       "/CN=" + name, "-addext", "subjectAltName=" + address},
                      {},
                      {}});
    EXPECT_EQ(made.ending, support::exited(0)) << made.err;
    return {"--tls-cert", certificate, "--tls-key", key};
}

Server::Server(const ServedHome &home, const Words &words, bool logsToFile)
    : logFile_(logsToFile ? home.path("log") : ""),
      unixAddress_("unix:" + home.path("socket")),
      program_(home.command(serveWords(words, unixAddress_, logFile_))) {
    EXPECT_TRUE(program_.waitForOutput(unixAddress_ + '\n')) << program_.output();
    address_ = program_.output().substr(0, program_.output().find('\n'));
}

Response Server::get(std::string_view target, std::string_view user, std::string_view more) const {
    HttpClient client(address_);
    const std::string login = user.empty() ? "" : loginOf(user);
    return client.ask(requestText("GET", target, login + std::string(more)));
}

Response Server::send(std::string_view method, std::string_view target, std::string_view body,
                      std::string_view type, std::string_view user, std::string_view more) const {
    HttpClient client(unixAddress_);
    const std::string kind = "Content-Type: " + std::string(type) + "\r\n";
    return client.ask(requestText(method, target, loginOf(user) + kind + std::string(more), body));
}

double Server::metric(std::string_view name) const {
    const std::string text = get("/metrics").body;
    const std::size_t place = text.find('\n' + std::string(name) + ' ');
    if (place == std::string::npos) return -1;
    return std::strtod(text.c_str() + place + name.size() + 2, nullptr);
}

bool Server::awaitMetric(std::string_view name, double least) const {
    const auto deadline = support::Clock::now() + support::patience;
    while (support::Clock::now() < deadline) {
        if (metric(name) >= least) return true;
    }
    return false;
}

std::string Server::log() const {
    return support::readFile(logFile_);
}

support::ProgramResult Server::end() {
    program_.signal(SIGTERM);
    return program_.finish();
}

std::string loginOf(std::string_view user) {
    return loginLine(user, std::string(user) + "-pw");
}

std::string manyElements(std::size_t count) {
    std::string text = "<list>";
    for (std::size_t i = 1; i <= count; ++i)
        text += "<s n=\"" + std::to_string(i) + "\">text " + std::to_string(i) + "</s>";
    return text + "</list>";
}

std::string nestedElements(std::size_t depth) {
    std::string begin;
    std::string end;
    for (std::size_t i = 0; i < depth; ++i) {
        begin += "<e>";
        end += "</e>";
    }
    return begin + end;
}

}  // namespace zdbs::serve
