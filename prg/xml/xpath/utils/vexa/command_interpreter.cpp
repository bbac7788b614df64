#include "prg/xml/xpath/utils/vexa/command_interpreter.h"

#include <cctype>
#include <cstdio>
#include <new>
#include <string>

#include "foundation/keyword.h"
#include "foundation/string_buffer.h"
#include "prg/xml/xpath/utils/vexa/console.h"
#include "prg/xml/xpath/utils/vexa/note_output.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

// A statement of many lines is copied once for each time that it has grown by so much.
constexpr int statementIncrement = 1 << 22;

bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/** The text from a position on; empty when it ends before. */
std::string_view from(std::string_view text, size_t position) {
    return position < text.size() ? text.substr(position) : std::string_view();
}

/** The blank before the first part that begins with '/', at or after a position; npos for none. */
size_t findFragmentSpec(std::string_view statement, size_t position) {
    size_t blank = statement.find(' ', position);
    while (blank != std::string_view::npos && blank + 1 < statement.size()) {
        if (statement[blank + 1] == '/') return blank;
        blank = statement.find(' ', blank + 1);
    }
    return std::string_view::npos;
}

}  // namespace

// Tried in this order. The character between a prefix and its argument can be anything: "BASEmydb"
// opens ydb.
const CommandInterpreter::Command CommandInterpreter::commands[] = {
    {Match::whole, "STOP", 4, &CommandInterpreter::leave},
    {Match::whole, "BYE", 3, &CommandInterpreter::leave},
    {Match::prefix, "BASE", 5, &CommandInterpreter::base},
    {Match::prefix, "INPUT", 6, &CommandInterpreter::input},
    {Match::whole, "HELP", 4, &CommandInterpreter::help},
    {Match::whole, "EXECUTE", 7, &CommandInterpreter::execute},
    {Match::whole, "NOEXECUTE", 9, &CommandInterpreter::noExecute},
    {Match::whole, "HIGHLIGHT", 9, &CommandInterpreter::highlight},
    {Match::whole, "NOHIGHLIGHT", 11, &CommandInterpreter::noHighlight},
    {Match::prefix, "XFIND", 6, &CommandInterpreter::xfind},
    {Match::prefix, "XGET ", 0, &CommandInterpreter::xget},
};

void CommandInterpreter::run() {
    CStringBuffer statement(statementIncrement);
    while (vexa_.readStatement(statement)) {
        if (carryOut(statement) == Next::end) return;
    }
}

CommandInterpreter::Next CommandInterpreter::carryOut(const CStringBuffer &statement) try {
    CStringBuffer text;
    text.set(statement);
    text.trim();
    return carryOut({text.getBufferPointer(), static_cast<size_t>(text.length())});
} catch (const std::bad_alloc &) {
    printError("Unknown exception occurred.\n");
    return Next::statement;
}

CommandInterpreter::Next CommandInterpreter::carryOut(std::string_view statement) {
    for (const Command &command : commands) {
        const bool matches = command.match == Match::whole
                                 ? equalsNoCase(statement, command.name)
                                 : startsWithNoCase(statement, command.name);
        if (!matches) continue;
        return (this->*command.carryOut)(trimmed(from(statement, command.argumentAt)));
    }
    std::puts("Invalid command.");
    if (vexa_.talks()) showNoteOnCommand(statement);
    return Next::statement;
}

CommandInterpreter::Next CommandInterpreter::leave(std::string_view) {
    return Next::end;
}

CommandInterpreter::Next CommandInterpreter::base(std::string_view database) {
    if (database.empty()) {
        std::puts("Required parameter missing: name of database file.");
    } else {
        vexa_.openDatabase(std::string(database).c_str());
    }
    return Next::statement;
}

CommandInterpreter::Next CommandInterpreter::input(std::string_view script) {
    if (script.empty()) {
        std::puts("Required parameter missing: name of XPath script file.");
    } else {
        inScript_ = vexa_.setUseInput(true, std::string(script).c_str(), true);
    }
    return Next::statement;
}

CommandInterpreter::Next CommandInterpreter::help(std::string_view) {
    Vexa::printHelp();
    return Next::statement;
}

CommandInterpreter::Next CommandInterpreter::execute(std::string_view) {
    vexa_.setExecute(true);
    std::puts("XPath expressions will be parsed and executed.");
    return Next::statement;
}

CommandInterpreter::Next CommandInterpreter::noExecute(std::string_view) {
    vexa_.setExecute(false);
    std::puts("XPath expressions will be be parsed, but not executed.");
    return Next::statement;
}

CommandInterpreter::Next CommandInterpreter::highlight(std::string_view) {
    vexa_.setHighlight(true);
    std::puts("XGET fragment highlighting enabled.");
    return Next::statement;
}

CommandInterpreter::Next CommandInterpreter::noHighlight(std::string_view) {
    vexa_.setHighlight(false);
    std::puts("XGET fragment highlighting disabled.");
    return Next::statement;
}

CommandInterpreter::Next CommandInterpreter::xfind(std::string_view request) {
    return afterResult(vexa_.executeXPath(std::string(request).c_str()));
}

/** Takes the whole statement: the blank that ends the query is looked for behind "XGET q". */
CommandInterpreter::Next CommandInterpreter::xget(std::string_view statement) {
    const size_t blank = findFragmentSpec(statement, 6);
    if (blank == std::string_view::npos) {
        std::puts("ERROR: Missing fragment spec.");
        return Next::statement;
    }
    const std::string query(trimmed(statement.substr(5, blank - 5)));
    const std::string fragmentSpec(trimmed(statement.substr(blank)));
    return afterResult(vexa_.getFragments(query.c_str(), fragmentSpec.c_str()));
}

/**
 * Zero counts as failure. It is what XGET answers when it fails but XFIND when it succeeds; scripts
 * rely on both.
 */
CommandInterpreter::Next CommandInterpreter::afterResult(int result) {
    if (result != 0) return Next::statement;
    if (batch_) return Next::end;
    if (inScript_) {
        std::printf("Script error at line #%d\n", vexa_.getScriptLine());
        vexa_.resetInput();
        inScript_ = false;
    }
    return Next::statement;
}
