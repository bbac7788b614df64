#include "tests/answers/sample_databases.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace answers {
namespace {

/** Takes "Vexa[01]> " off the front, as often as it stands there. */
std::string withoutPrompts(std::string line) {
    while (line.starts_with("Vexa["))
        line.erase(0, line.find("> ") + 2);
    return line;
}

/** The count of "<set> <count> request", or noCount for another line. */
int countOf(const std::string &line, const std::string &request) {
    const std::size_t tab = line.find(">\t<");
    if (!line.starts_with('<') || tab == std::string::npos) return noCount;
    const std::size_t end = line.find(">\t", tab + 3);
    if (end == std::string::npos || line.substr(end + 2) != request) return noCount;
    return std::stoi(line.substr(tab + 3, end - tab - 3));
}

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(withoutPrompts(line));
    return lines;
}

/** The first line that begins with one of the shell's error words, without the word. */
std::string messageIn(const std::string &errors) {
    for (const std::string &line : linesOf(errors)) {
        for (const std::string_view word : {"EXCEPTION: ", "ERROR: "}) {
            if (line.starts_with(word)) return line.substr(word.size());
        }
    }
    return {};
}

void require(const support::ProgramResult &result, const std::string &what) {
    if (result.ending != support::exited(0))
        throw std::runtime_error(what + ": " + toString(result.ending) + "\n" + result.err);
}

}  // namespace

void PrintTo(const Sample &sample, std::ostream *out) {
    *out << sample.database;
}

const Sample &garden() {
    static const Sample sample = {"garden", ANSWERS_DIR "/data/garden.xml"};
    return sample;
}

const std::vector<Sample> &samples() {
    static const std::vector<Sample> all = {
        garden(),
        {"mime", "/usr/share/mime/packages/freedesktop.org.xml"},
        {"xkb", "/usr/share/X11/xkb/rules/base.xml"},
    };
    return all;
}

std::string setLinesOf(const std::string &output) {
    std::string sets;
    for (const std::string &line : linesOf(output)) {
        if (line.starts_with('<') && line.find(">\tBASE ") == std::string::npos)
            sets += line + "\n";
    }
    return sets;
}

SampleDatabases::SampleDatabases(const std::vector<Sample> &loaded) {
    require(zdbs({"init"}), "init");
    require(zdbs({"user", "add", "reader", "--password-stdin"}, "secret\n"), "user add");
    require(zdbs({"grant", "reader", "*"}), "grant");
    for (const Sample &sample : loaded) {
        require(zdbs({"create", sample.database}), "create " + sample.database);
        require(zdbs({"load", sample.database, sample.file}), "load " + sample.file);
    }
}

std::vector<Answer> SampleDatabases::find(const std::string &database,
                                          const std::vector<std::string> &requests) const {
    std::vector<Answer> answers;
    std::string statements = "BASE " + database + ";\n";
    for (const std::string &request : requests)
        statements += "XFIND " + request + ";\n";
    const std::vector<std::string> lines = linesOf(vexa(statements).out);
    auto line = lines.begin();
    for (const std::string &request : requests) {
        const auto found = std::find_if(line, lines.end(), [&](const std::string &one) {
            return countOf(one, request) != noCount;
        });
        if (found != lines.end()) {
            answers.push_back({countOf(*found, request), {}});
            line = found + 1;
        } else {
            // By itself, to get hold of its own message.
            const support::ProgramResult alone = run(database, "XFIND " + request + ";\n");
            answers.push_back({noCount, messageIn(alone.err)});
        }
    }
    return answers;
}

support::ProgramResult SampleDatabases::run(const std::string &database,
                                            const std::string &statements) const {
    return vexa("BASE " + database + ";\n" + statements);
}

/** The last column of the table, up to the blank line behind it. */
std::vector<std::string> SampleDatabases::conditions(const std::string &database,
                                                     const std::string &request) const {
    const auto explained = zdbs({"explain", "--no-notes", database, request});
    require(explained, "explain " + request);
    std::vector<std::string> lines = linesOf(explained.out);
    const std::size_t column = lines.front().find("CONDITION");
    lines.erase(lines.begin());
    lines.erase(std::find(lines.begin(), lines.end(), ""), lines.end());
    for (std::string &line : lines)
        line.erase(0, column);
    return lines;
}

std::string SampleDatabases::dump(const std::string &database) const {
    const support::ProgramResult result = zdbs({"dump", database});
    require(result, "dump " + database);
    return result.out;
}

support::ProgramResult SampleDatabases::zdbs(std::vector<std::string> arguments,
                                             std::string_view input) const {
    return support::run({ZDBS_PROGRAM, std::move(arguments), environment(), {}}, input);
}

support::ProgramResult SampleDatabases::vexa(const std::string &statements) const {
    const support::ProgramResult result = support::run(
        {VEXA_PROGRAM, {"-u", "reader", "-p", "secret", "-q"}, environment(), {}}, statements);
    require(result, "vexa");
    return result;
}

std::map<std::string, std::string> SampleDatabases::environment() const {
    return {{"ZDBS_HOME", home_ / "home"}, {"LC_ALL", "C.UTF-8"}};
}

}  // namespace answers
