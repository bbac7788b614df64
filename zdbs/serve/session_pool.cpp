#include "zdbs/serve/session_pool.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace zdbs::serve {

SessionPool::Lease::Lease(SessionPool &pool, std::string database)
    : pool_(pool),
      database_(std::move(database)),
      session_(pool.take(database_)),
      exceptions_(std::uncaught_exceptions()) {}

SessionPool::Lease::~Lease() {
    if (std::uncaught_exceptions() == exceptions_) pool_.giveBack(database_, std::move(session_));
}

std::unique_ptr<Session> SessionPool::take(const std::string &database) {
    {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(idle_.begin(), idle_.end(), [&](const Idle &each) {
            return each.database == database;
        });
        if (found != idle_.end()) {
            std::unique_ptr<Session> session = std::move(found->session);
            idle_.erase(found);
            return session;
        }
    }
    return Session::ofOwner(home_.open(database));
}

void SessionPool::giveBack(const std::string &database, std::unique_ptr<Session> session) {
    std::list<Idle> closed;  // outside of the lock
    const std::lock_guard lock(mutex_);
    idle_.push_front({database, std::move(session), Clock::now()});
    if (idle_.size() > most_) closed.splice(closed.end(), idle_, std::prev(idle_.end()));
}

void SessionPool::closeIdleSince(Clock::time_point then) {
    std::list<Idle> closed;
    const std::lock_guard lock(mutex_);
    while (!idle_.empty() && idle_.back().since < then)
        closed.splice(closed.end(), idle_, std::prev(idle_.end()));
}

std::size_t SessionPool::idle() const {
    const std::lock_guard lock(mutex_);
    return idle_.size();
}

}  // namespace zdbs::serve
