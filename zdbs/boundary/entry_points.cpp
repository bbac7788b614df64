/** The C entry points: arguments checked, texts converted, exceptions turned into statuses. */
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "kernel/zdbs.h"
#include "zdbs/base/utf8.h"
#include "zdbs/boundary/charset.h"
#include "zdbs/boundary/held_interrupt.h"
#include "zdbs/boundary/process.h"
#include "zdbs/engine/registry.h"
#include "zdbs/language/shell_symbols.h"
#include "zdbs/remote/remote_session.h"

namespace zdbs {
namespace {

constexpr std::size_t infoSize = 64;

/** Runs an entry point's work; whatever it throws becomes the status of the call. What the
 *  failure says is kept before another thread can come in. */
template <typename Work>
std::int32_t guarded(Work work) noexcept {
    Process &process = Process::instance();
    const std::lock_guard lock(process.mutex());
    try {
        work(process);
        return static_cast<std::int32_t>(Status::ok);
    } catch (const Failure &failure) {
        return process.fail(failure.status(), failure.what());
    } catch (const std::bad_alloc &) {
        return process.fail(Status::outOfMemory, "");
    } catch (const std::exception &exception) {
        return process.fail(Status::internalError, exception.what());
    } catch (...) {
        return process.fail(Status::internalError, "");
    }
}

void require(const void *argument, std::string_view name) {
    if (argument == nullptr) throw Failure(Status::nullArgument, {name});
}

/** A text of the caller in UTF-8, as it is where it is that already. Must not outlive the text. */
class Received {
public:
    /** Inside a nested request texts are UTF-8. */
    Received(const KernelSession &session, const char *text) : text_(text) {
        if (session.isNested()) return;
        const Charset &charset = Charset::ofProcess();
        if (charset.isTransparent()) return;
        converted_ = charset.toUtf8(text_);
        text_ = converted_;
    }
    Received(const Received &) = delete;
    Received &operator=(const Received &) = delete;

