#include "zdbs/serve/proofs.h"

#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>

#include <string>

#include "zdbs/base/status.h"

namespace zdbs::serve {

Proofs::Proofs(std::size_t most) : most_(most) {
    if (gnutls_rnd(GNUTLS_RND_KEY, key_.data(), key_.size()) != 0)
        throw Failure(Status::internalError, {"no random numbers"});
}

/** The length of the user's name keeps what is a name apart from what is a password. */
Proofs::Proof Proofs::of(std::string_view user, std::string_view password) const {
    const std::string text =
        std::to_string(user.size()) + ':' + std::string(user) + std::string(password);
    Proof proof{};
    if (gnutls_hmac_fast(GNUTLS_MAC_SHA256, key_.data(), key_.size(), text.data(), text.size(),
                         proof.data()) != 0)
        throw Failure(Status::internalError, {"no keyed hash"});
    return proof;
}

bool Proofs::holds(const Proof &proof, std::uint64_t usersState) {
    const std::lock_guard lock(mutex_);
    enter(usersState);
    const auto found = proofs_.find(proof);
    if (found == proofs_.end()) return false;
    byUse_.splice(byUse_.begin(), byUse_, found->second);
    return true;
}

void Proofs::add(const Proof &proof, std::uint64_t usersState) {
    const std::lock_guard lock(mutex_);
    enter(usersState);
    if (usersState == 0 || proofs_.contains(proof)) return;
    byUse_.push_front(proof);
    proofs_[proof] = byUse_.begin();
    if (byUse_.size() <= most_) return;
    proofs_.erase(byUse_.back());
    byUse_.pop_back();
}

bool Proofs::reads(const std::string &user, const std::string &database, std::uint64_t usersState) {
    const std::lock_guard lock(mutex_);
    enter(usersState);
    return readers_.contains({user, database});
}

void Proofs::addReader(const std::string &user, const std::string &database,
                       std::uint64_t usersState) {
    const std::lock_guard lock(mutex_);
    enter(usersState);
    if (usersState == 0) return;
    if (readers_.size() >= most_) readers_.clear();
    readers_.insert({user, database});
}

void Proofs::enter(std::uint64_t usersState) {
    if (usersState == state_) return;
    state_ = usersState;
    proofs_.clear();
    byUse_.clear();
    readers_.clear();
}

}  // namespace zdbs::serve
