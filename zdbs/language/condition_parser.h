/** Reads the condition of a FIND. */
#ifndef ZDBS_LANGUAGE_CONDITION_PARSER_H
#define ZDBS_LANGUAGE_CONDITION_PARSER_H

#include "zdbs/language/command.h"
#include "zdbs/language/cursor.h"

namespace zdbs {

/**
 * Reads a condition up to where it ends. Throws Failures as parseCommand() says;
 * what may stand after the condition is for the caller to check.
 */
Condition parseCondition(Cursor &cursor);

/** Reads `S=n`. Throws Failure(syntaxError, badNumber, unknownSet). */
SetReference parseSetReference(Cursor &cursor);

}  // namespace zdbs

#endif
