/**
 * XPath requests run inside the kernel, for the export filter and the administrator's
 * program: through the same processor as the shell's requests, with a set table of
 * their own, so that the session's sets and settings stay as they are.
 */
#ifndef ZDBS_SESSION_NESTED_REQUEST_H
#define ZDBS_SESSION_NESTED_REQUEST_H

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "zdbs/engine/engine.h"
#include "zdbs/session/nested_scope.h"

namespace zdbs {

/** The answer of a nested request; valid as long as the database is open in that state. */
struct RequestAnswer {
    const OpenDatabase &database;
    ResultSetPtr matches;
    std::vector<ResultSetPtr> made;  ///< all sets on the way, whose value conditions hit
};

/** The set that answers a request. */
struct RequestSet {
    std::int32_t foundAs = 0;  ///< its number when it was found
    std::int32_t number = 0;   ///< its number since the sets on the way to it were deleted
};

/**
 * Runs `request` (UTF-8) in the scope that the session has at present; its answer becomes
 * one more set there. REQUIRES session.isNested().
 * Throws Failure(requestFailed) with the message of the parser, the translation or the
 * kernel.
 */
RequestSet runRequest(Session &session, std::string_view request);

/**
 * A request that has run. While it lives the session is in its scope, so that several
 * of them end in the reverse order.
 */
class NestedRequest {
public:
    /** Runs `request` (UTF-8) on the open database. Throws Failure: noDatabase, requestFailed. */
    NestedRequest(Session &session, std::string_view request);

    std::int64_t records() const { return set_->size(); }

    /** Number of the hit words of all its records, at most 2 147 483 647. */
    std::int64_t hits() const { return session_.lastSearch().hits; }

    /** Its records, ascending, as long as the request lives. */
    std::unique_ptr<RecordCursor> matches() const { return scope_.database().records(*set_); }

    RequestAnswer answer() const { return {scope_.database(), set_, scope_.made()}; }

private:
    const Session &session_;
    NestedScope scope_;
    ResultSetPtr set_;  ///< the newest of the scope
};

/** The answer of a request that is run by itself; throws as NestedRequest. */
RequestAnswer runNestedRequest(Session &session, std::string_view request);

}  // namespace zdbs

#endif
