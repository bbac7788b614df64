/** What a server is told: where it listens, and how much it gives to whom. */
#ifndef ZDBS_SERVE_SETTINGS_H
#define ZDBS_SERVE_SETTINGS_H

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zdbs::serve {

/** Bytes; limits are in megabytes. */
inline constexpr std::uint64_t megabyte = 1'000'000;

/** Sizes in the units of limitTable(). */
struct Limits {
    std::uint64_t threads = 0;  ///< 0: as many as there are processors
    std::uint64_t connections = 20000;
    std::uint64_t line = 256;
    std::uint64_t perUser = 64;
    std::uint64_t time = 30;
    std::uint64_t memory = 1024;
    std::uint64_t result = 1024;
    std::uint64_t body = 256;
    std::uint64_t header = 16;
    std::uint64_t kept = 16;
    std::uint64_t idle = 60;
    std::uint64_t stall = 20;
    std::uint64_t grace = 10;
    std::uint64_t sessions = 256;
    std::uint64_t sessionIdle = 3600;
};

/** A limit as options and files name it. */
struct LimitRow {
    const char *name;  ///< of the option, without the dashes
    std::uint64_t Limits::*value;
    std::uint64_t least;
    std::uint64_t most;
    bool isReloadable;  ///< SIGHUP gives it its new value; others have it from the start
    const char *description;
};

/** One row for each limit. */
std::span<const LimitRow> limitTable();

struct Settings {
    std::vector<std::string> listen;  ///< none: what systemd hands over, else 127.0.0.1:8080
    std::string certificate;          ///< a PEM file; empty: no TLS
    std::string key;
    std::string file;                            ///< of limits, as "name = number" lines; or empty
    std::map<std::string, std::uint64_t> given;  ///< limits from the command line, by name
    std::string log;                             ///< a file; empty: standard error
    bool isInsecure = false;                     ///< listens beyond loopback without TLS
    bool logsRequests = false;                   ///< with what was asked
};

/**
 * The limits: those that are given, else those of the file, else what they are by themselves.
 * Throws Failure: fileUnreadable; badSetting, with file and line.
 */
Limits limitsOf(const Settings &settings);

/** The same of a file's text, before what is given counts. @param name of the file, for messages */
void readLimits(std::string_view text, std::string_view name, Limits &limits);

}  // namespace zdbs::serve

#endif
