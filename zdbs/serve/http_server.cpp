#include "zdbs/serve/http_server.h"

#include <microhttpd.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "foundation/keyword.h"
#include "zdbs/serve/visit.h"
#include "zdbs/serve/wake_up.h"

namespace zdbs::serve {

/** What a thread that serves connections has for them. */
struct Loop {
    Front &front;
    WakeUp wakeUp;
};

namespace {

constexpr unsigned kilobyte = 1024;

socklen_t sizeOf(const sockaddr *address) {
    return address->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
}

std::string clientOf(MHD_Connection *connection) {
    const auto *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
    const sockaddr *address = info != nullptr ? info->client_addr : nullptr;
    if (address == nullptr || (address->sa_family != AF_INET && address->sa_family != AF_INET6))
        return "unix";
    std::array<char, 128> host{};
    ::getnameinfo(address, sizeOf(address), host.data(), host.size(), nullptr, 0, NI_NUMERICHOST);
    return host.data();
}

Connection &connectionOf(MHD_Connection *connection) {
    const auto *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return *static_cast<Connection *>(info->socket_context);
}

// What libmicrohttpd calls. Nothing may be thrown into it.

void *requestBegins(void *loop, const char *target, MHD_Connection *connection) {
    try {
        return new Visit(static_cast<Loop *>(loop)->front, connectionOf(connection), connection,
                         target);
    } catch (const std::exception &) {
        return nullptr;
    }
}

MHD_Result requestComes(void *, MHD_Connection *, const char *, const char *method,
                        const char *version, const char *data, std::size_t *size, void **context) {
    auto *visit = static_cast<Visit *>(*context);
    if (visit == nullptr) return MHD_NO;
    try {
        const bool goesOn = visit->come(method, version, std::string_view(data, *size));
        *size = 0;
        return goesOn ? MHD_YES : MHD_NO;
    } catch (const std::exception &) {
        return MHD_NO;
    }
}

void requestEnds(void *, MHD_Connection *, void **context, MHD_RequestTerminationCode code) {
    const std::unique_ptr<Visit> visit(static_cast<Visit *>(*context));
    *context = nullptr;
    if (!visit) return;
    try {
        visit->end(code == MHD_REQUEST_TERMINATED_COMPLETED_OK);
    } catch (const std::exception &) {
        // Out of memory at the most: a line of the log is lost.
    }
}

void connectionChanges(void *context, MHD_Connection *connection, void **socketContext,
                       MHD_ConnectionNotificationCode code) {
    auto &[front, wakeUp] = *static_cast<Loop *>(context);
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
        const auto *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        auto fresh = std::make_unique<Connection>(info->connect_fd, clientOf(connection), wakeUp);
        fresh->expect(std::chrono::seconds(front.limits()->idle));
        front.connections.add(*fresh);
        ++front.metrics.connections;
        *socketContext = fresh.release();
        return;
    }
    const std::unique_ptr<Connection> ended(static_cast<Connection *>(*socketContext));
    if (ended) front.connections.remove(*ended);
    *socketContext = nullptr;
}

/** Certificates are found by this, as the library hands nothing else on. */
const Certificates *shownCertificates = nullptr;

int showCertificate(gnutls_session_t, const gnutls_datum_t *, int, const gnutls_pk_algorithm_t *,
                    int, gnutls_pcert_st **chain, unsigned *length, gnutls_privkey_t *key) {
    shownCertificates->show(chain, length, key);
    return 0;
}

}  // namespace

/**
 * The library's own thread is not used: where as many connections are ready at once as it asks the
 * system for (128), it waits for the next event, for ever maybe, before it serves them. Run from
 * outside it never waits.
 */
