#include "zdbs/sql/connection.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <random>
#include <thread>
#include <vector>

#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"
#include "zdbs/sql/shards.h"

namespace zdbs::sql {
namespace {

constexpr auto grace = std::chrono::seconds(2);
constexpr auto glance = std::chrono::milliseconds(50);  ///< how often a stop is looked at
constexpr const char *connectTimeout = "10";
constexpr int statementGrace = 5;  ///< seconds that the server has beyond our limit

constexpr Oid textType = 25;
constexpr Oid numberType = 701;
constexpr Oid integerType = 20;

Oid oidOf(Statement::Type type) {
    switch (type) {
        case Statement::Type::text:
            return textType;
        case Statement::Type::number:
            return numberType;
        case Statement::Type::integer:
            return integerType;
    }
    return 0;
}

/** The first line of a message, without its full stop. */
std::string firstLine(const char *message) {
    std::string text(message);
    text.resize(std::min(text.find('\n'), text.size()));
    while (!text.empty() && (text.back() == '.' || text.back() == ' '))
        text.pop_back();
    return text;
}

std::string field(const PGresult *result, int code) {
    const char *text = PQresultErrorField(result, code);
    return text ? text : "";
}

/** Ends of the connection, of the server, of a server behind it. */
bool isLoss(std::string_view state) {
    return state.starts_with("08") || state.starts_with("57P");
}

}  // namespace

std::int64_t Rows::number(int row, int column) const {
    const std::string_view digits = text(row, column);
    std::int64_t value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

std::int64_t Rows::changed() const {
    const std::string_view digits = PQcmdTuples(result_.get());
    std::int64_t value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

void Connection::connect() {
    // We leave by ourselves; what is left running ends a little later, whoever is gone.
    const std::string options =
        location_.timeout == 0
            ? ""
            : "-c statement_timeout=" + std::to_string(location_.timeout + statementGrace) + "s";
    std::vector<const char *> keywords = {"connect_timeout", "client_encoding", "application_name",
                                          "options"};
    std::vector<const char *> values = {connectTimeout, "UTF8", "zdbs", options.c_str()};
    for (const auto &[keyword, value] : location_.parameters) {
        keywords.push_back(keyword.c_str());
        values.push_back(value.c_str());
    }
    keywords.push_back(nullptr);
    values.push_back(nullptr);
    connection_.reset(PQconnectdbParams(keywords.data(), values.data(), 0));
    if (!isOpen()) {
        const std::string why = firstLine(PQerrorMessage(connection_.get()));
        connection_.reset();
        throw Failure(Status::serverUnreachable, {location_.name, why});
    }
    PQsetNoticeProcessor(
        connection_.get(), [](void *, const char *) {}, nullptr);
    if (!greet_) return;
    try {
        greet_(*this);
    } catch (...) {
        close();  // the next one is greeted anew
        throw;
    }
}

Rows Connection::run(const Statement &statement) {
    heedStop();
    lastState_.clear();
    if (!isOpen()) connect();
    send(statement);
    return await();
}

Rows Connection::ask(const Statement &statement, std::string_view columns) {
    return spread_ ? runOnAll(statement, columns) : run(statement);
}

Rows Connection::runOnAll(const Statement &statement, std::string_view columns) {
    static thread_local std::mt19937_64 random(std::random_device{}());
    request_ = "zdbs " + std::to_string(random());
    return run(spread_->onAll(statement, columns, request_));
}

void Connection::change(const Statement &statement) {
    if (!spread_) {
        run(statement);
        return;
    }
    Statement counted = statement;
    counted.text = "with x as (" + statement.text + " returning 1) select count(*) from x";
    runOnAll(counted, "n bigint");
}

void Connection::send(const Statement &statement) {
    std::vector<Oid> types;
    std::vector<const char *> values;
    for (std::size_t i = 0; i < statement.values.size(); ++i) {
        types.push_back(oidOf(statement.types[i]));
        values.push_back(statement.values[i].c_str());
    }
    if (PQsendQueryParams(connection_.get(), statement.text.c_str(),
                          static_cast<int>(values.size()), types.data(), values.data(), nullptr,
                          nullptr, 0) == 0)
        lose();
}

/** The last result counts: there is one for each statement. */
Rows Connection::await() {
    try {
        awaitInput();
    } catch (const Failure &failure) {
        cancel();
        if (failure.status() == Status::databaseSlow) failSlow();
        throw;
    } catch (...) {
        cancel();
        throw;
    }
    Rows rows(PQgetResult(connection_.get()));
    if (rows.result() == nullptr) lose();
    const ExecStatusType status = PQresultStatus(rows.result());
    if (status == PGRES_COPY_IN) return rows;
    while (PGresult *more = PQgetResult(connection_.get()))
        PQclear(more);
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) fail(rows.result());
    return rows;
}

void Connection::awaitInput() {
    const bool isLimited = location_.timeout > 0;
    const auto end = Clock::now() + std::chrono::seconds(location_.timeout);
    while (PQisBusy(connection_.get()) != 0) {
        heedStop();
        if (isLimited && Clock::now() > end)
            throw Failure(Status::databaseSlow,
                          {location_.name, std::to_string(location_.timeout)});
        waitUntil(Clock::now() + glance);
        if (PQconsumeInput(connection_.get()) == 0) return;  // what is wrong is in the result
    }
}

void Connection::waitUntil(Clock::time_point end) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    pollfd socket{PQsocket(connection_.get()), POLLIN, 0};
    ::poll(&socket, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
}

/**
 * Asks the server to leave off, and leaves by itself when that takes long. The wish travels on a
 * connection of its own, on which a server that hangs lets wait for ever; nobody does.
 */
void Connection::cancel() {
    const auto end = Clock::now() + grace;
    std::thread([wish = PQgetCancel(connection_.get())] {
        std::array<char, 256> error{};
        if (wish) PQcancel(wish, error.data(), error.size());
        PQfreeCancel(wish);
    }).detach();
    while (isOpen() && PQisBusy(connection_.get()) != 0 && Clock::now() < end) {
        waitUntil(std::min(end, Clock::now() + glance));
        if (PQconsumeInput(connection_.get()) == 0) break;
    }
    if (!isOpen() || PQisBusy(connection_.get()) != 0) return close();
    while (PGresult *result = PQgetResult(connection_.get()))
        PQclear(result);
}

void Connection::failSlow() {
    const std::string silent = spread_ ? silentShards(location_, *spread_, request_) : "";
    throw Failure(Status::databaseSlow,
                  {silent.empty() ? location_.name : placeOf(location_, silent),
                   std::to_string(location_.timeout)});
}

void Connection::fail(const PGresult *result) {
    lastState_ = field(result, PG_DIAG_SQLSTATE);
    const std::string message = field(result, PG_DIAG_MESSAGE_PRIMARY);
    const std::string why = message.empty() ? firstLine(PQresultErrorMessage(result)) : message;
    if (const auto failure = failureOfShard(location_, lastState_, firstLine(why.c_str())))
        throw Failure(*failure);
    if (!isOpen() || isLoss(lastState_)) {
        if (!isOpen()) close();
        throw Failure(Status::databaseLost, {location_.name, why});
    }
    if (lastState_ == "53100") throw Failure(Status::diskFull, {location_.name});
    if (lastState_ == "25006" || lastState_ == "42501")
        throw Failure(Status::homeReadOnly, {location_.name, why});
    throw Failure(Status::storeFailed, {location_.name, why});
}

void Connection::lose() {
    const std::string why = firstLine(PQerrorMessage(connection_.get()));
    close();
    throw Failure(Status::databaseLost, {location_.name, why});
}

void Connection::beginCopy(const std::string &text) {
    const Rows begun = run(text);
    if (PQresultStatus(begun.result()) != PGRES_COPY_IN)
        throw Failure(Status::internalError, {"no copy"});
}

void Connection::copy(std::string_view rows) {
    heedStop();
    if (PQputCopyData(connection_.get(), rows.data(), static_cast<int>(rows.size())) != 1) lose();
}

void Connection::endCopy() {
    if (PQputCopyEnd(connection_.get(), nullptr) != 1) lose();
    await();
}

Transaction::Transaction(Connection &connection, const std::string &mode)
    : connection_(connection) {
    connection_.run(mode.empty() ? "begin" : "begin " + mode);
}

Transaction::~Transaction() {
    if (!isOpen_ || !connection_.isOpen()) return;
    try {
        connection_.run("rollback");
    } catch (const std::exception &) {
        connection_.close();  // which rolls back, too
    }
}

void Transaction::commit() {
    connection_.run("commit");
    isOpen_ = false;
}

}  // namespace zdbs::sql
