/** Commands as text that shows how they were understood, for tables of facts. */
#ifndef TESTS_ZDBS_LANGUAGE_COMMAND_TEXT_H
#define TESTS_ZDBS_LANGUAGE_COMMAND_TEXT_H

#include <string>
#include <string_view>

#include "zdbs/language/command.h"

namespace zdbs::testing {

/**
 * The command with every conjunct and every condition in brackets: "find [[S1 & S2] | [S3]]".
 * `&` joins, `-` takes away, `|` is OR; a field term is "field:relation:text".
 */
std::string textOf(const Command &command);

/** textOf() of what parseCommand() makes of a line; "status: sentence" when it fails. */
std::string parsed(std::string_view line);

}  // namespace zdbs::testing

#endif
