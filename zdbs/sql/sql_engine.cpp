#include "zdbs/sql/sql_engine.h"

#include <mutex>

#include "zdbs/base/names.h"
#include "zdbs/base/status.h"
#include "zdbs/sql/connection.h"
#include "zdbs/sql/named_parts.h"
#include "zdbs/sql/schema.h"
#include "zdbs/sql/shards.h"
#include "zdbs/sql/sql_administration.h"
#include "zdbs/sql/sql_database.h"
#include "zdbs/sql/users.h"

namespace zdbs::sql {
namespace {

/** Asks about users on one connection; every database that is opened has its own. */
class SqlEngine final : public Engine {
public:
    explicit SqlEngine(Location location) : location_(std::move(location)), connection_(location_) {
        requireLocation(connection_);
    }

    bool authenticate(std::string_view user, std::string_view password) const override {
        const std::lock_guard lock(mutex_);
        return Users(connection_).authenticate(user, password);
    }

    bool hasDatabase(std::string_view user, std::string_view database) const override {
        const std::lock_guard lock(mutex_);
        const auto named = partsNamed(connection_, database);
        return named && Users(connection_).has(user, named->database, false);
    }

    bool mayWrite(std::string_view user, std::string_view database) const override {
        const std::lock_guard lock(mutex_);
        return Users(connection_).has(user, database, true);
    }

    std::vector<std::string> databases(std::string_view user) const override {
        const std::lock_guard lock(mutex_);
        return Users(connection_).databases(user);
    }

    std::unique_ptr<OpenDatabase> open(std::string_view user,
                                       std::string_view database) const override {
        if (!isValidName(database) || !isValidName(user))
            throw Failure(Status::unknownDatabase, {database});
        return openDatabase(location_, std::string(user), std::string(database));
    }

private:
    Location location_;
    mutable std::mutex mutex_;
    mutable Connection connection_;
};

}  // namespace

std::shared_ptr<const Engine> openSqlEngine(const std::string &location) {
    return std::make_shared<SqlEngine>(parseLocation(location));
}

std::unique_ptr<Administration> administerServer(const std::string &location) {
    return makeSqlAdministration(parseLocation(location));
}

void makeServerLocation(const std::string &location) {
    const std::vector<Location> shards = shardsFromSetting();
    Connection connection(parseLocation(location));
    const Rows there =
        connection.run("select count(*) from pg_catalog.pg_namespace where nspname = 'zdbs'");
    if (there.number(0, 0) > 0) throw Failure(Status::homeExists, {location});
    if (canHaveTrigrams(connection) && !hasTrigrams(connection))
        connection.run("create extension pg_trgm");
    Transaction transaction(connection);
    for (const std::string &each : locationTables())
        connection.run(each);
    makeShards(connection, shards, transaction);
}

}  // namespace zdbs::sql
