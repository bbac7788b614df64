#include <algorithm>
#include <string>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/password_prompt.h"
#include "zdbs/answers/json.h"
#include "zdbs/base/names.h"
#include "zdbs/base/status.h"
#include "zdbs/engine/registry.h"

namespace zdbs::admin {

namespace {

bool hasUser(const Administration &home, const std::string &user) {
    const auto users = home.users();
    return std::find(users.begin(), users.end(), user) != users.end();
}

std::string newPassword(const std::string &user, bool passwordFromInput) {
    return passwordFromInput ? readPasswordLine() : askForNewPassword(user);
}

std::string joined(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

std::string usersAsJson(const Administration &home) {
    JsonWriter json;
    json.beginArray();
    for (const std::string &user : home.users()) {
        json.beginObject().key("user").value(user).key("databases").beginArray();
        for (const std::string &database : home.grants(user))
            json.value(database);
        json.endArray().key("writes").beginArray();
        for (const std::string &database : home.writingGrants(user))
            json.value(database);
        json.endArray().endObject();
    }
    return json.endArray().text() + '\n';
}

/** ":write" is behind what the user may change, too. */
std::vector<std::string> withRights(const Administration &home, const std::string &user) {
    std::vector<std::string> databases = home.grants(user);
    const std::vector<std::string> written = home.writingGrants(user);
    for (std::string &database : databases) {
        if (std::find(written.begin(), written.end(), database) != written.end())
            database += ":write";
    }
    return databases;
}

std::string usersAsTable(const Administration &home) {
    TextTable table({TextTable::Align::left, TextTable::Align::left});
    table.add({"USER", "DATABASES"});
    for (const std::string &user : home.users())
        table.add({user, joined(withRights(home, user))});
    return table.text();
}

}  // namespace

std::string HomeChoice::location() const {
    return directory.empty() ? configuredLocation() : directory;
}

std::unique_ptr<Administration> HomeChoice::open() const {
    return administer(location());
}

std::vector<std::string> HomeChoice::databases() const {
    return user.empty() ? open()->databases() : openEngine(location())->databases(user);
}

bool initHome(const HomeChoice &home) {
    const std::string location = home.location();
    makeLocation(location);
    writeOutput("The home is in " + location + ".\n");
    return true;
}

// What can be wrong but for the password is found before anybody types one.
bool addUser(const HomeChoice &home, const std::string &user, bool passwordFromInput) {
    const auto opened = home.open();
    requireValidName(user);
    if (hasUser(*opened, user)) throw Failure(Status::userExists, {user});
    opened->addUser(user, newPassword(user, passwordFromInput));
    return true;
}

bool changePassword(const HomeChoice &home, const std::string &user, bool passwordFromInput) {
    const auto opened = home.open();
    if (!hasUser(*opened, user)) throw Failure(Status::unknownUser, {user});
    opened->setPassword(user, newPassword(user, passwordFromInput));
    return true;
}

bool removeUser(const HomeChoice &home, const std::string &user) {
    home.open()->removeUser(user);
    return true;
}

bool listUsers(const HomeChoice &home, bool asJson) {
    const auto opened = home.open();
    writeOutput(asJson ? usersAsJson(*opened) : usersAsTable(*opened));
    return true;
}

bool grant(const HomeChoice &home, const std::string &user, const std::string &database,
           bool writes) {
    const auto opened = home.open();
    writes ? opened->grantWriting(user, database) : opened->grant(user, database);
    return true;
}

bool revoke(const HomeChoice &home, const std::string &user, const std::string &database,
            bool writes) {
    const auto opened = home.open();
    writes ? opened->revokeWriting(user, database) : opened->revoke(user, database);
    return true;
}

}  // namespace zdbs::admin
