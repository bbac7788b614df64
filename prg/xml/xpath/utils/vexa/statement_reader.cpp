/** Statements: lines from the terminal, a script or standard input, joined until they are complete.
 */
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "foundation/keyword.h"
#include "foundation/string_util.h"
#include "prg/xml/xpath/utils/vexa/byte_input.h"
#include "prg/xml/xpath/utils/vexa/completion.h"
#include "prg/xml/xpath/utils/vexa/console.h"
#include "prg/xml/xpath/utils/vexa/interrupts.h"
#include "prg/xml/xpath/utils/vexa/line_editor.h"
#include "prg/xml/xpath/utils/vexa/terminal.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

constexpr int lineSize = 1024;
constexpr const char *promptFormat = "Vexa[%02d]> ";

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

/** Reads up to a line feed or `size` - 1 bytes; null at the end, and after a failure. */
char *readPiece(std::FILE *input, char *buf, int size) {
    int length = 0;
    int c = 0;
    while (c != '\n' && length < size - 1 && (c = readByte(input)) != EOF)
        buf[length++] = static_cast<char>(c);
    buf[length] = '\0';
    return length > 0 && std::ferror(input) == 0 ? buf : nullptr;
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
        m_inputName = inputFile;
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
    if (m_bUseInput && m_pInput != nullptr) return readPiece(m_pInput, buf, size - 1);
    return readTerminalLine();
}

void Vexa::editLines(bool quiet) {
    m_bTalks = !quiet;
    holdInterrupts();
    m_pEditor = std::make_unique<LineEditor>([this](const std::string &line) {
        const char *begun = m_pBegun != nullptr ? m_pBegun->getBufferPointer() : "";
        return completionsFor(begun + line, line);
    });
}

/** The editor shows the prompt itself: it draws its line anew whenever it likes. */
char *Vexa::readEditedLine() {
    takeInterrupt();  // one that came too late for what it meant
    char prompt[32];
    std::snprintf(prompt, sizeof prompt, promptFormat, m_nScriptLine);
    switch (m_pEditor->read(prompt, m_terminalLine)) {
        case LineEditor::Outcome::line:
            return m_terminalLine.data();
        case LineEditor::Outcome::interrupted:
            m_bInterrupted = true;
            return nullptr;
        case LineEditor::Outcome::atEnd:
            return nullptr;
        case LineEditor::Outcome::failed:
            m_nInputError = m_pEditor->errorNumber();
            return nullptr;
    }
    return nullptr;
}

char *Vexa::readTerminalLine() {
    if (m_pEditor != nullptr) return readEditedLine();
    m_terminalLine.clear();
    int c = 0;
    while (c != '\n' && (c = readByte(stdin)) != EOF)
        addByte(static_cast<char>(c));
    const bool isLine = !m_terminalLine.empty() && std::ferror(stdin) == 0;
    return isLine ? m_terminalLine.data() : nullptr;
}

/** Of a line that is too long the end stays, which tells whether the statement ends, too. */
void Vexa::addByte(char c) try { m_terminalLine.push_back(c); } catch (const std::bad_alloc &) {
    skipStatement();
    m_terminalLine = c;
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
    do {
        m_bSkips = false;
        sb.clear();
        if (!m_bUseInput) m_nScriptLine = 0;
        if (!readLines(sb)) return false;
    } while (m_bSkips);
    return true;
}

/** Reads to the end of a statement; false when there is none. */
bool Vexa::readLines(CStringBuffer &sb) {
    char buffer[lineSize];
    m_pBegun = &sb;
    while (true) {
        ++m_nScriptLine;
        if (!m_bUseInput && m_pEditor == nullptr) std::printf(promptFormat, m_nScriptLine);
        if (!flushOutput()) return false;
        char *line = getLine(buffer, lineSize);
        if (dropsStatement(sb)) continue;
        if (line == nullptr) {
            if (endsStatements(sb)) return false;
            continue;
        }
        m_nEndsOfInput = 0;
        if (addLine(sb, line)) return true;
    }
}

/** After the interrupt key, where it does not end the program: what was begun is over. */
bool Vexa::dropsStatement(CStringBuffer &sb) {
    if (!std::exchange(m_bInterrupted, false) && !(m_bUseInput && takeInterrupt())) return false;
    if (m_bUseInput) resetInput();
    sb.clear();
    m_bSkips = false;
    m_nScriptLine = 0;
    return true;
}

bool Vexa::inputFailed() const {
    return m_nInputError != 0 || std::ferror(m_pInput) != 0;
}

/** After a failure. Half a statement is none. */
bool Vexa::givesUpInput(CStringBuffer &sb) {
    const char *reason = std::strerror(m_nInputError != 0 ? m_nInputError : errno);
    const bool isScript = m_pInput != stdin;
    const std::string what = isScript ? "input file \"" + m_inputName + "\"" : "standard input";
    printError("ERROR: Cannot read %s: %s\n", what.c_str(), reason);
    m_bLostInput = true;
    sb.clear();
    if (!isScript || !m_bContinueFromStdin) return true;
    resetInput();
    return false;
}

/** At the end of input: whether that is the end of all statements. If not, reading can go on. */
bool Vexa::endsStatements(CStringBuffer &sb) {
    if (inputFailed()) return givesUpInput(sb);
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
        addText(sb, line, length - 1);
        echo(line, length - 1);
        return true;
    }
    if (equalsNoCase(line, "GO")) {
        echo(line, 0);
        return true;
    }
    echo(line, -1);
    addText(sb, line, length);
    addText(sb, "\n", 1);
    return false;
}

void Vexa::addText(CStringBuffer &sb, const char *text, int length) try {
    sb.append(text, length);
} catch (const std::bad_alloc &) {
    skipStatement();
    sb.clear();
}

/** Its lines are read on to its end, lest they be taken for other statements. */
void Vexa::skipStatement() {
    if (!m_bSkips) printError("ERROR: A statement does not fit into memory and is skipped.\n");
    m_bSkips = m_bLostInput = true;
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
