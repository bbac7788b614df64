#include "tests/prg/xml/xpath/processor/fake_kernel.h"

#include <algorithm>
#include <cstring>

#include "kernel/zdbs.h"
#include "tests/prg/xml/xpath/processor/scarce_memory.h"

namespace {

constexpr std::int32_t success = 1;
constexpr std::int32_t failedStatus = 1048;  // even, and not 0
constexpr std::size_t symbolLength = 3;
const std::string executePrefix = "ExecuteCcl ";
const std::string symbolPrefix = "ShellSymbol [";
constexpr const char *scriptedFailure = "scripted failure";

bool startsWith(const std::string &text, const std::string &start) {
    return text.compare(0, start.size(), start) == 0;
}

bool isHitCall(const std::string &call) {
    return startsWith(call, "CreateRecordControl") || startsWith(call, "GetRecordInSearchRis") ||
           startsWith(call, "GetNextHitWord") || startsWith(call, "DeleteRecordControl");
}

}  // namespace

FakeKernel &FakeKernel::instance() {
    static FakeKernel kernel;
    return kernel;
}

void FakeKernel::reset() {
    *this = FakeKernel();
    words_ = {{"OPN", "BASE"},     {"DEL", "DELETE"}, {"SXX", "S"},      {"FIN", "FIND"},
              {"ORX", "OR"},       {"ANT", "AND.T"},  {"DEF", "DEFINE"}, {"HIL", "HITS"},
              {"REN", "RENUMBER"}, {"MIN", "MIN"}};
    HitWord hit;
    hit.part = 1;
    records_ = {Record{1, {hit}, true}};
}

std::int32_t FakeKernel::addSet(std::int32_t records, std::int32_t hits) {
    const std::int32_t number = sets_.empty() ? 1 : sets_.rbegin()->first + 1;
    sets_[number] = {records, hits};
    return number;
}

std::vector<std::string> FakeKernel::trace() const {
    std::vector<std::string> lines;
    for (const std::string &call : calls_) {
        if (call == "SaveStatus") lines.push_back("save");
        if (startsWith(call, "LoadStatus ")) lines.push_back("load" + call.substr(10));
        if (startsWith(call, executePrefix)) lines.push_back(call.substr(executePrefix.size()));
    }
    return lines;
}

std::vector<std::string> FakeKernel::shortCalls() const {
    std::vector<std::string> lines;
    for (const std::string &call : calls_) {
        if (isHitCall(call)) continue;
        if (call == "SaveStatus") {
            lines.push_back("save");
        } else if (startsWith(call, "LoadStatus ")) {
            lines.push_back("load" + call.substr(10));
        } else if (startsWith(call, executePrefix)) {
            lines.push_back(call.substr(executePrefix.size()));
        } else if (startsWith(call, symbolPrefix)) {
            lines.push_back("?" + call.substr(symbolPrefix.size(), symbolLength));
        } else {
            lines.push_back(call == "GetSearch"            ? "result"
                            : startsWith(call, "Message ") ? "message"
                                                           : call);
        }
    }
    return lines;
}

void FakeKernel::record(const std::string &call) {
    calls_.push_back(call);
    lastIsHitCall_ = isHitCall(call);
    ++(lastIsHitCall_ ? hitCalls_ : otherCalls_);
}

bool FakeKernel::fails() const {
    return lastIsHitCall_ ? hitCalls_ == failHitCall_ : otherCalls_ == failCall_;
}

std::vector<std::int32_t> FakeKernel::setNumbers() const {
    std::vector<std::int32_t> numbers;
    for (const auto &[number, set] : sets_)
        numbers.push_back(number);
    return numbers;
}

std::int32_t FakeKernel::execute(const std::string &command) {
    record(executePrefix + command);
    commands_.push_back(command);
    if (fails()) return fail(scriptedFailure);
    const int n = static_cast<int>(commands_.size());
    const auto failure = failures_.find(n);
    if (failure != failures_.end()) return fail(failure->second);
    if (failFrom_ > 0 && n >= failFrom_) return fail(scriptedFailure);
    if (startsWith(command, words_["FIN"] + " ")) return find() ? success : fail("no set");
    if (startsWith(command, words_["DEL"] + " ")) {
        return remove(command) ? success : fail("no such set");
    }
    if (command == words_["REN"]) {
        renumber();
        return success;
    }
    return startsWith(command, words_["DEF"] + " ") ? success : fail("unknown command");
}

