/** What an administrator asks of an engine: users, databases, and what is in them. */
#ifndef ZDBS_ENGINE_ADMINISTRATION_H
#define ZDBS_ENGINE_ADMINISTRATION_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/engine/engine.h"
#include "zdbs/engine/load.h"

namespace zdbs {

/** One line of the list of databases. */
struct DatabaseSummary {
    std::uint64_t documents = 0;
    std::uint64_t nodes = 0;
    std::uint64_t diskBytes = 0;
    std::uint64_t state = 0;  ///< as of OpenDatabase
};

/** One line of the list of documents. */
struct DocumentSummary {
    std::string name;
    std::uint64_t first = 0;  ///< record number of its first node
    std::uint64_t nodes = 0;
    std::uint64_t xmlBytes = 0;  ///< of the text that it was loaded from, not compressed
};

/** The documents of one state of a database, as long as this lives. One thread at a time. */
class StoredDocuments {
public:
    virtual ~StoredDocuments() = default;

    /** In the order in which they were loaded. */
    virtual const std::vector<DocumentSummary> &list() const = 0;

    /** As of OpenDatabase. */
    virtual std::uint64_t state() const = 0;

    /**
     * Tells the document at a place of the list; its nodes are those that were loaded. Throws
     * what the events throw, and Failure(homeDamaged).
     */
    virtual void tell(std::size_t place, NodeEvents &events) const = 0;
};

/** How many nodes of a kind have a name. */
struct NameCount {
    NodeKind kind = NodeKind::element;
    std::string prefix;
    std::string local;
    std::string uri;
    std::uint64_t count = 0;
};

/** What one of an engine's structures takes; the first is all of them together. */
struct StructureSize {
    std::string key;    ///< for programs
    std::string label;  ///< for people; a part is indented below the whole
    std::uint64_t bytes = 0;
};

/** What is in a database. */
struct DatabaseInfo {
    static constexpr std::size_t kindCount = 5;

    std::uint64_t documents = 0;
    std::uint64_t nodes = 0;
    std::array<std::uint64_t, kindCount> kinds{};  ///< nodes by NodeKind
    std::vector<NameCount> names;                  ///< the most frequent ones first
    std::uint64_t xmlBytes = 0;
    std::vector<StructureSize> sizes;
};

/**
 * A path of names and kinds from the top of a document down, and how many nodes stand there. On
 * level 0 are nodes that an engine keeps without telling paths apart, by kind and without a name.
 */
struct PathCount {
    std::uint32_t level = 1;  ///< 1 at the top of a document
    NodeKind kind = NodeKind::element;
    std::string prefix;  ///< of the name, as the next two
    std::string local;
    std::string uri;
    std::uint64_t count = 0;
};

/** Something that is wrong. */
struct Finding {
    std::string place;      ///< file or table: "table names", "segments/00000003.seg"
    std::string structure;  ///< which part of it: "checksum of path 5", "parents of /a/b"
    std::string text;       ///< where in it and what: "row 7 (node 9): 3 instead of 2"

    std::string toString() const { return place + ": " + structure + ": " + text; }
};

struct CheckReport {
    std::vector<Finding> findings;   ///< the first ones of each structure
    std::uint64_t found = 0;         ///< how many there are in all
    std::vector<std::string> notes;  ///< what is odd and does no harm: files left behind
    std::uint64_t documents = 0;     ///< that are in the catalogue
    std::uint64_t nodes = 0;         ///< of those that were looked at
    std::uint64_t segments = 0;      ///< that could be read
};

/** Bytes that a database takes on disk. */
struct Compaction {
    std::uint64_t before = 0;
    std::uint64_t after = 0;
};

/** Called now and then while something long is done; what it throws ends that. */
using ProgressReport = std::function<void(std::uint64_t done, std::uint64_t total)>;

/** Takes bytes one piece after the other. */
using ByteConsumer = std::function<void(std::string_view)>;

/** Fills as much of a buffer as it likes to, from the front; 0 is the end. */
using ByteSource = std::function<std::size_t(std::span<char>)>;

/** Called once before waiting for somebody else who changes the same. */
using WaitingReport = std::function<void()>;

/**
 * The users, grants and databases of one location, for whoever owns it. Every operation sees what
 * other processes committed last. Any thread may call.
 *
 * Errors are Failures: homeUnreadable, homeVersion, homeDamaged where the location cannot be read,
 * of what changes something also homeReadOnly, diskFull, storeFailed; and those that are named.
 * An engine that has no use for an operation, or leaves it to other programs, throws `unsupported`.
 */
class Administration {
public:
    virtual ~Administration() = default;

