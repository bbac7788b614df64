#include "zdbs/base/status.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "zdbs/base/visible_text.h"

namespace zdbs {
namespace {

/**
 * How a sentence is filled: `{0}`, `{1}` … are the details in order. What stands
 * in brackets is left out when a detail in it is not given, so that each row is a
 * sentence with and without its details. Details beyond the last `{n}` are added
 * before the full stop.
 */
constexpr std::array table{
    StatusRow{Status::ok, "ok", "Done."},

    // Calls and session.
    StatusRow{Status::internalError, "internalError", "Internal error[: {0}]."},
    StatusRow{Status::outOfMemory, "outOfMemory", "Not enough memory."},
    StatusRow{Status::nullArgument, "nullArgument", "An argument is missing[: {0}]."},
    StatusRow{Status::shortBuffer, "shortBuffer", "The buffer is too short[ for the {0}]."},
    StatusRow{Status::unknownHandle, "unknownHandle", "The handle belongs to no record control."},
    StatusRow{Status::noSession, "noSession", "No session is open; log in first."},
    StatusRow{Status::sessionOpen, "sessionOpen", "A session is open already."},
    StatusRow{Status::loginFailed, "loginFailed", "The user is unknown or the password is wrong."},
    StatusRow{Status::noDatabase, "noDatabase", "No database is open; open one with BASE."},
    StatusRow{Status::unknownDatabase, "unknownDatabase", "There is no such database[: {0}]."},
    StatusRow{Status::unknownSymbol, "unknownSymbol", "Unknown shell symbol[ {0}]."},
    StatusRow{Status::unknownItem, "unknownItem", "Unknown information item[ {0}]."},
    StatusRow{Status::noSavedStatus, "noSavedStatus", "No settings have been saved."},
    StatusRow{Status::noSet, "noSet", "There is no set."},
    StatusRow{Status::noMoreHits, "noMoreHits", "The record has no further hit words."},
    StatusRow{Status::noSuchRecord, "noSuchRecord", "The set has no such record[: {0}]."},
    StatusRow{Status::recordTooLarge, "recordTooLarge",
              "The number of the record has more than 31 bits[: {0}]."},
    StatusRow{Status::stopped, "stopped", "It was stopped before it was done."},

    // Command language.
    StatusRow{Status::emptyCommand, "emptyCommand", "The command is empty."},
    StatusRow{Status::unknownCommand, "unknownCommand", "Unknown command[ {0}][ at column {1}]."},
    StatusRow{Status::syntaxError, "syntaxError",
              "The command is not well formed[ at column {0}][: expected {1}]."},
    StatusRow{Status::unknownField, "unknownField", "Unknown field[ {0}][ at column {1}]."},
    StatusRow{Status::unknownAxis, "unknownAxis", "Unknown axis[ {0}][ at column {1}]."},
    StatusRow{Status::unknownOperator, "unknownOperator",
              "Unknown comparison[ {0}][ at column {1}]; EQ, NE, LT, LE, GT and GE are known."},
    StatusRow{Status::unknownSet, "unknownSet", "There is no such set[: S={0}][ at column {1}]."},
    StatusRow{Status::badNumber, "badNumber",
              "A number that can be used here was expected[, not {0},][ at column {1}]."},
    StatusRow{Status::unterminatedText, "unterminatedText",
              "The text that begins[ at column {0}] with the delimiter[ {1}] does not end; a text "
              "compared with N_TVALUE ends the command."},
    StatusRow{Status::badRelation, "badRelation",
              "The relation[ {0}][ at column {1}] cannot be used with the field[ {2}]."},
    StatusRow{Status::trailingText, "trailingText",
              "The command goes on after its end[ at column {0}]."},
    StatusRow{Status::noHits, "noHits", "The search has no hits."},
    StatusRow{Status::badSetting, "badSetting", "The setting[ {0}] cannot have this value[: {1}]."},
    StatusRow{Status::nestedTooDeep, "nestedTooDeep",
              "The condition is nested too deeply[: more than {0} levels][ at column {1}]."},
    StatusRow{Status::positionOfTwoSets, "positionOfTwoSets",
              "A position is counted in one set, but two are given[: {0} and {1}][ at column "
              "{2}]."},
    StatusRow{Status::positionWithOthers, "positionWithOthers",
              "A position is a condition by itself and cannot be a part of one[ at column {0}]."},

    // Export.
    StatusRow{Status::unknownFilter, "unknownFilter", "Unknown export filter[: {0}]."},
    StatusRow{Status::missingArgument, "missingArgument",
              "The export filter lacks an argument[: {0}]."},
    StatusRow{Status::badFragmentSpec, "badFragmentSpec",
              "The fragment specification cannot be used[: {0}][; {1}]."},
    StatusRow{Status::requestFailed, "requestFailed", "The request failed[: {0}]."},
    StatusRow{Status::documentTooLarge, "documentTooLarge",
              "The export document would be larger than 2147483647 bytes."},
    StatusRow{Status::repeatedArgument, "repeatedArgument",
              "The export filter is given an argument twice[: {0}]."},

    // Home, users, databases.
    StatusRow{Status::homeMissing, "homeMissing",
              "There is no home[ in {0}]; zdbs init makes one, and ZDBS_HOME names its place."},
    StatusRow{Status::homeExists, "homeExists", "There is a home already[ in {0}]."},
    StatusRow{Status::homeUnreadable, "homeUnreadable", "The home[ in {0}] cannot be read[: {1}]."},
    StatusRow{Status::homeVersion, "homeVersion",
              "The home[ in {0}] has a format of another version[: {1}]."},
    StatusRow{Status::homeDamaged, "homeDamaged", "The home[ in {0}] is damaged[: {1}]."},
    StatusRow{Status::homeReadOnly, "homeReadOnly", "The home[ in {0}] cannot be written[: {1}]."},
    StatusRow{Status::diskFull, "diskFull", "There is no space left[ for {0}]."},
    StatusRow{Status::storeFailed, "storeFailed", "The store failed[: {0}][; {1}]."},
    StatusRow{Status::badName, "badName",
              "The name cannot be used[: {0}]; letters, digits, '_', '-' and '.' make a name, at "
              "most 63 of them, and no '.' begins one."},
    StatusRow{Status::userExists, "userExists", "There is a user of this name already[: {0}]."},
    StatusRow{Status::unknownUser, "unknownUser", "There is no such user[: {0}]."},
    StatusRow{Status::badPassword, "badPassword", "The password cannot be used[: {0}]."},
    StatusRow{Status::databaseExists, "databaseExists",
              "There is a database of this name already[: {0}]."},
    StatusRow{Status::unknownDocument, "unknownDocument",
              "There is no such document[: {0}][ in database {1}]."},
    StatusRow{
        Status::documentExists, "documentExists",
        "There is a document of this name already[: {0}][ in database {1}]; zdbs replace puts a "
        "new one in its place."},
    StatusRow{Status::notGranted, "notGranted",
              "The user[ {0}] has no such grant[ for database {1}]."},
    StatusRow{Status::badDocumentName, "badDocumentName",
              "The document name cannot be used[: {0}]; a relative path in UTF-8 is one, without "
              "control characters and empty, '.' or '..' steps, at most 4096 bytes long."},
    StatusRow{Status::unsupported, "unsupported",
              "Databases of this kind are not made for that[: {0}]."},
    StatusRow{Status::serverUnreachable, "serverUnreachable",
              "The server cannot be reached[: {0}][: {1}]."},
    StatusRow{Status::serverUntrusted, "serverUntrusted",
              "The server is not given a password[: {0}][: {1}]."},
    StatusRow{Status::serverRefused, "serverRefused", "The server refuses[: {0}][: {1}]."},
    StatusRow{Status::serverLost, "serverLost",
              "The connection to the server is lost[: {0}]; log in anew."},
    StatusRow{Status::servedHome, "servedHome",
              "This cannot be done through a server[: {0}]; do it where the home is, with "
              "ZDBS_HOME or --home as its folder."},
    StatusRow{Status::databaseLost, "databaseLost",
              "The database server[ {0}] was lost before it was done[: {1}]; nothing of it "
              "counts, ask again."},
    StatusRow{Status::databaseSlow, "databaseSlow",
              "The database server[ {0}] did not answer in time[: within {1} s]; nothing of it "
              "counts."},

    // Loading.
    StatusRow{Status::fileUnreadable, "fileUnreadable", "The file[ {0}] cannot be read[: {1}]."},
    StatusRow{Status::malformed, "malformed", "[{0}: ]The document is not well formed[: {1}]."},
    StatusRow{Status::tooDeep, "tooDeep",
              "[{0}: ]The elements are nested too deeply[: more than {1} levels]."},
    StatusRow{Status::tooManyNodes, "tooManyNodes",
              "[{0}: ]There are too many nodes[: more than {1}]."},
    StatusRow{Status::tooManyAttributes, "tooManyAttributes",
              "[{0}: ]An element has too many attributes[: more than {1}]."},
    StatusRow{Status::nameTooLong, "nameTooLong",
              "[{0}: ]A name is too long[: more than {1} bytes]."},
    StatusRow{
        Status::entityLimit, "entityLimit",
        "[{0}: ]The entities and defaults of the DTD expand to too much[: more than {1} times "
        "the document]."},
    StatusRow{Status::unknownEntity, "unknownEntity",
              "[{0}: ]The entity[ {1}] cannot be expanded."},
    StatusRow{Status::unknownEncoding, "unknownEncoding",
              "[{0}: ]The character encoding[ {1}] is unknown."},
    StatusRow{Status::compressedDamaged, "compressedDamaged",
              "The compressed file[ {0}] is damaged[: {1}]."},
    StatusRow{Status::writeFailed, "writeFailed", "The file[ {0}] cannot be written[: {1}]."},
    StatusRow{
        Status::valueTooLong, "valueTooLong",
        "[{0}: ]A text, an attribute, a comment or an instruction is too long[: more than {1} "
        "bytes]."},
    StatusRow{Status::entitiesTooDeep, "entitiesTooDeep",
              "[{0}: ]The entities are nested too deeply[: more than {1} levels]."},
    StatusRow{Status::backupDamaged, "backupDamaged", "The backup is damaged[: {0}]."},
};

static_assert(std::is_sorted(table.begin(), table.end(),
                             [](const StatusRow &a, const StatusRow &b) {
                                 return a.status < b.status;
                             }),
              "rows stand in order of number");

/** Fills one sentence; keeps which details were used. */
class Filler {
public:
    explicit Filler(std::initializer_list<std::string_view> details) : details_(details) {}

