#include "zdbs/embedded/home/user_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

#include "zdbs/base/names.h"
#include "zdbs/base/password.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/columns/checked_blocks.h"

namespace zdbs::embedded {

namespace {

constexpr std::string_view title = "zdbs-users ";
constexpr std::string_view version = "2";
constexpr std::string_view versionWithoutChecksum = "1";
constexpr std::string_view checksumWord = "checksum ";

// Cuts the text up to `end` off the front; all of it when `end` is not there.
std::string_view cut(std::string_view &text, char end) {
    const std::size_t length = std::min(text.find(end), text.size());
    const std::string_view part = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    return part;
}

/** Whether it was there. */
bool erase(std::set<std::string, std::less<>> &names, std::string_view name) {
    const auto found = names.find(name);
    if (found == names.end()) return false;
    names.erase(found);
    return true;
}

/** The last line, about all lines in front of it. */
std::string checksumLine(std::string_view lines) {
    std::array<char, 10> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x\n", static_cast<unsigned>(crc32Of(lines)));
    return std::string(checksumWord) + digits.data();
}

/** The text without its last line; throws Failure(homeDamaged) unless that is the right one. */
std::string_view verified(std::string_view text, std::string_view file) {
    const std::size_t length = std::min(text.size(), checksumLine("").size());
    const std::string_view lines = text.substr(0, text.size() - length);
    if (text.substr(lines.size()) == checksumLine(lines)) return lines;
    throw Failure(Status::homeDamaged, {file, "its checksum is wrong"});
}

[[noreturn]] void failAtLine(std::string_view file, std::size_t line) {
    throw Failure(Status::homeDamaged, {file, "line " + std::to_string(line)});
}

}  // namespace

UserTable UserTable::parse(std::string_view text, std::string_view file) {
    const std::string_view whole = text;
    std::string_view first = cut(text, '\n');
    if (!first.starts_with(title)) failAtLine(file, 1);
    first.remove_prefix(title.size());
    if (first == version) {
        text.remove_suffix(whole.size() - verified(whole, file).size());
    } else if (first != versionWithoutChecksum) {
        throw Failure(Status::homeVersion,
                      {file, std::string(first) + " instead of " + std::string(version)});
    }

    UserTable table;
    for (std::size_t line = 2; !text.empty(); ++line) {
        if (!table.parseLine(cut(text, '\n'), first == version)) failAtLine(file, line);
    }
    return table;
}

bool UserTable::parseLine(std::string_view line, bool mayNameWriters) {
    const std::string_view what = cut(line, ' ');
    const std::string_view name = cut(line, ' ');
    if (!isValidName(name)) return false;
    if (what == "user") {
        return isPasswordHash(line) &&
               users_.emplace(std::string(name), User{std::string(line), {}, {}}).second;
    }
    const auto user = users_.find(name);
    if (user == users_.end()) return false;
    if (line != everyDatabase && !isValidName(line)) return false;
    if (what == "grant") return user->second.databases.emplace(line).second;
    return what == "write" && mayNameWriters && user->second.databases.contains(line) &&
           user->second.written.emplace(line).second;
}

std::string UserTable::serialize() const {
    std::string text = std::string(title).append(version) + '\n';
    for (const auto &[name, user] : users_) {
        text += "user " + name + ' ' + user.hash + '\n';
        for (const auto &database : user.databases)
            text += "grant " + name + ' ' + database + '\n';
        for (const auto &database : user.written)
            text += "write " + name + ' ' + database + '\n';
    }
    return text + checksumLine(text);
}

bool UserTable::contains(std::string_view user) const {
    return users_.find(user) != users_.end();
}

std::vector<std::string> UserTable::users() const {
    std::vector<std::string> names;
    for (const auto &[name, user] : users_)
        names.push_back(name);
    return names;
}

std::vector<std::string> UserTable::grants(std::string_view user) const {
    const auto &databases = find(user).databases;
    return {databases.begin(), databases.end()};
}

std::vector<std::string> UserTable::writingGrants(std::string_view user) const {
    const auto &databases = find(user).written;
    return {databases.begin(), databases.end()};
}

bool UserTable::authenticate(std::string_view user, std::string_view password) const {
    const auto found = users_.find(user);
    if (found != users_.end()) return verifyPassword(password, found->second.hash);
    verifyNothing(password);
    return false;
}

bool UserTable::mayRead(std::string_view user, std::string_view database) const {
    const auto found = users_.find(user);
    return found != users_.end() && covers(found->second.databases, database);
}

bool UserTable::mayWrite(std::string_view user, std::string_view database) const {
    const auto found = users_.find(user);
    return found != users_.end() && covers(found->second.written, database);
}

bool UserTable::covers(const Names &granted, std::string_view database) {
    return granted.contains(database) || granted.contains(everyDatabase);
}

void UserTable::add(std::string_view user, std::string_view password) {
    requireValidName(user);
    if (contains(user)) throw Failure(Status::userExists, {user});
    users_.emplace(std::string(user), User{hashPassword(password), {}, {}});
}

void UserTable::setPassword(std::string_view user, std::string_view password) {
    find(user).hash = hashPassword(password);
}

void UserTable::remove(std::string_view user) {
    find(user);
    users_.erase(users_.find(user));
}

void UserTable::grant(std::string_view user, std::string_view database) {
    if (database != everyDatabase) requireValidName(database);
    find(user).databases.emplace(database);
}

void UserTable::grantWriting(std::string_view user, std::string_view database) {
    grant(user, database);
    find(user).written.emplace(database);
}

void UserTable::revoke(std::string_view user, std::string_view database) {
    auto &[hash, databases, written] = find(user);
    const auto granted = databases.find(database);
    if (granted == databases.end()) throw Failure(Status::notGranted, {user, database});
    databases.erase(granted);
    erase(written, database);
}

void UserTable::revokeWriting(std::string_view user, std::string_view database) {
    if (!erase(find(user).written, database)) throw Failure(Status::notGranted, {user, database});
}

void UserTable::forgetDatabase(std::string_view database) {
    for (auto &[name, user] : users_) {
        erase(user.databases, database);
        erase(user.written, database);
    }
}

UserTable::User &UserTable::find(std::string_view user) {
    const auto found = users_.find(user);
    if (found == users_.end()) throw Failure(Status::unknownUser, {user});
    return found->second;
}

const UserTable::User &UserTable::find(std::string_view user) const {
    const auto found = users_.find(user);
    if (found == users_.end()) throw Failure(Status::unknownUser, {user});
    return found->second;
}

}  // namespace zdbs::embedded
