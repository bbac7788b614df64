/** A home with two users, and the program `zdbs serve` on it. */
#ifndef TESTS_ZDBS_SERVE_SERVED_HOME_H
#define TESTS_ZDBS_SERVE_SERVED_HOME_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/piped_program.h"
#include "tests/support/temporary_directory.h"
#include "tests/zdbs/serve/http_client.h"

namespace zdbs::serve {

/** Where users and databases are; made once for several tests. */
class ServedHome {
public:
    using Words = std::vector<std::string>;

    /** The users reader and writer, the databases plays, granted to both, and hidden. */
    ServedHome();

    support::Command command(const Words &words) const {
        return {ZDBS_PROGRAM, words, {{"ZDBS_HOME", directory_ / "home"}}, {}};
    }

    /** Runs a command that has to succeed. */
    std::string run(const Words &words, const std::string &input = "") const;

    /**
     * A key and a certificate of it that signs itself, in cert.pem; answers the options of a server
     * that shows it. @param address as "IP:127.0.0.1" or "DNS:name"
     */
    Words makeCertificate(const std::string &name, const std::string &address) const;

    std::string file(std::string_view name, std::string_view content) const {
        return directory_.write(name, content);
    }
    std::string path(std::string_view name) const { return directory_ / name; }

private:
    support::TemporaryDirectory directory_;
};

/** A server that is ended with it. */
class Server {
public:
    using Words = std::vector<std::string>;

    /**
     * Waits until clients can come. Its log is a file, log(); or standard error, to be waited for.
     */
    explicit Server(const ServedHome &home, const Words &words = {}, bool logsToFile = true);

    /** A name of what it listens at, port and all. */
    const std::string &address() const { return address_; }
    const std::string &unixAddress() const { return unixAddress_; }

    /** One request at a connection of its own. */
    Response get(std::string_view target, std::string_view user = "reader",
                 std::string_view more = {}) const;
    Response send(std::string_view method, std::string_view target, std::string_view body,
                  std::string_view type = "application/xml", std::string_view user = "writer",
                  std::string_view more = {}) const;

    /** A number of /metrics. */
    double metric(std::string_view name) const;

    /** Asks until the number is at least so much; each time is a round trip. */
    bool awaitMetric(std::string_view name, double least) const;

    support::PipedProgram &program() { return program_; }
    std::string log() const;

    /** By SIGTERM. */
    support::ProgramResult end();

private:
    std::string logFile_;
    std::string unixAddress_;
    support::PipedProgram program_;
    std::string address_;
};

/** Each has the password that is its name and "-pw". */
std::string loginOf(std::string_view user);

/** A document of many `<s n="1">text 1</s>`. */
std::string manyElements(std::size_t count);

/** `<e><e>…</e></e>`: the fragments of each with all that are in it are of gigabytes. */
std::string nestedElements(std::size_t depth);

/** Evaluating it takes longer than any test waits, where there are a few thousand elements. */
inline constexpr std::string_view endlessTarget =
    "/v1/databases/plays/xpath?q=count(//s%5Bsum(preceding::s)%20%3E%20sum(following::s)%5D)";

}  // namespace zdbs::serve

#endif
