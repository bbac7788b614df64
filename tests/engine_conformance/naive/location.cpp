#include "tests/engine_conformance/naive/location.h"

#include <fstream>
#include <sstream>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/load/input.h"
#include "zdbs/load/loader.h"

namespace zdbs::naive {

namespace fs = std::filesystem;

namespace {

constexpr const char *usersFile = "users";
constexpr const char *firstRecordFile = "first_record";

void readUsers(const fs::path &directory, Location &location) {
    std::ifstream file(directory / usersFile);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string name;
        User user;
        words >> name >> user.password;
        for (std::string database; words >> database;)
            user.databases.insert(database);
        location.users.emplace(name, user);
    }
}

void readDatabase(const fs::path &folder, const LocationPtr &location) {
    const std::string name = folder.filename();
    administer(location)->createDatabase(name);
    const auto load = startLoad(location, name, {});
    std::set<fs::path> files(fs::directory_iterator(folder), {});
    for (const fs::path &file : files) {
        if (file.extension() != ".xml") continue;
        Loader(*load).load(*openFile(file), file.native(), file.filename().native());
    }
    load->commit();
}

LocationPtr read(const fs::path &directory) {
    auto location = std::make_shared<Location>();
    std::ifstream(directory / firstRecordFile) >> location->firstRecord;
    readUsers(directory, *location);
    for (const auto &entry : fs::directory_iterator(directory)) {
        if (entry.is_directory()) readDatabase(entry.path(), location);
    }
    return location;
}

}  // namespace

User &Location::user(std::string_view name) {
    const auto found = users.find(name);
    if (found == users.end()) throw Failure(Status::unknownUser, {name});
    return found->second;
}

const StoredPtr &Location::database(std::string_view name) {
    const auto found = databases.find(name);
    if (found == databases.end()) throw Failure(Status::unknownDatabase, {name});
    return found->second;
}

bool Location::mayRead(std::string_view name, std::string_view database) const {
    const auto found = users.find(name);
    if (found == users.end() || !databases.contains(database)) return false;
    return found->second.databases.contains(database) || found->second.databases.contains("*");
}

bool Location::mayWrite(std::string_view name, std::string_view database) const {
    const auto found = users.find(name);
    if (found == users.end() || !databases.contains(database)) return false;
    return found->second.written.contains(database) || found->second.written.contains("*");
}

void makeLocation(const fs::path &directory, RecordId firstRecord) {
    if (fs::exists(directory) && !(fs::is_directory(directory) && fs::is_empty(directory)))
        throw Failure(Status::homeExists, {directory.native()});
    fs::create_directories(directory);
    std::ofstream(directory / usersFile).flush();
    std::ofstream(directory / firstRecordFile) << firstRecord;
}

LocationPtr locate(const fs::path &directory) {
    static std::mutex mutex;
    static std::map<fs::path, LocationPtr> known;
    if (!fs::exists(directory / usersFile))
        throw Failure(Status::homeMissing, {directory.native()});
    const std::lock_guard lock(mutex);
    LocationPtr &location = known[fs::canonical(directory)];
    if (!location) location = read(directory);
    return location;
}

}  // namespace zdbs::naive
