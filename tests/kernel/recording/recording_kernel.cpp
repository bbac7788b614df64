/**
 * A kernel for tests: the fourteen entry points, each of which logs its call (see recording_log.h)
 * and answers from a script (see recording_script.h). It holds no data and evaluates nothing.
 */
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "kernel/zdbs.h"
#include "tests/kernel/recording/recording_log.h"
#include "tests/kernel/recording/recording_session.h"

namespace {

using recording::logLine;
using recording::quoted;
using recording::session;

constexpr int32_t success = 1;

/** A cursor over the hit words of one record. */
struct Cursor {
    int32_t ordinal = 0;
    size_t next = 0;
};

void put(int32_t *out, int32_t value) {
    if (out != nullptr) *out = value;
}

std::string assignment(const char *name, int32_t value) {
    return std::string(" ") + name + "=" + std::to_string(value);
}

std::string call(const char *name, const std::string &arguments, int32_t status) {
    return std::string(name) + "(" + arguments + ") = " + std::to_string(status);
}

/** Copies as much as fits; the NUL only when there is room for it. */
void putText(std::string_view text, char *buffer, int32_t *length) {
    const auto capacity = static_cast<size_t>(std::max<int32_t>(*length, 0));
    const size_t copied = std::min(text.size(), capacity);
    std::memcpy(buffer, text.data(), copied);
    if (copied < capacity) buffer[copied] = '\0';
    *length = static_cast<int32_t>(copied);
}

void putWord(const std::string &word, char *symbol, int32_t *length) {
    if (!session().script().paddedWords) return putText(word, symbol, length);
    std::string padded = word;
    padded.resize(static_cast<size_t>(std::max<int32_t>(*length, 0)), ' ');
    putText(padded, symbol, length);
    *length = static_cast<int32_t>(std::min(word.size(), padded.size()));
}

std::string repeatedDocument() {
    std::string document;
    for (int i = 0; i < session().script().documentRepeats; ++i) {
        document += session().script().document;
    }
    return document;
}

void putDocument(FilterData *data) {
    if (session().script().nullDocument) return;
    const std::string document = repeatedDocument();
    data->buffer = static_cast<char *>(std::malloc(std::max<size_t>(document.size(), 1)));
    if (data->buffer == nullptr) return;
    std::memcpy(data->buffer, document.data(), document.size());
    const auto length = static_cast<int32_t>(document.size());
    data->buffer_length = session().script().documentLength.value_or(length);
}

int32_t failExport(FilterData *data) {
    const recording::Script &script = session().script();
    const int32_t status = session().fail(script.exportMessage);
    data->errorcode = status;
    if (script.exportFillsErrorText) {
        const size_t copied = std::min(script.exportMessage.size(), sizeof data->errortext);
        std::memcpy(data->errortext, script.exportMessage.data(), copied);
    }
    return status;
}

/** True when everything that the caller has to clear is clear. */
bool restIsZero(const FilterData &data) {
    const auto isZero = [](char c) { return c == '\0'; };
    return data.record_control == nullptr && data.cursor == nullptr &&
           data.filter_address == nullptr && data.buffer == nullptr && data.buffer_length == 0 &&
           data.blockno == 0 && data.errorcode == 0 &&
           std::all_of(std::begin(data.filter_lib_env), std::end(data.filter_lib_env), isZero) &&
           std::all_of(std::begin(data.errortext), std::end(data.errortext), isZero);
}

std::string describe(const FilterData &data) {
    const auto nameLength = strnlen(data.filter_name, sizeof data.filter_name);
    const auto length = static_cast<size_t>(std::max<int32_t>(data.arg_length, 0));
    const std::string_view arguments =
        data.filter_arguments == nullptr ? "" : std::string_view(data.filter_arguments, length);
    return "filter=" + quoted(std::string_view(data.filter_name, nameLength)) +
           " arguments=" + quoted(arguments) + assignment("arg_length", data.arg_length) +
           assignment("filter_options", data.filter_options) +
           assignment("zdb_options", data.zdb_options) +
           (restIsZero(data) ? " rest=zero" : " rest=NOT ZERO");
}

}  // namespace

int32_t ZdbStartZarn(const char *user, const char *password, int32_t level, int32_t buffer_size) {
    recording::beginSession();
    const int32_t status = session().script().loginStatus;
    logLine(call("ZdbStartZarn",
                 quoted(user) + ", " + quoted(password) + ", " + std::to_string(level) + ", " +
                     std::to_string(buffer_size),
                 status));
    return status;
}

int32_t ZdbStopZarn(int32_t mode) {
    logLine(call("ZdbStopZarn", std::to_string(mode), success));
    return success;
}

int32_t ZdbMessage(int32_t status, char *text, int32_t *length) {
    if (text == nullptr || length == nullptr) return session().fail("No buffer for a message.");
    if (session().script().messageFails) return session().fail("No message.");
    const int32_t capacity = std::max<int32_t>(*length, 0);
    const bool unterminated = session().script().unterminatedMessages;
    if (unterminated) std::memset(text, '~', static_cast<size_t>(capacity));
    putText(session().message(status), text, length);
    if (unterminated && *length < capacity) text[*length] = '~';
    *length = session().script().messageLength.value_or(*length);
    logLine(call("ZdbMessage", std::to_string(status) + ", " + std::to_string(capacity), success) +
            " " + quoted(session().message(status)));
    return success;
}

int32_t ZdbExecuteCcl(const char *command, int32_t *out) {
    const int32_t status =
        command == nullptr ? session().fail("No command.") : session().execute(command);
    put(out, 0);
    logLine(call("ZdbExecuteCcl", quoted(command), status));
    return status;
}

