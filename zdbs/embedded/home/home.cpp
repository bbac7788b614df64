#include "zdbs/embedded/home/home.h"
#include "zdbs/base/directory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

#include "zdbs/base/names.h"
#include "zdbs/base/part_size.h"
#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/home/user_table.h"
#include "zdbs/embedded/store/committed_state.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs::embedded {

namespace fs = std::filesystem;

namespace {

constexpr const char *lockName = "lock";
constexpr const char *databasesName = "databases";

// What Home::create() makes before the users file, which comes last.
bool isUnfinishedHome(const fs::path &path) {
    for (const auto &entry : fs::directory_iterator(path)) {
        const std::string name = entry.path().filename().native();
        if (name == databasesName && fs::is_empty(entry.path())) continue;
        if (name != lockName && name != "users.new") return false;
    }
    return true;
}

}  // namespace

Home::Home(fs::path path) : path_(std::move(path)), users_(path_), reserve_(path_) {}

Home::~Home() = default;

std::shared_ptr<Home> Home::open(const fs::path &path) {
    std::shared_ptr<Home> home(new Home(path));
    home->users_.table();
    return home;
}

std::shared_ptr<Home> Home::create(const fs::path &path) {
    try {
        if (fs::exists(path) && (!fs::is_directory(path) || !isUnfinishedHome(path)))
            throw Failure(Status::homeExists, {path.native()});
        if (path.has_parent_path()) fs::create_directories(path.parent_path());
    } catch (const fs::filesystem_error &error) {
        throwWriteError(error.code().value(), error.path1());
    }
    makePrivateDirectory(path);
    const FileLock lock(path / lockName);
    const fs::path users = UsersFile(path).path();
    if (fs::exists(users)) throw Failure(Status::homeExists, {path.native()});
    makePrivateDirectory(path / databasesName);
    replacePrivateFile(users, UserTable().serialize());
    Reserve(path).fill();
    return open(path);
}

void Home::changeUsers(const std::function<void(UserTable &)> &change) {
    const FileLock lock(path_ / lockName);
    reserve_.fill();
    replaceUsers(change);
}

// For changes that leave the file as large as it is or smaller: those get through on a full disk.
void Home::reduceUsers(const std::function<void(UserTable &)> &change) {
    const FileLock lock(path_ / lockName);
    reserve_.use([&] { replaceUsers(change); });
}

// REQUIRES the lock of the home.
void Home::replaceUsers(const std::function<void(UserTable &)> &change) {
    const auto before = users_.table();
    UserTable table = *before;
    change(table);
    const std::string text = table.serialize();
    if (text != before->serialize()) replacePrivateFile(users_.path(), text);
}

bool Home::authenticate(std::string_view user, std::string_view password) const {
    return users_.table()->authenticate(user, password);
}

bool Home::mayRead(std::string_view user, std::string_view database) const {
    return users_.table()->mayRead(user, database);
}

bool Home::mayWrite(std::string_view user, std::string_view database) const {
    return users_.table()->mayWrite(user, database);
}

std::vector<std::string> Home::users() const {
    return users_.table()->users();
}

std::vector<std::string> Home::grants(std::string_view user) const {
    return users_.table()->grants(user);
}

std::vector<std::string> Home::writingGrants(std::string_view user) const {
    return users_.table()->writingGrants(user);
}

void Home::addUser(std::string_view user, std::string_view password) {
    changeUsers([&](UserTable &table) { table.add(user, password); });
}

void Home::setPassword(std::string_view user, std::string_view password) {
    reduceUsers([&](UserTable &table) { table.setPassword(user, password); });
}

void Home::removeUser(std::string_view user) {
    reduceUsers([&](UserTable &table) { table.remove(user); });
}

void Home::grant(std::string_view user, std::string_view database) {
    changeUsers([&](UserTable &table) {
        table.grant(user, database);
        requireGrantable(database);
    });
}

void Home::grantWriting(std::string_view user, std::string_view database) {
    changeUsers([&](UserTable &table) {
        table.grantWriting(user, database);
        requireGrantable(database);
    });
}

// A grant that waits for a database of that name would surprise whoever makes one.
void Home::requireGrantable(std::string_view database) const {
    if (database != everyDatabase && !hasDatabase(database))
        throw Failure(Status::unknownDatabase, {database});
}

void Home::revoke(std::string_view user, std::string_view database) {
    reduceUsers([&](UserTable &table) { table.revoke(user, database); });
}

void Home::revokeWriting(std::string_view user, std::string_view database) {
    reduceUsers([&](UserTable &table) { table.revokeWriting(user, database); });
}

fs::path Home::databasePath(std::string_view database) const {
    return path_ / databasesName / database;
}

