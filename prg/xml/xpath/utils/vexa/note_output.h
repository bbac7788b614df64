#ifndef PRG_XML_XPATH_UTILS_VEXA_NOTE_OUTPUT_H
#define PRG_XML_XPATH_UTILS_VEXA_NOTE_OUTPUT_H

#include <string>
#include <string_view>

/**
 * What is shown beside the fixed texts to somebody at a terminal: dim, on standard error. Nothing
 * where that is no terminal.
 */

/** Notes on a request. @param error the message it was answered with, or empty */
void showNotesOn(const char *request, const std::string &error);

/** What to type instead of a statement that is no command. */
void showNoteOnCommand(std::string_view statement);

#endif
