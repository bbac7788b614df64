#include "zdbs/serve/exchange.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zdbs::serve {

void Exchange::limit(std::uint64_t bytes, Clock::duration stall) {
    most_ = bytes;
    stall_ = stall;
}

void Exchange::begin(ReplyHead head) {
    head_ = std::move(head);
}

void Exchange::write(std::string_view piece) {
    written_ += piece.size();
    if (written_ > most_)
        throw Problem(507, "The answer is larger than answers may be; ask for less of it.");
    while (!piece.empty()) {
        if (chunk_.capacity() < chunkSize) chunk_.reserve(chunkSize);
        const std::size_t part = std::min(piece.size(), chunkSize - chunk_.size());
        chunk_ += piece.substr(0, part);
        piece.remove_prefix(part);
        if (chunk_.size() < chunkSize) continue;
        if (stop.isRequested()) throw Failure(Status::stopped);
        handOver();
    }
}

void Exchange::flush() {
    if (!chunk_.empty()) handOver();
}

/** Throws Failure(stopped) when the client takes nothing for too long, or is gone. */
void Exchange::handOver() {
    std::unique_lock lock(mutex_);
    const Clock::time_point before = Clock::now();
    const auto hasRoom = [this] { return chunks_.size() < mostChunks || isAbandoned_; };
    const bool isTaken = taken_.wait_for(lock, stall_, hasRoom);
    stop.excuse(Clock::now() - before);
    if (!isTaken) stop.stop(StopReason::slowClient);
    if (!isTaken || isAbandoned_) throw Failure(Status::stopped);
    chunks_.push_back(std::move(chunk_));
    chunk_ = {};
    if (!spare_.empty()) {
        chunk_ = std::move(spare_.front());
        spare_.pop_front();
    }
    isHandedOver_ = true;
    resumeLocked();
}

void Exchange::refuse(const Problem &problem) {
    if (isHandedOver_) {
        const std::lock_guard lock(mutex_);
        isBroken_ = true;
        chunk_.clear();
        return;
    }
    head_ = {problem.http(), std::string(problemType), {{"Cache-Control", "no-store"}}};
    if (problem.http() == 401)
        head_.fields.emplace_back("WWW-Authenticate", "Basic realm=\"zdbs\", charset=\"UTF-8\"");
    if (problem.http() == 503 || problem.http() == 429)
        head_.fields.emplace_back("Retry-After", "1");
    chunk_ = problem.json();
    written_ = chunk_.size();
}

void Exchange::finish() {
    const std::lock_guard lock(mutex_);
    if (!chunk_.empty()) chunks_.push_back(std::move(chunk_));
    chunk_ = {};
    isFinished_ = true;
    resumeLocked();
}

void Exchange::goOn() {
    const std::lock_guard lock(mutex_);
    resumeLocked();
}

void Exchange::await() {
    const std::lock_guard lock(mutex_);
    isSuspended_ = true;
    valve_.suspend();
}

bool Exchange::isWhole() const {
    const std::lock_guard lock(mutex_);
    return isFinished_;
}

Exchange::Taken Exchange::take(char *buffer, std::size_t room) {
    const std::lock_guard lock(mutex_);
    if (isBroken_) return {Taken::Kind::broken};
    if (chunks_.empty()) {
        if (isFinished_) return {Taken::Kind::end};
        isSuspended_ = true;
        valve_.suspend();
        return {Taken::Kind::nothingYet};
    }
    std::string &first = chunks_.front();
    const std::size_t count = std::min(room, first.size() - sent_);
    std::memcpy(buffer, first.data() + sent_, count);
    sent_ += count;
    if (sent_ == first.size()) {
        first.clear();
        spare_.push_back(std::move(first));
        chunks_.pop_front();
        sent_ = 0;
        taken_.notify_one();
    }
    return {Taken::Kind::bytes, count};
}

void Exchange::abandon(StopReason reason) {
    stop.stop(reason);
    const std::lock_guard lock(mutex_);
    isAbandoned_ = true;
    taken_.notify_one();
}

bool Exchange::isAwaited() const {
    const std::lock_guard lock(mutex_);
    return isSuspended_;
}

void Exchange::resumeLocked() {
    if (!isSuspended_) return;
    isSuspended_ = false;
    valve_.resume();
}

}  // namespace zdbs::serve
