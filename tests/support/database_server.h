/** A server of databases that a test program starts for itself. */
#ifndef TESTS_SUPPORT_DATABASE_SERVER_H
#define TESTS_SUPPORT_DATABASE_SERVER_H

#include <sys/types.h>

#include <string>
#include <string_view>

namespace support {

/**
 * PostgreSQL as an ordinary user, in a temporary folder, on a socket there and nowhere else; gone
 * with what started it.
 */
class DatabaseServer {
public:
    /** Whether its programs are installed. */
    static bool canStart();

    /** Whether PL/Proxy is installed, too. */
    static bool canHaveShards();

    /** The one of this process, started when it is first asked for. */
    static DatabaseServer &ofProcess();

    /** Others beside it, by their numbers from 0; likewise. */
    static DatabaseServer &shardOfProcess(std::size_t number);

    /** Throws std::runtime_error with what it says where it does not start. */
    DatabaseServer();
    ~DatabaseServer();
    DatabaseServer(const DatabaseServer &) = delete;
    DatabaseServer &operator=(const DatabaseServer &) = delete;

    /** One for each key; what it is called is known to urlOf(). */
    void createDatabase(const std::string &key);
    std::string urlOf(const std::string &key) const;
    static std::string nameOf(const std::string &key);

    /** Runs a statement on it, as its owner; the first column of the first row. */
    std::string run(const std::string &key, const std::string &statement);

    const std::string &folder() const { return folder_; }
    pid_t process() const { return process_; }

    /** Ends it at once, as a crash does, and starts it again. */
    void kill();
    void start();

private:
    std::string execute(const std::string &database, const std::string &statement);

    std::string folder_;
    pid_t process_ = -1;
};

}  // namespace support

#endif