bool Home::hasDatabase(std::string_view database) const {
    if (!isValidName(database)) return false;
    std::error_code ignored;
    return fs::exists(databasePath(database) / Environment::dataFileName, ignored);
}

std::vector<std::string> Home::databases() const {
    std::vector<std::string> names;
    std::error_code error;
    for (std::string &name : namesIn(path_ / databasesName, error)) {
        if (hasDatabase(name)) names.push_back(std::move(name));
    }
    if (error) throwReadError(error.value(), path_);
    std::sort(names.begin(), names.end());
    return names;
}

// A database is made under a name that no database can have and then renamed, so that it is
// there as a whole or not at all; dropping goes the same way backwards.
void Home::createDatabase(std::string_view database) {
    requireValidName(database);
    const FileLock lock(path_ / lockName);
    removeLeftovers();
    if (hasDatabase(database)) throw Failure(Status::databaseExists, {database});
    reserve_.fill();
    const fs::path making = path_ / databasesName / ("." + std::string(database));
    try {
        makeDatabase(making, database);
    } catch (...) {
        removeFolder(making);  // what is left the next one removes
        throw;
    }
}

void Home::makeDatabase(const fs::path &making, std::string_view database) const {
    makePrivateDirectory(making);
    Environment::create(making);
    makePrivateFile(making / Writer::lockFileName);
    syncDirectory(making);
    const DirectorySync databases(path_ / databasesName);
    if (::rename(making.c_str(), databasePath(database).c_str()) != 0)
        throwWriteError(errno, databasePath(database));
    databases.sync();
}

void Home::dropDatabase(std::string_view database, const std::function<void()> &waiting) {
    if (!hasDatabase(database)) throw Failure(Status::unknownDatabase, {database});
    const fs::path directory = databasePath(database);
    const FileLock writer(directory / Writer::lockFileName, waiting);
    if (!writer.isAt(directory / Writer::lockFileName))
        throw Failure(Status::unknownDatabase, {database});
    const FileLock lock(path_ / lockName);
    removeLeftovers();
    const DirectorySync databases(path_ / databasesName);
    reserve_.use([&] {
        // The grants go first: they must not be there for a later database of the same name.
        replaceUsers([&](UserTable &table) { table.forgetDatabase(database); });
        const fs::path dropped = path_ / databasesName / ("." + std::string(database));
        if (::rename(directory.c_str(), dropped.c_str()) != 0) throwWriteError(errno, directory);
        databases.sync();
        removeFolder(dropped);  // the database is gone; what is left the next one removes
    });
}

// What a killed creation or drop left. REQUIRES the lock of the home.
void Home::removeLeftovers() const {
    std::error_code error;
    for (const std::string &name : namesIn(path_ / databasesName, error)) {
        if (name.front() == '.' && !error) fs::remove_all(path_ / databasesName / name, error);
    }
    if (error) throwWriteError(error.value(), path_ / databasesName);
}

std::shared_ptr<Environment> Home::environment(std::string_view database) const {
    if (!isValidName(database)) throw Failure(Status::unknownDatabase, {database});
    return Environment::open(databasePath(database));
}

std::shared_ptr<const CommittedState> Home::state(std::string_view database) const {
    const std::lock_guard lock(mutex_);
    const auto place = states_.find(database);
    auto known = place != states_.end() ? place->second.lock() : nullptr;
    if (known && known->isNewest()) return known;
    const auto shared = environment(database);
    const bool isSame = known && known->tables().environment == shared &&
                        known->number() == CommittedState::newest(shared);
    if (isSame) return known;  // what was committed since changed nothing
    auto opened = std::make_shared<const CommittedState>(shared);
    states_.insert_or_assign(std::string(database), opened);
    return opened;
}

std::unique_ptr<Writer> Home::write(std::string_view database,
                                    const std::function<void()> &waiting) {
    reserve_.fill();
    SegmentLimits limits;
    limits.nodesOfPart = nodesOfPart(lastNodeId);
    return std::make_unique<Writer>(environment(database), waiting, limits);
}

std::string Home::notes(std::string_view database) const {
    if (!hasDatabase(database)) throw Failure(Status::unknownDatabase, {database});
    const fs::path path = databasePath(database) / notesFileName;
    std::ifstream file(path, std::ios::binary);
    if (!file && errno == ENOENT) return {};
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) throwReadError(errno, path);
    return text;
}

void Home::keepNotes(std::string_view database, std::string_view text) {
    if (!hasDatabase(database)) throw Failure(Status::unknownDatabase, {database});
    replacePrivateFile(databasePath(database) / notesFileName, text);
}

}  // namespace zdbs::embedded
