#include "prg/xml/xpath/utils/vexa/note_output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "foundation/keyword.h"
#include "foundation/similar_words.h"
#include "prg/xml/xpath/notes/notes.h"
#include "prg/xml/xpath/utils/vexa/console.h"
#include "prg/xml/xpath/utils/vexa/kernel_lists.h"
#include "prg/xml/xpath/utils/vexa/nls_conversion.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

constexpr const char *languageHelp =
    "A request is a path, or paths with | between them:\n"
    "  //person              elements of that name, anywhere\n"
    "  /site/people/person   from the top of documents, step by step\n"
    "  //person/@id          attributes; text(), comment(), node() are nodes without names\n"
    "  //name/parent::*      axes: child, descendant, parent, ancestor, following, preceding ...\n"
    "  //person[name='Ann']  a condition: = != < <= > >= and a number or a text in quotes\n"
    "  //person[@age>30 and address]   one word, and or or, in a pair of brackets\n"
    "  //person[2]           a position; also [position()>1] and [position()=last()]\n"
    "  //name[contains(text(),'nn')]   a piece of a text\n"
    "xfind //person; counts them. xget //person /name; shows the names of each.\n";

std::size_t terminalWidth() {
    constexpr std::size_t usual = 80;
    constexpr std::size_t least = 20;
    winsize size{};
    const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= least;
    return isKnown ? size.ws_col : usual;
}

/** Lines in UTF-8. */
void show(const std::string &lines) {
    const bool isDim = std::getenv("NO_COLOR") == nullptr;
    const std::string text = utf2nls(lines);
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        printError("%s%.*s%s\n", isDim ? "\033[2m" : "", static_cast<int>(end - begin),
                   text.data() + begin, isDim ? "\033[22m" : "");
        begin = end + 1;
    }
}

/** The command that somebody may have meant by a word; nothing when it is none. */
std::string noteOn(const std::string &word) {
    const std::array<std::string, 9> commands = {"bye",   "base",    "xget",      "xfind", "help",
                                                 "input", "execute", "highlight", "stop"};
    for (const char *leaves : {"quit", "exit", "q", "\\q", ":q", "logout"})
        if (equalsNoCase(word, leaves)) return "Type bye; to leave.\n";
    if (word.starts_with('/') || word.starts_with('@')) return "Type xfind in front of it.\n";
    if (const auto meant = mostSimilar(word, commands)) return "Do you mean " + *meant + "?\n";
    return "Type help; for the commands, ?; for the language of requests.\n";
}

}  // namespace

void showNotesOn(const char *request, const std::string &error) {
    if (isatty(STDERR_FILENO) == 0) return;
    const std::unique_ptr<char[]> utf8 = Vexa::nls2utf(request, -1, nullptr);
    const notes::NameSource names = error.empty() ? knownNames : notes::NameSource();
    for (const notes::Note &note : notes::notesOn(utf8.get(), error, names))
        show(notes::linesOf(note, utf8.get(), terminalWidth()));
}

void showNoteOnCommand(std::string_view statement) {
    if (isatty(STDERR_FILENO) == 0) return;
    const std::string text(statement.substr(0, 64));
    const std::string word = text.substr(0, text.find_first_of(" \t\r\n"));
    if (text == "?" || (equalsNoCase(word, "help") && word != text)) return show(languageHelp);
    show(noteOn(word));
}
