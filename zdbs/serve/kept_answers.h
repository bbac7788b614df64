/** Short answers, kept for who asks the same again while the database is in the same state. */
#ifndef ZDBS_SERVE_KEPT_ANSWERS_H
#define ZDBS_SERVE_KEPT_ANSWERS_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "zdbs/engine/engine.h"
#include "zdbs/serve/reply.h"

namespace zdbs::serve {

/** An answer as it was sent. */
struct KeptAnswer {
    ReplyHead head;
    std::string text;

    // What its first reader made of it to send it, for those behind; takes as much again.
    mutable std::once_flag isMade = {};
    mutable std::shared_ptr<void> made = nullptr;
};

/**
 * Those that were asked for last, up to so many bytes. They hold for the state that they were made
 * from and no other; whoever asks has looked at the grants. Any thread may call.
 */
class KeptAnswers {
public:
    static constexpr std::size_t longest = std::size_t{64} * 1024;  ///< bytes of an answer's text

    /** @param most bytes of all of them; 0: none is kept */
    explicit KeptAnswers(std::uint64_t most) : most_(most) {}

    bool keepsAny() const { return most_ > 0; }

    /** Null where there is none for this state; one for another state goes. */
    std::shared_ptr<const KeptAnswer> find(const std::string &question, const StateIdentity &state);

    void add(const std::string &question, const StateIdentity &state,
             std::shared_ptr<const KeptAnswer> answer);

private:
    struct Entry {
        std::string question;
        std::weak_ptr<const void> state;  ///< so that it does not hold the state's files
        std::shared_ptr<const KeptAnswer> answer;
        std::uint64_t size;
    };
    using Entries = std::list<Entry>;

    void drop(Entries::iterator entry);

    std::uint64_t most_;
    std::mutex mutex_;
    Entries entries_;  ///< the latest first
    std::unordered_map<std::string_view, Entries::iterator> places_;
    std::uint64_t size_ = 0;
};

/** Hands an answer on, and keeps it by the way as long as it is short. */
class KeepingReply final : public Reply {
public:
    explicit KeepingReply(Reply &to) : to_(to) {}

    void begin(ReplyHead head) override;
    void write(std::string_view piece) override;
    void flush() override;

    /** What was sent; null where it was long, or no whole answer. To be asked once. */
    std::shared_ptr<const KeptAnswer> taken();

private:
    Reply &to_;
    std::shared_ptr<KeptAnswer> answer_ = std::make_shared<KeptAnswer>();
    bool isKept_ = false;
};

}  // namespace zdbs::serve

#endif
