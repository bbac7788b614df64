/**
 * The commands of the program `zdbs`, one function each. Each answers whether
 * everything that was asked for was done; what ends a command is thrown as a
 * Failure or a UsageError. Results go to standard output, messages to standard
 * error, each behind "zdbs: ".
 */
#ifndef ZDBS_ADMIN_COMMANDS_H
#define ZDBS_ADMIN_COMMANDS_H

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "zdbs/engine/administration.h"
#include "zdbs/load/loader.h"

namespace zdbs::admin {

/** The command line makes no sense; the sentence says why. */
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** Which home: what --home says, or configuredLocation(). */
struct HomeChoice {
    std::string directory;

    std::string location() const;
    std::unique_ptr<Administration> open() const;
};

bool initHome(const HomeChoice &home);

bool addUser(const HomeChoice &home, const std::string &user, bool passwordFromInput);
bool changePassword(const HomeChoice &home, const std::string &user, bool passwordFromInput);
bool removeUser(const HomeChoice &home, const std::string &user);
bool listUsers(const HomeChoice &home, bool asJson);
bool grant(const HomeChoice &home, const std::string &user, const std::string &database);
bool revoke(const HomeChoice &home, const std::string &user, const std::string &database);

bool createDatabase(const HomeChoice &home, const std::string &database);
bool dropDatabase(const HomeChoice &home, const std::string &database);
bool listDatabases(const HomeChoice &home, bool asJson);
bool listDocuments(const HomeChoice &home, const std::string &database, bool asJson);
bool showInfo(const HomeChoice &home, const std::string &database, bool asJson);

/** Writes what is wrong with a database; answers whether nothing is. */
bool check(const HomeChoice &home, const std::string &database, bool asJson);
bool compact(const HomeChoice &home, const std::string &database);

struct LoadRequest {
    std::string database;
    std::vector<std::string> paths;
    std::string name;       ///< of the document, for a single file; empty for the file's own
    bool skipsBad = false;  ///< store the good ones; otherwise a bad one ends it
    bool replaces = false;  ///< the document has to be there already
    LoadOptions options;
};

bool load(const HomeChoice &home, const LoadRequest &request);
bool removeDocument(const HomeChoice &home, const std::string &database,
                    const std::string &document);

struct DumpRequest {
    std::string database;
    std::string document;   ///< empty: all, or the only one there is
    std::string directory;  ///< empty: to standard output
};

bool dump(const HomeChoice &home, const DumpRequest &request);

struct QueryRequest {
    std::string database;
    std::vector<std::string> requests;   ///< "-", or none: the lines of standard input
    std::vector<std::string> fragments;  ///< blank-separated specs; none: no export
    bool highlights = false;             ///< marks hits in the fragments
    bool listsIds = false;
    bool asJson = false;
};

/** All requests see one state of the database; one that fails does not end the others. */
bool query(const HomeChoice &home, const QueryRequest &request);

struct ExplainRequest {
    std::string database;
    std::vector<std::string> requests;  ///< XPath requests and FIND commands
    bool asJson = false;
};

/** All requests share one session; the first that fails ends the command. */
bool explain(const HomeChoice &home, const ExplainRequest &request);

}  // namespace zdbs::admin

#endif
