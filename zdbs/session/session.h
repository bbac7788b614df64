/** The session of a user: an open database, numbered sets, settings. */
#ifndef ZDBS_SESSION_SESSION_H
#define ZDBS_SESSION_SESSION_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/engine/engine.h"
#include "zdbs/language/parsed_commands.h"
#include "zdbs/session/set_table.h"

namespace zdbs {

/** What DEFINE sets. */
struct Settings {
    bool hits = false;         ///< hit words were asked for; they are kept in any case
    std::int32_t findMin = 1;  ///< 0: a search without hits makes an empty set
};

class NestedScope;

/** The most recent set. */
struct LastSearch {
    std::int32_t number = 0;
    std::int32_t records = 0;
    std::int32_t hits = 0;
};

/** A record of a set with its hit words. */
struct SetRecord {
    RecordId record = 0;
    std::vector<HitWord> hitWords;
};

/** A FIND that was executed, for those who watch: `zdbs explain`. */
struct ExecutedFind {
    std::string condition;  ///< the command's text after FIND
    std::int32_t set = 0;
    std::int64_t records = 0;
    std::int64_t hits = 0;
    std::chrono::nanoseconds time{};      ///< to find the records
    std::chrono::nanoseconds hitsTime{};  ///< to count the hits then
    std::string plan;
};

/**
 * Executes commands. Sets and settings live here; nodes and users in the engine. A command that
 * fails makes no set.
 *
 * The state of the database that commands see is taken at BASE and renewed at
 * saveStatus(), with which every request begins: one request sees one state, and a
 * session that stays open sees later loads. Where that fails, sets stay as they are and the
 * next FIND tries again: none answers from a state that is over. Texts are UTF-8. Every operation
 * throws Failures. One thread at a time.
 */
class Session {
public:
    /** Throws Failure(loginFailed) unless the engine knows the user by the password. */
    Session(std::shared_ptr<const Engine> engine, std::string_view user, std::string_view password);

    /** The same of a user who has proven it elsewhere. */
    static std::unique_ptr<Session> ofUser(std::shared_ptr<const Engine> engine,
                                           std::string_view user);

    /** A session of whoever owns the home, with a database open and no other to open. */
    static std::unique_ptr<Session> ofOwner(std::unique_ptr<OpenDatabase> database);

    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    void execute(std::string_view command);

    /** Fails only when there is no set, by Failure(noSet): all else was found by the command. */
    LastSearch lastSearch() const;

    void saveStatus();

    /** Throws Failure(noSavedStatus). */
    void loadStatus();

    bool hasDatabase(std::string_view database) const;

    /** The databases that the user may read. */
    std::vector<std::string> databases() const;

    /** See OpenDatabase::names(); throws Failure(noDatabase). */
    std::vector<OccurringName> names(const NamePlace &place) const;

    /** Name of the open database; throws Failure(noDatabase). */
    const std::string &databaseName() const;

    /** A record of a set by its place from 1; throws unknownSet, noSuchRecord. */
    SetRecord record(std::int32_t set, std::int32_t ordinal) const;

    /** See OpenDatabase; nothing without a database. */
    StateIdentity newestState() const { return database_ ? database_->newestState() : nullptr; }

    /** See OpenDatabase::placeOf(); throws Failure(noDatabase). */
    RecordPlace placeOf(RecordId record) const;

    const Settings &settings() const { return state_.settings; }

    /** Calls `observer` after every FIND; an empty one stops that. */
    void observe(std::function<void(const ExecutedFind &)> observer);

    /** Whether a nested request runs: texts are UTF-8 then, whatever the process has. */
    bool isNested() const { return nested_ != nullptr; }

private:
    friend class NestedScope;

    struct State {
        SetTable sets;
        Settings settings;
        std::optional<Settings> saved;
    };

    Session() = default;

    void base(const std::string &name);
    void find(const Condition &condition, std::string_view command);
    void findObserved(const Condition &condition, std::string_view text);
    ResultSetPtr evaluate(const Condition &condition) const;
    void keep(ResultSetPtr set);
    void refresh();
    OpenDatabase &database() const;

    std::shared_ptr<const Engine> engine_;
    std::string user_;
    std::unique_ptr<OpenDatabase> database_;
    ParsedCommands parsed_;
    State state_;
    NestedScope *nested_ = nullptr;
    std::function<void(const ExecutedFind &)> observer_;
    bool isStale_ = false;  ///< the newest state was asked for and not got
};

}  // namespace zdbs

#endif
