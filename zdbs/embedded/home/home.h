/**
 * The home: the directory that holds the users, their grants and the databases.
 *
 *   HOME/users                     users and grants, a small text file
 *   HOME/lock                      held by whoever changes users or databases
 *   HOME/reserve                   room for what takes something away, see Reserve
 *   HOME/databases/NAME/           one database
 *
 * Directories are mode 0700 and files 0600, whatever the umask. Names of users
 * and databases are checked by isValidName(), so that nothing else ever becomes
 * a file name.
 */
#ifndef ZDBS_EMBEDDED_HOME_HOME_H
#define ZDBS_EMBEDDED_HOME_HOME_H

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/home/users_file.h"
#include "zdbs/embedded/store/reserve.h"

namespace zdbs::embedded {

class CommittedState;
class Environment;
class Writer;

/**
 * One home. Every operation reads what other processes committed last, so that
 * a grant holds from the next call on. Any thread may call; changes by several
 * processes wait for each other.
 *
 * Every operation throws Failure: homeUnreadable, homeVersion, homeDamaged when
 * the home cannot be read; those that change something also homeReadOnly,
 * diskFull, storeFailed.
 */
class Home {
public:
    /** Opens a home that is there. Throws Failure: homeMissing. */
    static std::shared_ptr<Home> open(const std::filesystem::path &path);

    /**
     * Makes a home, with the folders above it where they are missing. An empty
     * directory is taken over. Throws Failure: homeExists.
     */
    static std::shared_ptr<Home> create(const std::filesystem::path &path);

    ~Home();
    Home(const Home &) = delete;
    Home &operator=(const Home &) = delete;

    const std::filesystem::path &path() const { return path_; }

    /**
     * Is this the password of this user? Takes the time of one slow hash whether
     * the user exists or not, and compares in constant time.
     */
    bool authenticate(std::string_view user, std::string_view password) const;

    /** Is the database granted to the user, by name or by `*`? It need not exist. */
    bool mayRead(std::string_view user, std::string_view database) const;

    /** Likewise: may the user change it? */
    bool mayWrite(std::string_view user, std::string_view database) const;

    /** Another number, from 1, each time that another users file was found. */
    std::uint64_t usersState() const { return users_.state(); }

    /** All users, in order of name. */
    std::vector<std::string> users() const;

    /** What a user may read, in order of name; `*` is every database. Throws: unknownUser. */
    std::vector<std::string> grants(std::string_view user) const;

    /** Which of these the user may change. Throws: unknownUser. */
    std::vector<std::string> writingGrants(std::string_view user) const;

    /** Throws Failure: badName, userExists, badPassword (too long, or a NUL in it). */
    void addUser(std::string_view user, std::string_view password);

    /** Throws Failure: unknownUser, badPassword. */
    void setPassword(std::string_view user, std::string_view password);

    /** Removes a user with all grants. Throws Failure: unknownUser. */
    void removeUser(std::string_view user);

    /** Granting twice changes nothing. Throws Failure: unknownUser, unknownDatabase. */
    void grant(std::string_view user, std::string_view database);

    /** To write as well as to read; otherwise as grant(). */
    void grantWriting(std::string_view user, std::string_view database);

    /** Throws Failure: unknownUser, notGranted. */
    void revoke(std::string_view user, std::string_view database);

    /** The user may go on reading. Throws Failure: unknownUser, notGranted. */
    void revokeWriting(std::string_view user, std::string_view database);

    /** False for names that are no valid names, too. */
    bool hasDatabase(std::string_view database) const;

    /** All databases, in order of name. */
    std::vector<std::string> databases() const;

    /** Makes an empty database. Throws Failure: badName, databaseExists. */
    void createDatabase(std::string_view database);

    /**
     * Removes a database and the grants that name it. States of it that are
     * open stay readable. Waits for a load that is running, as write() does.
     * Throws Failure: unknownDatabase.
     */
    void dropDatabase(std::string_view database, const std::function<void()> &waiting = {});

    /**
     * The newest committed state of a database. The same pointer comes back as
     * long as a caller holds it and nothing was committed; finding that out
     * takes about a microsecond. Throws Failure: unknownDatabase.
     */
    std::shared_ptr<const CommittedState> state(std::string_view database) const;

    /**
     * The right to change a database; one holder at a time among all processes.
     * When another one holds it, `waiting` is called once and then this waits.
     * Throws Failure: unknownDatabase, badSetting (of ZDBS_PART_NODES).
     */
    std::unique_ptr<Writer> write(std::string_view database,
                                  const std::function<void()> &waiting = {});

    /** In the directory of a database: a text of those who keep it in step with something else. */
    static constexpr const char *notesFileName = "notes";

    /** Empty where none is. Throws Failure: unknownDatabase. */
    std::string notes(std::string_view database) const;

    /** Throws Failure: unknownDatabase. */
    void keepNotes(std::string_view database, std::string_view text);

    /** The directory of a database, there or not. REQUIRES isValidName(database). */
    std::filesystem::path databasePath(std::string_view database) const;

private:
    void requireGrantable(std::string_view database) const;
    explicit Home(std::filesystem::path path);

    void changeUsers(const std::function<void(UserTable &)> &change);
    void reduceUsers(const std::function<void(UserTable &)> &change);
    void replaceUsers(const std::function<void(UserTable &)> &change);
    std::shared_ptr<Environment> environment(std::string_view database) const;
    void makeDatabase(const std::filesystem::path &making, std::string_view database) const;
    void removeLeftovers() const;

    std::filesystem::path path_;
    UsersFile users_;
    Reserve reserve_;
    mutable std::mutex mutex_;
    mutable std::map<std::string, std::weak_ptr<const CommittedState>, std::less<>> states_;
};

}  // namespace zdbs::embedded

#endif
