// Commands: whatever the text, it is a command or a Failure, and nothing else.
#include "fuzz/fuzzing.h"
#include "zdbs/language/command_parser.h"

void fuzz(fuzzing::Bytes input) {
    fuzzing::isRefused([&] { zdbs::parseCommand(fuzzing::textOf(input)); });
}
