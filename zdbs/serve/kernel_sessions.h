/** Sessions of kernel libraries elsewhere: connections that carry the kernel's calls. */
#ifndef ZDBS_SERVE_KERNEL_SESSIONS_H
#define ZDBS_SERVE_KERNEL_SESSIONS_H

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

#include "zdbs/engine/engine.h"
#include "zdbs/serve/metrics.h"
#include "zdbs/serve/request_stop.h"
#include "zdbs/serve/settings.h"
#include "zdbs/serve/work_queue.h"

namespace zdbs::serve {

/** A connection whose user has logged in, and which has agreed to carry messages. */
struct KernelPlace {
    int socket;
    int connection;               ///< the client's; another one where TLS is between them
    std::function<void()> close;  ///< to be called once; the socket is gone then
    std::string user;
    std::shared_ptr<void> share = {};  ///< of what the user may have at once
};

/** What sessions work with; outlives them. */
struct KernelSurroundings {
    const Engine &engine;
    WorkQueue &workers;  ///< among whose threads each call takes a place
    Metrics &metrics;
    std::function<std::shared_ptr<const Limits>()> limits;
};

/**
 * Each session has a thread, which waits in the system for the next call: so an answer takes no
 * other thread's time. Any thread may call.
 */
class KernelSessions {
public:
    /** @param most at once */
    KernelSessions(KernelSurroundings surroundings, std::size_t most)
        : surroundings_(std::move(surroundings)), most_(most) {}

    /** Waits for all of them to end. */
    ~KernelSessions();
    KernelSessions(const KernelSessions &) = delete;
    KernelSessions &operator=(const KernelSessions &) = delete;

    /** Serves it until one of both sides ends it; where there is no room it is refused. */
    void open(KernelPlace place);

    /** Says why, and closes it. */
    static void refuse(const KernelPlace &place, std::string_view why);

    /** No more calls: sessions end, at once where none runs. */
    void end();

    /**
     * Ends those whose clients are gone: where TLS is between, the library does not tell. To be
     * called now and then.
     */
    void look();

    /** Stops the calls that run. */
    void stopAll();

    std::size_t size() const;

private:
    class Running;

    void run(const std::shared_ptr<Running> &session);

    KernelSurroundings surroundings_;
    std::size_t most_;
    mutable std::mutex mutex_;
    std::condition_variable ended_;
    std::set<std::shared_ptr<Running>> sessions_;
    std::size_t closing_ = 0;  ///< that have ended, and whose connections have not
    bool isOver_ = false;
};

}  // namespace zdbs::serve

#endif
