/** Users and databases of a location, in the memory of this process. */
#ifndef TESTS_ENGINE_CONFORMANCE_NAIVE_LOCATION_H
#define TESTS_ENGINE_CONFORMANCE_NAIVE_LOCATION_H

#include <condition_variable>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/engine_conformance/naive/forest.h"
#include "zdbs/engine/administration.h"

namespace zdbs::naive {

struct User {
    std::string password;
    std::set<std::string, std::less<>> databases;
    std::set<std::string, std::less<>> written;  ///< some of these
};

/** What a database is between two loads. */
struct Stored {
    ForestPtr forest = std::make_shared<const Forest>(std::vector<DocumentPtr>());
    std::string notes;
    RecordId next = 1;    ///< no record had this number yet
    bool isHeld = false;  ///< somebody has the right to change it
};

using StoredPtr = std::shared_ptr<Stored>;

struct Location {
    std::mutex mutex;
    std::condition_variable released;  ///< a database is held no more
    RecordId firstRecord = 1;          ///< of every database that is made
    std::map<std::string, User, std::less<>> users;
    std::map<std::string, StoredPtr, std::less<>> databases;

    /** These REQUIRE the mutex. Throw Failure: unknownUser, unknownDatabase. */
    User &user(std::string_view name);
    const StoredPtr &database(std::string_view name);

    bool mayRead(std::string_view user, std::string_view database) const;
    bool mayWrite(std::string_view user, std::string_view database) const;
};

using LocationPtr = std::shared_ptr<Location>;

/** Makes the directory. Throws Failure(homeExists). */
void makeLocation(const std::filesystem::path &directory, RecordId firstRecord = 1);

/**
 * What this process knows of a location. When it learns of it, it takes the users of the file
 * `users` (lines of a name, a password, databases), the number of the file `first_record`, and
 * each folder for a database of the documents in it. Throws Failure(homeMissing).
 */
LocationPtr locate(const std::filesystem::path &directory);

std::shared_ptr<const Engine> openEngine(LocationPtr location);
std::unique_ptr<Administration> administer(LocationPtr location);

/** Throws Failure(unknownDatabase). */
std::unique_ptr<Load> startLoad(LocationPtr location, std::string_view database,
                                const WaitingReport &waiting);

}  // namespace zdbs::naive

#endif
