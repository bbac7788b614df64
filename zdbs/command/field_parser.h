/** Reads `field relation`. */
#ifndef ZDBS_COMMAND_FIELD_PARSER_H
#define ZDBS_COMMAND_FIELD_PARSER_H

#include "zdbs/command/command.h"
#include "zdbs/command/cursor.h"

namespace zdbs {

/** Throws Failure: unknownField, syntaxError, badRelation, badNumber, unterminatedText. */
FieldTerm parseFieldTerm(Cursor &cursor);

}  // namespace zdbs

#endif
