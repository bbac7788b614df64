/**
 * A session of the user "reader" on the database "db", through the C entry points:
 *
 *   reader follow LAST    reads in a loop until it meets generation LAST; every answer has to
 *                         be one of a committed state, see generations.h. Tells "at N" when
 *                         it meets a generation for the first time
 *   reader stay SECONDS   the same for a while, whatever comes; then tells "ROUNDS P50 P99 MOST
 *                         BEFORE AFTER": how many rounds, their times in microseconds, and the
 *                         resident kilobytes after a tenth of the time and at the end
 *   reader hold           opens the database, says "ready", keeps it open until its input ends
 *   reader ask COMMAND…   executes each; writes its records or its message, a line each
 */
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/zdbs.h"
#include "tests/robustness/generations.h"

namespace {

constexpr std::string_view exportCommand = "EXPORT ";

bool isGood(std::int32_t status) {
    return (status & 1) != 0;
}

std::string messageOf(std::int32_t status) {
    std::string text(1024, '\0');
    std::int32_t length = 1024;
    if (!isGood(ZdbMessage(status, text.data(), &length))) return "no message";
    text.resize(static_cast<std::size_t>(length));
    return text;
}

void require(std::int32_t status, const std::string &what) {
    if (!isGood(status)) throw std::runtime_error(what + ": " + messageOf(status));
}

void logIn() {
    require(ZdbStartZarn("reader", "secret", 9, 4096), "login");
}

std::int32_t records() {
    std::int32_t found = 0;
    require(ZdbGetSearch(nullptr, &found, nullptr), "search");
    return found;
}

std::int32_t countOf(const std::string &command) {
    require(ZdbExecuteCcl(command.c_str(), nullptr), command);
    return records();
}

/** The document that an export hands out; a failed status throws its text. */
std::string exported(std::string arguments) {
    FilterData data{};
    std::string_view("zarnxmlquery").copy(data.filter_name, sizeof data.filter_name);
    data.filter_arguments = arguments.data();
    data.arg_length = static_cast<std::int32_t>(arguments.size());
    data.zdb_options = 4;
    const std::int32_t status = ZdbExport(&data);
    if (!isGood(status)) throw std::runtime_error("export: " + messageOf(status));
    std::string document(data.buffer, static_cast<std::size_t>(data.buffer_length));
    std::free(data.buffer);
    return document;
}

std::size_t occurrences(std::string_view text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

std::int32_t numberBehind(const std::string &text, std::string_view label) {
    const std::size_t at = text.find(label);
    if (at == text.npos) throw std::runtime_error("no " + std::string(label) + " in " + text);
    return std::atoi(text.c_str() + at + label.size());
}

/** Reads one state after the other and compares what belongs together. */
class Follower {
public:
    explicit Follower(bool tells) : tells_(tells) {}

    std::int32_t generation() const { return generation_; }

    void round() {
        const std::int32_t nodes = countOf("BASE db");
        dropOldSets();
        const std::int32_t left = countOf("FIND N_NAME=a");
        meet(generationOf(left), "elements a", left);
        const std::int32_t right = countOf("FIND N_NAME=b AND N_TYPE=ELEMENT");
        expect(right, left, "elements b");
        const bool hasExtra = nodes == robustness::nodesOf(generation_) + 1;
        expect(nodes, robustness::nodesOf(generation_) + (hasExtra ? 1 : 0), "nodes");
        expect(countOf("FIND N_TVALUE=&" + std::to_string(generation_) + "&") > 0, 1, "number");
        expect(countOf("FIND N_NAME=total"), 1, "attributes");
        expect(countOf("FIND XPATH(child,0,2,1)"), 1, "parents of a");
        expect(countOf("FIND S=2 OR S=3"), 2 * left, "elements a and b");
        readExport();
        hasSets_ = true;
    }

private:
    // Only now, so that they were carried over to the state that BASE found.
    void dropOldSets() const {
        if (!hasSets_) return;
        const char *command = "DELETE S=1, S=2, S=3, S=4, S=5, S=6, S=7";
        require(ZdbExecuteCcl(command, nullptr), command);
        require(ZdbExecuteCcl("RENUMBER", nullptr), "RENUMBER");
    }

    static std::optional<std::int32_t> generationOf(std::int32_t count) {
        return robustness::generationOf(count);
    }

    static void expect(std::int32_t got, std::int32_t wanted, const std::string &what) {
        if (got == wanted) return;
        throw std::runtime_error(what + ": " + std::to_string(got) + " instead of " +
                                 std::to_string(wanted));
    }

    void meet(std::optional<std::int32_t> generation, const std::string &what,
              std::int32_t number) {
        if (!generation)
            throw std::runtime_error(what + ": " + std::to_string(number) + " are of no state");
        // They begin anew behind the last one.
        constexpr std::int32_t limit = robustness::generationLimit;
        const bool isOlder =
            generation_ >= 0 && (*generation - generation_ + limit) % limit > limit / 2;
        if (isOlder)
            throw std::runtime_error("generation " + std::to_string(*generation) + " after " +
                                     std::to_string(generation_));
        if (*generation == generation_) return;
        generation_ = *generation;
        if (tells_) std::cout << "at " << generation_ << std::endl;
    }

    // An export takes the newest state by itself.
    void readExport() {
        const std::string text = exported("XPATHQUERY=/*\nXPATHFRAGMENTS=/\n");
        const std::int32_t number = numberBehind(text, "number=\"");
        meet(number, "export", number);
        const auto count = static_cast<std::size_t>(robustness::elementsOf(number));
        if (occurrences(text, "<a>") + occurrences(text, "<a/>") != count ||
            occurrences(text, "<b>") + occurrences(text, "<b/>") != count)
            throw std::runtime_error("an export of several states: " + text);
    }

    bool tells_;
    std::int32_t generation_ = -1;
    bool hasSets_ = false;
};

void follow(std::int32_t last) {
    constexpr int mostRounds = 1000000;
    logIn();
    Follower follower(true);
    for (int round = 0; round < mostRounds && follower.generation() < last; ++round)
        follower.round();
    require(ZdbStopZarn(0), "end of the session");
    if (follower.generation() != last) throw std::runtime_error("the last state did not come");
}

std::uint64_t residentKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::uint64_t size = 0;
        if (word == "VmRSS:" && status >> size) return size;
    }
    throw std::runtime_error("the resident size is not told");
}

