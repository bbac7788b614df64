#include "zdbs/sql/schema.h"

#include "zdbs/base/status.h"

namespace zdbs::sql {
namespace {

std::string levelColumns() {
    std::string text;
    for (int level = 1; level <= firstLevels; ++level)
        text += ", a" + std::to_string(level) + " int";
    return text;
}

}  // namespace

std::string schemaOf(std::int64_t collection) {
    return "z" + std::to_string(collection);
}

std::vector<std::string> locationTables() {
    return {
        "create schema zdbs",
        "create table zdbs.home (version int, mark text)",
        "insert into zdbs.home values (" + std::to_string(formatVersion) +
            ", md5(random()::text || clock_timestamp()::text))",
        "create sequence zdbs.numbers",
        "create table zdbs.usr (name text collate \"C\" primary key, hash text)",
        "create table zdbs.collection (name text collate \"C\" primary key, number bigint)",
        "create table zdbs.permission (usr text collate \"C\" references zdbs.usr on delete "
        "cascade, database text collate \"C\", writes boolean, primary key (usr, database))",
        "create table zdbs.note (number bigint primary key, content text)",
        "create table zdbs.dropped (number bigint primary key)",
    };
}

std::vector<std::string> collectionTables(std::int64_t collection) {
    const std::string schema = schemaOf(collection) + ".";
    return {
        "create schema " + schemaOf(collection),
        "create table " + schema +
            "path (path int primary key, parent int, kind int, prefix text, local text, uri text, "
            "level int, nodes bigint)",
        "create table " + schema +
            "document (number bigint primary key, part int, root int, last int, base bigint, bytes "
            "bigint, name text collate \"C\", added bigint, removed bigint)",
        "create unique index document_name on " + schema + "document (name) where removed is null",
        "create table " + schema + "state (number bigint, levels int, swept bigint)",
        "insert into " + schema + "state values (nextval('zdbs.numbers'), " +
            std::to_string(firstLevels) + ", 0)",
        "create table " + schema + "part (part int primary key, next int)",
        "insert into " + schema + "part values (0, 0)",
        "create table " + schema + "shard (number int primary key, fence bigint)",
        "create table " + schema + "kept (number bigint primary key, session bigint)",
    };
}

std::vector<std::string> nodeTables(std::int64_t collection, bool withTrigrams) {
    const std::string schema = schemaOf(collection) + ".";
    std::vector<std::string> statements = {
        // The columns of levels come last, so that deeper documents can add to them.
        "create table " + schema +
            "node (part int not null, id int not null, doc int not null, path int not null, "
            "parent int, last int not null, ord int not null, num double precision, value text "
            "collate \"C\"" +
            levelColumns() + ")",
        "create table " + schema + "setnode (number bigint, part int, id int, path int)",
        "create index setnode_row on " + schema + "setnode (number, part, id)",
    };
    for (const NodeIndex &each : nodeIndexes(withTrigrams))
        statements.push_back(each.create(schema));
    return statements;
}

std::string NodeIndex::create(const std::string &schema) const {
    return std::string(isUnique ? "create unique index " : "create index ") + name + " on " +
           schema + "node " + keys;
}

std::vector<NodeIndex> nodeIndexes(bool withTrigrams) {
    std::vector<NodeIndex> indexes = {
        {"node_structure", true, "(path, part, id) include (parent)"},
        {"node_row", true, "(part, id)"},
        {"node_value", false,
         "(path, left(value, " + std::to_string(indexedCharacters) + ")) where value is not null"},
        {"node_number", false, "(path, num) where num is not null"},
    };
    if (withTrigrams)
        indexes.push_back(
            {"node_trigram", false, "using gin (value gin_trgm_ops) where value is not null"});
    return indexes;
}

void enterCollection(Connection &connection, std::int64_t collection) {
    connection.run("set search_path = " + schemaOf(collection) + ", public");
}

void requireLocation(Connection &connection) {
    const Rows there = connection.run(
        "select count(*) from pg_catalog.pg_tables "
        "where schemaname = 'zdbs' and tablename = 'home'");
    const std::string &name = connection.location().name;
    if (there.number(0, 0) == 0) throw Failure(Status::homeMissing, {name});
    const std::int64_t version = connection.run("select version from zdbs.home").number(0, 0);
    if (version != formatVersion)
        throw Failure(Status::homeVersion, {name, std::to_string(version)});
}

bool canHaveTrigrams(Connection &connection) {
    return connection
               .run(
                   "select count(*) from pg_catalog.pg_available_extensions where name = "
                   "'pg_trgm'")
               .number(0, 0) > 0;
}

bool hasTrigrams(Connection &connection) {
    return connection.run("select count(*) from pg_catalog.pg_extension where extname = 'pg_trgm'")
               .number(0, 0) > 0;
}

}  // namespace zdbs::sql
