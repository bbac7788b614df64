#ifndef PRG_XML_XPATH_NOTES_NOTE_LIST_H
#define PRG_XML_XPATH_NOTES_NOTE_LIST_H

#include <string>
#include <string_view>
#include <vector>

#include "prg/xml/xpath/notes/notes.h"
#include "prg/xml/xpath/notes/request_outline.h"

namespace notes {

/** The notes on a request that is being looked at. */
class NoteList {
public:
    explicit NoteList(std::string_view request) : request_(request) {}

    std::string_view request() const { return request_; }

    /** Each note once, and not more than a few. */
    void add(const std::string &text);

    /** With what to write instead of a part of the request; the whole when that is not long. */
    void add(const std::string &text, std::string_view part, const std::string &instead);

    std::vector<Note> take() { return std::move(notes_); }

private:
    std::string_view request_;
    std::vector<Note> notes_;
};

/** What each rule looks at. */
void noteFirstStep(const Operand &path, NoteList &notes);
void noteSteps(const Operand &path, NoteList &notes);
void notePredicates(const Operand &path, NoteList &notes);
void noteLiterals(const std::vector<Token> &tokens, NoteList &notes);
void noteNames(const std::vector<Operand> &paths, const NameSource &names, NoteList &notes);
void noteRefusal(const std::vector<Operand> &paths, std::string_view error, NoteList &notes);

/** Calls `visit` with every path of the request: the path, and the step whose predicate or argument
 * it is part of, or null. */
using PathVisitor = std::function<void(const Operand &, const Step *)>;
void visitPaths(const std::vector<Operand> &paths, const PathVisitor &visit);

inline std::string string(std::string_view text) {
    return std::string(text);
}

}  // namespace notes

#endif
