#include "tests/kernel/recording/recording_script.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace recording {
namespace {

/** The arguments of one directive, taken from left to right. */
class Arguments {
public:
    explicit Arguments(std::string_view text) : rest_(text) {}

    std::string word() {
        skipBlanks();
        const std::string_view taken = rest_.substr(0, rest_.find(' '));
        rest_.remove_prefix(taken.size());
        if (taken.empty()) good_ = false;
        return std::string(taken);
    }

    int32_t number() {
        const std::string text = word();
        char *end = nullptr;
        const long value = std::strtol(text.c_str(), &end, 10);
        if (end == text.c_str() || *end != '\0') good_ = false;
        return static_cast<int32_t>(value);
    }

    std::string text() {
        skipBlanks();
        return unescape(std::exchange(rest_, {}));
    }

    /** The part before " => "; what follows it stays for text(). */
    std::string pattern() {
        skipBlanks();
        const size_t arrow = rest_.find(" => ");
        if (arrow == std::string_view::npos) {
            good_ = false;
            return {};
        }
        std::string taken(rest_.substr(0, arrow));
        rest_.remove_prefix(arrow + 4);
        return taken;
    }

    bool hasMore() {
        skipBlanks();
        return !rest_.empty();
    }

    /** True when every argument was there and nothing is left over. */
    bool complete() { return good_ && !hasMore(); }

private:
    void skipBlanks() {
        while (rest_.starts_with(' '))
            rest_.remove_prefix(1);
    }

    static char unescapedCharacter(std::string_view text, size_t &at) {
        const char kind = text[++at];
        if (kind == 'n') return '\n';
        if (kind == 't') return '\t';
        if (kind != 'x' || at + 2 >= text.size()) return kind;
        const std::string digits(text.substr(at + 1, 2));
        at += 2;
        return static_cast<char>(std::strtol(digits.c_str(), nullptr, 16));
    }

    static std::string unescape(std::string_view text) {
        std::string result;
        for (size_t at = 0; at < text.size(); ++at) {
            const bool escaped = text[at] == '\\' && at + 1 < text.size();
            result += escaped ? unescapedCharacter(text, at) : text[at];
        }
        return result;
    }

    std::string_view rest_;
    bool good_ = true;
};

void failingCommand(Script &script, Arguments &in) {
    const std::string pattern = in.pattern();
    script.failingPatterns.emplace_back(pattern, in.text());
}

void waitingCommand(Script &script, Arguments &in) {
    const std::string pattern = in.pattern();
    script.waitingPatterns.emplace_back(pattern, in.text());
}

void nthFailingCommand(Script &script, Arguments &in) {
    const int32_t number = in.number();
    script.failingCommands[number] = in.text();
}

void counts(Script &script, Arguments &in) {
    const int32_t number = in.number();
    const int32_t records = in.number();
    script.sets[number] = {records, in.number()};
}

void recordNumber(Script &script, Arguments &in) {
    const int32_t ordinal = in.number();
    script.recordNumbers[ordinal] = in.number();
}

void hitWord(Script &script, Arguments &in) {
    const int32_t ordinal = in.number();
    HitWord hit;
    for (int32_t *member :
         {&hit.part, &hit.field, &hit.paragraph, &hit.item, &hit.word, &hit.length}) {
        *member = in.number();
    }
    script.hits[ordinal].push_back(hit);
}

void database(Script &script, Arguments &in) {
    const std::string name = in.word();
    BaseAnswer answer{in.number()};
    if (in.hasMore()) answer.status = in.number();
    script.databases[name] = answer;
}

void login(Script &script, Arguments &in) {
    script.loginStatus = in.number();
    script.loginMessage = in.text();
}

void commandWord(Script &script, Arguments &in) {
    const std::string symbol = in.word();
    script.words[symbol] = in.text();
}

void exportFailure(Script &script, Arguments &in, bool fillsErrorText) {
    script.exportFails = true;
    script.exportFillsErrorText = fillsErrorText;
    script.exportMessage = in.text();
}

using Action = void (*)(Script &, Arguments &);

const std::map<std::string, Action> &actions() {
    static const std::map<std::string, Action> table = {
        {"word", commandWord},
        {"words", [](Script &s, Arguments &in) { s.paddedWords = in.word() == "padded"; }},
        {"messages",
         [](Script &s, Arguments &in) { s.unterminatedMessages = in.word() == "unterminated"; }},
        {"message-fails", [](Script &s, Arguments &) { s.messageFails = true; }},
        {"message-length", [](Script &s, Arguments &in) { s.messageLength = in.number(); }},
        {"symbol-length", [](Script &s, Arguments &in) { s.symbolLength = in.number(); }},
        {"symbol-fails", [](Script &s, Arguments &in) { s.failingSymbols.insert(in.word()); }},
        {"login-fails", login},
        {"command-fails", failingCommand},
        {"command-waits", waitingCommand},
        {"command-hangs", [](Script &s, Arguments &in) { s.hangingPatterns.push_back(in.text()); }},
        {"nth-command-fails", nthFailingCommand},
        {"get-search-fails",
         [](Script &s, Arguments &in) { s.failingSearchCalls.insert(in.number()); }},
        {"set", counts},
        {"record", recordNumber},
        {"record-fails", [](Script &s, Arguments &in) { s.failingRecords.insert(in.number()); }},
        {"hit", hitWord},
        {"database", database},
        {"database-fails",
         [](Script &s, Arguments &in) {
             s.databases[in.word()] = {0, 2, false};
         }},
        {"export-document", [](Script &s, Arguments &in) { s.document = in.text(); }},
        {"export-repeat", [](Script &s, Arguments &in) { s.documentRepeats = in.number(); }},
        {"export-length", [](Script &s, Arguments &in) { s.documentLength = in.number(); }},
        {"export-null", [](Script &s, Arguments &) { s.nullDocument = true; }},
        {"export-fails", [](Script &s, Arguments &in) { exportFailure(s, in, true); }},
        {"export-fails-silently", [](Script &s, Arguments &in) { exportFailure(s, in, false); }},
        {"save-status-fails", [](Script &s, Arguments &) { s.saveStatusFails = true; }},
        {"load-status-fails", [](Script &s, Arguments &) { s.loadStatusFails = true; }},
        {"record-control-fails", [](Script &s, Arguments &) { s.recordControlFails = true; }},
    };
    return table;
}

[[noreturn]] void giveUp(const char *path, const std::string &what) {
    std::fprintf(stderr, "recording kernel: %s: %s\n", path, what.c_str());
    std::abort();
}

}  // namespace

bool applyDirective(std::string_view line, Script &script) {
    Arguments in(line);
    const auto action = actions().find(in.word());
    if (action == actions().end()) return false;
    action->second(script, in);
    return in.complete();
}

Script readScript(const char *path) {
    Script script;
    if (path == nullptr || *path == '\0') return script;
    std::ifstream file(path);
    if (!file) giveUp(path, "cannot be read");
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#') continue;
        if (!applyDirective(line, script)) giveUp(path, "not understood: " + line);
    }
    return script;
}

}  // namespace recording
