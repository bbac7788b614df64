/** The way of a request from its connection to a worker and back, whatever carries it. */
#ifndef ZDBS_SERVE_FRONT_H
#define ZDBS_SERVE_FRONT_H

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "zdbs/serve/connections.h"
#include "zdbs/serve/exchange.h"
#include "zdbs/serve/kernel_sessions.h"
#include "zdbs/serve/metrics.h"
#include "zdbs/serve/proofs.h"
#include "zdbs/serve/request_log.h"
#include "zdbs/serve/service.h"
#include "zdbs/serve/settings.h"
#include "zdbs/serve/work_queue.h"

namespace zdbs::serve {

/** Shared by all listeners. Any thread may call. */
class Front {
public:
    /** The engine and the home must outlive it. */
    Front(const Engine &engine, Administration &home, const std::string &location,
          const Settings &settings, RequestLog &log);

    /** Does what waits first. REQUIRES that no connection is open. */
    ~Front();
    Front(const Front &) = delete;
    Front &operator=(const Front &) = delete;

    std::shared_ptr<const Limits> limits() const;

    /** Those that may change while it runs. */
    void takeLimits(const Limits &limits);

    /**
     * Finds out who asks. True where that is known at once; otherwise a worker does, and the
     * exchange goes on when it has. Throws Problem(401, 429, 503).
     */
    bool identify(const std::shared_ptr<Exchange> &exchange);

    /** Where it is answered already and the user may have it: the answer; null otherwise. */
    std::shared_ptr<const KeptAnswer> keptAnswer(const Request &request) const;

    /** Hands a whole request to a worker. Throws Problem(429, 503). */
    void work(const std::shared_ptr<Exchange> &exchange);

    /** Throws Problem: what can be said before the body is there. */
    void admit(const Exchange &exchange) const;

    /** Ends what is over its time; to be called several times a second. */
    void look();

    // At the end: requests that come are refused; those that run are stopped.
    void refuseAll();
    void stopAll();

    /** Whether a request is worked on, or its answer is on its way, or a session is open. */
    bool isBusy() const { return open_ > 0 || kernels_.size() > 0; }

    /** Takes over a connection whose user is known. */
    void openSession(KernelPlace place) { kernels_.open(std::move(place)); }

    // Each request at its connection says when it is there and when it is over.
    void requestBegins() { ++open_; }
    void requestEnds() { --open_; }

    Connections connections;
    Metrics metrics;
    RequestLog &log;
    const bool logsValues;

private:
    /** A place among the requests of a user, for as long as it lives. */
    class Share;

    std::shared_ptr<void> roomForKernel(std::shared_ptr<void> share);
    void run(Exchange &exchange);
    Gauges gauges() const;

    const Engine &engine_;
    SessionPool sessions_;
    KeptAnswers kept_;
    Proofs proofs_;
    Service service_;
    mutable std::mutex mutex_;
    std::shared_ptr<const Limits> limits_;
    std::map<std::string, std::size_t> shares_;
    std::atomic<bool> isOver_ = false;
    std::atomic<std::size_t> open_ = 0;
    WorkQueue workers_;
    WorkQueue logins_;                      ///< slow hashes, in a thread of their own
    std::atomic<std::size_t> calling_ = 0;  ///< sessions whose calls are requests
    KernelSessions kernels_;
};

}  // namespace zdbs::serve

#endif
