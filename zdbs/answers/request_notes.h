/** Notes on requests, for people and in JSON. */
#ifndef ZDBS_ANSWERS_REQUEST_NOTES_H
#define ZDBS_ANSWERS_REQUEST_NOTES_H

#include <optional>
#include <string>
#include <vector>

#include "prg/xml/xpath/notes/notes.h"
#include "zdbs/answers/json.h"
#include "zdbs/session/session.h"

namespace zdbs {

/**
 * What whoever typed a request may want to know beside its answer. In text they are lines on
 * standard error, and only where that is a terminal. The names of the database are looked up once.
 */
class RequestNotes {
public:
    /** The session must outlive it, and stay with one state. */
    RequestNotes(const Session &session, bool asJson, bool withoutNotes);

    /** For JSON; none otherwise. @param error the message of a failure, or empty */
    std::vector<std::string> on(const std::string &request, const std::string &error);

    /** On the terminal; nothing with JSON. */
    void show(const std::string &request, const std::string &error);

private:
    std::vector<notes::Note> find(const std::string &request, const std::string &error);

    const Session &session_;
    bool areListed_;
    bool areShown_;
    std::optional<std::vector<notes::KnownName>> names_;
};

/** As "notes", when there are some. */
void addNotes(JsonWriter &json, const std::vector<std::string> &notes);

}  // namespace zdbs

#endif
