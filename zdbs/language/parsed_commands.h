/** Commands that were parsed before. */
#ifndef ZDBS_LANGUAGE_PARSED_COMMANDS_H
#define ZDBS_LANGUAGE_PARSED_COMMANDS_H

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "zdbs/language/command.h"

namespace zdbs {

/**
 * Keeps short commands by their texts. Requests have most of theirs in common: conditions on the
 * names of a database, steps between low numbers of sets, deletions of these. A command has one
 * place, by the hash of its text, and takes it from the one that was there, so that no more than
 * `places` of `longest` bytes are kept. For one thread.
 */
class ParsedCommands {
public:
    /** The command, as parseCommand() answers it; throws as it does, and keeps nothing then. */
    std::shared_ptr<const Command> parse(std::string_view text);

private:
    static constexpr std::size_t places = 256;
    static constexpr std::size_t longest = 128;

    struct Place {
        std::string text;
        std::shared_ptr<const Command> command;
    };

    std::unique_ptr<std::array<Place, places>> kept_;
};

}  // namespace zdbs

#endif
