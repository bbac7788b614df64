/**
 * The tables of the parser and of the processor once more, this time through the whole program: a
 * request is typed, and what is printed and what reaches the kernel is compared.
 */
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/prg/xml/xpath/processor/translation_table.h"
#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::PipedProgram;

/** What a session printed for each of its statements, errors included. */
std::vector<std::string> answersOf(const std::string &screen) {
    std::vector<std::string> answers;
    size_t at = screen.find(prompt);
    while (at != std::string::npos) {
        const size_t begin = at + prompt.size();
        at = screen.find(prompt, begin);
        answers.push_back(screen.substr(begin, at - begin));
    }
    answers.pop_back();  // behind the last prompt there is the end of the input
    return answers;
}

/** The text that a log or a table line stands for. */
std::string unescaped(std::string_view text) {
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\\') {
            result += text[at];
        } else if (text[++at] == 'x') {
            result +=
                static_cast<char>(std::stoi(std::string(text.substr(at + 1, 2)), nullptr, 16));
            at += 2;
        } else {
            result += text[at] == 'n' ? '\n' : text[at] == 't' ? '\t' : text[at];
        }
    }
    return result;
}

// --- NOEXECUTE ---

struct Printed {
    int line;
    std::string request;
    std::string answer;
};

/** A line for the parser alone, a comment or an empty one gives none. */
bool parsePrinted(const std::string &line, int number, std::vector<Printed> &table) {
    const bool wellFormed = line.starts_with("= ");
    if (!wellFormed && !line.starts_with("! ")) return false;
    const size_t arrow = line.rfind(" => ");
    if (arrow == std::string::npos) throw std::runtime_error("no arrow in " + line);
    const std::string outcome = unescaped(std::string_view(line).substr(arrow + 4));
    table.push_back({number, unescaped(std::string_view(line).substr(2, arrow - 2)),
                     (wellFormed ? "" : "ERROR: ") + outcome + "\n"});
    return true;
}

std::vector<Printed> readNoExecuteTable() {
    std::ifstream file(NOEXECUTE_TABLE);
    std::vector<Printed> table;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number)
        parsePrinted(line, number, table);
    return table;
}

class RequestTables : public VexaTest {
protected:
    std::vector<std::string> answers(const std::string &statements) const {
        const support::ProgramResult result =
            support::run(quietVexa(), statements, PipedProgram::Errors::merged);
        EXPECT_EQ(result.ending, support::exited(0));
        return answersOf(result.out);
    }

    /** The calls that the processor's table counts, in its words. */
    std::vector<std::string> recordedTrace() const;
    std::vector<std::vector<std::string>> recordedTraces() const;
    void runAlone(const TranslationEntry &entry) const;
};

TEST_F(RequestTables, everyRequestOfTheParsersTableIsPrintedAsThere) {
    const std::vector<Printed> table = readNoExecuteTable();
    ASSERT_GE(table.size(), 250U);
    std::string statements = "NOEXECUTE;\n";
    for (const Printed &entry : table)
        statements += "XFIND " + entry.request + ";\n";
    const std::vector<std::string> answered = answers(statements);
    ASSERT_EQ(answered.size(), table.size() + 1);
    for (size_t i = 0; i < table.size(); ++i) {
        EXPECT_EQ(answered[i + 1], table[i].answer)
            << "line " << table[i].line << ": " << table[i].request;
    }
    EXPECT_TRUE(kernelCommands().empty());
}

// --- Commands ---

std::vector<std::string> RequestTables::recordedTrace() const {
    std::vector<std::string> trace;
    for (const std::string &line : kernelCalls()) {
        if (line.starts_with("ZdbSaveStatus(")) trace.push_back("save");
        if (line.starts_with("ZdbLoadStatus(1)")) trace.push_back("load 1");
        if (!line.starts_with("ZdbExecuteCcl(")) continue;
        const size_t begin = line.find('"') + 1;
        trace.push_back(unescaped(std::string_view(line).substr(begin, line.rfind('"') - begin)));
    }
    return trace;
}

/** One trace for each BASE, without the two commands of BASE itself. */
std::vector<std::vector<std::string>> RequestTables::recordedTraces() const {
    std::vector<std::vector<std::string>> traces;
    const std::vector<std::string> all = recordedTrace();
    for (size_t i = 0; i < all.size(); ++i) {
        if (all[i] == "BASE plays") {
            traces.emplace_back();
            ++i;  // DELETE S=1
        } else if (!traces.empty()) {
            traces.back().push_back(all[i]);
        }
    }
    return traces;
}

std::string expectedAnswer(const TranslationEntry &entry) {
    if (entry.raises) return "EXCEPTION: " + entry.message.substr(0, 255) + "\n";
    return "<" + std::to_string(entry.number) + ">\t<" + std::to_string(entry.recordCount) + ">\t" +
           entry.request + "\n";
}

bool hasScript(const TranslationEntry &entry) {
    return entry.saveFails || !entry.failures.empty() || !entry.records.empty();
}

std::string kernelScript(const TranslationEntry &entry) {
    std::string script = entry.saveFails ? "save-status-fails\n" : "";
    for (const auto &[command, message] : entry.failures) {
        script += "nth-command-fails " + std::to_string(command) + " " + message + "\n";
    }
    for (const auto &[find, records] : entry.records) {
        script += "set " + std::to_string(find) + " " + std::to_string(records) + " 1\n";
    }
    return script;
}

TEST_F(RequestTables, everyRequestOfTheProcessorsTableSendsTheCommandsThere) {
    std::vector<TranslationEntry> table = readTranslationTable(TRANSLATION_TABLE);
    std::erase_if(table, hasScript);
    ASSERT_GE(table.size(), 250U);
    std::string statements;
    // BASE drops the set of the request before.
    for (const TranslationEntry &entry : table) {
        statements += "BASE plays;\nXFIND " + entry.request + ";\n";
    }
    const std::vector<std::string> answered = answers(statements);
    const std::vector<std::vector<std::string>> traces = recordedTraces();
    ASSERT_EQ(answered.size(), 2 * table.size());
    ASSERT_EQ(traces.size(), table.size());
    for (size_t i = 0; i < table.size(); ++i) {
        SCOPED_TRACE("line " + std::to_string(table[i].line) + ": " + table[i].request);
        EXPECT_EQ(answered[2 * i + 1], expectedAnswer(table[i]));
        EXPECT_EQ(traces[i], table[i].trace);
    }
}

void RequestTables::runAlone(const TranslationEntry &entry) const {
    SCOPED_TRACE("line " + std::to_string(entry.line) + ": " + entry.request);
    kernelAnswers(kernelScript(entry));
    std::filesystem::remove(directory_ / "kernel.log");
    EXPECT_EQ(answers("XFIND " + entry.request + ";\n"),
              std::vector<std::string>{expectedAnswer(entry)});
    EXPECT_EQ(recordedTrace(), entry.trace);
}

TEST_F(RequestTables, requestsOfTheProcessorsTableMeetTheFailuresAndCountsThere) {
    int run = 0;
    for (const TranslationEntry &entry : readTranslationTable(TRANSLATION_TABLE)) {
        if (!hasScript(entry)) continue;
        ++run;
        runAlone(entry);
    }
    EXPECT_GE(run, 5);
}

}  // namespace
