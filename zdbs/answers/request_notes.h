/** Notes on requests, for people and in JSON. */
#ifndef ZDBS_ANSWERS_REQUEST_NOTES_H
#define ZDBS_ANSWERS_REQUEST_NOTES_H

#include <functional>
#include <string>
#include <vector>

#include "prg/xml/xpath/notes/notes.h"
#include "zdbs/answers/json.h"
#include "zdbs/session/session.h"

namespace zdbs {

/**
 * What whoever typed a request may want to know beside its answer. In text they are lines on
 * standard error, and only where that is a terminal.
 */
class RequestNotes {
public:
    /** What can be said of a request, and of the message that it was answered with, or none. */
    using Finder = std::function<std::vector<notes::Note>(const std::string &request,
                                                          const std::string &error)>;

    RequestNotes(Finder find, bool asJson, bool withoutNotes);

    /** On requests of the shell's language. The session must outlive it, and stay with one state.
     */
    RequestNotes(const Session &session, bool asJson, bool withoutNotes);

    /** For JSON; none otherwise. @param error the message of a failure, or empty */
    std::vector<std::string> on(const std::string &request, const std::string &error);

    /** On the terminal; nothing with JSON. */
    void show(const std::string &request, const std::string &error);

private:
    Finder find_;
    bool areListed_;
    bool areShown_;
};

/** As "notes", when there are some. */
void addNotes(JsonWriter &json, const std::vector<std::string> &notes);

}  // namespace zdbs

#endif