bool FakeKernel::find() {
    const auto found = found_.find(++finds_);
    if (found == found_.end()) {
        addSet();
    } else {
        addSet(found->second.records, found->second.hits);
    }
    return true;
}

bool FakeKernel::remove(const std::string &command) {
    const std::string start = words_["DEL"] + " " + words_["SXX"] + "=";
    if (!startsWith(command, start)) return false;
    return sets_.erase(std::stoi(command.substr(start.size()))) > 0;
}

void FakeKernel::renumber() {
    std::map<std::int32_t, Set> renumbered;
    for (const auto &[number, set] : sets_) {
        renumbered[static_cast<std::int32_t>(renumbered.size()) + 1] = set;
    }
    sets_ = std::move(renumbered);
}

std::int32_t FakeKernel::fail(const std::string &message) {
    lastMessage_ = message;
    return failedStatus;
}

std::int32_t FakeKernel::getSearch(std::int32_t *number, std::int32_t *records,
                                   std::int32_t *hits) {
    const bool cleared = *number == 0 && *records == 0 && *hits == 0;
    record(cleared ? "GetSearch" : "GetSearch with outputs not cleared");
    ++searches_;
    if (fails()) return fail(scriptedFailure);
    if (sets_.empty()) return fail("there is no set");
    if (failSearchFrom_ > 0 && searches_ >= failSearchFrom_) return fail(scriptedFailure);
    *number = sets_.rbegin()->first;
    *records = sets_.rbegin()->second.records;
    *hits = sets_.rbegin()->second.hits;
    return success;
}

void FakeKernel::give(const std::string &value, char *text, std::int32_t *length) const {
    const auto capacity = static_cast<std::size_t>(*length);
    const std::size_t size = std::min(value.size(), capacity);
    if (style_ == TextStyle::padded) std::memset(text, ' ', capacity);
    std::memcpy(text, value.data(), size);
    if (style_ == TextStyle::terminated && size < capacity) text[size] = '\0';
    *length = static_cast<std::int32_t>(size);
}

std::int32_t FakeKernel::shellSymbol(char *symbol, std::int32_t *length) {
    record(symbolPrefix + std::string(symbol) + "] " + std::to_string(*length));
    if (fails()) return fail(scriptedFailure);
    const auto word = words_.find(std::string(symbol, symbolLength));
    if (word == words_.end()) return fail("unknown symbol");
    give(word->second, symbol, length);
    if (wordLength_) *length = *wordLength_;
    return success;
}

std::int32_t FakeKernel::message(std::int32_t status, char *text, std::int32_t *length) {
    record("Message " + std::to_string(status) + " " + std::to_string(*length));
    if (fails()) return failedStatus;
    give(lastMessage_, text, length);
    return success;
}

std::int32_t FakeKernel::saveStatus() {
    record("SaveStatus");
    return failSave_ || fails() ? fail("cannot save") : success;
}

std::int32_t FakeKernel::createRecordControl(void **control) {
    record(*control == nullptr ? "CreateRecordControl" : "CreateRecordControl over a handle");
    if (fails()) return fail(scriptedFailure);
    *control = new Control;
    ++openControls_;
    return success;
}

std::int32_t FakeKernel::getRecord(void *control, std::int32_t ordinal, std::int32_t *id,
                                   char *database) {
    auto *cursor = static_cast<Control *>(control);
    if (cursor == nullptr || fails()) return fail(scriptedFailure);
    cursor->ordinal = ordinal;
    cursor->nextHit = 0;
    const auto index = static_cast<std::size_t>(ordinal) - 1;
    if (index >= records_.size() || !records_[index].readable) return fail("no such record");
    *id = records_[index].id;
    std::memcpy(database, "plays", 6);
    return success;
}