void stay(double seconds) {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    const auto passed = [&] { return std::chrono::duration<double>(Clock::now() - begin).count(); };
    logIn();
    Follower follower(false);
    std::vector<std::int64_t> times;
    std::uint64_t before = 0;
    while (passed() < seconds) {
        const auto start = Clock::now();
        follower.round();
        times.push_back(
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count());
        if (before == 0 && passed() > seconds / 10) before = residentKilobytes();
    }
    require(ZdbStopZarn(0), "end of the session");
    std::sort(times.begin(), times.end());
    std::cout << "rounds " << times.size() << " " << times[times.size() / 2] << " "
              << times[times.size() * 99 / 100] << " " << times.back() << " " << before << " "
              << residentKilobytes() << std::endl;
}

void hold() {
    logIn();
    countOf("BASE db");
    std::cout << "ready" << std::endl;
    std::string line;
    std::getline(std::cin, line);
    std::cout << countOf("FIND N_NAME=a") << std::endl;
}

std::string answerTo(const std::string &command) {
    try {
        if (command.starts_with(exportCommand))
            return std::to_string(exported("XPATHQUERY=" + command.substr(exportCommand.size()) +
                                           "\nXPATHFRAGMENTS=/\n")
                                      .size());
        return std::to_string(countOf(command));
    } catch (const std::exception &error) {
        return error.what();
    }
}

void ask(const std::vector<std::string> &commands) {
    logIn();
    for (const std::string &command : commands)
        std::cout << answerTo(command) << std::endl;
}

}  // namespace

int main(int count, char **arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + count);
    try {
        if (words.size() == 2 && words[0] == "follow")
            follow(std::stoi(words[1]));
        else if (words.size() == 2 && words[0] == "stay")
            stay(std::stod(words[1]));
        else if (words.size() == 1 && words[0] == "hold")
            hold();
        else if (words.size() > 1 && words[0] == "ask")
            ask({words.begin() + 1, words.end()});
        else
            return 2;
        return 0;
    } catch (const std::exception &error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
