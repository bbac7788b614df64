#ifndef PRG_XML_XPATH_UTILS_VEXA_COMPLETION_H
#define PRG_XML_XPATH_UTILS_VEXA_COMPLETION_H

#include <string>

#include "prg/xml/xpath/utils/vexa/line_editor.h"

/**
 * What can stand at the end of the beginning of a statement: commands, databases behind BASE,
 * files behind INPUT, and in requests the names that occur at this place of the open database, the
 * most frequent ones first, then tests, functions and axes. All in the locale's character set.
 * @param line the last line of the statement, up to the cursor
 */
LineEditor::Completions completionsFor(const std::string &statement, const std::string &line);

#endif
