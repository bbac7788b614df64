#include "zdbs/sql/shards.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <sstream>

#include "zdbs/base/status.h"
#include "zdbs/sql/schema.h"

namespace zdbs::sql {
namespace {

constexpr const char *shardsVariable = "ZDBS_SHARDS";
constexpr int patience = 2;  ///< seconds in which a shard that is well answers

std::string literal(std::string_view text) {
    std::string result = "'";
    for (const char each : text) {
        if (each == '\'') result += '\'';
        result += each;
    }
    return result + "'";
}

/** "host='a' dbname='b'" */
std::string addressOf(const Location &location) {
    std::string text;
    for (const auto &[keyword, value] : location.parameters) {
        text += (text.empty() ? "" : " ") + keyword + "='";
        for (const char each : value) {
            if (each == '\'' || each == '\\') text += '\\';
            text += each;
        }
        text += '\'';
    }
    return text;
}

std::string valueOf(const Location &location, std::string_view keyword) {
    for (const auto &[name, value] : location.parameters) {
        if (name == keyword) return value;
    }
    return {};
}

/** What stands on a shard: the statement comes with what it is meant for, and runs there. */
std::vector<std::string> tablesOfShard(std::size_t number, const std::string &home) {
    return {
        "create schema zdbs",
        "create table zdbs.shard (number int, home text)",
        "insert into zdbs.shard values (" + std::to_string(number) + ", " + literal(home) + ")",
        R"(create function zdbs.require(home text, collection bigint, fences bigint[]) returns void
        language plpgsql as $$
        declare
            own int;
            state bigint := 0;
        begin
            if home is null then
                raise exception 'the shards of the home have been changed since it was opened'
                    using errcode = 'ZD001';
            end if;
            select s.number into own from zdbs.shard s where s.home = require.home;
            if own is null then
                raise exception 'it belongs to another home' using errcode = 'ZD001';
            end if;
            perform set_config('search_path', 'z' || collection || ', public', true);
            if to_regclass('fence') is not null then
                execute 'select f.state from fence f' into state;
            end if;
            if state < fences[own + 1] then
                raise exception 'it is an older copy, of state % and not %', state, fences[own + 1]
                    using errcode = 'ZD002';
            end if;
        end $$)",
        R"(create function zdbs.answer(home text, collection bigint, fences bigint[], request text,
            statement text, bound text[]) returns setof record language plpgsql as $$
        begin
            perform set_config('application_name', request, false);
            perform zdbs.require(home, collection, fences);
            return query execute statement using bound;
        end $$)",
    };
}

/** The server that is asked has no rows of its own. */
void tellServer(Connection &connection, const std::vector<Location> &shards) {
    if (connection.run("select count(*) from pg_catalog.pg_extension where extname = 'plproxy'")
            .number(0, 0) == 0)
        connection.run("create extension plproxy");
    std::string options = "modular_mapping '1'";
    for (std::size_t number = 0; number < shards.size(); ++number)
        options += ", p" + std::to_string(number) + " " + literal(addressOf(shards[number]));
    connection.run("create server zdbs foreign data wrapper plproxy options (" + options + ")");
    connection.run("create user mapping for public server zdbs");
    connection.run(
        "create function zdbs.ask(home text, collection bigint, fences bigint[], request text, "
        "statement text, bound text[]) returns setof record language plproxy as "
        "$$ cluster 'zdbs'; run on all; target zdbs.answer; $$");
}

/** All of them, or none. */
class MadeShards {
public:
    ~MadeShards() {
        for (const auto &each : made_) {
            try {
                each->run("drop schema zdbs cascade");
            } catch (const Failure &) {
                // It has to be dropped by hand; init says that it is there.
            }
        }
    }

    void make(const Location &location, std::size_t number, const std::string &home) {
        auto connection = std::make_unique<Connection>(location);
        const Rows there =
            connection->run("select count(*) from pg_catalog.pg_namespace where nspname = 'zdbs'");
        if (there.number(0, 0) > 0) throw Failure(Status::homeExists, {location.name});
        if (canHaveTrigrams(*connection)) connection->run("create extension if not exists pg_trgm");
        Transaction transaction(*connection);
        for (const std::string &each : tablesOfShard(number, home))
            connection->run(each);
        transaction.commit();
        made_.push_back(std::move(connection));
    }

    void keep() { made_.clear(); }

private:
    std::vector<std::unique_ptr<Connection>> made_;
};

std::vector<std::string> tablesOn(std::int64_t collection, bool withTrigrams) {
    std::vector<std::string> statements = {"create schema " + schemaOf(collection)};
    for (std::string &each : nodeTables(collection, withTrigrams))
        statements.push_back(std::move(each));
    statements.push_back("create table " + schemaOf(collection) + ".fence (state bigint)");
    statements.push_back("insert into " + schemaOf(collection) + ".fence values (0)");
    return statements;
}

std::string homeOf(Connection &connection) {
    return std::string(connection.run("select mark from zdbs.home").text(0, 0));
}

}  // namespace

std::vector<Location> shardsFromSetting() {
    const char *setting = std::getenv(shardsVariable);
    std::vector<Location> shards;
    if (setting == nullptr) return shards;
    std::istringstream words(setting);
    std::set<std::string> names;
    for (std::string word; words >> word;) {
        Location location = parseLocation(word, shardsVariable);
        const std::string name = valueOf(location, "dbname");
        if (name.empty())
            throw Failure(Status::badSetting, {shardsVariable, "each address names a database"});
        if (!names.insert(name).second)
            throw Failure(Status::badSetting, {shardsVariable, "two databases are called " + name});
        shards.push_back(std::move(location));
    }
    return shards;
}

