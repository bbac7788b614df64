#include "zdbs/serve/kept_answers.h"

#include <utility>

namespace zdbs::serve {

namespace {

/** Roughly what an entry takes beside its texts. */
constexpr std::uint64_t entrySize = 2048;

bool isSame(const std::weak_ptr<const void> &a, const StateIdentity &b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

}  // namespace

std::shared_ptr<const KeptAnswer> KeptAnswers::find(const std::string &question,
                                                    const StateIdentity &state) {
    const std::lock_guard lock(mutex_);
    const auto place = places_.find(question);
    if (place == places_.end()) return nullptr;
    const auto entry = place->second;
    if (!isSame(entry->state, state)) {
        drop(entry);
        return nullptr;
    }
    entries_.splice(entries_.begin(), entries_, entry);
    return entry->answer;
}

void KeptAnswers::add(const std::string &question, const StateIdentity &state,
                      std::shared_ptr<const KeptAnswer> answer) {
    const std::uint64_t size = entrySize + 2 * question.size() + 2 * answer->text.size();
    if (size > most_) return;
    const std::lock_guard lock(mutex_);
    const auto known = places_.find(question);
    if (known != places_.end()) drop(known->second);
    entries_.push_front({question, state, std::move(answer), size});
    places_.emplace(entries_.front().question, entries_.begin());
    size_ += size;
    while (size_ > most_)
        drop(std::prev(entries_.end()));
}

void KeptAnswers::drop(Entries::iterator entry) {
    size_ -= entry->size;
    places_.erase(entry->question);
    entries_.erase(entry);
}

void KeepingReply::begin(ReplyHead head) {
    isKept_ = head.status == 200;
    if (isKept_) answer_->head = head;
    to_.begin(std::move(head));
}

void KeepingReply::write(std::string_view piece) {
    isKept_ = isKept_ && answer_->text.size() + piece.size() <= KeptAnswers::longest;
    if (isKept_) answer_->text += piece;
    to_.write(piece);
}

void KeepingReply::flush() {
    isKept_ = false;
    to_.flush();
}

std::shared_ptr<const KeptAnswer> KeepingReply::taken() {
    return isKept_ ? std::move(answer_) : nullptr;
}

}  // namespace zdbs::serve