std::int32_t FakeKernel::nextHit(void *control, HitWord &hit) {
    auto *cursor = static_cast<Control *>(control);
    if (fails()) return fail(scriptedFailure);
    const std::vector<HitWord> &hits =
        records_.at(static_cast<std::size_t>(cursor->ordinal) - 1).hits;
    if (cursor->nextHit >= hits.size()) return fail("no more hits");
    hit = hits[cursor->nextHit++];
    return success;
}

std::int32_t FakeKernel::deleteRecordControl(void **control) {
    record(*control != nullptr ? "DeleteRecordControl" : "DeleteRecordControl of no handle");
    if (*control == nullptr) return fail("no such record control");
    delete static_cast<Control *>(*control);
    *control = nullptr;
    --openControls_;
    return fails() ? fail(scriptedFailure) : success;
}

int32_t ZdbStartZarn(const char *user, const char *, int32_t level, int32_t buffer_size) {
    FakeKernel::instance().record(std::string("StartZarn ") + user + " " + std::to_string(level) +
                                  " " + std::to_string(buffer_size));
    return success;
}

int32_t ZdbStopZarn(int32_t mode) {
    FakeKernel::instance().record("StopZarn " + std::to_string(mode));
    return success;
}

int32_t ZdbMessage(int32_t status, char *text, int32_t *length) {
    return FakeKernel::instance().message(status, text, length);
}

int32_t ZdbExecuteCcl(const char *command, int32_t *out) {
    const PlentyOfMemory memory;
    if (out != nullptr) *out = 0;
    return FakeKernel::instance().execute(command);
}

int32_t ZdbGetSearch(int32_t *number, int32_t *records, int32_t *hits) {
    const PlentyOfMemory memory;
    return FakeKernel::instance().getSearch(number, records, hits);
}

int32_t ZdbShellSymbol(char *symbol, int32_t *length) {
    const PlentyOfMemory memory;
    return FakeKernel::instance().shellSymbol(symbol, length);
}

int32_t ZdbBaseInfo(const char *database, int32_t item, char *, int32_t *result) {
    FakeKernel::instance().record(std::string("BaseInfo ") + database + " " + std::to_string(item));
    *result = 1;
    return success;
}

int32_t ZdbExport(FilterData *) {
    FakeKernel::instance().record("Export");
    return failedStatus;
}

int32_t ZdbSaveStatus(void) {
    return FakeKernel::instance().saveStatus();
}

int32_t ZdbLoadStatus(int32_t mode) {
    const PlentyOfMemory memory;
    FakeKernel::instance().record("LoadStatus " + std::to_string(mode));
    return FakeKernel::instance().fails() ? failedStatus : success;
}

int32_t ZdbCreateRecordControl(ZdbHandle *control) {
    return FakeKernel::instance().createRecordControl(control);
}

int32_t ZdbGetRecordInSearchRis(ZdbHandle control, int32_t *search, int32_t ordinal,
                                int32_t *record, char *database) {
    FakeKernel::instance().record("GetRecordInSearchRis " + std::to_string(*search) + " " +
                                  std::to_string(ordinal));
    return FakeKernel::instance().getRecord(control, ordinal, record, database);
}

int32_t ZdbGetNextHitWord(ZdbHandle control, int32_t *part, int32_t *field, int32_t *paragraph,
                          int32_t *item, int32_t *word, int32_t *length) {
    FakeKernel &kernel = FakeKernel::instance();
    const int32_t outputs = *part | *field | *paragraph | *item | *word | *length;
    kernel.record(outputs == 0 ? "GetNextHitWord" : "GetNextHitWord with outputs not cleared");
    FakeKernel::HitWord hit;
    const int32_t status = kernel.nextHit(control, hit);
    if ((status & 1) == 0) return status;
    *part = hit.part;
    *field = hit.field;
    *paragraph = hit.paragraph;
    *item = hit.item;
    *word = hit.word;
    *length = hit.length;
    return status;
}

int32_t ZdbDeleteRecordControl(ZdbHandle *control) {
    return FakeKernel::instance().deleteRecordControl(control);
}
