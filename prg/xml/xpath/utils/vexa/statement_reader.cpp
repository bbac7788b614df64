/** Statements: lines from the terminal, a script or standard input, joined until they are complete.
 */
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "foundation/string_util.h"
#include "prg/xml/xpath/utils/vexa/command_match.h"
#include "prg/xml/xpath/utils/vexa/console.h"
#include "prg/xml/xpath/utils/vexa/terminal.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

constexpr int lineSize = 1024;

/** A directory can be opened but not read. */
bool isDirectory(std::FILE *file) {
    struct stat about = {};
    return fstat(fileno(file), &about) == 0 && S_ISDIR(about.st_mode);
}

/** Null when the file cannot be read. */
std::FILE *openScript(const char *name) {
    std::FILE *file = std::fopen(name, "rb");
    if (file == nullptr || !isDirectory(file)) return file;
    std::fclose(file);
    return nullptr;
}

/**
 * Who meets the end of input again and again goes on asking, because a terminal or a growing file
 * may still have more to say; but with pauses of 100 ms, doubled up to a second.
 */
int pauseAfter(int endsOfInput) {
    constexpr int longest = 1000;
    const int doublings = std::clamp(endsOfInput - 2, 0, 4);
    return std::min(100 << doublings, longest);
}

}  // namespace

bool Vexa::setUseInput(bool use, const char *inputFile, bool continueFromStdin) {
    resetInput();
    m_bUseInput = use;
    m_bContinueFromStdin = continueFromStdin;
    if (!use || inputFile == nullptr) return true;
    if (std::FILE *script = openScript(inputFile)) {
        m_pInput = script;
        return true;
    }
    printError("Cannot read input file \"%s\"\n", inputFile);
    m_bUseInput = false;
    return false;
}

void Vexa::resetInput() {
    if (m_pInput != stdin) std::fclose(m_pInput);
    m_pInput = stdin;
    m_bUseInput = false;
    m_nScriptLine = 0;
}

char *Vexa::getLine(char *buf, int size) {
    if (m_bUseInput && m_pInput != nullptr) return std::fgets(buf, size - 1, m_pInput);
    return readTerminalLine();
}

char *Vexa::readTerminalLine() {
    char *line = m_terminalLine.release();
    const ssize_t length = getline(&line, &m_terminalLineSize, stdin);
    m_terminalLine.reset(line);
    return length < 0 ? nullptr : line;
}

void Vexa::echo(const char *line, int size) const {
    if (!m_bEcho || !m_bUseInput) return;
    if (size < 0) {
        std::printf("in[%03d]> %s\n", m_nScriptLine, line);
    } else {
        std::printf("in[%03d]> %.*s\n", m_nScriptLine, size, line);
    }
}

bool Vexa::readStatement(CStringBuffer &sb) {
    if (!m_bSession) return false;
    sb.clear();
    if (!m_bUseInput) m_nScriptLine = 0;
    char buffer[lineSize];
    while (true) {
        ++m_nScriptLine;
        if (!m_bUseInput) std::printf("Vexa[%02d]> ", m_nScriptLine);
        if (!flushOutput()) return false;
        char *line = getLine(buffer, lineSize);
        if (line == nullptr) {
            if (endsStatements(sb)) return false;
            continue;
        }
        m_nEndsOfInput = 0;
        if (addLine(sb, line)) return true;
    }
}

/** At the end of input: whether that is the end of all statements. If not, reading can go on. */
bool Vexa::endsStatements(const CStringBuffer &sb) {
    std::clearerr(m_pInput);
    if (m_bContinueFromStdin) {
        resetInput();
    } else if (sb.length() == 0) {
        return true;
    }
    if (++m_nEndsOfInput > 1) waitForInput(pauseAfter(m_nEndsOfInput));
    return false;
}

/** Adds a line to the statement; true when it is complete. */
bool Vexa::addLine(CStringBuffer &sb, char *line) {
    TrimString(line);
    const int length = static_cast<int>(std::strlen(line));
    if (length == 0) return false;
    if (line[length - 1] == ';') {
        sb.append(line, length - 1);
        echo(line, length - 1);
        return true;
    }
    if (equalsNoCase(line, "GO")) {
        echo(line, 0);
        return true;
    }
    echo(line, -1);
    sb.append(line, length);
    sb.append("\n", 1);
    return false;
}

void Vexa::printHelp() {
    std::puts("Available Vexa-specific commands:");
    std::puts("  BYE              - Exit Vexa");
    std::puts("  BASE database    - Open specified database for search");
    std::puts("  XGET qry fspc    - Execute an XPath query and fetch the specified fragments");
    std::puts("  XFIND qry        - Execute an XPath query.");
    std::puts("  GO               - Execute statement - an alternative to ';'.");
    std::puts("  HELP             - Show Vexa help.");
    std::puts("  INPUT script.txt - Load and execute an XPath expression from a script.");
    std::puts("  [NO]EXECUTE      - Toggle execution of parsed XPath statements.");
    std::puts("  [NO]HIGHLIGHT    - Toggle highlighting of results.\n");
}
