#include "zdbs/session/session.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <variant>

#include "zdbs/base/status.h"
#include "zdbs/session/nested_scope.h"

namespace zdbs {
namespace {

std::int32_t clamped(std::int64_t number) {
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(number, most));
}

template <typename... Operations>
struct Overloaded : Operations... {
    using Operations::operator()...;
};
template <typename... Operations>
Overloaded(Operations...) -> Overloaded<Operations...>;

/**
 * A set whose numbers are known. Callers of lastSearch() may not look whether it fails, and take
 * number 0, every node, for the set that they found.
 */
ResultSetPtr counted(ResultSetPtr set) {
    set->size();
    set->hits();
    return set;
}

/** What follows the first word of a command. */
std::string_view afterFirstWord(std::string_view command) {
    constexpr std::string_view blanks = " \t\r\n";
    std::size_t word = std::min(command.find_first_not_of(blanks), command.size());
    std::size_t end = std::min(command.find_first_of(blanks, word), command.size());
    std::size_t rest = std::min(command.find_first_not_of(blanks, end), command.size());
    return command.substr(rest);
}

}  // namespace

Session::Session(std::shared_ptr<const Engine> engine, std::string_view user,
                 std::string_view password)
    : engine_(std::move(engine)), user_(user) {
    if (!engine_->authenticate(user, password)) throw Failure(Status::loginFailed);
}

std::unique_ptr<Session> Session::ofUser(std::shared_ptr<const Engine> engine,
                                         std::string_view user) {
    std::unique_ptr<Session> session(new Session());
    session->engine_ = std::move(engine);
    session->user_ = user;
    return session;
}

std::unique_ptr<Session> Session::ofOwner(std::unique_ptr<OpenDatabase> database) {
    std::unique_ptr<Session> session(new Session());
    session->database_ = std::move(database);
    return session;
}

void Session::execute(std::string_view text) {
    const std::shared_ptr<const Command> command = parsed_.parse(text);
    std::visit(Overloaded{
                   [&](const BaseCommand &base_) { base(base_.database); },
                   [&](const FindCommand &find_) { find(find_.condition, text); },
                   [&](const DeleteCommand &delete_) { state_.sets.remove(delete_.sets); },
                   [&](const RenumberCommand &) { state_.sets.renumber(); },
                   [&](const DefineHitsCommand &) { state_.settings.hits = true; },
                   [&](const DefineFindMinCommand &min) { state_.settings.findMin = min.minimum; },
               },
               *command);
}

void Session::base(const std::string &name) {
    if (database_ && database_->name() == name) {
        refresh();
        return keep(database().everything());
    }
    if (!hasDatabase(name)) throw Failure(Status::unknownDatabase, {name});
    std::unique_ptr<OpenDatabase> opened = engine_->open(user_, name);
    SetTable sets;
    sets.add(counted(opened->everything()));
    database_ = std::move(opened);
    state_.sets = std::move(sets);
    isStale_ = false;
}

void Session::find(const Condition &condition, std::string_view command) {
    if (isStale_) refresh();
    if (observer_)
        findObserved(condition, afterFirstWord(command));
    else
        keep(evaluate(condition));
}

void Session::findObserved(const Condition &condition, std::string_view text) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    const ResultSetPtr set = evaluate(condition);
    const Clock::time_point found = Clock::now();
    std::string plan = database().plan(*set);
    const Clock::time_point planned = Clock::now();
    const std::int64_t hits = set->hits();
    const Clock::duration hitsTime = Clock::now() - planned;
    keep(set);
    observer_({std::string(text), state_.sets.newest(), set->size(), hits, found - begin, hitsTime,
               std::move(plan)});
}

ResultSetPtr Session::evaluate(const Condition &condition) const {
    ResultSetPtr set = database().evaluate(
        condition, [this](SetReference reference) { return state_.sets.find(reference); });
    const bool mustHaveRecords = state_.settings.findMin != 0;
    if (set->size() == 0 && mustHaveRecords) throw Failure(Status::noHits);
    return set;
}

void Session::keep(ResultSetPtr set) {
    if (nested_ != nullptr) nested_->made_.push_back(set);
    state_.sets.add(counted(std::move(set)));
}

LastSearch Session::lastSearch() const {
    if (state_.sets.empty()) throw Failure(Status::noSet);
    LastSearch result;
    result.number = state_.sets.newest();
    const ResultSetPtr &set = state_.sets.find({result.number, 0});
    result.records = clamped(set->size());
    result.hits = clamped(set->hits());
    return result;
}

void Session::saveStatus() {
    refresh();
    state_.saved = state_.settings;
}

void Session::loadStatus() {
    if (!state_.saved) throw Failure(Status::noSavedStatus);
    state_.settings = *state_.saved;
}

bool Session::hasDatabase(std::string_view name) const {
    if (engine_) return engine_->hasDatabase(user_, name);
    return database_ && database_->name() == name;
}

std::vector<std::string> Session::databases() const {
    if (engine_) return engine_->databases(user_);
    return database_ ? std::vector{database_->name()} : std::vector<std::string>();
}

std::vector<OccurringName> Session::names(const NamePlace &place) const {
    return database().names(place);
}

const std::string &Session::databaseName() const {
    return database().name();
}

SetRecord Session::record(std::int32_t number, std::int32_t ordinal) const {
    const ResultSetPtr &set = state_.sets.find({number, 0});
    if (ordinal < 1 || ordinal > set->size()) {
        throw Failure(Status::noSuchRecord, {std::to_string(ordinal)});
    }
    const RecordId record = database().record(*set, ordinal);
    return {record, database().hitWords(*set, record)};
}

RecordPlace Session::placeOf(RecordId record) const {
    return database().placeOf(record);
}

void Session::observe(std::function<void(const ExecutedFind &)> observer) {
    observer_ = std::move(observer);
}

/** A nested request sees the state that it began with. */
void Session::refresh() {
    if (!database_ || nested_ != nullptr) return;
    isStale_ = true;
    database_->refresh(state_.sets.places());
    isStale_ = false;
}

OpenDatabase &Session::database() const {
    if (!database_) throw Failure(Status::noDatabase);
    return *database_;
}

NestedScope::NestedScope(Session &session) : session_(session), outer_(session.nested_) {
    session_.database();
    session_.refresh();
    before_ = std::exchange(session_.state_, {});
    session_.nested_ = this;
}

NestedScope::~NestedScope() {
    session_.nested_ = outer_;
    session_.state_ = std::move(before_);
}

const ResultSetPtr &NestedScope::set(std::int32_t number) const {
    return session_.state_.sets.find({number, 0});
}

}  // namespace zdbs
