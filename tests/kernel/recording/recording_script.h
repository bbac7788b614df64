/**
 * What the recording kernel answers: a text file, one directive a line.
 *
 * Blank lines and lines that begin with '#' are skipped. TEXT runs to the end of the line and knows
 * \n, \t, \\ and \xNN. A line that is not understood ends the process with a message, so that a
 * misspelt directive cannot make a test pass.
 *
 *   word SYMBOL TEXT                 the command word handed out for a symbol
 *   words padded                     words are filled with blanks to the capacity, without a NUL
 *   symbol-fails SYMBOL              ZdbShellSymbol fails for the symbol and writes nothing
 *   messages unterminated            rubbish follows the text of a message, and no NUL
 *   message-fails                    ZdbMessage fails and writes nothing
 *   message-length N                 ZdbMessage tells this length, whatever it wrote
 *   symbol-length N                  ZdbShellSymbol does
 *   login-fails STATUS TEXT          ZdbStartZarn returns STATUS, whose message is TEXT
 *   command-fails PATTERN => TEXT    a command that matches the shell pattern fails with TEXT
 *   command-waits PATTERN => TEXT    a command that matches waits for a SIGINT that is held back,
 *                                    and fails with TEXT
 *   command-hangs PATTERN            a command that matches never returns
 *   nth-command-fails N TEXT         the N-th command since the login (from 1) fails with TEXT
 *   get-search-fails N               the N-th ZdbGetSearch since the login fails
 *   set N RECORDS HITS               counts of the N-th set made since the login (default 1 1)
 *   record ORDINAL NUMBER            record number at a place of a set (default: the place itself)
 *   record-fails ORDINAL             the record at that place cannot be read
 *   hit ORDINAL PART FIELD PARAGRAPH ITEM WORD LENGTH
 *                                    one more hit word of the record at that place
 *   database NAME RESULT [STATUS]    what ZdbBaseInfo tells (default: 1, status 1)
 *   database-fails NAME              ZdbBaseInfo fails and writes nothing
 *   export-document TEXT             the document that ZdbExport hands out
 *   export-repeat N                  ... N times over
 *   export-length N                  the length that is told of it
 *   export-null                      ZdbExport succeeds without a document
 *   export-fails TEXT                ZdbExport fails and fills the error text
 *   export-fails-silently TEXT       ZdbExport fails, TEXT comes through ZdbMessage only
 *   save-status-fails                ZdbSaveStatus fails
 *   load-status-fails                ZdbLoadStatus fails
 *   record-control-fails             ZdbCreateRecordControl fails
 */
#ifndef TESTS_KERNEL_RECORDING_RECORDING_SCRIPT_H
#define TESTS_KERNEL_RECORDING_RECORDING_SCRIPT_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace recording {

struct Counts {
    int32_t records = 1;
    int32_t hits = 1;
};

struct HitWord {
    int32_t part = 0;
    int32_t field = 0;
    int32_t paragraph = 0;
    int32_t item = 0;
    int32_t word = 0;
    int32_t length = 0;
};

struct BaseAnswer {
    int32_t result = 1;
    int32_t status = 1;
    bool writes = true;
};

/** The answers of one session; what no directive changes has the value given here. */
struct Script {
    std::map<std::string, std::string> words = {
        {"OPN", "BASE"},  {"DEL", "DELETE"}, {"SXX", "S"},    {"FIN", "FIND"},     {"ORX", "OR"},
        {"ANT", "AND.T"}, {"DEF", "DEFINE"}, {"HIL", "HITS"}, {"REN", "RENUMBER"}, {"MIN", "MIN"}};
    bool paddedWords = false;
    std::set<std::string> failingSymbols;

    bool unterminatedMessages = false;
    bool messageFails = false;
    std::optional<int32_t> messageLength;
    std::optional<int32_t> symbolLength;
    int32_t loginStatus = 1;
    std::string loginMessage;

    std::vector<std::pair<std::string, std::string>> failingPatterns;
    std::vector<std::pair<std::string, std::string>> waitingPatterns;
    std::vector<std::string> hangingPatterns;
    std::map<int, std::string> failingCommands;
    std::set<int> failingSearchCalls;

    std::map<int, Counts> sets;
    std::map<int, int32_t> recordNumbers;
    std::set<int> failingRecords;
    std::map<int, std::vector<HitWord>> hits;
    std::map<std::string, BaseAnswer> databases;

    std::string document = "<result matches=\"1\"><fragment>text</fragment></result>";
    int documentRepeats = 1;
    std::optional<int32_t> documentLength;
    bool nullDocument = false;
    bool exportFails = false;
    bool exportFillsErrorText = true;
    std::string exportMessage;

    bool saveStatusFails = false;
    bool loadStatusFails = false;
    bool recordControlFails = false;
};

/**
 * Reads a script file; a null or empty path gives the defaults.
 * Ends the process when the file cannot be read or a line is not understood.
 */
Script readScript(const char *path);

/** Applies one line to the script; false when it is not understood. */
bool applyDirective(std::string_view line, Script &script);

}  // namespace recording

#endif
