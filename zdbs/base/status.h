/**
 * Statuses of the kernel: odd for success, even for failure, one number for each
 * failure and one sentence for each number. The table in status.cpp is the only
 * place where the sentences stand; docs/messages.md is generated from it.
 */
#ifndef ZDBS_BASE_STATUS_H
#define ZDBS_BASE_STATUS_H

#include <cstdint>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zdbs {

/** Numbers are part of the interface: add at the end of a group, never renumber. */
enum class Status : std::int32_t {
    ok = 1,

    // Calls and session.
    internalError = 2,
    outOfMemory = 4,
    nullArgument = 6,
    shortBuffer = 8,
    unknownHandle = 10,
    noSession = 12,
    sessionOpen = 14,
    loginFailed = 16,
    noDatabase = 18,
    unknownDatabase = 20,
    unknownSymbol = 22,
    unknownItem = 24,
    noSavedStatus = 26,
    noSet = 28,
    noMoreHits = 30,
    noSuchRecord = 32,
    recordTooLarge = 34,
    stopped = 36,

    // Command language.
    emptyCommand = 100,
    unknownCommand = 102,
    syntaxError = 104,
    unknownField = 106,
    unknownAxis = 108,
    unknownOperator = 110,
    unknownSet = 112,
    badNumber = 114,
    unterminatedText = 116,
    badRelation = 118,
    trailingText = 120,
    noHits = 122,
    badSetting = 124,
    nestedTooDeep = 126,
    positionOfTwoSets = 128,
    positionWithOthers = 130,

    // Export.
    unknownFilter = 200,
    missingArgument = 202,
    badFragmentSpec = 204,
    requestFailed = 206,
    documentTooLarge = 208,
    repeatedArgument = 210,

    // Home, users, databases.
    homeMissing = 300,
    homeExists = 302,
    homeUnreadable = 304,
    homeVersion = 306,
    homeDamaged = 308,
    homeReadOnly = 310,
    diskFull = 312,
    storeFailed = 314,
    badName = 316,
    userExists = 318,
    unknownUser = 320,
    badPassword = 322,
    databaseExists = 324,
    unknownDocument = 326,
    documentExists = 328,
    notGranted = 330,
    badDocumentName = 332,
    unsupported = 334,
    serverUnreachable = 336,
    serverUntrusted = 338,
    serverRefused = 340,
    serverLost = 342,
    servedHome = 344,
    databaseLost = 346,
    databaseSlow = 348,

    // Loading.
    fileUnreadable = 400,
    malformed = 402,
    tooDeep = 404,
    tooManyNodes = 406,
    tooManyAttributes = 408,
    nameTooLong = 410,
    entityLimit = 412,
    unknownEntity = 414,
    unknownEncoding = 416,
    compressedDamaged = 418,
    writeFailed = 420,
    valueTooLong = 422,
    entitiesTooDeep = 424,
    backupDamaged = 426,
};

/** Bit 0 decides, as everywhere at the boundary. */
constexpr bool succeeded(Status status) {
    return (static_cast<std::int32_t>(status) & 1) != 0;
}

/** One row of the table: `{0}`, `{1}` … in the sentence stand for what Failure is given. */
struct StatusRow {
    Status status;
    std::string_view name;
    std::string_view sentence;
};

/** The whole table, in order of number. */
std::span<const StatusRow> statusTable();

/** The row of a status; null where there is none, as for a number that came from elsewhere. */
const StatusRow *rowOf(Status status);

/** The sentence of a number without its details; one for unknown numbers too. */
std::string sentenceFor(std::int32_t status);

/**
 * The one exception of the kernel. It carries the finished sentence, and never
 * leaves the library: the C entry points turn it into its status.
 */
class Failure : public std::runtime_error {
public:
    /** Fills the sentence of `status` with `details` in order, made fit by messageText(). */
    explicit Failure(Status status, std::initializer_list<std::string_view> details = {});

    Status status() const { return status_; }

private:
    Status status_;
};

}  // namespace zdbs

#endif