void makeShards(Connection &connection, const std::vector<Location> &shards,
                Transaction &transaction) {
    if (shards.empty()) return transaction.commit();
    const Rows offered = connection.run(
        "select count(*) from pg_catalog.pg_available_extensions where name = 'plproxy'");
    if (offered.number(0, 0) == 0)
        throw Failure(Status::unsupported, {"shards need the extension plproxy on the server"});
    const std::string role(connection.run("select current_user").text(0, 0));
    const std::string home = homeOf(connection);
    std::vector<Location> complete = shards;
    MadeShards made;
    for (std::size_t number = 0; number < complete.size(); ++number) {
        Location &each = complete[number];
        if (valueOf(each, "user").empty()) each.parameters.emplace_back("user", role);
        made.make(each, number, home);
    }
    tellServer(connection, complete);
    transaction.commit();
    made.keep();
}

std::vector<Shard> shardsOf(Connection &connection) {
    const Rows rows = connection.run(
        "select o.option_value from pg_catalog.pg_foreign_server s, lateral "
        "pg_catalog.pg_options_to_table(s.srvoptions) o where s.srvname = 'zdbs' and "
        "o.option_name ~ '^p[0-9]+$' order by substr(o.option_name, 2)::int");
    std::vector<Shard> shards;
    for (int row = 0; row < rows.size(); ++row) {
        const std::string address(rows.text(row, 0));
        shards.push_back({valueOf(parseLocation(address, shardsVariable), "dbname"), address});
    }
    return shards;
}

Location locationOf(const Location &location, const Shard &shard, int timeout) {
    Location result = parseLocation(shard.address, shardsVariable);
    result.name = placeOf(location, shard.name);
    result.timeout = timeout;
    return result;
}

bool createOnShards(Connection &connection, std::int64_t collection) {
    int number = 0;
    for (const Shard &each : shardsOf(connection)) {
        Connection own(locationOf(connection.location(), each, connection.location().timeout));
        const bool withTrigrams = hasTrigrams(own);
        // What one leaves that fails here has a number that nobody is given again.
        Transaction transaction(own);
        for (const std::string &statement : tablesOn(collection, withTrigrams))
            own.run(statement);
        transaction.commit();
        const std::string schema = schemaOf(collection) + ".";
        connection.run(
            Statement::of("insert into " + schema + "shard values ($1, 0)", std::int64_t{number}));
        if (number > 0)
            connection.run(Statement::of("insert into " + schema + "part values ($1, 0)",
                                         std::int64_t{number}));
        ++number;
    }
    return number > 0;
}

void dropOnShards(Connection &connection, std::int64_t collection) {
    for (const Shard &each : shardsOf(connection)) {
        Connection own(locationOf(connection.location(), each, 0));
        own.run("drop schema if exists " + schemaOf(collection) + " cascade");
    }
}

SpreadPtr readSpread(Connection &connection, std::int64_t collection) {
    const Rows rows = connection.run("select fence from shard order by number");
    if (rows.size() == 0) return nullptr;
    auto spread = std::make_shared<Spread>();
    spread->home = homeOf(connection);
    spread->collection = collection;
    spread->shards = shardsOf(connection);
    spread->options = connection
                          .run(
                              "select srvoptions from pg_catalog.pg_foreign_server where srvname "
                              "= 'zdbs'")
                          .text(0, 0);
    for (int row = 0; row < rows.size(); ++row)
        spread->fences.push_back(rows.number(row, 0));
    if (spread->shards.size() != spread->fences.size())
        throw Failure(Status::homeDamaged,
                      {connection.location().name,
                       "the database has " + std::to_string(spread->fences.size()) +
                           " shards and the server zdbs " + std::to_string(spread->shards.size())});
    return spread;
}

void requireShards(Connection &connection) {
    const SpreadPtr &spread = connection.spread();
    if (!spread) return;
    const Rows rows = connection.ask(Statement{"select s.number from zdbs.shard s"}, "number int");
    std::set<std::int64_t> answered;
    for (int row = 0; row < rows.size(); ++row)
        answered.insert(rows.number(row, 0));
    if (answered.size() != spread->shards.size() || rows.size() != std::ssize(answered))
        throw Failure(Status::homeDamaged,
                      {connection.location().name, "one shard is in the place of another one"});
}

/** Of a request that is over one way or the other: what it was called by is the connection's name.
 */
std::string silentShards(const Location &location, const Spread &spread,
                         const std::string &request) {
    const auto add = [](std::string &names, const Shard &shard) {
        names += (names.empty() ? "" : ", ") + shard.name;
    };
    std::string unreachable;
    std::string busy;
    for (const Shard &each : spread.shards) {
        Location direct = locationOf(location, each, patience);
        direct.parameters.emplace_back("connect_timeout", std::to_string(patience));
        try {
            Connection own(direct);
            const Rows done =
                own.run(Statement::of("select count(*) from pg_catalog.pg_stat_activity where "
                                      "application_name = $1 and state <> 'active'",
                                      std::string_view(request)));
            if (done.number(0, 0) == 0) add(busy, each);
        } catch (const Failure &) {
            add(unreachable, each);
        }
    }
    return unreachable.empty() ? busy : unreachable;
}

}  // namespace zdbs::sql