class HttpServer::Daemon {
public:
    Daemon(Listener listener, Front &front, const Certificates *certificates, unsigned connections)
        : listener_(std::move(listener)), loop_{front, {}} {
        unsigned flags = MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME | MHD_ALLOW_UPGRADE;
        // An option more with TLS; without it the list ends there.
        MHD_OptionItem certificate = {MHD_OPTION_END, 0, nullptr};
        if (certificates != nullptr) {
            flags |= MHD_USE_TLS;
            shownCertificates = certificates;
            certificate = {MHD_OPTION_HTTPS_CERT_CALLBACK, 0,
                           reinterpret_cast<void *>(showCertificate)};
        }
        std::array<MHD_OptionItem, 2> more = {certificate, {MHD_OPTION_END, 0, nullptr}};
        const std::size_t memory = front.limits()->header * kilobyte;
        library_ = MHD_start_daemon(
            flags, 0, nullptr, nullptr, requestComes, &loop_, MHD_OPTION_LISTEN_SOCKET,
            listener_.socket(), MHD_OPTION_CONNECTION_LIMIT, connections,
            MHD_OPTION_CONNECTION_MEMORY_LIMIT, memory, MHD_OPTION_URI_LOG_CALLBACK, requestBegins,
            &loop_, MHD_OPTION_NOTIFY_COMPLETED, requestEnds, &loop_, MHD_OPTION_NOTIFY_CONNECTION,
            connectionChanges, &loop_, MHD_OPTION_STRICT_FOR_CLIENT, 0,
            MHD_OPTION_SIGPIPE_HANDLED_BY_APP, 1, MHD_OPTION_ARRAY, more.data(), MHD_OPTION_END);
        if (library_ == nullptr)
            throw Failure(Status::storeFailed,
                          {listener_.name(), std::system_category().message(errno)});
        try {
            thread_ = std::thread([this] { run(); });
        } catch (...) {
            MHD_stop_daemon(library_);
            throw;
        }
    }
    ~Daemon() {
        isOver_ = true;
        loop_.wakeUp.wake();
        thread_.join();
        MHD_stop_daemon(library_);
    }
    Daemon(const Daemon &) = delete;
    Daemon &operator=(const Daemon &) = delete;

    void stopListening() {
        const std::lock_guard<std::mutex> lock(mutex_);
        MHD_quiesce_daemon(library_);
    }
    const Listener &listener() const { return listener_; }

private:
    using Awaited = std::array<pollfd, 2>;

    void run() {
        const int events = MHD_get_daemon_info(library_, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
        Awaited awaited = {{{events, POLLIN, 0}, {loop_.wakeUp.descriptor(), POLLIN, 0}}};
        while (!isOver_) {
            const int most = serve();
            if (most == 0 || !comesSoon(awaited)) ::poll(awaited.data(), awaited.size(), most);
            if (awaited[1].revents != 0) loop_.wakeUp.heed();
        }
    }

    /**
     * Looks for what comes next for a moment without going to sleep, since waking up takes longer
     * than to answer. Where nothing came so fast, the next times are passed over; and where a
     * worker is busy it gets the processor.
     */
    bool comesSoon(Awaited &awaited) {
        if (::poll(awaited.data(), awaited.size(), 0) > 0) return true;
        if (!hasProcessors_ || loop_.front.isBusy() || passedOver_++ < toPassOver_) return false;
        passedOver_ = 0;
        const auto end = std::chrono::steady_clock::now() + moment;
        do {
            if (::poll(awaited.data(), awaited.size(), 0) <= 0) continue;
            toPassOver_ = 0;
            return true;
        } while (std::chrono::steady_clock::now() < end);
        toPassOver_ = std::min(2 * toPassOver_ + 1, mostPassedOver);
        return false;
    }

    /** Serves what is ready. Returns how many milliseconds it is to be called after at most. */
    int serve() {
        const std::lock_guard<std::mutex> lock(mutex_);
        const unsigned before = connections();
        MHD_run(library_);
        // Where one has ended, a run finds out that there is room for another.
        if (connections() < before) MHD_run(library_);
        MHD_UNSIGNED_LONG_LONG most = 0;
        if (MHD_get_timeout(library_, &most) == MHD_NO) return -1;
        return static_cast<int>(std::min<MHD_UNSIGNED_LONG_LONG>(most, longestWait));
    }

    unsigned connections() {
        return MHD_get_daemon_info(library_, MHD_DAEMON_INFO_CURRENT_CONNECTIONS)->num_connections;
    }

    static constexpr MHD_UNSIGNED_LONG_LONG longestWait = 60000;
    static constexpr auto moment = std::chrono::microseconds(50);
    static constexpr unsigned mostPassedOver = 255;

    Listener listener_;
    Loop loop_;
    std::atomic<bool> isOver_ = false;
    std::mutex mutex_;  ///< held while the library runs
    const bool hasProcessors_ = std::thread::hardware_concurrency() > 1;
    unsigned toPassOver_ = 0;
    unsigned passedOver_ = 0;
    MHD_Daemon *library_ = nullptr;
    std::thread thread_;
};

HttpServer::HttpServer(Listener listener, Front &front, const Certificates *certificates,
                       unsigned connections)
    : daemon_(std::make_unique<Daemon>(std::move(listener), front, certificates, connections)) {}

HttpServer::~HttpServer() = default;

void HttpServer::stopListening() {
    daemon_->stopListening();
}

const Listener &HttpServer::listener() const {
    return daemon_->listener();
}

}  // namespace zdbs::serve
