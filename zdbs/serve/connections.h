/** The connections that are open, and how long each may do nothing. */
#ifndef ZDBS_SERVE_CONNECTIONS_H
#define ZDBS_SERVE_CONNECTIONS_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>

#include "zdbs/serve/exchange.h"
#include "zdbs/serve/kernel_calls.h"
#include "zdbs/serve/wake_up.h"

namespace zdbs::serve {

/** One connection; its times belong to the thread that serves it, the rest to Connections. */
class Connection {
public:
    using Clock = std::chrono::steady_clock;

    /** @param server outlives it: whom to wake when the connection goes on */
    Connection(int socket, std::string client, WakeUp &server)
        : socket_(socket), client_(std::move(client)), server_(server) {}

    const std::string &client() const { return client_; }
    WakeUp &server() const { return server_; }

    /** It has to do something within this time. */
    void expect(Clock::duration time) {
        due_.store((Clock::now() + time).time_since_epoch().count(), std::memory_order_relaxed);
    }

    /** It waits for us. */
    void expectNothing() { due_.store(never, std::memory_order_relaxed); }

    /** The session of a kernel library that its requests have. */
    const std::shared_ptr<KernelSlot> kernel = std::make_shared<KernelSlot>();

private:
    friend class Connections;
    static constexpr Clock::rep never = Clock::time_point::max().time_since_epoch().count();

    int socket_;
    std::string client_;
    WakeUp &server_;
    std::atomic<Clock::rep> due_ = never;
    std::weak_ptr<Exchange> exchange_;  ///< under the mutex of Connections
};

/** Any thread may call; sockets are open from add() until remove(). */
class Connections {
public:
    void add(Connection &connection);
    void remove(Connection &connection);

    /** Whose client is watched from now on. */
    void watch(Connection &connection, const std::shared_ptr<Exchange> &exchange);

    struct Dropped {
        std::size_t slow = 0;  ///< connections that are over their time
        std::size_t gone = 0;  ///< requests whose client has closed its side
    };

    /** Ends both kinds. To be called now and then. */
    Dropped look(Connection::Clock::time_point now);

    /** Stops every request that is worked on. */
    void stopAll(StopReason reason);

    /** For their threads to see their ends. */
    void closeAll();

    std::size_t size() const;

private:
    std::size_t dropSlow(Connection::Clock::time_point now);
    std::size_t dropGone();

    mutable std::mutex mutex_;
    std::unordered_set<Connection *> open_;
};

}  // namespace zdbs::serve

#endif
