#include "tests/kernel/recording/recording_session.h"

#include <fnmatch.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

namespace recording {
namespace {

constexpr int32_t success = 1;

void skipBlanks(std::string_view &text) {
    while (text.starts_with(' '))
        text.remove_prefix(1);
}

bool takeText(std::string_view &text, std::string_view expected) {
    skipBlanks(text);
    if (!text.starts_with(expected)) return false;
    text.remove_prefix(expected.size());
    return true;
}

bool takeNumber(std::string_view &text, int32_t &number) {
    skipBlanks(text);
    size_t digits = text.starts_with('-') ? 1 : 0;
    while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9')
        ++digits;
    if (digits == 0) return false;
    number = std::atoi(std::string(text.substr(0, digits)).c_str());
    text.remove_prefix(digits);
    return true;
}

std::unique_ptr<Session> &current() {
    static std::unique_ptr<Session> instance;
    return instance;
}

bool matches(const std::string &pattern, const std::string &command) {
    return fnmatch(pattern.c_str(), command.c_str(), 0) == 0;
}

/** A signal that is held back wakes nobody, so this looks again and again. */
void awaitHeldInterrupt() {
    sigset_t waiting;
    do {
        poll(nullptr, 0, 1);
        sigpending(&waiting);
    } while (sigismember(&waiting, SIGINT) != 1);
}

}  // namespace

Session::Session(Script script) : script_(std::move(script)) {
    if (script_.loginStatus % 2 == 0) messages_[script_.loginStatus] = script_.loginMessage;
}

int32_t Session::fail(const std::string &message) {
    const int32_t status = nextFailure_;
    nextFailure_ += 2;
    messages_[status] = message;
    return status;
}

std::string Session::message(int32_t status) const {
    const auto found = messages_.find(status);
    if (found != messages_.end()) return found->second;
    return status % 2 != 0 ? "Success." : "Status " + std::to_string(status) + ".";
}

int32_t Session::execute(const std::string &command) {
    ++commandCount_;
    const int32_t failure = scriptedFailure(command);
    return failure != 0 ? failure : recognise(command);
}

int32_t Session::scriptedFailure(const std::string &command) {
    const auto numbered = script_.failingCommands.find(commandCount_);
    if (numbered != script_.failingCommands.end()) return fail(numbered->second);
    for (const auto &[pattern, text] : script_.failingPatterns) {
        if (matches(pattern, command)) return fail(text);
    }
    for (const std::string &pattern : script_.hangingPatterns) {
        while (matches(pattern, command))
            pause();
    }
    for (const auto &[pattern, text] : script_.waitingPatterns) {
        if (!matches(pattern, command)) continue;
        awaitHeldInterrupt();
        return fail(text);
    }
    return 0;
}

bool Session::startsWithWord(std::string_view command, const char *symbol,
                             std::string_view &rest) const {
    const std::string &word = script_.words.at(symbol);
    if (!command.starts_with(word)) return false;
    rest = command.substr(word.size());
    return rest.empty() || rest.front() == ' ';
}

int32_t Session::recognise(const std::string &command) {
    std::string_view rest;
    if (startsWithWord(command, "OPN", rest)) {
        sets_.clear();
        return makeSet();
    }
    if (startsWithWord(command, "FIN", rest)) return makeSet();
    if (startsWithWord(command, "DEL", rest)) return deleteSets(rest);
    if (startsWithWord(command, "DEF", rest)) return success;
    if (startsWithWord(command, "REN", rest)) {
        renumber();
        return success;
    }
    return fail("Unknown command: " + command);
}

int32_t Session::makeSet() {
    int32_t highest = 0;
    for (const ResultSet &set : sets_)
        highest = std::max(highest, set.number);
    const auto counts = script_.sets.find(++setCount_);
    sets_.push_back({highest + 1, counts == script_.sets.end() ? Counts{} : counts->second});
    return success;
}

int32_t Session::deleteSets(std::string_view list) {
    do {
        int32_t number = 0;
        if (!takeText(list, script_.words.at("SXX")) || !takeText(list, "=") ||
            !takeNumber(list, number)) {
            return fail("A set is expected.");
        }
        if (!deleteSet(number)) return fail("There is no set " + std::to_string(number) + ".");
    } while (takeText(list, ","));
    return success;
}

bool Session::deleteSet(int32_t number) {
    return std::erase_if(sets_, [number](const ResultSet &set) { return set.number == number; }) >
           0;
}

void Session::renumber() {
    int32_t number = 0;
    for (ResultSet &set : sets_)
        set.number = ++number;
}

const ResultSet *Session::mostRecentSet() {
    if (script_.failingSearchCalls.contains(++searchCallCount_) || sets_.empty()) return nullptr;
    return &sets_.back();
}

Session &session() {
    if (current() == nullptr) beginSession();
    return *current();
}

void beginSession() {
    current() = std::make_unique<Session>(readScript(std::getenv("RECORDING_SCRIPT")));
}

}  // namespace recording
