/** Answers requests about a database. */
#ifndef ZDBS_ADMIN_REQUEST_DESK_H
#define ZDBS_ADMIN_REQUEST_DESK_H

#include <memory>
#include <string>

#include "zdbs/session/nested_request.h"
#include "zdbs/session/session.h"

namespace zdbs::admin {

/** Answers XPath requests and FIND commands, all of them in one state of a database. */
class RequestDesk {
public:
    explicit RequestDesk(std::unique_ptr<OpenDatabase> database);

    /**
     * The answer, as long as the desk is there. A FIND command can name the sets of those before
     * it; an XPath request leaves none. Throws Failure: requestFailed, and of FIND commands those
     * of the language.
     */
    RequestAnswer answer(const std::string &text);

    const Session &session() const { return *session_; }
    const OpenDatabase &database() const { return oneState_.database(); }

private:
    std::unique_ptr<Session> session_;
    NestedScope oneState_;
};

/** The records of an answer from `offset` on, at most `limit` of them. */
ResultSetPtr excerpt(const RequestAnswer &answer, std::uint64_t offset, std::uint64_t limit);

}  // namespace zdbs::admin

#endif
