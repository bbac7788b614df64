/** BASE and XFIND. */
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <string>

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/parser/xpath_exception.h"
#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "prg/xml/xpath/processor/search_set.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"
#include "prg/xml/xpath/utils/vexa/console.h"
#include "prg/xml/xpath/utils/vexa/interrupts.h"
#include "prg/xml/xpath/utils/vexa/kernel_text.h"
#include "prg/xml/xpath/utils/vexa/note_output.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

constexpr int commandSize = 512;
constexpr int noTree = -1;
constexpr int afterException = -666;

bool isXmlDatabase(const char *database) {
    char about[64] = "";
    int32_t result = 0;
    ZdbBaseInfo(database, ZDB_BASE_IS_XML, about, &result);
    return result != 0;
}

/** False when the name is longer than a command; half of it would be another database's name. */
bool formatOpenCommand(const char *database, char *command) {
    const CommandWord open("OPN", CommandWord::Form::cut);
    return std::snprintf(command, commandSize, "%s %s", open.text(), database) < commandSize;
}

int32_t executeCommand(const char *command) {
    int32_t unused = 0;
    return ZdbExecuteCcl(command, &unused);
}

/** The command that opens a database may take long. */
int32_t executeWatched(const char *command, bool showsTime) {
    const WorkWatch watch(showsTime);
    return executeCommand(command);
}

void printSet(int32_t number, int32_t records, const char *text) {
    std::printf("<%d>\t<%d>\t%s\n", number, records, text);
}

/** Takes the exception over: it is thrown as a pointer. */
int report(XPathException *exception, std::string &shown) {
    const std::unique_ptr<XPathException> owned(exception);
    char message[256];
    owned->GetErrorMessage(message, sizeof message);
    printError("EXCEPTION: %s\n", message);
    shown = message;
    return afterException;
}

}  // namespace

int32_t Vexa::openDatabase(const char *database) {
    if (!isXmlDatabase(database)) {
        printError("Database %s does not exist or is not XML enabled.\n", database);
        return 0;
    }
    char command[commandSize + 1];
    if (!formatOpenCommand(database, command)) {
        printError("ERROR: The database name is too long.\n");
        return 0;
    }
    const int32_t status = executeWatched(command, m_bTalks);
    if (!succeeded(status)) {
        fetchMessage(status, command, commandSize);
        printError("ERROR: %s\n", command);
    }
    int32_t number = 0;
    int32_t records = 0;
    int32_t hits = 0;
    ZdbGetSearch(&number, &records, &hits);
    // After a failure this is the message once more; kept so.
    printSet(number, records, command);
    discardSet(number);
    return status;
}

/** Drops the set that opening a database leaves. The words are meant to be used uncut here. */
void Vexa::discardSet(int32_t number) const {
    const CommandWord remove("DEL", CommandWord::Form::asItIs);
    const CommandWord set("SXX", CommandWord::Form::asItIs);
    char command[64];
    std::snprintf(command, sizeof command, "%s %s=%d", remove.text(), set.text(), number);
    executeCommand(command);
}

int Vexa::requestOrReport(const char *text, std::string &error) try {
    return request(text, error);
} catch (XPathException *exception) {
    return report(exception, error);
}

/** For somebody who typed it; scripts are as they are. */
void Vexa::noteOn(const char *request, const std::string &error) const {
    if (talks()) showNotesOn(request, error);
}

int Vexa::executeXPath(const char *text) {
    try {
        std::string error;
        const int result = requestOrReport(text, error);
        noteOn(text, error);
        return result;
    } catch (...) {
        printError("Unknown exception occurred.\n");
        return afterException;
    }
}

/** The processor gets the request as it was typed, the parser gets it in UTF-8; both are meant. */
int Vexa::request(const char *text, std::string &error) {
    const std::unique_ptr<char[]> utf8 = nls2utf(text, -1, nullptr);
    if (!m_bExecute) return parseOnly(utf8.get(), error);
    execute(text);
    return 0;
}

void Vexa::execute(const char *text) {
    const FoundSet found = search(text);
    m_nLastSet = found.number;
    printSet(m_nLastSet, found.records, text);
}

Vexa::FoundSet Vexa::search(const char *text) {
    const WorkWatch watch(m_bTalks);
    ZXProcessorMain processor(m_pLogger);
    processor.Begin();
    SearchSet *set = processor.Query(text);
    processor.End();
    if (set == nullptr) throw new XPathException("The request produced no search set.");
    const int32_t number = set->GetNumber();
    return {number, set->GetRecordCount()};
}

int Vexa::parseOnly(const char *text, std::string &shown) const {
    CStringBuffer error;
    ZXParserMain parser;
    const std::unique_ptr<XPathStatement> tree(parser.Parse(text, &error));
    if (tree == nullptr) {
        shown = error.getBufferPointer();
        printError("ERROR: %s\n", shown.c_str());
        return noTree;
    }
    CStringBuffer printed(256);
    tree->ToString(printed, true, true, true);
    printError("%s\n", printed.getBufferPointer());
    return 0;
}
