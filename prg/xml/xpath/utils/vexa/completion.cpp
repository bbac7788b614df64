#include "prg/xml/xpath/utils/vexa/completion.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

#include "foundation/keyword.h"
#include "prg/xml/xpath/utils/vexa/kernel_lists.h"
#include "prg/xml/xpath/utils/vexa/nls_conversion.h"
#include "prg/xml/xpath/utils/vexa/request_place.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

using Choices = std::vector<std::string>;
using Kind = RequestPlace::Kind;

constexpr auto commands =
    std::to_array<std::string_view>({"base", "bye", "execute", "help", "highlight", "input",
                                     "noexecute", "xfind", "xget", "stop", "nohighlight"});
constexpr auto argumentCommands =
    std::to_array<std::string_view>({"base", "input", "xfind", "xget"});
constexpr auto words = std::to_array<std::string_view>({"and", "or"});
constexpr auto functions = std::to_array<std::string_view>({"contains(", "position()", "last()"});
constexpr auto tests =
    std::to_array<std::string_view>({"text()", "node()", "comment()", "processing-instruction()"});
constexpr auto axes = std::to_array<std::string_view>(
    {"ancestor::", "ancestor-or-self::", "attribute::", "child::", "descendant::",
     "descendant-or-self::", "following::", "following-sibling::", "parent::", "preceding::",
     "preceding-sibling::"});

/** Those that begin with what was typed, each once. */
template <typename List>
void addChoices(const List &from, std::string_view typed, Choices &choices) {
    for (const std::string_view choice : from)
        if (choice.starts_with(typed) && std::ranges::find(choices, choice) == choices.end())
            choices.emplace_back(choice);
}

/** In capitals where they were typed so. */
Choices commandsFor(std::string typed) {
    const bool isUpper = !typed.empty() && std::isupper(static_cast<unsigned char>(typed[0])) != 0;
    Choices choices;
    for (const std::string_view name : commands) {
        std::string command(name);
        if (!startsWithNoCase(command, typed)) continue;
        if (isUpper)
            for (char &c : command)
                c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        choices.push_back(command);
    }
    return choices;
}

/** What a request can hold; an underscore it cannot. */
Choices namesFor(const RequestPlace &place) {
    Choices names;
    for (const OfferedName &name : namesAt(place.names)) {
        const bool fits =
            place.kind == Kind::step || (place.kind == Kind::attribute) == name.isAttribute;
        if (!fits || name.local.find_first_of("_*") != std::string::npos) continue;
        std::string text = name.prefix.empty() ? name.local : name.prefix + ':' + name.local;
        names.push_back(place.kind == Kind::step && name.isAttribute ? '@' + text : text);
    }
    return names;
}

Choices choicesAt(const RequestPlace &place) {
    Choices choices;
    if (place.kind == Kind::word) addChoices(words, place.word, choices);
    if (place.kind == Kind::word || place.kind == Kind::nothing) return choices;
    addChoices(namesFor(place), place.word, choices);
    if (place.kind == Kind::attribute) return choices;
    if (place.isInPredicate && place.kind == Kind::step) addChoices(functions, place.word, choices);
    addChoices(tests, place.word, choices);
    if (place.kind == Kind::step) addChoices(axes, place.word, choices);
    return choices;
}

LineEditor::Completions inRequest(const std::string &request, const std::string &line) {
    const std::unique_ptr<char[]> utf8 =
        Vexa::nls2utf(request.c_str(), static_cast<int32_t>(request.size()), nullptr);
    const RequestPlace place = placeAtEndOf(utf8.get());
    LineEditor::Completions completions;
    const std::size_t typed = utf2nls(std::string(place.word)).size();
    completions.begin = line.size() - std::min(typed, line.size());
    for (const std::string &choice : choicesAt(place))
        completions.choices.push_back(utf2nls(choice));
    return completions;
}

Choices filesFor(const std::string &typed) {
    namespace fs = std::filesystem;
    const std::size_t slash = typed.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : typed.substr(0, slash + 1);
    Choices files;
    std::error_code error;
    const bool isHiddenWanted = typed.size() > folder.size() && typed[folder.size()] == '.';
    for (fs::directory_iterator at(folder.empty() ? "." : folder, error), end; !error && at != end;
         at.increment(error)) {
        const std::string name = at->path().filename();
        std::error_code unknown;
        const bool isFolder = at->is_directory(unknown);
        if (name.starts_with('.') && !isHiddenWanted) continue;
        files.push_back(folder + name + (isFolder ? "/" : ""));
    }
    std::ranges::sort(files);
    return files;
}

LineEditor::Completions behind(const Choices &from, const std::string &typed,
                               const std::string &line) {
    LineEditor::Completions completions;
    completions.begin = line.size() - std::min(typed.size(), line.size());
    addChoices(from, typed, completions.choices);
    return completions;
}

Choices databases() {
    Choices names;
    for (const std::string &name : databaseNames())
        names.push_back(utf2nls(name));
    return names;
}

}  // namespace

LineEditor::Completions completionsFor(const std::string &statement, const std::string &line) {
    const std::size_t begin = std::min(statement.find_first_not_of(" \t\n"), statement.size());
    const std::size_t end = statement.find_first_of(" \t\n", begin);
    const std::string command = statement.substr(begin, end - begin);
    if (end == std::string::npos) {
        LineEditor::Completions completions = behind(commandsFor(command), command, line);
        const bool hasArgument = completions.choices.size() == 1 &&
                                 std::ranges::any_of(argumentCommands, [&](std::string_view name) {
                                     return equalsNoCase(name, completions.choices.front());
                                 });
        completions.behind = hasArgument ? " " : ";";
        return completions;
    }
    const std::size_t rest = std::min(statement.find_first_not_of(" \t\n", end), statement.size());
    const std::string argument = statement.substr(rest);
    if (equalsNoCase(command, "base")) return behind(databases(), argument, line);
    if (equalsNoCase(command, "input")) return behind(filesFor(argument), argument, line);
    if (equalsNoCase(command, "xfind") || equalsNoCase(command, "xget"))
        return inRequest(argument, line);
    return {};
}
