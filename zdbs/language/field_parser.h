/** Reads `field relation`. */
#ifndef ZDBS_LANGUAGE_FIELD_PARSER_H
#define ZDBS_LANGUAGE_FIELD_PARSER_H

#include "zdbs/language/command.h"
#include "zdbs/language/cursor.h"

namespace zdbs {

/** Throws Failure: unknownField, syntaxError, badRelation, badNumber, unterminatedText. */
FieldTerm parseFieldTerm(Cursor &cursor);

}  // namespace zdbs

#endif
