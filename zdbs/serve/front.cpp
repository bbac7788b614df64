#include "zdbs/serve/front.h"

#include <new>
#include <thread>
#include <utility>

#include "zdbs/base/stop.h"

namespace zdbs::serve {

namespace {

constexpr std::size_t loginsInLine = 64;
constexpr auto idleSessions = std::chrono::seconds(60);

std::size_t threadsOf(const Limits &limits) {
    if (limits.threads > 0) return limits.threads;
    return std::max<std::size_t>(2, std::thread::hardware_concurrency());
}

}  // namespace

class Front::Share {
public:
    /** Throws Problem(429) when the user has no more. */
    Share(Front &front, std::string user) : front_(front), user_(std::move(user)) {
        const std::lock_guard lock(front_.mutex_);
        std::size_t &taken = front_.shares_[user_];
        if (taken >= front_.limits_->perUser)
            throw Problem(429, "The user has too many requests at once.");
        ++taken;
    }
    ~Share() {
        const std::lock_guard lock(front_.mutex_);
        const auto share = front_.shares_.find(user_);
        if (--share->second == 0) front_.shares_.erase(share);
    }
    Share(const Share &) = delete;
    Share &operator=(const Share &) = delete;

private:
    Front &front_;
    std::string user_;
};

Front::Front(const Engine &engine, Administration &home, const std::string &location,
             const Settings &settings, RequestLog &to)
    : log(to),
      logsValues(settings.logsRequests),
      engine_(engine),
      sessions_(home, 2 * threadsOf(limitsOf(settings))),
      kept_(limitsOf(settings).kept * megabyte),
      service_{engine,
               home,
               sessions_,
               kept_,
               proofs_,
               metrics,
               [this] { return gauges(); },
               [this] { return this->limits(); },
               location,
               [this](std::shared_ptr<void> share) { return roomForKernel(std::move(share)); }},
      limits_(std::make_shared<const Limits>(limitsOf(settings))),
      workers_(threadsOf(*limits_), limits_->line),
      logins_(1, loginsInLine),
      kernels_({engine, workers_, metrics, [this] { return this->limits(); }}, limits_->sessions) {}

Front::~Front() = default;

std::shared_ptr<const Limits> Front::limits() const {
    const std::lock_guard lock(mutex_);
    return limits_;
}

void Front::takeLimits(const Limits &limits) {
    auto taken = std::make_shared<Limits>(*this->limits());
    for (const LimitRow &row : limitTable()) {
        if (row.isReloadable) (*taken).*row.value = limits.*row.value;
    }
    const std::lock_guard lock(mutex_);
    limits_ = std::move(taken);
}

bool Front::identify(const std::shared_ptr<Exchange> &exchange) {
    Request &request = exchange->request;
    if (isPublic(request)) return true;
    auto credentials = credentialsIn(request.fields.authorization);
    if (!credentials) throw Problem(401, "User and password are needed.", Status::loginFailed);
    const std::uint64_t users = request.usersState = engine_.usersState();
    const Proofs::Proof proof = proofs_.of(credentials->user, credentials->password);
    if (proofs_.holds(proof, users)) {
        request.user = std::move(credentials->user);
        return true;
    }
    exchange->await();
    const bool hasRoom = logins_.add([this, exchange, proof, users, asked = *credentials] {
        ++metrics.slowHashes;
        try {
            if (!engine_.authenticate(asked.user, asked.password))
                throw Problem(Failure(Status::loginFailed));
            proofs_.add(proof, users);
            exchange->request.user = asked.user;
        } catch (const Problem &problem) {
            exchange->refuse(problem);
        } catch (const Failure &failure) {
            exchange->refuse(Problem(failure));
        } catch (const std::exception &) {
            exchange->refuse(Problem(507, "There is not enough memory.", Status::outOfMemory));
        }
        exchange->goOn();
    });
    if (hasRoom) return false;
    exchange->refuse(Problem(503, "Too many logins are waiting."));
    exchange->goOn();
    return false;
}

void Front::admit(const Exchange &exchange) const {
    if (isOver_) throw Problem(503, "The server is ending.");
    serve::admit(service_, exchange.request);
}

/** What fails here fails once more where the request is worked on, and is told there. */
std::shared_ptr<const KeptAnswer> Front::keptAnswer(const Request &request) const {
    if (isOver_) return nullptr;
    try {
        return serve::keptAnswer(service_, request);
    } catch (const Failure &) {
        return nullptr;
    }
}

/** What is for everybody takes no time, and tells that the server is there when it is busy. */
void Front::work(const std::shared_ptr<Exchange> &exchange) {
    if (isPublic(exchange->request)) {
        exchange->await();
        return run(*exchange);
    }
    Request &request = exchange->request;
    if (!request.kernel->isOf(request.user))
        request.share = std::make_shared<Share>(*this, request.user);
    exchange->await();
    if (workers_.add([this, exchange] { run(*exchange); })) return;
    request.share.reset();
    exchange->refuse(Problem(503, "Too many requests are waiting."));
    exchange->finish();
}

void Front::run(Exchange &exchange) {
    const auto limits = this->limits();
    exchange.limit(limits->result * megabyte, std::chrono::seconds(limits->stall));
    exchange.stop.begin(std::chrono::seconds(limits->time), limits->memory * megabyte);
    const StopScope scope(exchange.stop);
    try {
        heedStop();
        answer(service_, exchange.request, exchange);
    } catch (const Problem &problem) {
        exchange.refuse(problem);
    } catch (const Failure &failure) {
        const StopReason reason = exchange.stop.reason();
        exchange.refuse(reason == StopReason::none ? Problem(failure) : problemOf(reason));
    } catch (const std::bad_alloc &) {
        exchange.refuse(Problem(507, "There is not enough memory.", Status::outOfMemory));
    } catch (const std::exception &error) {
        log.say(error.what());
        exchange.refuse(Problem(500, "Something is wrong in the server.", Status::internalError));
    }
    if (exchange.stop.reason() == StopReason::time) ++metrics.stoppedTime;
    if (exchange.stop.reason() == StopReason::memory) ++metrics.stoppedMemory;
    // A connection that goes over keeps it.
    if (exchange.head().status != 101) exchange.request.share.reset();
    exchange.finish();
}

std::shared_ptr<void> Front::roomForKernel(std::shared_ptr<void> share) {
    struct Room {
        Room(Front &of, std::shared_ptr<void> taken) : front(of), share(std::move(taken)) {
            ++of.calling_;
        }
        ~Room() { --front.calling_; }
        Room(const Room &) = delete;
        Room &operator=(const Room &) = delete;

        Front &front;
        std::shared_ptr<void> share;
    };
    if (calling_ + kernels_.size() >= limits()->sessions)
        throw Problem(503, "Too many sessions are open.");
    return std::make_shared<Room>(*this, std::move(share));
}

void Front::refuseAll() {
    isOver_ = true;
    kernels_.end();
}

void Front::stopAll() {
    connections.stopAll(StopReason::shutdown);
    kernels_.stopAll();
}

void Front::look() {
    const auto now = std::chrono::steady_clock::now();
    const Connections::Dropped dropped = connections.look(now);
    metrics.droppedSlow += dropped.slow;
    metrics.clientsGone += dropped.gone;
    kernels_.look();
    sessions_.closeIdleSince(now - idleSessions);
}

Gauges Front::gauges() const {
    return {connections.size(), workers_.running(), workers_.waiting(), sessions_.idle(),
            kernels_.size() + calling_};
}

}  // namespace zdbs::serve