    std::string_view text() const { return text_; }

private:
    std::string converted_;
    std::string_view text_;
};

/** Whether the texts of this call are UTF-8, whatever the process has. */
bool isNested() {
    const KernelSession *session = Process::instance().openSession();
    return session != nullptr && session->isNested();
}

/** A text as the caller gets it, cut to `size` bytes. */
std::string sent(std::string_view text, std::size_t size) {
    return isNested() ? std::string(cutUtf8(text, size))
                      : Charset::ofProcess().fromUtf8(text, size);
}

/** Copies a text, with a NUL where there is room for one. */
void copyOut(std::string_view text, char *buffer, std::size_t capacity) {
    std::memcpy(buffer, text.data(), text.size());
    if (text.size() < capacity) buffer[text.size()] = '\0';
}

/** The symbol in a buffer: up to the first blank, NUL or the end. */
std::string_view symbolIn(const char *buffer, std::size_t capacity) {
    std::string_view text(buffer, strnlen(buffer, capacity));
    return text.substr(0, text.find(' '));
}

std::unique_ptr<KernelSession> openSession(const std::string &location, const std::string &user,
                                           const std::string &password) {
    if (isServed(location))
        return std::make_unique<remote::RemoteSession>(location, user, password);
    return std::make_unique<LocalSession>(
        std::make_unique<Session>(openEngine(location), user, password));
}

void startSession(Process &process, const char *user, const char *password) {
    require(user, "user");
    require(password, "password");
    if (process.openSession() != nullptr) throw Failure(Status::sessionOpen);
    Charset charset = Charset::ofProcess();
    process.open(openSession(configuredLocation(), charset.toUtf8(user), charset.toUtf8(password)));
}

void writeMessage(const Process &process, std::int32_t status, char *text, std::int32_t *length) {
    require(text, "text");
    require(length, "length");
    if (*length < 1) throw Failure(Status::shortBuffer, {"message"});
    auto capacity = static_cast<std::size_t>(*length);
    std::string sentence = process.sentence(status);
    std::string whole = sent(sentence, std::string::npos);
    std::string fitting = whole.size() < capacity ? whole : sent(sentence, capacity - 1);
    copyOut(fitting, text, capacity);
    *length = static_cast<std::int32_t>(fitting.size());
    if (fitting.size() < whole.size()) throw Failure(Status::shortBuffer, {"message"});
}

void replaceSymbol(const Process &process, char *symbol, std::int32_t *length) {
    require(symbol, "symbol");
    require(length, "length");
    process.session();
    auto capacity = static_cast<std::size_t>(std::max(*length, 0));
    std::string_view name = symbolIn(symbol, capacity);
    std::optional<std::string_view> word = wordForSymbol(name);
    if (!word) throw Failure(Status::unknownSymbol, {name.substr(0, 16)});
    if (word->size() > capacity) throw Failure(Status::shortBuffer, {"command word"});
    copyOut(*word, symbol, capacity);
    *length = static_cast<std::int32_t>(word->size());
}

void tellBaseInfo(const Process &process, const char *database, std::int32_t item, char *info,
                  std::int32_t *result) {
    require(result, "result");
    *result = 0;
    if (info != nullptr) info[0] = '\0';
    require(database, "database");
    KernelSession &session = process.session();
    if (item != ZDB_BASE_IS_XML) throw Failure(Status::unknownItem, {std::to_string(item)});
    if (!session.hasDatabase(Received(session, database).text())) return;
    *result = 1;
    if (info != nullptr) copyOut("XML", info, infoSize);
}

/** Hands a document out in its block, for free(). */
void handOut(DocumentBlock document, FilterData &data) {
    data.buffer_length = static_cast<std::int32_t>(document.length);
    data.buffer = document.text.release();
}

void runExport(const Process &process, FilterData &data) {
    KernelSession &session = process.session();
    const std::string_view name(data.filter_name,
                                strnlen(data.filter_name, sizeof data.filter_name));
    const auto filter = exportFilter(name);
    if (!filter) throw Failure(Status::unknownFilter, {name});
    std::string_view text;
    if (*filter != ExportFilter::databases) {
        require(data.filter_arguments, "filter_arguments");
        if (data.arg_length < 0) throw Failure(Status::shortBuffer, {"filter arguments"});
        text = {data.filter_arguments, static_cast<std::size_t>(data.arg_length)};
    }
    const bool highlight = (data.filter_options & ZDB_FILTER_HIGHLIGHT) != 0;
    handOut(session.exportText(*filter, text, highlight), data);
}

void fillError(FilterData &data, std::int32_t status) {
    data.errorcode = status;
    std::string text = sent(Process::instance().sentence(status), sizeof data.errortext - 1);
    copyOut(text, data.errortext, sizeof data.errortext);
}

void putOnRecord(Process &process, ZdbHandle handle, const std::int32_t *search,
                 std::int32_t ordinal, std::int32_t *record, char *database) {
    KernelSession &session = process.session();
    RecordControl &control = process.control(handle);
    require(search, "search");
    require(record, "record");
    require(database, "database");
    control = {};
    remote::PlacedRecord placed = session.record(*search, ordinal);
    if (placed.database.size() >= infoSize) throw Failure(Status::shortBuffer, {"database"});
    *record = static_cast<std::int32_t>(placed.found.record);
    copyOut(sent(placed.database, infoSize - 1), database, infoSize);
    control.hitWords = std::move(placed.found.hitWords);
}

const HitWord &nextHitWord(Process &process, ZdbHandle handle) {
    process.session();
    RecordControl &control = process.control(handle);
    if (control.next == control.hitWords.size()) throw Failure(Status::noMoreHits);
    return control.hitWords[control.next++];
}

void set(std::int32_t *output, std::int32_t value) {
    if (output != nullptr) *output = value;
}

}  // namespace
}  // namespace zdbs

using namespace zdbs;

std::int32_t ZdbStartZarn(const char *user, const char *password, std::int32_t, std::int32_t) {
    return guarded([&](Process &process) { startSession(process, user, password); });
}

