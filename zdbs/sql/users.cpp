#include "zdbs/sql/users.h"

#include "zdbs/base/names.h"
#include "zdbs/base/password.h"
#include "zdbs/base/status.h"
#include "zdbs/sql/collections.h"

namespace zdbs::sql {
namespace {

/** Texts of a NUL cannot be names, and the server takes them to end there. */
bool isName(std::string_view name) {
    return name == "*" || isValidName(name);
}

}  // namespace

std::vector<std::string> textsIn(const Rows &rows) {
    std::vector<std::string> texts;
    for (int row = 0; row < rows.size(); ++row)
        texts.emplace_back(rows.text(row, 0));
    return texts;
}

bool Users::authenticate(std::string_view user, std::string_view password) {
    const Rows rows = connection_.run(Statement::of("select hash from zdbs.usr where name = $1",
                                                    isName(user) ? user : std::string_view()));
    if (rows.size() > 0) return verifyPassword(password, rows.text(0, 0));
    verifyNothing(password);
    return false;
}

bool Users::has(std::string_view user, std::string_view database, bool toWrite) {
    if (!isName(user) || !isValidName(database)) return false;
    const Rows rows = connection_.run(Statement::of(
        "select count(*) from zdbs.permission p inner join zdbs.collection c on p.database in "
        "('*', c.name) where p.usr = $1 and c.name = $2" +
            std::string(toWrite ? " and p.writes" : ""),
        user, database));
    return rows.number(0, 0) > 0;
}

std::vector<std::string> Users::databases(std::string_view user) {
    return textsIn(connection_.run(Statement::of(
        "select c.name from zdbs.collection c where exists (select 1 from zdbs.permission p where "
        "p.usr = $1 and p.database in ('*', c.name)) order by c.name",
        user)));
}

std::vector<std::string> Users::list() {
    return textsIn(connection_.run("select name from zdbs.usr order by name"));
}

void Users::require(std::string_view user) {
    const Rows rows = connection_.run(Statement::of("select 1 from zdbs.usr where name = $1",
                                                    isName(user) ? user : std::string_view()));
    if (rows.size() == 0) throw Failure(Status::unknownUser, {user});
}

std::vector<std::string> Users::grants(std::string_view user, bool toWrite) {
    require(user);
    return textsIn(connection_.run(
        Statement::of("select database from zdbs.permission where usr = $1" +
                          std::string(toWrite ? " and writes" : "") + " order by database",
                      user)));
}

void Users::add(std::string_view user, std::string_view password) {
    requireValidName(user);
    const std::string hash = hashPassword(password);
    const Rows added = connection_.run(
        Statement::of("insert into zdbs.usr (name, hash) values ($1, $2) on conflict do nothing",
                      user, std::string_view(hash)));
    if (added.changed() == 0) throw Failure(Status::userExists, {user});
}

void Users::setPassword(std::string_view user, std::string_view password) {
    require(user);
    const std::string hash = hashPassword(password);
    connection_.run(Statement::of("update zdbs.usr set hash = $2 where name = $1", user,
                                  std::string_view(hash)));
}

void Users::remove(std::string_view user) {
    require(user);
    connection_.run(Statement::of("delete from zdbs.usr where name = $1", user));
}

void Users::grant(std::string_view user, std::string_view database, bool toWrite) {
    require(user);
    if (database != "*") {
        if (!isValidName(database)) throw Failure(Status::unknownDatabase, {database});
        collectionOf(connection_, database, std::nullopt);
    }
    const std::string writes = toWrite ? "true" : "false";
    connection_.run(Statement::of(
        "insert into zdbs.permission as p (usr, database, writes) values ($1, $2, " + writes +
            ") on conflict (usr, database) do update set writes = p.writes or excluded.writes",
        user, database));
}

void Users::revoke(std::string_view user, std::string_view database) {
    require(user);
    const Rows gone = connection_.run(Statement::of(
        "delete from zdbs.permission where usr = $1 and database = $2", user, database));
    if (gone.changed() == 0) throw Failure(Status::notGranted, {user, database});
}

void Users::revokeWriting(std::string_view user, std::string_view database) {
    require(user);
    const Rows changed = connection_.run(Statement::of(
        "update zdbs.permission set writes = false where usr = $1 and database = $2 and writes",
        user, database));
    if (changed.changed() == 0) throw Failure(Status::notGranted, {user, database});
}

}  // namespace zdbs::sql
