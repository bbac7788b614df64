#include "zdbs/serve/session_pool.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace zdbs::serve {

SessionPool::Lease::Lease(SessionPool &pool, std::string database)
    : pool_(pool), lent_(pool.take(std::move(database))), exceptions_(std::uncaught_exceptions()) {}

SessionPool::Lease::~Lease() {
    if (std::uncaught_exceptions() == exceptions_) pool_.giveBack(std::move(lent_));
}

SessionPool::Sessions SessionPool::takeIdle(const std::string &database) {
    Sessions lent;
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(idle_.begin(), idle_.end(),
                                    [&](const Kept &each) { return each.database == database; });
    if (found != idle_.end()) lent.splice(lent.end(), idle_, found);
    return lent;
}

StateIdentity SessionPool::newest(const std::string &database) {
    Sessions lent = takeIdle(database);
    if (lent.empty()) return nullptr;
    StateIdentity state = lent.front().session->newestState();
    giveBack(std::move(lent));
    return state;
}

SessionPool::Sessions SessionPool::take(std::string database) {
    Sessions lent = takeIdle(database);
    if (lent.empty()) {
        auto session = Session::ofOwner(home_.open(database));
        lent.push_back({std::move(database), std::move(session), {}});
    }
    return lent;
}

void SessionPool::giveBack(Sessions lent) noexcept {
    lent.front().since = Clock::now();
    const std::lock_guard lock(mutex_);
    idle_.splice(idle_.begin(), lent);
    if (idle_.size() > most_) lent.splice(lent.end(), idle_, std::prev(idle_.end()));
}

void SessionPool::closeIdleSince(Clock::time_point then) {
    Sessions closed;
    const std::lock_guard lock(mutex_);
    while (!idle_.empty() && idle_.back().since < then)
        closed.splice(closed.end(), idle_, std::prev(idle_.end()));
}

std::size_t SessionPool::idle() const {
    const std::lock_guard lock(mutex_);
    return idle_.size();
}

}  // namespace zdbs::serve