std::int32_t ZdbStopZarn(std::int32_t) {
    return guarded([](Process &process) {
        process.session();
        process.close();
    });
}

/** The last failure stays what it was: its message may be asked for again. */
std::int32_t ZdbMessage(std::int32_t status, char *text, std::int32_t *length) {
    Process &process = Process::instance();
    try {
        std::lock_guard lock(process.mutex());
        writeMessage(process, status, text, length);
        return static_cast<std::int32_t>(Status::ok);
    } catch (const Failure &failure) {
        return static_cast<std::int32_t>(failure.status());
    } catch (...) {
        return static_cast<std::int32_t>(Status::outOfMemory);
    }
}

std::int32_t ZdbExecuteCcl(const char *command, std::int32_t *out) {
    return guarded([&](Process &process) {
        require(command, "command");
        set(out, 0);
        // Whoever runs a request inside the kernel has said what stops it.
        std::optional<HeldInterrupt> stopsIt;
        if (!isNested()) stopsIt.emplace();
        KernelSession &session = process.session();
        session.execute(Received(session, command).text());
    });
}

std::int32_t ZdbGetSearch(std::int32_t *number, std::int32_t *records, std::int32_t *hits) {
    return guarded([&](Process &process) {
        LastSearch search = process.session().lastSearch();
        set(number, search.number);
        set(records, search.records);
        set(hits, search.hits);
    });
}

std::int32_t ZdbShellSymbol(char *symbol, std::int32_t *length) {
    return guarded([&](Process &process) { replaceSymbol(process, symbol, length); });
}

std::int32_t ZdbBaseInfo(const char *database, std::int32_t item, char *info,
                         std::int32_t *result) {
    return guarded([&](Process &process) { tellBaseInfo(process, database, item, info, result); });
}

std::int32_t ZdbExport(FilterData *data) {
    const std::lock_guard lock(Process::instance().mutex());
    std::int32_t status = guarded([&](Process &process) {
        require(data, "data");
        data->buffer = nullptr;
        data->buffer_length = 0;
        const HeldInterrupt stopsIt;
        runExport(process, *data);
    });
    if (succeeded(static_cast<Status>(status)) || data == nullptr) return status;
    try {
        fillError(*data, status);
    } catch (const std::exception &) {
        data->errortext[0] = '\0';  // no memory for the text; the caller has the status
    }
    return status;
}

std::int32_t ZdbSaveStatus(void) {
    return guarded([](Process &process) { process.session().saveStatus(); });
}

std::int32_t ZdbLoadStatus(std::int32_t mode) {
    return guarded([&](Process &process) {
        if (mode != 1) throw Failure(Status::badSetting, {"mode", std::to_string(mode)});
        process.session().loadStatus();
    });
}

std::int32_t ZdbCreateRecordControl(ZdbHandle *control) {
    return guarded([&](Process &process) {
        require(control, "control");
        process.session();
        *control = process.createControl();
    });
}

std::int32_t ZdbGetRecordInSearchRis(ZdbHandle control, std::int32_t *search, std::int32_t ordinal,
                                     std::int32_t *record, char *database) {
    return guarded([&](Process &process) {
        putOnRecord(process, control, search, ordinal, record, database);
    });
}

std::int32_t ZdbGetNextHitWord(ZdbHandle control, std::int32_t *part, std::int32_t *field,
                               std::int32_t *paragraph, std::int32_t *item, std::int32_t *word,
                               std::int32_t *length) {
    return guarded([&](Process &process) {
        const HitWord &hit = nextHitWord(process, control);
        set(part, hit.part);
        set(field, hit.field);
        set(paragraph, hit.paragraph);
        set(item, hit.item);
        set(word, hit.word);
        set(length, hit.length);
    });
}

std::int32_t ZdbDeleteRecordControl(ZdbHandle *control) {
    return guarded([&](Process &process) {
        require(control, "control");
        process.session();
        process.deleteControl(*control);
        *control = nullptr;
    });
}