int32_t ZdbGetSearch(int32_t *number, int32_t *records, int32_t *hits) {
    const recording::ResultSet *set = session().mostRecentSet();
    if (set == nullptr) {
        const int32_t status = session().fail("There is no set.");
        logLine(call("ZdbGetSearch", "", status));
        return status;
    }
    put(number, set->number);
    put(records, set->counts.records);
    put(hits, set->counts.hits);
    logLine(call("ZdbGetSearch", "", success) + assignment("number", set->number) +
            assignment("records", set->counts.records) + assignment("hits", set->counts.hits));
    return success;
}

int32_t ZdbShellSymbol(char *symbol, int32_t *length) {
    if (symbol == nullptr || length == nullptr) return session().fail("No buffer for a word.");
    const std::string asked = symbol;
    const int32_t capacity = *length;
    const std::string key = asked.substr(0, 3);
    const auto &words = session().script().words;
    const auto word = words.find(key);
    const bool known = word != words.end() && !session().script().failingSymbols.contains(key);
    if (known) putWord(word->second, symbol, length);
    *length = session().script().symbolLength.value_or(*length);
    const int32_t status = known ? success : session().fail("Unknown symbol " + key + ".");
    logLine(call("ZdbShellSymbol", quoted(asked) + ", " + std::to_string(capacity), status) +
            (known ? " " + quoted(word->second) : ""));
    return status;
}

int32_t ZdbBaseInfo(const char *database, int32_t item, char *info, int32_t *result) {
    const auto &databases = session().script().databases;
    const auto found = databases.find(database == nullptr ? "" : database);
    const recording::BaseAnswer answer =
        found == databases.end() ? recording::BaseAnswer{} : found->second;
    if (!answer.writes) {
        logLine(call("ZdbBaseInfo", quoted(database) + ", " + std::to_string(item), answer.status));
        return answer.status;
    }
    // All 64 bytes are written, without a NUL: a caller with a shorter buffer shows up.
    if (info != nullptr) std::memset(info, 'i', 64);
    put(result, answer.result);
    logLine(call("ZdbBaseInfo", quoted(database) + ", " + std::to_string(item), answer.status) +
            assignment("result", answer.result));
    return answer.status;
}

int32_t ZdbExport(FilterData *data) {
    if (data == nullptr) return session().fail("No export record.");
    const std::string arguments = describe(*data);
    const int32_t status = session().script().exportFails ? failExport(data) : success;
    if (status == success) putDocument(data);
    logLine(call("ZdbExport", arguments, status));
    return status;
}

int32_t ZdbSaveStatus() {
    const int32_t status =
        session().script().saveStatusFails ? session().fail("Cannot save the status.") : success;
    logLine(call("ZdbSaveStatus", "", status));
    return status;
}

int32_t ZdbLoadStatus(int32_t mode) {
    const int32_t status =
        session().script().loadStatusFails ? session().fail("Cannot load the status.") : success;
    logLine(call("ZdbLoadStatus", std::to_string(mode), status));
    return status;
}

int32_t ZdbCreateRecordControl(ZdbHandle *control) {
    if (control == nullptr) return session().fail("No place for a handle.");
    const bool fails = session().script().recordControlFails;
    if (!fails) *control = new Cursor;
    const int32_t status = fails ? session().fail("No record control.") : success;
    logLine(call("ZdbCreateRecordControl", "", status));
    return status;
}

int32_t ZdbGetRecordInSearchRis(ZdbHandle control, int32_t *search, int32_t ordinal,
                                int32_t *record, char *database) {
    const recording::Script &script = session().script();
    const bool fails =
        control == nullptr || search == nullptr || script.failingRecords.contains(ordinal);
    const int32_t status = fails ? session().fail("No such record.") : success;
    const std::string arguments =
        (search == nullptr ? "(null)" : std::to_string(*search)) + ", " + std::to_string(ordinal);
    if (!fails) {
        const auto number = script.recordNumbers.find(ordinal);
        *static_cast<Cursor *>(control) = {ordinal, 0};
        put(record, number == script.recordNumbers.end() ? ordinal : number->second);
        if (database != nullptr) std::memset(database, 'd', 64);
    }
    logLine(call("ZdbGetRecordInSearchRis", arguments, status));
    return status;
}

int32_t ZdbGetNextHitWord(ZdbHandle control, int32_t *part, int32_t *field, int32_t *paragraph,
                          int32_t *item, int32_t *word, int32_t *length) {
    auto *cursor = static_cast<Cursor *>(control);
    const auto &hits = session().script().hits;
    const auto found = cursor == nullptr ? hits.end() : hits.find(cursor->ordinal);
    if (cursor == nullptr || found == hits.end() || cursor->next >= found->second.size()) {
        const int32_t status = session().fail("No more hit words.");
        logLine(call("ZdbGetNextHitWord", "", status));
        return status;
    }
    const recording::HitWord &hit = found->second[cursor->next++];
    put(part, hit.part);
    put(field, hit.field);
    put(paragraph, hit.paragraph);
    put(item, hit.item);
    put(word, hit.word);
    put(length, hit.length);
    logLine(call("ZdbGetNextHitWord", "", success) + assignment("part", hit.part) +
            assignment("item", hit.item));
    return success;
}

int32_t ZdbDeleteRecordControl(ZdbHandle *control) {
    if (control == nullptr) return session().fail("No handle.");
    delete static_cast<Cursor *>(*control);
    *control = nullptr;
    logLine(call("ZdbDeleteRecordControl", "", success));
    return success;
}
