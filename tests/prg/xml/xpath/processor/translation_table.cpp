#include "tests/prg/xml/xpath/processor/translation_table.h"

#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace {

// The rest of `line` behind `word` and one blank; nothing when the line starts otherwise.
std::optional<std::string> restBehind(const std::string &line, const std::string &word) {
    if (line == word) return "";
    const std::string start = word + " ";
    if (line.compare(0, start.size(), start) != 0) return std::nullopt;
    return line.substr(start.size());
}

std::pair<int, std::string> numberAndText(const std::string &text) {
    const std::size_t blank = text.find(' ');
    if (blank == std::string::npos) throw std::invalid_argument(text);
    return {std::stoi(text.substr(0, blank)), text.substr(blank + 1)};
}

class Reader {
public:
    explicit Reader(const std::string &path) : path_(path), file_(path) {
        if (!file_) throw std::runtime_error("cannot read " + path);
    }

    std::vector<TranslationEntry> readAll() {
        std::string line;
        while (std::getline(file_, line)) {
            ++lineNumber_;
            if (line.empty()) finishEntry();
            if (!line.empty() && line[0] != '#') readLine(line);
        }
        finishEntry();
        return std::move(entries_);
    }

private:
    void readLine(const std::string &line) {
        try {
            if (!takeLine(line)) fail("a line that means nothing");
        } catch (const std::logic_error &) {  // of std::stoi
            fail("a number is missing");
        }
    }

    bool takeLine(const std::string &line) {
        if (const auto request = restBehind(line, "request")) {
            if (isOpen_) fail("the entry before has no end");
            entry_ = TranslationEntry();
            entry_.line = lineNumber_;
            entry_.request = *request;
            isOpen_ = true;
            return true;
        }
        return isOpen_ && !hasResult_ && (takeScript(line) || takeExpectation(line));
    }

    bool takeScript(const std::string &line) {
        if (line == "nosave") {
            entry_.saveFails = true;
        } else if (const auto failure = restBehind(line, "fail")) {
            entry_.failures.push_back(numberAndText(*failure));
        } else if (const auto records = restBehind(line, "records")) {
            const auto [find, count] = numberAndText(*records);
            entry_.records.emplace_back(find, std::stoi(count));
        } else {
            return false;
        }
        return true;
    }

    bool takeExpectation(const std::string &line) {
        if (const auto sent = restBehind(line, ">")) {
            entry_.trace.push_back(*sent);
            return true;
        }
        const auto result = restBehind(line, "=");
        const auto message = restBehind(line, "!");
        if (!result && !message) return false;
        hasResult_ = true;
        entry_.raises = message.has_value();
        if (message) {
            entry_.message = *message;
            return true;
        }
        const auto [number, records] = numberAndText(*result);
        entry_.number = number;
        entry_.recordCount = std::stoi(records);
        return true;
    }

    void finishEntry() {
        if (!isOpen_) return;
        if (!hasResult_) fail("the entry has no result");
        entries_.push_back(entry_);
        isOpen_ = false;
        hasResult_ = false;
    }

    [[noreturn]] void fail(const std::string &what) const {
        throw std::runtime_error(path_ + ":" + std::to_string(lineNumber_) + ": " + what);
    }

    std::string path_;
    std::ifstream file_;
    int lineNumber_ = 0;
    TranslationEntry entry_;
    bool isOpen_ = false;
    bool hasResult_ = false;
    std::vector<TranslationEntry> entries_;
};

}  // namespace

std::vector<TranslationEntry> readTranslationTable(const std::string &path) {
    return Reader(path).readAll();
}
