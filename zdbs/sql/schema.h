/** The tables of a location and of a collection. */
#ifndef ZDBS_SQL_SCHEMA_H
#define ZDBS_SQL_SCHEMA_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "zdbs/sql/connection.h"

namespace zdbs::sql {

constexpr std::size_t indexedCharacters = 64;  ///< of a value: equality and order by an index
constexpr int firstLevels = 16;                ///< for which there are columns from the beginning
constexpr int mostLevels = 1400;               ///< a table has no more columns
constexpr int formatVersion = 2;
constexpr int baseBits = 32;  ///< of a record number, below those of the part

/** Statements that make a location, in order. */
std::vector<std::string> locationTables();

/** An index of the table of nodes. */
struct NodeIndex {
    std::string name;
    bool isUnique;
    std::string keys;

    /** @param schema with a dot behind it, or nothing */
    std::string create(const std::string &schema) const;
};

std::vector<NodeIndex> nodeIndexes(bool withTrigrams);

/** Statements that make the schema of a collection and its tables but those of nodes. */
std::vector<std::string> collectionTables(std::int64_t collection);

/** Statements that make the tables of nodes in a schema. */
std::vector<std::string> nodeTables(std::int64_t collection, bool withTrigrams);

/** What names the schema of a collection, `z17`. */
std::string schemaOf(std::int64_t collection);

/** Makes the names of tables mean those of a collection. */
void enterCollection(Connection &connection, std::int64_t collection);

/** Throws Failure: homeMissing, homeVersion. */
void requireLocation(Connection &connection);

/** Whether the server offers to index trigrams, and whether it does here. */
bool canHaveTrigrams(Connection &connection);
bool hasTrigrams(Connection &connection);

}  // namespace zdbs::sql

#endif
