#include "zdbs/language/parsed_commands.h"

#include <functional>
#include <utility>

#include "zdbs/language/command_parser.h"

namespace zdbs {

std::shared_ptr<const Command> ParsedCommands::parse(std::string_view text) {
    if (text.size() > longest) return std::make_shared<const Command>(parseCommand(text));
    if (!kept_) kept_ = std::make_unique<std::array<Place, places>>();
    Place &place = (*kept_)[std::hash<std::string_view>()(text) % places];
    if (place.command && place.text == text) return place.command;
    auto command = std::make_shared<const Command>(parseCommand(text));
    place.command = nullptr;  // should there be no memory for the text
    place.text = text;
    place.command = std::move(command);
    return place.command;
}

}  // namespace zdbs