    /** In order of name, here and below. */
    virtual std::vector<std::string> users() const = 0;

    /** What a user may read; `*` is every database. Throws: unknownUser. */
    virtual std::vector<std::string> grants(std::string_view user) const = 0;

    /** Which of them the user may change, too. Throws: unknownUser. */
    virtual std::vector<std::string> writingGrants(std::string_view user) const = 0;

    /** Throws: badName, userExists, badPassword. */
    virtual void addUser(std::string_view user, std::string_view password) = 0;

    /** Throws: unknownUser, badPassword. */
    virtual void setPassword(std::string_view user, std::string_view password) = 0;

    /** With all grants. Throws: unknownUser. */
    virtual void removeUser(std::string_view user) = 0;

    /** To read. Granting twice changes nothing. Throws: unknownUser, unknownDatabase. */
    virtual void grant(std::string_view user, std::string_view database) = 0;

    /** To read and to write; likewise. */
    virtual void grantWriting(std::string_view user, std::string_view database) = 0;

    /** Both. Throws: unknownUser, notGranted. */
    virtual void revoke(std::string_view user, std::string_view database) = 0;

    /** Leaves the right to read. Throws: unknownUser, notGranted where it may not write. */
    virtual void revokeWriting(std::string_view user, std::string_view database) = 0;

    virtual std::vector<std::string> databases() const = 0;

    /** Throws: badName, databaseExists. */
    virtual void createDatabase(std::string_view database) = 0;

    /** With the grants that name it. Throws: unknownDatabase. */
    virtual void dropDatabase(std::string_view database, const WaitingReport &waiting) = 0;

    /** A database without any user being asked about. Throws here and below: unknownDatabase. */
    virtual std::unique_ptr<OpenDatabase> open(std::string_view database) const = 0;

    virtual DatabaseSummary summary(std::string_view database) const = 0;

    /** The documents of the newest state. */
    virtual std::unique_ptr<StoredDocuments> documents(std::string_view database) const = 0;

    virtual DatabaseInfo info(std::string_view database) const = 0;

    /** The paths that occur, each behind the one that it extends, in the order of first use. */
    virtual std::vector<PathCount> paths(std::string_view database) const = 0;

    /** Verifies every structure against every other. */
    virtual CheckReport check(std::string_view database, const ProgressReport &progress) const = 0;

    /** Gives back what removed documents held. */
    virtual Compaction compact(std::string_view database, const WaitingReport &waiting,
                               const ProgressReport &progress) = 0;

    /**
     * A text beside a database, for programs that keep it in step with something else; empty
     * until one is kept, gone with the database. No transaction comprises it.
     */
    virtual std::string notes(std::string_view database) const = 0;

    /** REQUIRES: whoever else keeps notes waits for the same load. */
    virtual void keepNotes(std::string_view database, std::string_view text) = 0;

    /**
     * Tells all that is needed to restore these databases, or all of them where none is named, with
     * the users and the grants for these databases: each in its newest state, while others change
     * it. What is damaged is found out on the way. See restoreLocation().
     */
    virtual void backUp(std::span<const std::string> databases,
                        const ByteConsumer &consumer) const = 0;

    /** The right to change a database; one holder at a time among all processes. */
    virtual std::unique_ptr<Load> load(std::string_view database, const WaitingReport &waiting) = 0;
};

}  // namespace zdbs

#endif
