#include "zdbs/serve/kernel_sessions.h"

#include <poll.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <new>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "zdbs/remote/session_host.h"
#include "zdbs/serve/kernel_connection.h"
#include "zdbs/serve/problem.h"

namespace zdbs::serve {

namespace {

/** How often a call looks whether its client wants it no more. */
constexpr auto lookEvery = std::chrono::milliseconds(1);

}  // namespace

/** The stop of one call: by its limits, by its client, by the end of the server. */
class CallStop final : public Stop {
public:
    explicit CallStop(const KernelConnection &connection) : connection_(connection) {}

    RequestStop limits;

    bool isRequested() const noexcept override {
        if (limits.isRequested()) return true;
        const auto now = RequestStop::Clock::now();
        if (now < look_) return false;
        look_ = now + lookEvery;
        return connection_.look() != KernelConnection::Ahead::nothing;
    }

private:
    const KernelConnection &connection_;
    mutable RequestStop::Clock::time_point look_ = RequestStop::Clock::now() + lookEvery;
};

/** One session, in its thread; end() and stop() are for others. */
class KernelSessions::Running {
public:
    Running(const KernelSurroundings &surroundings, KernelPlace place)
        : surroundings_(surroundings),
          place_(std::move(place)),
          connection_(place_.socket, timesOf(*surroundings.limits())),
          session_(Session::ofUser(
              std::shared_ptr<const Engine>(std::shared_ptr<void>(), &surroundings.engine),
              place_.user)),
          host_(session_) {}

    void run() {
        const std::int64_t before = heldByThread();
        send(host_.greeting());
        while (const auto call = connection_.receive()) {
            // A stop that comes here is of a call that was done already.
            if (call->kind != remote::Kind::stop && !serve(*call, heldByThread() - before)) break;
        }
        connection_.send(remote::farewellText(Failure(Status::serverLost, {reason()})));
    }

    void close() const { place_.close(); }
    const KernelPlace &place() const { return place_; }

    /** Wakes it when it waits for a call. REQUIRES that it is not closed. */
    void end() {
        isOver_ = true;
        connection_.closeReceiving();
    }

    void stop(StopReason reason) {
        const std::lock_guard lock(mutex_);
        if (stop_ != nullptr) stop_->stop(reason);
    }

    /** Where its client has closed its side. REQUIRES that it is not closed. */
    void endIfAlone() {
        pollfd client = {place_.connection, POLLRDHUP, 0};
        if (place_.connection == place_.socket || ::poll(&client, 1, 0) <= 0) return;
        connection_.closeReceiving();
        stop(StopReason::clientGone);
    }

private:
    static KernelConnection::Times timesOf(const Limits &limits) {
        return {std::chrono::seconds(limits.sessionIdle), std::chrono::seconds(limits.stall)};
    }

    /** @param held bytes by the session. False: it ends. */
    bool serve(const KernelConnection::Call &call, std::int64_t held) {
        if (!surroundings_.workers.enter()) return send(refused("too many requests are waiting"));
        const auto answer = answerOf(call, held);
        surroundings_.workers.leave();
        return answer && send(*answer);
    }

    remote::Answer refused(std::string_view why) const {
        const Failure failure(Status::serverRefused, {why});
        return host_.failed(failure.status(), failure.what());
    }

    bool send(const remote::Answer &answer) {
        return connection_.send(answer.message, answer.document.view());
    }

    /** The limits of a call, and who may stop it, while it lives. */
    class Limited {
    public:
        Limited(Running &session, std::int64_t held)
            : session_(session), stop_(session.connection_) {
            const auto limits = session.surroundings_.limits();
            const auto most = static_cast<std::int64_t>(limits->memory * megabyte);
            stop_.limits.begin(std::chrono::seconds(limits->time),
                               static_cast<std::uint64_t>(std::max<std::int64_t>(most - held, 0)));
            set(&stop_.limits);
        }
        ~Limited() { set(nullptr); }
        Limited(const Limited &) = delete;
        Limited &operator=(const Limited &) = delete;

        const Stop &stop() const { return stop_; }