    std::string fill(std::string_view sentence) {
        std::string result;
        while (!sentence.empty()) {
            std::size_t open = std::min(sentence.find('['), sentence.size());
            append(result, sentence.substr(0, open));
            if (open == sentence.size()) break;
            std::size_t close = sentence.find(']', open);
            append(result, sentence.substr(open + 1, close - open - 1));
            sentence.remove_prefix(close + 1);
        }
        addUnused(result);
        return result;
    }

private:
    /** Appends a piece, or nothing when a detail that it shows is not there. */
    void append(std::string &result, std::string_view piece) {
        std::string filled;
        for (std::size_t i = 0; i < piece.size(); ++i) {
            if (piece[i] != '{') {
                filled += piece[i];
                continue;
            }
            auto index = static_cast<std::size_t>(piece[i + 1] - '0');
            if (index >= details_.size() || details_[index].empty()) return;
            filled += messageText(details_[index]);
            used_ = std::max(used_, index + 1);
            i += 2;
        }
        result += filled;
    }

    void addUnused(std::string &result) const {
        for (std::size_t i = used_; i < details_.size(); ++i) {
            if (details_[i].empty()) continue;
            if (result.ends_with('.')) result.pop_back();
            result.append(": ").append(messageText(details_[i])).append(".");
        }
    }

    std::vector<std::string_view> details_;
    std::size_t used_ = 0;
};

}  // namespace

std::span<const StatusRow> statusTable() {
    return table;
}

const StatusRow *rowOf(Status status) {
    const auto row = std::find_if(table.begin(), table.end(),
                                  [&](const StatusRow &each) { return each.status == status; });
    return row == table.end() ? nullptr : &*row;
}

std::string sentenceFor(std::int32_t status) {
    const StatusRow *row = rowOf(static_cast<Status>(status));
    if (row != nullptr) return Filler({}).fill(row->sentence);
    return (status & 1) != 0 ? "Done." : "Unknown status " + std::to_string(status) + ".";
}

Failure::Failure(Status status, std::initializer_list<std::string_view> details)
    : std::runtime_error(Filler(details).fill(rowOf(status)->sentence)), status_(status) {}

}  // namespace zdbs
