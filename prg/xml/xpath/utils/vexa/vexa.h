#ifndef PRG_XML_XPATH_UTILS_VEXA_VEXA_H
#define PRG_XML_XPATH_UTILS_VEXA_VEXA_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "foundation/string_buffer.h"
#include "kernel/zdbs.h"

class IZfxLogger;
class LineEditor;

/**
 * The application object: one kernel session, the reader of statements and the operations that
 * work on the database. There is one for the whole run.
 *
 * Results go to standard output, errors to standard error. Nothing here throws; what fails says so
 * in a message and in its return value. Used by one thread.
 */
class Vexa {
public:
    /**
     * Logs in. A refused login is printed; isConnected() tells.
     * @param quiet, host accepted and not used
     * @param logger not owned, may be null; must live as long as this object
     */
    Vexa(const char *user, const char *password, bool quiet, const char *host, IZfxLogger *logger);
    Vexa(const Vexa &) = delete;
    Vexa &operator=(const Vexa &) = delete;
    /** Closes a script file and the session. */
    virtual ~Vexa();

    /** Closes the kernel session; does nothing when it is closed. */
    void close();
    bool isConnected() const { return m_bSession; }

    /** Lines of scripts are printed as they are read. */
    void setEcho(bool echo) { m_bEcho = echo; }
    /** Requests are executed, or only parsed and printed. */
    void setExecute(bool execute) { m_bExecute = execute; }
    /** XGET marks the hits. */
    void setHighlight(bool highlight) { m_bHighlight = highlight; }
    /**
     * Lines from the terminal are edited there, and the interrupt key stops requests and output.
     * REQUIRES isEditedTerminal().
     * @param quiet nothing is shown beside the fixed texts
     */
    void editLines(bool quiet);
    /** Number of the line read last: of the script, or of the statement on the terminal. */
    int32_t getScriptLine() const { return m_nScriptLine; }

    // Start-up (vexa.cpp, prompt.cpp)

    /** Prints the options of the program. */
    static void usage();

    /**
     * Asks for a text on the terminal.
     * @param defaultText what an empty answer means; null or empty for none
     * @param hideInput what is typed is not shown
     * @param required an empty answer is asked for again
     * @return the answer, at most 255 bytes; null when the user cancelled or input ended
     */
    static std::unique_ptr<char[]> prompt(const char *text, const char *defaultText, bool hideInput,
                                          bool required);

    /** One character of standard input, EOF at its end; that it cannot be read is printed. */
    static int getCharInput(bool hideInput);

    // Statements (statement_reader.cpp)

    /**
     * Chooses where statements come from. With `use` from a script file, or from standard input
     * without prompts when there is no name; otherwise from the terminal.
     * @param inputFile null for none
     * @param continueFromStdin the end of that input leads to the terminal, not to the end
     * @return false, after a message, when the file cannot be read; the terminal is the input then
     */
    bool setUseInput(bool use, const char *inputFile, bool continueFromStdin);

    /** Closes a script; statements come from the terminal. */
    void resetInput();

    /** Whether statements were lost, after a message: input that failed, memory that ended. */
    bool lostInput() const { return m_bLostInput; }

    /**
     * Reads one line with its line feed. From a script at most size - 2 bytes into `buf`; from the
     * terminal a whole line of any length.
     * @return the line, valid until the next call: `buf` or a text of this object; null at the end
     */
    char *getLine(char *buf, int size);

    /** Prints a line of a script with its number: its first `size` bytes, all when negative. */
    void echo(const char *line, int size) const;

    /**
     * Reads the lines of one statement. One that does not fit into memory is skipped with a
     * message. Input that cannot be read is given up with a message: a script of INPUT for the
     * terminal, any other for good.
     * @return false when there are no more statements, no session, or nobody who can be written to
     */
    bool readStatement(CStringBuffer &sb);

    /** Whether notes on what was typed are wanted: there is a terminal, and no script runs. */
    bool talks() const { return m_bTalks && !m_bUseInput; }

    /** Prints the commands of the shell. */
    static void printHelp();

    // Requests (request_execution.cpp, fragment_output.cpp)

    /** BASE. @return the kernel's status of the command, 0 when there is no such database */
    int32_t openDatabase(const char *database);

    /** XFIND. @return 0 for success, -1 when it cannot be parsed, -666 after an exception */
    int executeXPath(const char *request);

    /** XGET. @return 1 for success, 0 for failure */
    int getFragments(const char *query, const char *fragmentspec);

    /**
     * Converts from the process's default character set to UTF-8 (nls_conversion.cpp). Bytes that
     * mean nothing become the replacement character; without a converter the result is empty.
     * @param length bytes of the text; negative for a NUL-terminated one
     * @param lengthOut not written; may be null
     * @return owned by the caller
     */
    static std::unique_ptr<char[]> nls2utf(const char *text, int32_t length, int32_t *lengthOut);

private:
    struct FoundSet {
        int32_t number;
        int32_t records;
    };

    void login(const char *user, const char *password);

    bool readLines(CStringBuffer &sb);
    bool addLine(CStringBuffer &sb, char *line);
    void addText(CStringBuffer &sb, const char *text, int length);
    bool endsStatements(CStringBuffer &sb);
    bool givesUpInput(CStringBuffer &sb);
    char *readTerminalLine();
    char *readEditedLine();
    bool dropsStatement(CStringBuffer &sb);
    bool inputFailed() const;
    void addByte(char c);
    void skipStatement();

    int requestOrReport(const char *text, std::string &error);
    int request(const char *text, std::string &error);
    void noteOn(const char *request, const std::string &error) const;
    void execute(const char *text);
    FoundSet search(const char *text);
    int parseOnly(const char *text, std::string &shown) const;
    void discardSet(int32_t number) const;
    void printDocument(const FilterData &data) const;

    bool m_bSession = false;
    char m_szXPath[2048] = "";
    bool m_bUseInput = false;
    std::FILE *m_pInput = stdin;
    bool m_bEcho = false;
    bool m_bExecute = true;
    bool m_bHighlight = false;
    bool m_bContinueFromStdin = true;
    int32_t m_nScriptLine = 0;
    int32_t m_nLastSet = 0;
    IZfxLogger *m_pLogger;
    ZdbHandle m_hZdb = nullptr;

    std::string m_inputName;  // of the script, for messages
    std::string m_terminalLine;
    int m_nEndsOfInput = 0;  // met in a row
    bool m_bSkips = false;   // the statement that is read does not fit into memory
    bool m_bLostInput = false;
    std::unique_ptr<LineEditor> m_pEditor;    // null: the terminal reads lines
    const CStringBuffer *m_pBegun = nullptr;  // lines of the statement that is being typed
    bool m_bTalks = false;                    // there is somebody to talk to beside the fixed texts
    bool m_bInterrupted = false;              // the line that was typed last
    int m_nInputError = 0;                    // errno of the editor's input
};

#endif
