/**
 * The line between the command language and whatever holds the nodes.
 *
 * Above it are the boundary, the session, the commands, loads, exports and the administrator's
 * program, which know set numbers, settings, statuses of the boundary and XML text. Below it an
 * engine keeps users and databases, turns conditions into sets, and tells nodes and trees: the
 * classes of this page with those of result_set.h, fragments.h, node_tree.h and events.h, and for
 * whoever owns the databases those of administration.h and load.h. Nothing above knows how nodes
 * are kept; nothing below knows numbers of sets or texts of commands. registry.h finds the engine.
 *
 * Record numbers and counts have 64 bits; who hands them on to callers with fewer says where one
 * does not fit.
 *
 * Errors are Failures. Every operation may throw homeUnreadable, homeDamaged, storeFailed; those
 * that find or tell nodes also `stopped`, for whatever takes long heeds the stop of its thread
 * (stop.h), evaluate(), fragments(), a cursor's next() and a describer's of() at least once each;
 * others are named. After a Failure everything is as it was before the call.
 *
 * Objects of one session are used by one thread at a time; an Engine by any.
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

#include "zdbs/base/node.h"
#include "zdbs/engine/events.h"
#include "zdbs/engine/fragments.h"
#include "zdbs/engine/node_tree.h"
#include "zdbs/engine/result_set.h"
#include "zdbs/language/command.h"

namespace zdbs {

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

/** A step to elements of a local name; `*` is any name. */
struct NameStep {
    bool isDeep = false;  ///< at any depth, not one level further down
    std::string local;
};

/** What is one level below the end of the steps, which begin at the root, or at any depth. */
struct NamePlace {
    std::vector<NameStep> steps;
    bool isDeep = false;
};

/** A name of elements or attributes, and how often it occurs. */
struct OccurringName {
    NodeKind kind = NodeKind::element;
    std::string prefix;
    std::string local;  ///< `*`: names that are not told, for that would take long
    std::uint64_t count = 0;
    bool hasElements = false;  ///< in some of these elements there are others
};

/** A record as those are told it whose numbers have 32 bits. */
struct RecordPlace {
    std::string database;  ///< that can be opened, or the part of it that the record is in
    RecordId number = 0;   ///< in that
};

/** Goes through the records of a set; outlived by the database. */
class RecordCursor {
public:
    virtual ~RecordCursor() = default;

    /** The next ones, ascending, valid until the next call; none at the end. */
    virtual std::span<const RecordId> next() = 0;
};

/** What a record is by itself. Texts live until the next one is asked for. */
struct RecordFacts {
    std::string_view document;  ///< name of the document that it is in
    std::string_view path;      ///< where it stands there, as fragments are told it
    std::string_view value;     ///< of an element the texts below it, one behind the other
};

/** Which of them are asked for; the others are left empty. */
struct FactsWanted {
    bool document = false;
    bool path = false;
    bool value = false;
};

/** Tells what records are, quickly when asked in document order; outlived by the database. */
class RecordDescriber {
public:
    virtual ~RecordDescriber() = default;

    /** REQUIRES: a record of the database's state. */
    virtual const RecordFacts &of(RecordId record) = 0;
};

/**
 * Stands for a committed state: one object for all that have it open in this process, and another
 * one also where a database of the same name is made anew and counts from the beginning.
 */
using StateIdentity = std::shared_ptr<const void>;

/** One database as one session sees it: a state that changes by refresh() only. */
class OpenDatabase {
public:
    virtual ~OpenDatabase() = default;

    virtual const std::string &name() const = 0;

    /** Number of the state; each commit makes another one, and none has that of one before it. */
    virtual std::uint64_t state() const = 0;

    /**
     * The state, if refresh() would find no other one, in microseconds; null where it would, or
     * where an engine cannot say so.
     */
    virtual StateIdentity newestState() const { return nullptr; }

    /**
     * Takes up the newest committed state, and puts in the place of each of `sets` what it is
     * there: without nodes that are gone, and without how it was made; its numbers are known.
     * Null stays null, and where the state is the newest, nothing changes. All of it or nothing:
     * when it throws, state and sets are what they were. Throws unknownDatabase when it is gone, or
     * may not be read any more.
     */
    virtual void refresh(std::span<ResultSetPtr> sets) = 0;

    /** A new set of every node. */
    virtual ResultSetPtr everything() const = 0;

    /** The nodes of this state, for as long as it is this one. Throws unsupported. */
    virtual std::unique_ptr<NodeTree> tree() const = 0;

    /**
     * Evaluates a condition; set 0 is the engine's, all others are looked up, and nothing of
     * `sets` is kept. Every error of the condition is thrown here, even where records are found
     * later, by size(). Throws nestedTooDeep.
     */
    virtual ResultSetPtr evaluate(const Condition &condition, const SetLookup &sets) const = 0;

    /**
     * How the records of a set were found, in a few words for people. An engine may find them
     * when they are asked for only: what size() has not made it do is not told.
     */
    virtual std::string plan(const ResultSet &set) const = 0;

    /** The record at a place of a set, from 1, in document order; REQUIRES: it has that many. */
    virtual RecordId record(const ResultSet &set, std::int64_t ordinal) const = 0;

    /**
     * Which database, by itself, has the record under which number. An engine whose records have
     * more than 31 bits opens a part of a database under a name of its own.
     */
    virtual RecordPlace placeOf(RecordId record) const { return {name(), record}; }

    /** All records of a set, which must outlive the cursor. */
    virtual std::unique_ptr<RecordCursor> records(const ResultSet &set) const = 0;

    /** Tells records of this state, of whatever sets. */
    virtual std::unique_ptr<RecordDescriber> describer(FactsWanted wanted) const = 0;

    /** The hit words of a record of a set, at least one. */
    virtual std::vector<HitWord> hitWords(const ResultSet &set, RecordId record) const = 0;

    /**
     * The names at a place, the most frequent ones first, for people who are typing them; none at
     * all where an engine keeps no list.
     */
    virtual std::vector<OccurringName> names(const NamePlace & /*place*/) const { return {}; }

    /**
     * Tells fragments: of each record of `matches` in document order what each specification
     * selects, in document order, with hits where the value conditions of `marked` hit. Throws
     * what the visitor throws.
     */
    virtual void fragments(const ResultSet &matches, std::span<const FragmentSpec> specs,
                           std::span<const ResultSetPtr> marked,
                           FragmentVisitor &visitor) const = 0;
};

/** Users and databases. */
class Engine {
public:
    virtual ~Engine() = default;

    /** Takes the same time for an unknown user as for a wrong password. */
    virtual bool authenticate(std::string_view user, std::string_view password) const = 0;

    /** Whether there is such a database and the user may read it. */
    virtual bool hasDatabase(std::string_view user, std::string_view database) const = 0;

    /** Whether the user may read the database and change its documents. */
    virtual bool mayWrite(std::string_view /*user*/, std::string_view /*database*/) const {
        return false;
    }

    /**
     * Another number whenever users, passwords or grants have changed, so that what was found out
     * about a password may be remembered; 0 where an engine does not know, or may not be read.
     */
    virtual std::uint64_t usersState() const { return 0; }

    /** Those for which it has, in order of name; none where an engine keeps no list. */
    virtual std::vector<std::string> databases(std::string_view /*user*/) const { return {}; }

    /** Throws Failure(unknownDatabase) where hasDatabase() is false. */
    virtual std::unique_ptr<OpenDatabase> open(std::string_view user,
                                               std::string_view database) const = 0;
};

}  // namespace zdbs

#endif