        /** What the client is told: where limits ended it, which. */
        remote::Answer failed(const Failure &failure) const {
            const StopReason reason = stop_.limits.reason();
            const Problem problem =
                reason == StopReason::none ? Problem(failure) : problemOf(reason);
            Metrics &metrics = session_.surroundings_.metrics;
            if (reason == StopReason::time) ++metrics.stoppedTime;
            if (reason == StopReason::memory) ++metrics.stoppedMemory;
            return session_.host_.failed(problem.kernel(), problem.what());
        }

    private:
        void set(RequestStop *stop) {
            const std::lock_guard lock(session_.mutex_);
            session_.stop_ = stop;
        }

        Running &session_;
        CallStop stop_;
    };

    /** Nothing where it is no call. */
    std::optional<remote::Answer> answerOf(const KernelConnection::Call &call, std::int64_t held) {
        const Limited limited(*this, held);
        const StopScope scope(limited.stop());
        try {
            remote::Answer answer = host_.answer(call.kind, call.content);
            requireFit(answer);
            return answer;
        } catch (const remote::MessageReader::Malformed &) {
            isMalformed_ = true;
            return std::nullopt;
        } catch (const Failure &failure) {
            return limited.failed(failure);
        } catch (const std::bad_alloc &) {
            return limited.failed(Failure(Status::outOfMemory));
        }
    }

    void requireFit(const remote::Answer &answer) const {
        if (answer.document.length <= surroundings_.limits()->result * megabyte) return;
        throw Failure(Status::serverRefused, {"the answer is larger than answers may be"});
    }

    const char *reason() const {
        if (isOver_) return "the server is ending";
        if (isMalformed_ || connection_.end() == KernelConnection::End::malformed)
            return "the server does not understand what it was sent";
        return "nothing was asked for too long";
    }

    const KernelSurroundings &surroundings_;
    KernelPlace place_;
    KernelConnection connection_;
    LocalSession session_;
    remote::SessionHost host_;
    bool isMalformed_ = false;
    std::atomic<bool> isOver_ = false;
    std::mutex mutex_;
    RequestStop *stop_ = nullptr;  ///< of the call that runs
};

KernelSessions::~KernelSessions() {
    end();
    stopAll();
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [this] { return sessions_.empty() && closing_ == 0; });
}

void KernelSessions::refuse(const KernelPlace &place, std::string_view why) {
    KernelConnection(place.socket, {std::chrono::seconds(1), std::chrono::seconds(1)})
        .send(remote::farewellText(Failure(Status::serverRefused, {why})));
    place.close();
}

void KernelSessions::open(KernelPlace place) {
    const std::lock_guard lock(mutex_);
    if (isOver_) return refuse(place, "the server is ending");
    if (sessions_.size() >= most_) return refuse(place, "too many sessions are open");
    const KernelPlace kept = place;
    try {
        const auto session = std::make_shared<Running>(surroundings_, std::move(place));
        sessions_.insert(session);
        std::thread([this, session] { run(session); }).detach();
    } catch (const std::exception &) {
        std::erase_if(sessions_,
                      [&](const auto &each) { return each->place().socket == kept.socket; });
        refuse(kept, "there is not enough memory");
    }
}

/** Unlocking is the last that it does to this object: the destructor goes on no sooner. */
void KernelSessions::run(const std::shared_ptr<Running> &session) {
    session->run();
    std::unique_lock lock(mutex_);
    sessions_.erase(session);
    ++closing_;
    lock.unlock();
    session->close();
    lock.lock();
    --closing_;
    ended_.notify_all();
}

void KernelSessions::end() {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    for (const auto &session : sessions_)
        session->end();
}

void KernelSessions::stopAll() {
    const std::lock_guard lock(mutex_);
    for (const auto &session : sessions_)
        session->stop(StopReason::shutdown);
}

void KernelSessions::look() {
    const std::lock_guard lock(mutex_);
    for (const auto &session : sessions_)
        session->endIfAlone();
}

std::size_t KernelSessions::size() const {
    const std::lock_guard lock(mutex_);
    return sessions_.size() + closing_;
}

}  // namespace zdbs::serve
