/** Sessions with a database open, kept for the next request. */
#ifndef ZDBS_SERVE_SESSION_POOL_H
#define ZDBS_SERVE_SESSION_POOL_H

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "zdbs/engine/administration.h"
#include "zdbs/session/session.h"

namespace zdbs::serve {

/**
 * Opening a state takes longer than many a request; so sessions stay open for a while. They are
 * the owner's: who asks for one has looked at the grants. Any thread may call.
 */
class SessionPool {
public:
    using Clock = std::chrono::steady_clock;

private:
    struct Kept {
        std::string database;
        std::unique_ptr<Session> session;
        Clock::time_point since;
    };
    using Sessions = std::list<Kept>;

public:
    /** @param most of them that are kept */
    SessionPool(const Administration &home, std::size_t most) : home_(home), most_(most) {}

    /** A session for one request; kept afterwards, unless something was thrown. */
    class Lease {
    public:
        Lease(SessionPool &pool, std::string database);
        ~Lease();
        Lease(const Lease &) = delete;
        Lease &operator=(const Lease &) = delete;

        Session &session() const { return *lent_.front().session; }

    private:
        SessionPool &pool_;
        Sessions lent_;  ///< one, in the piece of memory in which it is kept
        int exceptions_;
    };

    /**
     * The newest state of a database, where an idle session has it open; null otherwise. Throws
     * what OpenDatabase::newestState() does.
     */
    StateIdentity newest(const std::string &database);

    /** Closes what nobody asked for since then: an old state holds room on the disk. */
    void closeIdleSince(Clock::time_point then);

    std::size_t idle() const;

private:
    Sessions takeIdle(const std::string &database);

    /** Throws Failure(unknownDatabase). */
    Sessions take(std::string database);
    void giveBack(Sessions lent) noexcept;  ///< the one too many is closed outside of the lock

    const Administration &home_;
    std::size_t most_;
    mutable std::mutex mutex_;
    Sessions idle_;  ///< the latest first
};

}  // namespace zdbs::serve

#endif
