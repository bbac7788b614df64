/** Scratch sets and settings for a request inside the kernel. */
#ifndef ZDBS_SESSION_NESTED_SCOPE_H
#define ZDBS_SESSION_NESTED_SCOPE_H

#include <vector>

#include "zdbs/session/session.h"

namespace zdbs {

/**
 * While it lives, the session has a set table and settings of its own and sees one
 * state of its database; afterwards the sets and settings from before are there
 * again. Throws Failure(noDatabase).
 */
class NestedScope {
public:
    explicit NestedScope(Session &session);
    ~NestedScope();
    NestedScope(const NestedScope &) = delete;
    NestedScope &operator=(const NestedScope &) = delete;

    /** Every set made since, those too that were deleted again. */
    const std::vector<ResultSetPtr> &made() const { return made_; }

    /** A set of the scratch table; throws Failure(unknownSet). */
    const ResultSetPtr &set(std::int32_t number) const;

    const OpenDatabase &database() const { return session_.database(); }

private:
    friend class Session;

    Session &session_;
    Session::State before_;
    NestedScope *outer_;
    std::vector<ResultSetPtr> made_;
};

}  // namespace zdbs

#endif
