/**
 * The commands of the program `zdbs`, one function each. Each answers whether
 * everything that was asked for was done; what ends a command is thrown as a
 * Failure or a UsageError. Results go to standard output, messages to standard
 * error, each behind "zdbs: ".
 */
#ifndef ZDBS_ADMIN_COMMANDS_H
#define ZDBS_ADMIN_COMMANDS_H

#include <memory>
#include <string>
#include <vector>

#include "zdbs/admin/answer_output.h"
#include "zdbs/admin/usage_error.h"
#include "zdbs/admin/xml_sources.h"
#include "zdbs/engine/administration.h"
#include "zdbs/load/loader.h"
#include "zdbs/serve/settings.h"

namespace zdbs::admin {

/** Which home: what --home says, or configuredLocation(). */
struct HomeChoice {
    std::string directory;
    std::string user = {};  ///< whose grants count; empty: the owner's, which is everything

    std::string location() const;

    /** Those that may be read. */
    std::vector<std::string> databases() const;
    std::unique_ptr<Administration> open() const;
};

bool initHome(const HomeChoice &home);

bool addUser(const HomeChoice &home, const std::string &user, bool passwordFromInput);
bool changePassword(const HomeChoice &home, const std::string &user, bool passwordFromInput);
bool removeUser(const HomeChoice &home, const std::string &user);
bool listUsers(const HomeChoice &home, bool asJson);

/** @param writes to write as well as to read */
bool grant(const HomeChoice &home, const std::string &user, const std::string &database,
           bool writes);

/** @param writes takes only this right back */
bool revoke(const HomeChoice &home, const std::string &user, const std::string &database,
            bool writes);

bool createDatabase(const HomeChoice &home, const std::string &database);
bool dropDatabase(const HomeChoice &home, const std::string &database);
bool listDatabases(const HomeChoice &home, bool asJson);
bool listDocuments(const HomeChoice &home, const std::string &database, bool asJson);
bool showInfo(const HomeChoice &home, const std::string &database, bool asJson);

/** Writes what is wrong with a database; answers whether nothing is. */
bool check(const HomeChoice &home, const std::string &database, bool asJson);
bool compact(const HomeChoice &home, const std::string &database);

struct BackupRequest {
    std::vector<std::string> databases;  ///< none: all of them
    std::string output;                  ///< a file, or `-` for standard output
};

bool backUp(const HomeChoice &home, const BackupRequest &request);

/** Makes a home of a backup, which is a file, or `-` for standard input. */
bool restore(const HomeChoice &home, const std::string &file);

struct CopyRequest {
    std::string database;
    std::string location;  ///< of another home, or the same
    std::string name;      ///< there; empty: the same
};

/** Copies the documents of a database, all or nothing, into a database that is new or empty. */
bool copy(const HomeChoice &home, const CopyRequest &request);

struct LoadRequest {
    std::string database;
    std::vector<std::string> paths;
    std::string list;  ///< of files, `-` for standard input; empty: none
    bool listEndsInNul = false;
    SourceChoice choice;
    std::string name;       ///< of the document, for a single file; empty for the file's own
    std::string entities;   ///< "xhtml", or a file of definitions; empty: none
    bool skipsBad = false;  ///< store the good ones; otherwise a bad one ends it
    bool replaces = false;  ///< the document has to be there already
    LoadOptions options;
};

bool load(const HomeChoice &home, const LoadRequest &request);

struct SyncRequest {
    std::string database;
    std::string directory;
    SourceChoice choice;
    std::string entities;  ///< as of LoadRequest
    bool deletes = false;  ///< documents that no file stands for
    LoadOptions options;
};

/** Loads what is new or has changed in a folder, in one transaction. */
bool sync(const HomeChoice &home, const SyncRequest &request);

/** All of them or none. */
bool removeDocuments(const HomeChoice &home, const std::string &database,
                     const std::vector<std::string> &documents);

struct DumpRequest {
    std::string database;
    std::string document;   ///< empty: all, or the only one there is
    std::string directory;  ///< empty: to standard output
};

bool dump(const HomeChoice &home, const DumpRequest &request);

struct QueryRequest {
    std::string database;
    std::vector<std::string>
        requests;  ///< XPath requests and FIND commands; "-", or none: the lines of standard input
    AnswerForms forms;
    bool withoutNotes = false;
};

/** All requests see one state of the database; one that fails does not end the others. */
bool query(const HomeChoice &home, const QueryRequest &request);

struct XPathRequest {
    std::string database;
    std::vector<std::string> requests;  ///< expressions; "-", or none: the lines of standard input
    std::vector<std::string> namespaces;  ///< "prefix=URI"
    std::vector<std::string> variables;   ///< "name=text" or "name:type=value"
    bool explains = false;                ///< how they are understood and found; no answers
    AnswerForms forms;
    bool withoutNotes = false;
};

/** As query(), in the language of XPath 1.0. */
bool answerXPath(const HomeChoice &home, const XPathRequest &request);

struct ValuesRequest {
    std::string database;
    std::string request;   ///< an XPath request or a FIND command
    bool byCount = false;  ///< the most frequent ones first; otherwise by value
    bool asCsv = false;
    bool asJson = false;
};

/** Lists the distinct values of what a request finds, and how often each occurs. */
bool listValues(const HomeChoice &home, const ValuesRequest &request);

/** Lists the paths that occur in a database. */
bool listPaths(const HomeChoice &home, const std::string &database, bool asJson);

struct ExplainRequest {
    std::string database;
    std::vector<std::string> requests;  ///< XPath requests and FIND commands
    bool asJson = false;
    bool withoutNotes = false;
};

/** All requests share one session; the first that fails ends the command. */
bool explain(const HomeChoice &home, const ExplainRequest &request);

}  // namespace zdbs::admin

#endif
