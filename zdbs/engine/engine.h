/**
 * The line between the command language and whatever holds the nodes.
 *
 * Above it are the boundary, the session and the commands, which know set numbers,
 * settings and conditions. Below it an engine keeps users and databases and turns
 * conditions into sets: the three classes of this page, and for whoever owns the databases
 * those of administration.h and load.h. The embedded engine is one. What the export writes
 * still comes from its tables, by nodes(): an engine without them can answer requests, but not
 * export yet.
 *
 * Errors are Failures. Objects of one session are used by one thread at a time.
 */
#ifndef ZDBS_ENGINE_ENGINE_H
#define ZDBS_ENGINE_ENGINE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/hits.h"
#include "zdbs/base/node.h"
#include "zdbs/language/command.h"

namespace zdbs {

class NodeTable;

/**
 * A result set of an engine: immutable, opaque to everybody else. A set belongs to
 * the state of the database that it was made in, and identity is its address. Its numbers may
 * have to be found when they are asked for, and that may fail; a number that was told once is
 * known.
 */
class ResultSet {
public:
    virtual ~ResultSet() = default;

    /** Number of its records. */
    virtual std::int64_t size() const = 0;

    /** Number of the hit words of all its records, at least one for each. */
    virtual std::int64_t hits() const = 0;
};

using ResultSetPtr = std::shared_ptr<const ResultSet>;

/** The set of a number from 1; throws Failure(unknownSet) when there is none. */
using SetLookup = std::function<ResultSetPtr(SetReference)>;

/** A place where a searched value stands in a record. */
struct HitWord {
    std::int32_t part = 0;   ///< ordinal of the document in the database, from 1
    std::int32_t field = 0;  ///< number of the field, see Field
    std::int32_t paragraph = 1;
    std::int32_t item = 1;
    std::int32_t word = 1;    ///< position of the word in the value, from 1
    std::int32_t length = 0;  ///< in bytes; 0 when no text was searched
};

/** One database as one session sees it: a state that changes by refresh() only. */
class OpenDatabase {
public:
    virtual ~OpenDatabase() = default;

    virtual const std::string &name() const = 0;

    /**
     * Takes up the newest committed state, and puts in the place of each of `sets` what it is
     * there: without nodes that are gone, and without how it was made; its numbers are known.
     * Null stays null. All of it or nothing: when it throws, state and sets are what they were.
     */
    virtual void refresh(std::span<ResultSetPtr> sets) = 0;

    /** A new set of every node. */
    virtual ResultSetPtr everything() const = 0;

    /**
     * Evaluates a condition; set 0 is the engine's, all others are looked up. Every error of
     * the condition is thrown here, even where records are found later, by size().
     */
    virtual ResultSetPtr evaluate(const Condition &condition, const SetLookup &sets) const = 0;

    /**
     * How the records of a set were found, in a few words for people. An engine may find them
     * when they are asked for only: what size() has not made it do is not told.
     */
    virtual std::string plan(const ResultSet &set) const = 0;

    /** The record at a place of a set, from 1, in document order; REQUIRES: it has that many. */
    virtual NodeId record(const ResultSet &set, std::int64_t ordinal) const = 0;

    /** The hit words of a record of a set, at least one. */
    virtual std::vector<HitWord> hitWords(const ResultSet &set, NodeId record) const = 0;

    /** All records of a set, ascending. */
    virtual std::vector<NodeId> records(const ResultSet &set) const = 0;

    /** The nodes of the present state, for the export. */
    virtual std::shared_ptr<const NodeTable> nodes() const = 0;

    /** Where the value conditions of these sets hit, for highlighting. */
    virtual std::unique_ptr<HitRanges> hitRanges(std::span<const ResultSetPtr> sets) const = 0;
};

/** Users and databases. */
class Engine {
public:
    virtual ~Engine() = default;

    /** Takes the same time for an unknown user as for a wrong password. */
    virtual bool authenticate(std::string_view user, std::string_view password) const = 0;

    /** Whether there is such a database and the user may read it. */
    virtual bool hasDatabase(std::string_view user, std::string_view database) const = 0;

    /** Throws Failure(unknownDatabase) where hasDatabase() is false. */
    virtual std::unique_ptr<OpenDatabase> open(std::string_view user,
                                               std::string_view database) const = 0;
};

}  // namespace zdbs

#endif
