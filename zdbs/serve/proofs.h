/** What was found out about users: so the slow hash of a password is computed once. */
#ifndef ZDBS_SERVE_PROOFS_H
#define ZDBS_SERVE_PROOFS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace zdbs::serve {

/**
 * Keeps no password, but a keyed hash (HMAC-SHA256) of user and password; the key is random, of
 * this process, and never leaves it. What was proven holds for one state of the users only. When
 * there is no more room, what was asked for longest ago goes. Any thread may call.
 */
class Proofs {
public:
    using Proof = std::array<std::uint8_t, 32>;

    /** Throws Failure(internalError) without a source of random bytes. */
    explicit Proofs(std::size_t most = 4096);

    Proof of(std::string_view user, std::string_view password) const;

    /** Was it added in this state of the users? State 0 keeps nothing. */
    bool holds(const Proof &proof, std::uint64_t usersState);
    void add(const Proof &proof, std::uint64_t usersState);

    /** Was it added in this state of the users that the user may read the database? */
    bool reads(const std::string &user, const std::string &database, std::uint64_t usersState);
    void addReader(const std::string &user, const std::string &database, std::uint64_t usersState);

private:
    void enter(std::uint64_t usersState);

    Proof key_{};
    std::size_t most_;
    std::mutex mutex_;
    std::uint64_t state_ = 0;
    std::list<Proof> byUse_;  ///< the latest first
    std::map<Proof, std::list<Proof>::iterator> proofs_;
    std::set<std::pair<std::string, std::string>> readers_;  ///< when they are too many, all go
};

}  // namespace zdbs::serve

#endif
