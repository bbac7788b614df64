#include "prg/xml/xpath/notes/notes.h"

#include <algorithm>

#include "prg/xml/xpath/notes/note_list.h"

namespace notes {
namespace {

constexpr std::size_t mostNotes = 5;
constexpr std::size_t longestForm = 200;
constexpr std::size_t longestRequest = 64 * 1024;

void visitExpressions(const std::vector<Expression> &expressions, const Step *owner,
                      const PathVisitor &visit);

void visitPath(const Operand &path, const Step *owner, const PathVisitor &visit) {
    if (!path.steps.empty()) visit(path, owner);
    for (const Step &step : path.steps) {
        visitExpressions(step.predicates, &step, visit);
        visitExpressions(step.arguments, &step, visit);
    }
    visitExpressions(path.group, owner, visit);
}

void visitExpressions(const std::vector<Expression> &expressions, const Step *owner,
                      const PathVisitor &visit) {
    for (const Expression &expression : expressions)
        for (const Operand &operand : expression.operands)
            visitPath(operand, owner, visit);
}

/** What a byte outside the names begins is not looked at. */
void noteRest(const std::vector<Token> &tokens, NoteList &notes) {
    const std::string_view request = notes.request();
    std::size_t end = 0;
    if (!tokens.empty())
        end = static_cast<std::size_t>(tokens.back().text.data() - request.data()) +
              tokens.back().text.size();
    const std::size_t rest = request.find_first_not_of(" \t\r\n", end);
    if (rest == std::string_view::npos || static_cast<signed char>(request[rest]) >= 0) return;
    notes.add("A sign that no name can hold ends the request: passed over is " +
              string(request.substr(rest)) + ".");
}

}  // namespace

void NoteList::add(const std::string &text) {
    const auto isSame = [&](const Note &note) { return note.text == text; };
    if (notes_.size() < mostNotes && std::ranges::none_of(notes_, isSame))
        notes_.push_back({text, std::nullopt});
}

void NoteList::add(const std::string &text, std::string_view part, const std::string &instead) {
    std::string whole(request_);
    whole.replace(static_cast<std::size_t>(part.data() - request_.data()), part.size(), instead);
    const bool isShort = whole.size() <= longestForm;
    add(text + " Write " + (isShort ? whole : instead));
}

void visitPaths(const std::vector<Operand> &paths, const PathVisitor &visit) {
    for (const Operand &path : paths)
        visitPath(path, nullptr, visit);
}

std::vector<Note> notesOn(std::string_view request, std::string_view error,
                          const NameSource &names) {
    if (request.size() > longestRequest || request.find('\0') != std::string_view::npos) return {};
    NoteList notes(request);
    const std::vector<Token> tokens = tokensOf(request);
    const std::vector<Operand> paths = outlineOf(tokens);
    if (!error.empty()) noteRefusal(paths, error, notes);
    std::vector<Note> all = notes.take();
    const std::optional<std::size_t> place = syntaxErrorIn(request);
    if (place && error.find("syntax error") != std::string_view::npos) {
        if (all.empty()) all.push_back({"Not understood from here on.", std::nullopt});
        all.front().place = place;
    }
    if (place || !error.empty()) return all;
    for (const Operand &path : paths)
        noteFirstStep(path, notes);
    visitPaths(paths, [&](const Operand &path, const Step *) {
        noteSteps(path, notes);
        notePredicates(path, notes);
    });
    noteLiterals(tokens, notes);
    noteRest(tokens, notes);
    if (names) noteNames(paths, names, notes);
    return notes.take();
}

}  // namespace notes
