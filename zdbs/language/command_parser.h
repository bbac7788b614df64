/** Reads one line of the command language. */
#ifndef ZDBS_LANGUAGE_COMMAND_PARSER_H
#define ZDBS_LANGUAGE_COMMAND_PARSER_H

#include <string_view>

#include "zdbs/language/command.h"

namespace zdbs {

/** Parentheses in conditions may be nested this deep. */
constexpr int maximalNesting = 1000;

/**
 * Parses a command in UTF-8. Command words, fields, axes and operators are read in
 * any case; blanks between tokens are free.
 *
 * A text after N_TVALUE ends at the last delimiter of the command that nothing but
 * blanks and ')' follows, for literals arrive unescaped: each is one value, and none
 * can break out of its term. It follows that such a term ends the command. Texts of
 * other fields end at the next delimiter.
 *
 * Throws Failure: emptyCommand, unknownCommand, syntaxError, unknownField,
 * unknownAxis, unknownOperator, unknownSet (negative numbers), badNumber,
 * unterminatedText, badRelation, trailingText, badSetting, nestedTooDeep,
 * positionOfTwoSets.
 */
Command parseCommand(std::string_view command);

}  // namespace zdbs

#endif
