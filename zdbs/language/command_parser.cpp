#include "zdbs/language/command_parser.h"

#include <array>
#include <string>

#include "zdbs/base/status.h"
#include "zdbs/language/condition_parser.h"
#include "zdbs/language/cursor.h"

namespace zdbs {
namespace {

// BASE name
Command parseBase(Cursor &cursor) {
    std::string_view name = cursor.takeUntil("");
    if (name.empty()) cursor.fail("the name of a database");
    return BaseCommand{std::string(name)};
}

// FIND condition
Command parseFind(Cursor &cursor) {
    return FindCommand{parseCondition(cursor)};
}

// DELETE S=n {, S=n}
Command parseDelete(Cursor &cursor) {
    DeleteCommand result;
    do {
        result.sets.push_back(parseSetReference(cursor));
    } while (cursor.take(','));
    return result;
}

Command parseRenumber(Cursor &) {
    return RenumberCommand{};
}

// DEFINE FIND MIN=n
Command parseDefineFind(Cursor &cursor) {
    if (!sameWord(cursor.peekWord(), "MIN")) cursor.fail("MIN");
    cursor.takeWord();
    cursor.expect('=');
    std::int32_t minimum = cursor.takeInteger();
    if (minimum < 0) throw Failure(Status::badSetting, {"MIN", std::to_string(minimum)});
    return DefineFindMinCommand{minimum};
}

// DEFINE HITS | DEFINE FIND MIN=n
Command parseDefine(Cursor &cursor) {
    std::string_view word = cursor.peekWord();
    bool isHits = sameWord(word, "HITS");
    if (!isHits && !sameWord(word, "FIND")) cursor.fail("HITS or FIND");
    cursor.take(word);
    if (isHits) return DefineHitsCommand{};
    return parseDefineFind(cursor);
}

struct CommandWord {
    std::string_view word;
    Command (*parse)(Cursor &);
};

constexpr std::array commandWords{
    CommandWord{"BASE", parseBase},     CommandWord{"FIND", parseFind},
    CommandWord{"DELETE", parseDelete}, CommandWord{"RENUMBER", parseRenumber},
    CommandWord{"DEFINE", parseDefine},
};

}  // namespace

Command parseCommand(std::string_view text) {
    Cursor cursor(text);
    if (cursor.atEnd()) throw Failure(Status::emptyCommand);
    const std::size_t place = cursor.place();
    std::string_view word = cursor.takeWord();
    if (word.empty()) word = cursor.takeUntil("");
    for (const CommandWord &known : commandWords) {
        if (!sameWord(known.word, word)) continue;
        Command result = known.parse(cursor);
        if (cursor.atEnd()) return result;
        throw Failure(Status::trailingText, {std::to_string(cursor.column())});
    }
    throw Failure(Status::unknownCommand, {shown(word), std::to_string(cursor.columnOf(place))});
}

}  // namespace zdbs
