/** What to write instead of what is refused. */
#include <algorithm>

#include "prg/xml/xpath/notes/note_list.h"

namespace notes {
namespace {

struct Refusal {
    std::string_view message;  ///< a part of it
    std::string_view note;
};

// Where the message tells enough.
constexpr Refusal refusals[] = {
    {"Invalid node type",
     "There are the tests text(), node(), comment() and "
     "processing-instruction(); an element is asked for by its name."},
    {"axis \"self\"",
     "The step . is not taken: leave it out; below the node of a predicate is "
     "[//name], its own text [text()='...']."},
    {"axis \"namespace\"", "Namespace declarations cannot be asked for."},
    {"parent context", "This axis needs nodes to start from: write //*/ in front of it."},
    {"without a context", "This axis needs nodes to start from: write //node()/ in front of it."},
    {"requires a location step and a scalar",
     "A path stands on the left and a literal on the right: [@height>3]; two paths cannot be "
     "compared."},
    {"Comparison using the", "Write // for a value further down: [//name='...']."},
    {"emptry strings", "An empty text cannot be compared."},
    {"Paired expressions", "There is no arithmetic: write the number itself, [2]."},
    {"Invalid location step type", "A position is an integer: [2]."},
    {"function \"last\"", "Write [position()=last()]."},
    {"function \"not\"", "There is no not(); of what is compared, != finds the others."},
    {"function \"starts-with\"", "There is contains() only: [contains(@name,'...')]."},
    {"function \"processing-instruction\"", "Write processing-instruction() without a name."},
    {"unknown or unsupported function", "The functions are position(), last() and contains()."},
    {"lvalue type in contains()",
     "contains() searches texts and attributes: contains(name/text(),'...')."},
    {"function \"count\"", "There is no count(); [name/position()=2] finds who has two at least."},
    {"in comparison", "Compared are paths, position() and last()."},
    {"no search set", "The request stands for everything; ask for a name."},
};

bool isInGroup(const std::vector<Operand> &operands) {
    return std::ranges::any_of(operands, [](const Operand &operand) {
        return !operand.group.empty() && !operand.group.front().operators.empty();
    });
}

/** What somebody may have meant where the grammar gave up. */
void noteGrammar(const std::vector<Operand> &paths, NoteList &notes) {
    const std::string_view request = notes.request();
    const std::size_t begin = request.find_first_not_of(" \t\r\n");
    if (begin == std::string_view::npos) return notes.add("The request is missing.");
    if (request.substr(begin, request.find_last_not_of(" \t\r\n") + 1 - begin) == "/")
        notes.add("The root of a document is no record: write /*.");
    if (request.find('_') != std::string_view::npos)
        notes.add("A name with an underscore cannot be written in a request.");
    visitPaths(paths, [&](const Operand &path, const Step *) {
        for (const Step &step : path.steps) {
            for (const Expression &predicate : step.predicates) {
                const auto words = std::ranges::count_if(predicate.operators, [](const Token &t) {
                    return t.text == "or" || t.text == "and";
                });
                if (words > 1)
                    notes.add("One word in a predicate: write [a][b] for and, a union for or.");
                if (isInGroup(predicate.operands))
                    notes.add("A word cannot stand in round brackets.");
                const auto minus = std::ranges::find_if(
                    predicate.operators, [](const Token &t) { return t.text == "-"; });
                if (minus != predicate.operators.end())
                    notes.add("A negative number is written in quotes: [@height='-3'].");
            }
        }
    });
}

}  // namespace

void noteRefusal(const std::vector<Operand> &paths, std::string_view error, NoteList &notes) {
    if (error.find("syntax error") != std::string_view::npos) return noteGrammar(paths, notes);
    for (const Refusal &refusal : refusals) {
        if (error.find(refusal.message) == std::string_view::npos) continue;
        return notes.add(std::string(refusal.note));
    }
}

}  // namespace notes
